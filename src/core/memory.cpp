#include "core/memory.h"

#include <atomic>
#include <cstdlib>

namespace ko {

namespace {

/// No machine holds a block of this size, but one that overcommits its memory would hand it out and end the
/// process later.
constexpr std::uint64_t beyondAnyMemory = std::uint64_t{1} << 40;

std::atomic<std::int64_t> grantsLeft{-1};

bool isGranted() noexcept
{
    std::int64_t left = grantsLeft.load(std::memory_order_relaxed);
    while (left > 0 && !grantsLeft.compare_exchange_weak(left, left - 1, std::memory_order_relaxed)) {
    }
    return left != 0;
}

}  // namespace

void* obtainMemory(std::uint64_t bytes, bool zeroed) noexcept
{
    if (bytes >= beyondAnyMemory || !isGranted())
        return nullptr;
    return zeroed ? std::calloc(bytes, 1) : std::malloc(bytes);
}

void refuseMemoryAfter(std::int64_t successes) noexcept
{
    grantsLeft.store(successes, std::memory_order_relaxed);
}

}  // namespace ko
