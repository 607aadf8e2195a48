#include "base/checks.h"
#include "core/memory.h"
#include "core/spare_blocks.h"

#include <bit>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace ko {

namespace {

/// Pixel memory starts on a cache line, and vector loads that begin at its last byte stay inside the block.
constexpr std::uint64_t alignment = 64;
constexpr std::size_t slack = 64;

/// A block begins with its size, which records do not tell: programs may change them.
using BlockSize = std::uint64_t;

/// The row length rounded up to whole cache lines; 0 where it exceeds what a stride can say.
std::int32_t chosenStride(const SxImageInfo& info) noexcept
{
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max() / alignment * alignment;
    const std::int64_t bytes = rowBytes(info);
    return bytes > most ? 0 : static_cast<std::int32_t>((bytes + alignment - 1) / alignment * alignment);
}

/// Ties the bookkeeping words to each other, so that leftovers in a record over foreign memory are not taken
/// for an allocation.
std::uint64_t checkWord(std::uint64_t address, std::uint64_t block) noexcept
{
    constexpr std::uint64_t oddFactor = 0x9E3779B97F4A7C15U;
    return std::rotl((address ^ std::rotl(block, 32)) * oddFactor, 29) * oddFactor;
}

void forgetMemory(SxImageBuf& image) noexcept
{
    image.data = nullptr;
    image.allocation = 0;
    image.memoryTag = 0;
    image.bookkeeping[0] = image.bookkeeping[1] = 0;
}

/// Allocates for the format that `image` already holds.
ResultCode allocate(SxImageBuf& image, bool cleared) noexcept
{
    forgetMemory(image);
    if (bytesPerSample(image.dataType) == 0 || image.width < 0 || image.height < 0 || image.channels < 1)
        return ResultFailed;
    SxImageInfo laidOut = image;
    if (laidOut.stride == 0)
        laidOut.stride = chosenStride(laidOut);
    if (rowBytes(laidOut) > laidOut.stride || !rowsFit(laidOut))
        return ResultFailed;

    const std::size_t pixels = imageByteSize(laidOut);
    const std::uint64_t bytes = std::uint64_t{pixels} + slack + sizeof(BlockSize) + alignment;
    void* block = cleared ? nullptr : takeSpareBlock(bytes);
    if (block == nullptr) {
        block = obtainMemory(bytes, cleared);
        if (block == nullptr)
            return ResultFailed;
        askForHugePages(block, bytes);
    }
    std::memcpy(block, &bytes, sizeof(bytes));
    const std::uint64_t blockAddress = std::bit_cast<std::uintptr_t>(block);
    const std::uint64_t lead = alignment - (blockAddress + sizeof(BlockSize)) % alignment + sizeof(BlockSize);
    image.stride = laidOut.stride;
    image.data = static_cast<std::uint8_t*>(block) + lead;
    image.allocation = blockAddress + lead;
    image.bookkeeping[0] = checkWord(image.allocation, blockAddress);
    image.bookkeeping[1] = blockAddress;
    if (!cleared)
        std::memset(image.data + pixels, 0, slack);
    return ResultOk;
}

bool ownsMemory(const SxImageBuf& image) noexcept
{
    return image.data != nullptr && image.allocation == std::bit_cast<std::uintptr_t>(image.data) &&
           image.bookkeeping[0] == checkWord(image.allocation, image.bookkeeping[1]);
}

void release(void* block) noexcept
{
    BlockSize bytes = 0;
    std::memcpy(&bytes, block, sizeof(bytes));
    if (!keepSpareBlock(block, bytes))
        std::free(block);
}

}  // namespace

ResultCode AllocBuffer(SxImageBuf& out, int width, int height, int channels, ExImageDataType dataType,
                       int stride, int bitsPerSample, ExPixelPacking packing, bool flag,
                       ExPixelCompression compression)
{
    out = SxImageBuf{};
    out.width = width;
    out.height = height;
    out.stride = stride;
    out.channels = channels;
    out.bitsPerSample = bitsPerSample;
    out.dataType = dataType;
    out.packing = packing;
    return compression == CompressionNone ? allocate(out, flag) : ResultFailed;
}

ResultCode AllocBuffer(const SxImageInfo& info, SxImageBuf& out, bool flag)
{
    static_cast<SxImageInfo&>(out) = SxImageInfo(info);
    return allocate(out, flag);
}

void FreeBuffer(SxImageBuf& image)
{
    if (ownsMemory(image))
        release(std::bit_cast<void*>(static_cast<std::uintptr_t>(image.bookkeeping[1])));
    forgetMemory(image);
}

}  // namespace ko
