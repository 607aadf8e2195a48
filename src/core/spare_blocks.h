// Memory of images that workers of pipes let go, kept for the next ones of the same size: a fresh block costs a page
// fault for every 4096 bytes, which takes as long as converting a frame.
#pragma once

#include <cstdint>

namespace ko {

/// While it lives, its thread gives the memory of images to the spare blocks and takes it from there. The spare
/// blocks are freed with the last such object of the process.
class UsesSpareBlocks {
public:
    UsesSpareBlocks();
    ~UsesSpareBlocks();
    UsesSpareBlocks(const UsesSpareBlocks&) = delete;
    UsesSpareBlocks& operator=(const UsesSpareBlocks&) = delete;
};

/// A block of exactly this size with undefined contents; null where this thread uses none or there is none.
void* takeSpareBlock(std::uint64_t bytes) noexcept;

/// Takes over a block from the heap. False where this thread keeps none, or not of this size.
bool keepSpareBlock(void* block, std::uint64_t bytes) noexcept;

}  // namespace ko
