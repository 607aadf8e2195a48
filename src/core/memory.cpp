#include "core/memory.h"

#if __has_include(<sys/mman.h>)
#include <sys/mman.h>
#endif

#include <atomic>
#include <cstdlib>
#include <memory>

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

void askForHugePages([[maybe_unused]] void* block, [[maybe_unused]] std::size_t bytes) noexcept
{
#ifdef MADV_HUGEPAGE
    constexpr std::size_t hugePage = std::size_t{1} << 21;
    // Of smaller blocks too much lies beside whole huge pages.
    if (bytes < 4 * hugePage || std::align(hugePage, hugePage, block, bytes) == nullptr)
        return;
    // Where the system has none, the block stays as it is.
    static_cast<void>(madvise(block, bytes / hugePage * hugePage, MADV_HUGEPAGE));
#endif
}

void refuseMemoryAfter(std::int64_t successes) noexcept
{
    grantsLeft.store(successes, std::memory_order_relaxed);
}

}  // namespace ko
