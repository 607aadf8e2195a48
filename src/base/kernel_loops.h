// Helpers for the plain loops of kernels.
#pragma once

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

/// Asks for the memory that a row loop reaches `Distance` bytes later: `count` samples from there. The
/// processor's own prefetching stops at the ends of pages and rows, which costs loops that read one image and
/// write another up to a fifth of their speed. The address may lie behind the image; nothing is read then.
template <class T, bool ForWriting, std::uintptr_t Distance = 4096>
inline void fetchAhead(const std::uint8_t* at, std::int64_t count) noexcept
{
    const std::uintptr_t first = reinterpret_cast<std::uintptr_t>(at) + Distance;
    for (std::uintptr_t line = 0; line < count * sizeof(T); line += 64)
        __builtin_prefetch(reinterpret_cast<const void*>(first + line), ForWriting);  // NOLINT
}

}  // namespace ko
