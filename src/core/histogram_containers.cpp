#include <ko/histogram_containers.h>

#include "core/memory.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

namespace ko {

// The members are public, so numbers and blocks may contradict each other when a method is called; none of
// them follows a null pointer or a negative count.

CxImageHistogram::CxImageHistogram(const CxImageHistogram& other)
{
    if (other.bins == nullptr || other.planes < 1 || other.levels < 1)
        return;
    allocate(other.planes, other.levels, other.extraBins);
    for (std::int32_t p = 0; p < planes; ++p) {
        if (other.bins[p] != nullptr)
            std::copy_n(other.bins[p], std::int64_t{levels} + extraBins, bins[p]);
    }
}

CxImageHistogram::CxImageHistogram(CxImageHistogram&& other) noexcept
    : bins(std::exchange(other.bins, nullptr)),
      planes(std::exchange(other.planes, 0)),
      levels(std::exchange(other.levels, 0)),
      extraBins(std::exchange(other.extraBins, 0U))
{
}

CxImageHistogram& CxImageHistogram::operator=(CxImageHistogram other) noexcept
{
    std::swap(bins, other.bins);
    std::swap(planes, other.planes);
    std::swap(levels, other.levels);
    std::swap(extraBins, other.extraBins);
    return *this;
}

CxImageHistogram::~CxImageHistogram()
{
    release();
}

void CxImageHistogram::resize(std::int32_t planeCount, std::int32_t levelCount, std::int32_t extraCount)
{
    const auto extra = static_cast<std::uint32_t>(std::max(extraCount, 0));
    if (bins != nullptr && planeCount == planes && levelCount == levels && extra == extraBins) {
        clear();
        return;
    }
    release();
    if (planeCount > 0 && levelCount >= 1)
        allocate(planeCount, levelCount, extra);
}

void CxImageHistogram::clear()
{
    if (bins == nullptr)
        return;
    for (std::int32_t p = 0; p < planes; ++p) {
        if (bins[p] != nullptr)
            std::fill_n(bins[p], levels, 0U);
    }
}

void CxImageHistogram::release()
{
    for (std::int32_t p = 0; bins != nullptr && p < planes; ++p)
        delete[] bins[p];
    delete[] bins;
    bins = nullptr;
    planes = levels = 0;
    extraBins = 0;
}

void CxImageHistogram::allocate(std::int32_t planeCount, std::int32_t levelCount, std::uint32_t extraCount)
{
    const std::size_t counters = static_cast<std::size_t>(levelCount) + extraCount;
    try {
        bins = new std::uint32_t* [static_cast<std::size_t>(planeCount)] {};
        planes = planeCount;
        for (std::int32_t p = 0; p < planes; ++p)
            bins[p] = new std::uint32_t[counters]{};
    } catch (...) {
        release();
        throw;
    }
    levels = levelCount;
    extraBins = extraCount;
}

namespace {

/// A matrix of `levels` x `levels` counters, behind its row pointers.
int** newMatrix(int levels, bool zeroed)
{
    const auto side = static_cast<std::uint64_t>(levels);
    static_assert(sizeof(int*) == 2 * sizeof(int));
    // A row pointer takes the room of two counters. The product just fits 64 bits for the largest int.
    void* const block = obtainMemory(sizeof(int) * side * (side + 2), zeroed);
    if (block == nullptr)
        throw std::bad_alloc();
    int** const rows = static_cast<int**>(block);
    int* const counters = reinterpret_cast<int*>(rows + side);
    for (std::uint64_t row = 0; row < side; ++row)
        rows[row] = counters + row * side;
    return rows;
}

}  // namespace

CxImageHistogram2D::CxImageHistogram2D(int planes, int levels) : CxImageHistogram2D()
{
    if (planes < 1 || levels < 1)
        return;
    m_planes.resize(static_cast<std::size_t>(planes));
    for (int**& matrix : m_planes)
        matrix = newMatrix(levels, true);
    m_levels = levels;
}

CxImageHistogram2D::CxImageHistogram2D(const CxImageHistogram2D& other) : CxImageHistogram2D()
{
    m_planes.resize(other.m_planes.size());
    for (std::size_t p = 0; p < m_planes.size(); ++p) {
        m_planes[p] = newMatrix(other.m_levels, false);
        std::copy_n(*other.m_planes[p], std::int64_t{other.m_levels} * other.m_levels, *m_planes[p]);
    }
    m_levels = other.m_levels;
}

CxImageHistogram2D::CxImageHistogram2D(CxImageHistogram2D&& other) noexcept : CxImageHistogram2D()
{
    swap(other);
}

CxImageHistogram2D& CxImageHistogram2D::operator=(CxImageHistogram2D other) noexcept
{
    swap(other);
    return *this;
}

CxImageHistogram2D::~CxImageHistogram2D()
{
    for (int** const matrix : m_planes)
        std::free(matrix);
}

void CxImageHistogram2D::swap(CxImageHistogram2D& other) noexcept
{
    m_planes.swap(other.m_planes);
    std::swap(m_levels, other.m_levels);
}

CxImageHistogramSparse2D::CxImageHistogramSparse2D(int planes, int levels)
{
    if (planes > 0 && levels > 0)
        m_planes.resize(static_cast<std::size_t>(planes), TSparseMatrix<int>(levels));
}

bool CxImageHistogramSparse2D::inc(int plane, int row, int column)
{
    if (plane < 0 || plane >= planes())
        return false;
    TSparseMatrix<int>& matrix = (*this)[plane];
    if (row < 0 || row >= matrix.rowCount())
        return false;
    int& count = matrix.rows()[row][column];
    count = static_cast<int>(static_cast<unsigned>(count) + 1U);
    return true;
}

}  // namespace ko
