// Row loops: every OpenMP pragma of the library. Bodies must not throw.
#pragma once

#include <omp.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ko {

/// Runs `body(y)` for y = 0...rows - 1, one contiguous block of rows per thread.
template <class Body>
void rowsStatic(std::int64_t rows, const Body& body)
{
    static_assert(noexcept(body(std::int64_t{})));
#pragma omp parallel for schedule(static)
    for (std::int64_t y = 0; y < rows; ++y)
        body(y);
}

/// Runs `body(y)` for y = 0...rows - 1, the next row to whichever thread is free. A single thread
/// takes them without asking the team's counter, which costs a fifth of the time of copying 2 KiB.
template <class Body>
void rowsDynamic(std::int64_t rows, const Body& body)
{
    static_assert(noexcept(body(std::int64_t{})));
    if (omp_get_max_threads() == 1) {
        for (std::int64_t y = 0; y < rows; ++y)
            body(y);
        return;
    }
#pragma omp parallel for schedule(dynamic)
    for (std::int64_t y = 0; y < rows; ++y)
        body(y);
}

/// Sums up rows: `body(partial, y)` adds row y to its thread's own zeroed slot, then `combine(partial)` takes
/// the slots in thread order on the calling thread, so that a floating-point result depends on the schedule
/// as little as it can. Rows are handed out one at a time.
///
/// `slotSize` values of `Value` make one slot.
template <class Value, class Body, class Combine>
void reducePerThread(std::int64_t rows, std::size_t slotSize, const Body& body, const Combine& combine)
{
    static_assert(noexcept(body(static_cast<Value*>(nullptr), std::int64_t{})));
    const int threads = omp_get_max_threads();
    omp_set_num_threads(threads);
    // A cache line between the slots keeps the threads from writing into each other's lines.
    constexpr std::size_t gap = 64 / sizeof(Value) + 1;
    const std::size_t pitch = slotSize + gap;
    std::vector<Value> slots(pitch * static_cast<std::size_t>(threads));
    Value* const first = slots.data();
#pragma omp parallel for schedule(dynamic)
    for (std::int64_t y = 0; y < rows; ++y)
        body(first + pitch * static_cast<std::size_t>(omp_get_thread_num()), y);
    for (int thread = 0; thread < threads; ++thread)
        combine(static_cast<const Value*>(first + pitch * static_cast<std::size_t>(thread)));
}

}  // namespace ko
