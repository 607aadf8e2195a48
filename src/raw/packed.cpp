#include "base/boundary.h"
#include "base/checks.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "core/bayer_cell.h"
#include "raw/packed_kernels.h"

#include <ko/raw.h>

#include <limits>

namespace ko {

namespace {

constexpr auto unpackTables = [] {
    std::array<UnpackTable, packedGroups.size()> tables{};
    for (std::size_t i = 0; i < tables.size(); ++i)
        tables[i] = unpackTable(packedGroups[i]);
    return tables;
}();

constexpr auto packTables = [] {
    std::array<PackTable, packedGroups.size()> tables{};
    for (std::size_t i = 0; i < tables.size(); ++i)
        tables[i] = packTable(packedGroups[i]);
    return tables;
}();

bool isLayout(ExPackedLayout layout)
{
    return layout >= Mono10p && layout <= Mono16MsbAligned;
}

/// Words of the layout's depth, or of any depth where the layout has none.
bool areSamplesOf(ExPackedLayout layout, const SxImageBuf& image)
{
    const int bits = image.bitsPerSample;
    return isPresent(image) && isMono(image) && hasType(image, UInt16) &&
           (isPacked(layout) ? bits == groupOf(layout).bits : bits >= 1 && bits <= 16);
}

bool isPitchOf(std::size_t pitch, std::size_t rowBytes)
{
    return pitch == 0 || pitch >= rowBytes;
}

/// Bytes from row to row. Rows of no bytes lie in one place, whatever pitch is claimed for them.
std::size_t stepOf(std::size_t pitch, std::size_t rowBytes)
{
    return pitch == 0 || rowBytes == 0 ? rowBytes : pitch;
}

/// The rows end within the memory.
bool holdsRows(std::size_t bytes, std::size_t pitch, std::size_t rowBytes, const SxImageInfo& info)
{
    if (info.height <= 0 || rowBytes == 0)
        return true;
    const std::size_t between = stepOf(pitch, rowBytes);
    return bytes >= rowBytes && (bytes - rowBytes) / between >= static_cast<std::size_t>(info.height) - 1;
}

/// Of rows that come from one form and go to the other.
RowWork packedWork(const SxImageInfo& image, std::size_t packedBytes)
{
    return {image.height, rowBytes(image) + static_cast<std::int64_t>(packedBytes)};
}

}  // namespace

int packedBitsPerSample(ExPackedLayout layout)
{
    return isPacked(layout) ? groupOf(layout).bits : isLayout(layout) ? 16 : 0;
}

std::size_t packedRowBytes(ExPackedLayout layout, int width)
{
    if (width < 0 || !isLayout(layout))
        return 0;
    const auto samples = static_cast<std::size_t>(width);
    if (!isPacked(layout))
        return samples * 2;
    const PackedGroup& group = groupOf(layout);
    const auto groupSamples = static_cast<std::size_t>(group.samples);
    if (group.highStep == 0)
        return (samples * static_cast<std::size_t>(group.bits) + 7) / 8;
    return (samples + groupSamples - 1) / groupSamples * static_cast<std::size_t>(group.bytes);
}

ResultCode UnpackSamples(const void* data, std::size_t bytes, std::size_t pitch, ExPackedLayout layout,
                         SxImageBuf& dst)
{
    return guarded([&] {
        const std::size_t rowBytes = packedRowBytes(layout, dst.width);
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, data != nullptr},
                {ResultBadArg4, isLayout(layout)},
                {ResultBadArg5, areSamplesOf(layout, dst)},
                {ResultBadArg3, isPitchOf(pitch, rowBytes)},
                {ResultBadArg2, holdsRows(bytes, pitch, rowBytes, dst)},
                {ResultBadArg5, rowsFit(dst)},
            }))
            return rc;
        const PackedKernels& kernels = packedKernels();
        const auto* const first = static_cast<const std::uint8_t*>(data);
        const std::size_t between = stepOf(pitch, rowBytes);
        rowsDynamic(packedWork(dst, rowBytes), [&](std::int64_t y) noexcept {
            const std::uint8_t* const packed = first + static_cast<std::size_t>(y) * between;
            if (isPacked(layout))
                kernels.unpack(packed, static_cast<std::int64_t>(rowBytes), rowOf(dst, y), dst.width,
                               unpackTables[static_cast<std::size_t>(layout)]);
            else if (layout == Mono16BigEndian)
                kernels.swapBytes(packed, rowOf(dst, y), dst.width,
                                  std::numeric_limits<std::uint16_t>::max());
            else
                kernels.shiftDown(packed, rowOf(dst, y), dst.width, 16 - dst.bitsPerSample);
        });
        return ResultOk;
    });
}

ResultCode PackSamples(const SxImageBuf& src, ExPackedLayout layout, void* data, std::size_t bytes,
                       std::size_t pitch)
{
    return guarded([&] {
        const std::size_t rowBytes = packedRowBytes(layout, src.width);
        if (const ResultCode rc = firstFailure({
                {ResultBadArg2, isLayout(layout)},
                {ResultBadArg1, areSamplesOf(layout, src)},
                {ResultBadArg3, data != nullptr},
                {ResultBadArg5, isPitchOf(pitch, rowBytes)},
                {ResultBadArg4, holdsRows(bytes, pitch, rowBytes, src)},
                {ResultBadArg1, rowsFit(src)},
            }))
            return rc;
        const PackedKernels& kernels = packedKernels();
        auto* const first = static_cast<std::uint8_t*>(data);
        const std::size_t between = stepOf(pitch, rowBytes);
        const auto top = saturatedTop<std::uint16_t>(src.bitsPerSample);
        rowsDynamic(packedWork(src, rowBytes), [&](std::int64_t y) noexcept {
            std::uint8_t* const packed = first + static_cast<std::size_t>(y) * between;
            if (isPacked(layout))
                kernels.pack(rowOf(src, y), src.width, packed, static_cast<std::int64_t>(rowBytes),
                             packTables[static_cast<std::size_t>(layout)], top);
            else if (layout == Mono16BigEndian)
                kernels.swapBytes(rowOf(src, y), packed, src.width, top);
            else
                kernels.shiftUp(rowOf(src, y), packed, src.width, 16 - src.bitsPerSample, top);
        });
        return ResultOk;
    });
}

}  // namespace ko
