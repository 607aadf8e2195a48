#include "base/checks.h"
#include "base/image_view.h"
#include "core/channel_kernels.h"

#include <cstring>
#include <limits>

namespace ko {

namespace {

/// The image has samples to copy and all of them lie in its memory.
bool isCopyable(const SxImageBuf& image) noexcept
{
    return isPresent(image) && image.channels >= 1 && bytesPerSample(image.dataType) > 0 && rowsFit(image);
}

using CopySamples = void (*)(const std::uint8_t* src, std::int64_t srcStep, std::uint8_t* dst,
                             std::int64_t dstStep, std::int64_t count);

/// Copies samples of `Size` bytes that lie `srcStep` and `dstStep` bytes apart.
template <std::size_t Size>
void copySamples(const std::uint8_t* src, std::int64_t srcStep, std::uint8_t* dst, std::int64_t dstStep,
                 std::int64_t count)
{
    for (std::int64_t i = 0; i < count; ++i)
        std::memmove(dst + i * dstStep, src + i * srcStep, Size);
}

CopySamples copySamplesOf(int size)
{
    switch (size) {
    case 1:
        return &copySamples<1>;
    case 2:
        return &copySamples<2>;
    case 4:
        return &copySamples<4>;
    case 8:
        return &copySamples<8>;
    default:
        return &copySamples<16>;
    }
}

/// Where a channel of an image lies: its first sample, and the bytes from sample to sample.
struct ChannelLayout {
    std::int64_t offset;
    std::int64_t step;
};

ChannelLayout layoutOf(const SxImageInfo& info, std::int64_t channel)
{
    const std::int64_t size = bytesPerSample(info.dataType);
    if (isInterleaved(info))
        return {channel * size, info.channels * size};
    return {channel * info.height * info.stride, size};
}

}  // namespace

ResultCode CopyBuffer(const SxImageBuf& src, const QRect& srcRect, SxImageBuf& dst, const QPoint& dstPos,
                      bool /*flag*/)
{
    const std::int64_t width = widthOf(srcRect), height = heightOf(srcRect);
    if (const ResultCode rc = firstFailure({
            {ResultFailed, isCopyable(src) && isCopyable(dst)},
            {ResultFailed, src.channels == dst.channels && src.dataType == dst.dataType},
            {ResultFailed, src.packing == dst.packing},
            {ResultFailed, isInside(srcRect, src)},
            {ResultFailed, fitsAt(dstPos, width, height, dst)},
        }))
        return rc;
    if (width == 0)
        return ResultOk;
    const int planes = isInterleaved(src) ? 1 : src.channels;
    const std::int64_t pixel = std::int64_t{bytesPerSample(src.dataType)} * (src.channels / planes);
    for (std::int64_t plane = 0; plane < planes; ++plane) {
        for (std::int64_t y = 0; y < height; ++y)
            std::memmove(planeRowOf(dst, plane, dstPos.y() + y) + dstPos.x() * pixel,
                         planeRowOf(src, plane, srcRect.top() + y) + srcRect.left() * pixel,
                         static_cast<std::size_t>(width * pixel));
    }
    return ResultOk;
}

ResultCode MemCpy(void* dst, const void* src, std::uint64_t bytes, std::uint64_t /*dstTag*/,
                  std::uint64_t /*srcTag*/)
{
    if (bytes == 0)
        return ResultOk;
    if (dst == nullptr || src == nullptr || bytes > std::uint64_t{std::numeric_limits<std::ptrdiff_t>::max()})
        return ResultFailed;
    std::memmove(dst, src, bytes);
    return ResultOk;
}

ResultCode CopyChannel(const SxImageBuf& src, int srcChannel, SxImageBuf& dst, int dstChannel)
{
    if (const ResultCode rc = firstFailure({
            {ResultFailed, isCopyable(src) && isCopyable(dst)},
            {ResultFailed, hasChannel(src, srcChannel) && hasChannel(dst, dstChannel)},
            {ResultFailed, sameSize(src, dst) && src.dataType == dst.dataType},
        }))
        return rc;
    const int size = bytesPerSample(src.dataType);
    const ChannelLayout from = layoutOf(src, srcChannel), to = layoutOf(dst, dstChannel);
    const bool intoDenseRows = to.step == size;
    const bool betweenDenseRows = intoDenseRows && from.step == size;
    const PickChannelRow pick =
        intoDenseRows && isInterleaved(src) ? channelKernels().of(src.channels, size) : nullptr;
    const CopySamples copy = copySamplesOf(size);
    for (std::int64_t y = 0; y < src.height; ++y) {
        const std::uint8_t* const srcRow = rowOf(src, y);
        std::uint8_t* const dstRow = rowOf(dst, y) + to.offset;
        if (betweenDenseRows)
            std::memmove(dstRow, srcRow + from.offset,
                         static_cast<std::size_t>(std::int64_t{size} * src.width));
        else if (pick != nullptr)
            pick(srcRow, srcChannel, dstRow, src.width);
        else
            copy(srcRow + from.offset, from.step, dstRow, to.step, src.width);
    }
    return ResultOk;
}

}  // namespace ko
