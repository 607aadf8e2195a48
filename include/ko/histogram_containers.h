// Containers for the counts of histogram operations. The caller owns and sizes them; counting adds to what
// they hold. None of them locks. All copy deeply, and what has been moved from is empty.
#pragma once

#include <ko/export.h>

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace ko {

/// One row of counters per plane, open to direct access.
///
/// Either `bins` is null and the numbers are 0, or `bins` holds `planes` blocks of `levels` + `extraBins`
/// counters made by `resize`, which belong to the histogram. Counters wrap silently.
class KO_EXPORT CxImageHistogram {
public:
    std::uint32_t** bins = nullptr;  ///< `bins[p][v]` samples of value v were counted into plane p
    std::int32_t planes = 0;         ///< rows of counters
    std::int32_t levels = 0;         ///< counters per plane that operations use, for values 0...levels - 1
    std::uint32_t extraBins =
        0;  ///< further counters behind them, which no operation of this library touches

    CxImageHistogram() = default;
    CxImageHistogram(const CxImageHistogram& other);               ///< copies every counter
    CxImageHistogram(CxImageHistogram&& other) noexcept;           ///< leaves `other` empty
    CxImageHistogram& operator=(CxImageHistogram other) noexcept;  ///< copies or moves
    ~CxImageHistogram();

    /// Makes room for `planeCount` rows of `levelCount` + `extraCount` counters, all 0. Where these are the
    /// present numbers it is a `clear`; otherwise the old blocks are released first. Fewer than one plane or
    /// level leaves the histogram empty; a negative `extraCount` counts as 0.
    /// @throws std::bad_alloc, with the histogram empty
    void resize(std::int32_t planeCount, std::int32_t levelCount, std::int32_t extraCount);

    /// Sets the first `levels` counters of every plane to 0. The `extraBins` counters keep their values.
    void clear();

    /// Frees the blocks and leaves the histogram empty.
    void release();

private:
    void allocate(std::int32_t planeCount, std::int32_t levelCount, std::uint32_t extraCount);
};

/// A dense square matrix of counters per plane.
class KO_EXPORT CxImageHistogram2D {
public:
    /// Counters of 0; empty when a number is not positive. Memory grows with `levels` squared, but pages that
    /// are never counted into cost nothing.
    /// @throws std::bad_alloc
    CxImageHistogram2D(int planes, int levels);
    CxImageHistogram2D(const CxImageHistogram2D& other);               ///< copies every counter
    CxImageHistogram2D(CxImageHistogram2D&& other) noexcept;           ///< leaves `other` empty
    CxImageHistogram2D& operator=(CxImageHistogram2D other) noexcept;  ///< copies or moves
    ~CxImageHistogram2D();

    /// Matrices.
    int planes() const { return static_cast<int>(m_planes.size()); }

    /// Rows and columns of each plane's matrix.
    int levels() const { return m_levels; }

    /// Row pointers of a plane in 0...planes() - 1: `h[plane][row][column]`.
    int** operator[](int plane) const { return m_planes[static_cast<std::size_t>(plane)]; }

private:
    CxImageHistogram2D() = default;
    void swap(CxImageHistogram2D& other) noexcept;

    std::vector<int**> m_planes;  // each one block: the row pointers, then the counters
    int m_levels = 0;
};

/// Rows of values of which most are absent; an absent value is `T{}`.
template <typename T>
class TSparseMatrix {
public:
    using Row = std::unordered_map<std::int32_t, T>;  ///< column -> value

    /// Rows without entries; none when the number is not positive.
    explicit TSparseMatrix(int rowCount = 0) : m_rows(rowCount > 0 ? static_cast<std::size_t>(rowCount) : 0)
    {
    }

    /// As given when made.
    int rowCount() const { return static_cast<int>(m_rows.size()); }

    /// The first of `rowCount` rows.
    Row* rows() { return m_rows.data(); }
    /// The first of `rowCount` rows, for reading.
    const Row* rows() const { return m_rows.data(); }

private:
    std::vector<Row> m_rows;
};

/// A sparse matrix of counters per plane.
class KO_EXPORT CxImageHistogramSparse2D {
public:
    /// No counts; empty when a number is not positive.
    /// @throws std::bad_alloc
    CxImageHistogramSparse2D(int planes, int levels);

    /// Matrices.
    int planes() const { return static_cast<int>(m_planes.size()); }

    /// Rows of each plane's matrix; columns are any 32-bit numbers.
    int levels() const { return m_planes.empty() ? 0 : m_planes.front().rowCount(); }

    /// Matrix of a plane in 0...planes() - 1.
    TSparseMatrix<int>& operator[](int plane) { return m_planes[static_cast<std::size_t>(plane)]; }

    /// Adds 1 to a count, which wraps silently. False, and nothing counted, for a plane or row that does not
    /// exist.
    /// @throws std::bad_alloc, with the counts as they were
    bool inc(int plane, int row, int column);

private:
    std::vector<TSparseMatrix<int>> m_planes;
};

}  // namespace ko
