// Helpers for the plain loops of kernels.
#pragma once

#include <atomic>
#include <cstdint>

/// Before a loop whose iterations do not depend on each other, even where source and destination are the same
/// memory: the compiler vectorises it without testing for overlap.
#if defined(__clang__)
#define KO_INDEPENDENT_ITERATIONS _Pragma("clang loop vectorize(assume_safety)")
#else
#define KO_INDEPENDENT_ITERATIONS _Pragma("GCC ivdep")
#endif

namespace ko {

/// Samples to work on between two calls of `fetchAhead`.
inline constexpr std::int64_t samplesPerFetch = 256;

/// Whether `fetchAhead` does anything. Some processors fetch rows so well by themselves that asking only costs
/// time; `base/fetching.h` finds out. Until then nothing is asked for.
inline std::atomic<bool> fetchingPays{false};

/// Asks for the lines of `bytes` bytes from an address on. It may lie behind all images; nothing is read then.
template <bool ForWriting>
inline void fetchLines(std::uintptr_t first, std::uintptr_t bytes) noexcept
{
    for (std::uintptr_t line = 0; line < bytes; line += 64)
        __builtin_prefetch(reinterpret_cast<const void*>(first + line), ForWriting);  // NOLINT
}

/// Asks for the memory that a row loop reaches `Distance` bytes later: `count` samples from there. Where the
/// processor's own prefetching stops at the ends of pages and rows, loops that read one image and write
/// another lose up to a fifth of their speed without it.
template <class T, bool ForWriting, std::uintptr_t Distance = 4096>
inline void fetchAhead(const std::uint8_t* at, std::int64_t count) noexcept
{
    if (fetchingPays.load(std::memory_order_relaxed))
        fetchLines<ForWriting>(reinterpret_cast<std::uintptr_t>(at) + Distance,
                               static_cast<std::uintptr_t>(count) * sizeof(T));
}

}  // namespace ko
