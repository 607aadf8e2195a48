// Finds out, once, whether row loops should ask for memory ahead.
//
// It depends on the processor and on the machine around it, by more than a fifth either way, and nothing that a
// processor says of itself tells. What is found changes how fast results come, never the results.
#pragma once

#include "base/kernel_loops.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace ko {

/// Rows that are copied with `fetchLines` and without, in turns. More memory than most second-level caches hold,
/// with the gaps between rows that images have.
class FetchTrial {
public:
    FetchTrial() noexcept
        : m_from(new (std::nothrow) std::uint8_t[bytes]), m_to(new (std::nothrow) std::uint8_t[bytes])
    {
    }

    /// Takes about a millisecond. Fetching has to gain something, or it is left out.
    bool isFasterFetching() noexcept
    {
        using Time = std::chrono::steady_clock::duration;
        if (!m_from || !m_to)
            return false;
        std::memset(m_from.get(), 1, bytes);
        static_cast<void>(timeOf<false>());  // the memory's first use
        std::array<Time, 2> best{Time::max(), Time::max()};
        for (int round = 0; round < 4; ++round) {
            best[0] = std::min(best[0], timeOf<false>());
            best[1] = std::min(best[1], timeOf<true>());
        }
        return best[1] * 20 < best[0] * 19;
    }

private:
    static constexpr std::size_t width = 2048, stride = width + 64, rows = 1024, bytes = stride * rows;

    template <bool Fetching>
    std::chrono::steady_clock::duration timeOf() noexcept
    {
        constexpr std::uintptr_t distance = 4096;
        const auto start = std::chrono::steady_clock::now();
        for (std::size_t row = 0; row < bytes; row += stride) {
            for (std::size_t at = row; at < row + width; at += samplesPerFetch) {
                const std::uint8_t* const from = m_from.get() + at;
                std::uint8_t* const to = m_to.get() + at;
                if (Fetching) {
                    fetchLines<false>(reinterpret_cast<std::uintptr_t>(from) + distance, samplesPerFetch);
                    fetchLines<true>(reinterpret_cast<std::uintptr_t>(to) + distance, samplesPerFetch);
                }
                std::memcpy(to, from, samplesPerFetch);
            }
        }
        return std::chrono::steady_clock::now() - start;
    }

    std::unique_ptr<std::uint8_t[]> m_from;
    std::unique_ptr<std::uint8_t[]> m_to;
};

/// Before a loop over `rows` rows: small images stay in the caches, where there is nothing to fetch.
inline void prepareFetching(std::int64_t rows) noexcept
{
    constexpr std::int64_t worthTrying = 1024;
    if (rows < worthTrying)
        return;
    [[maybe_unused]] static const bool isTried = [] {
        fetchingPays.store(FetchTrial().isFasterFetching(), std::memory_order_relaxed);
        return true;
    }();
}

}  // namespace ko
