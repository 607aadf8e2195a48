// Row loops: every OpenMP pragma of the library. Bodies must not throw.
//
// A loop is shared among threads only if there is enough work. A frame of a few thousand pixels would spend its
// time waiting for the team of threads: milliseconds, where other programs keep the processors busy.
#pragma once

#include "base/checks.h"
#include "base/fetching.h"

#include <ko/threads.h>

#include <omp.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace ko {

/// The rows of a loop, and the work of one of them: the bytes that a copy would move in the same time.
struct RowWork {
    std::int64_t rows;
    std::int64_t bytes;

    /// For rows that take `factor` times as long as a copy of their samples.
    RowWork times(std::int64_t factor) const noexcept { return {rows, bytes * factor}; }
};

/// A row function that reads or writes each sample of these images once: the rows of the first one.
template <class... Others>
RowWork workOn(const SxImageInfo& image, const Others&... others) noexcept
{
    return {image.height, (rowBytes(image) + ... + rowBytes(others))};
}

/// The work from which a loop is shared: ten times what a team costs. Measured: 5 to 10 us for two threads that
/// sleep (450 us on the average beside busy processors), and 50 GB/s for row functions on cached bytes.
/// Tests of threads set it to 0.
inline std::atomic<std::int64_t> leastSharedWork{std::int64_t{4} << 20};

inline bool isWorthSharing(const RowWork& work) noexcept
{
    // In this form no product overflows.
    return work.rows > 1 && work.bytes >= leastSharedWork.load(std::memory_order_relaxed) / work.rows;
}

/// Threads that a loop takes.
inline int threadsFor(const RowWork& work) noexcept
{
    return isWorthSharing(work) ? omp_get_max_threads() : 1;
}

/// Runs `body(y)` for every row, one contiguous block of rows per thread.
template <class Body>
void rowsStatic(const RowWork& work, const Body& body)
{
    static_assert(noexcept(body(std::int64_t{})));
    prepareFetching(work.rows);
    const int threads = threadsFor(work);
    if (threads == 1) {
        for (std::int64_t y = 0; y < work.rows; ++y)
            body(y);
        return;
    }
#pragma omp parallel for schedule(static) num_threads(threads)
    for (std::int64_t y = 0; y < work.rows; ++y)
        body(y);
}

/// The rows of one loop, handed out one at a time. Each thread takes the rows of its own share one after
/// another, then what is left of the other shares. So a thread seldom touches a counter that another thread
/// uses, and the memory prefetched behind the end of a row is a row of the same thread. With one counter for
/// all, neighbouring rows go to different cores, which fetch each other's cache lines: loops at the speed of
/// memory then take longer with two threads than with one.
class RowShares {
public:
    /// With more threads than this, several take rows from one share. A fixed number needs no allocation.
    static constexpr int most = 64;

    RowShares(std::int64_t rows, int threads) noexcept : m_count(std::min(threads, most))
    {
        std::int64_t begin = 0;
        for (int i = 0; i < m_count; ++i) {
            Share& share = m_shares[static_cast<std::size_t>(i)];
            share.next.store(begin, std::memory_order_relaxed);
            share.end = begin = rows * (i + 1) / m_count;
        }
    }

    /// Runs `body(y)` for rows that nobody has taken, until none is left.
    template <class Body>
    void takeRows(int thread, const Body& body) noexcept
    {
        for (int i = 0; i < m_count; ++i) {
            Share& share = m_shares[static_cast<std::size_t>((thread + i) % m_count)];
            while (share.next.load(std::memory_order_relaxed) < share.end) {
                const std::int64_t y = share.next.fetch_add(1, std::memory_order_relaxed);
                if (y < share.end)
                    body(y);
            }
        }
    }

private:
    /// A cache line each.
    struct alignas(64) Share {
        std::atomic<std::int64_t> next;
        std::int64_t end;
    };
    std::array<Share, most> m_shares;
    int m_count;
};

/// Runs `body(thread, y)` for every row and gives the next row to whichever thread is free. A single thread
/// needs no counter.
template <class Body>
void shareRows(std::int64_t rows, int threads, const Body& body)
{
    prepareFetching(rows);
    if (threads == 1) {
        for (std::int64_t y = 0; y < rows; ++y)
            body(0, y);
        return;
    }
    RowShares shares(rows, threads);
#pragma omp parallel num_threads(threads)
    {
        const int thread = omp_get_thread_num();
        shares.takeRows(thread, [&](std::int64_t y) noexcept { body(thread, y); });
    }
}

/// Runs `body(y)` for every row and gives the next row to whichever thread is free.
template <class Body>
void rowsDynamic(const RowWork& work, const Body& body)
{
    static_assert(noexcept(body(std::int64_t{})));
    shareRows(work.rows, threadsFor(work), [&](int, std::int64_t y) noexcept { body(y); });
}

/// Bands of a loop that stays on the calling thread, unless the program allows more by `CallThreads`.
inline int bandsByConsent(const RowWork& work) noexcept
{
    return isWorthSharing(work) ? static_cast<int>(std::min<std::int64_t>(work.rows, CallThreads::current()))
                                : 1;
}

/// Runs `body(band, begin, end)` for contiguous bands of rows: one band of all rows on the calling thread,
/// several each on a thread of its own.
template <class Body>
void inBands(int bands, std::int64_t rows, const Body& body)
{
    static_assert(noexcept(body(0, std::int64_t{}, std::int64_t{})));
    prepareFetching(rows);
    if (bands == 1) {
        body(0, 0, rows);
        return;
    }
#pragma omp parallel for schedule(static, 1) num_threads(bands)
    for (int band = 0; band < bands; ++band)
        body(band, rows * band / bands, rows * (band + 1) / bands);
}

/// Runs `body(y)` for every row on the calling thread, or in bands where the program allows it.
template <class Body>
void rowsByConsent(const RowWork& work, const Body& body)
{
    static_assert(noexcept(body(std::int64_t{})));
    inBands(bandsByConsent(work), work.rows, [&](int, std::int64_t begin, std::int64_t end) noexcept {
        for (std::int64_t y = begin; y < end; ++y)
            body(y);
    });
}

/// Sums up rows: `body(partial, y)` adds row y to its thread's own zeroed slot, then `combine(partial)` takes
/// the slots in thread order on the calling thread. Rows are handed out one at a time, so only sums that do
/// not depend on the order of their terms give the same result every time: those of integers.
///
/// `slotSize` values of `Value` make one slot.
template <class Value, class Body, class Combine>
void reducePerThread(const RowWork& work, std::size_t slotSize, const Body& body, const Combine& combine)
{
    static_assert(noexcept(body(static_cast<Value*>(nullptr), std::int64_t{})));
    static_assert(std::is_integral_v<Value>);
    const int threads = threadsFor(work);
    // A cache line between the slots keeps the threads from writing into each other's lines.
    constexpr std::size_t gap = 64 / sizeof(Value) + 1;
    const std::size_t pitch = slotSize + gap;
    std::vector<Value> partials(pitch * static_cast<std::size_t>(threads));
    Value* const first = partials.data();
    shareRows(work.rows, threads, [&](int thread, std::int64_t y) noexcept {
        body(first + pitch * static_cast<std::size_t>(thread), y);
    });
    for (int thread = 0; thread < threads; ++thread)
        combine(static_cast<const Value*>(first + pitch * static_cast<std::size_t>(thread)));
}

}  // namespace ko
