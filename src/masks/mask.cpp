#include <ko/masks.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "base/values.h"
#include "masks/mask_kernels.h"

namespace ko {

namespace {

/// Pixels read as interleaved end before the next row begins.
bool rowsStayApart(const SxImageInfo& image)
{
    return isInterleaved(image) || isMono(image);
}

/// Little-endian word at a byte of the image; a byte behind the image's memory is 0.
std::uint32_t wordAt(const std::uint8_t* image, std::size_t byteSize, std::int64_t offset)
{
    const auto at = static_cast<std::size_t>(offset);
    const std::uint32_t low = image[at];
    const std::uint32_t high = at + 1 < byteSize ? image[at + 1] : 0U;
    return low | high << 8;
}

/// One word per channel at consecutive bytes of the pixel, so that neighbouring bytes take part in 8-bit
/// images. Only the last word of a row can reach behind the image.
void markDifferentInterleaved(const SxImageBuf& src, SxImageBuf& mask, MarkUnlikeRow markRow,
                              std::uint32_t value)
{
    const std::size_t byteSize = imageByteSize(src);
    const int sampleBytes = bytesPerSample(src.dataType);
    const std::int64_t pixelBytes = std::int64_t{src.channels} * sampleBytes;
    const std::uint32_t expected = sampleBytes == 1   ? value & 0xFFU
                                   : sampleBytes == 2 ? value & 0xFFFFU
                                                      : value;
    const bool byRows = isMono(src) && src.width > 0 && expected <= 0xFFFFU;
    rowsByConsent(workOn(src, mask), [&](std::int64_t y) noexcept {
        std::uint8_t* const marks = rowOf(mask, y);
        std::int64_t x = 0;
        if (byRows) {
            x = src.width - 1;
            markRow(rowOf(src, y), marks, x, static_cast<std::uint16_t>(expected));
        }
        for (; x < src.width; ++x) {
            const std::int64_t pixel = y * src.stride + x * pixelBytes;
            std::uint8_t mark = 0;
            for (std::int64_t k = 0; k < src.channels && mark == 0; ++k)
                mark = wordAt(src.data, byteSize, pixel + k) != expected ? 1 : 0;
            marks[x] = mark;
        }
    });
}

void markDifferentPlanar(const SxImageBuf& src, SxImageBuf& mask, MarkDifferentRow markRow,
                         std::uint32_t value)
{
    // Without pixels, a record may claim two billion planes.
    if (!hasPixels(src))
        return;
    for (int plane = 0; plane < src.channels; ++plane) {
        rowsStatic(workOn(src, mask), [&](std::int64_t y) noexcept {
            markRow(planeRowOf(src, plane, y), rowOf(mask, y), src.width, value);
        });
    }
}

}  // namespace

ResultCode MaskImage(SxImageBuf& image, const SxImageBuf& mask)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(image)},
                {ResultBadArg2, isMaskOf(mask, image)},
            }))
            return rc;
        // Read as interleaved, a row of a planar image reaches into the rows below it, but the planes behind
        // the first leave room for that even under the last row.
        return dispatch(
            BySize{}, image.dataType, {{ResultBadArg1, rowsFit(image)}, {ResultBadArg2, rowsFit(mask)}},
            [&]<class T>(std::type_identity<T>) {
                const ClearUnmaskedRow clearRow = maskKernels().clearUnmasked.of<T>();
                const auto clear = [&](std::int64_t y) noexcept {
                    clearRow(rowOf(image, y), rowOf(mask, y), image.width, image.channels);
                };
                // Rows that reach into each other are no work for several threads.
                if (rowsStayApart(image))
                    return rowsByConsent(workOn(image, mask), clear);
                for (std::int64_t y = 0; y < image.height; ++y)
                    clear(y);
            },
            ResultFailed);
    });
}

ResultCode SetValueMasked(SxImageBuf& image, const SxImageBuf& mask, const QPoint& pos, const QVariant& value)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(image) && isMono(image)},
                {ResultBadArg2, isMask(mask)},
                {ResultBadArg3, fitsAt(pos, mask.width, mask.height, image)},
            }))
            return rc;
        return dispatch(
            ByType{}, image.dataType, {{ResultBadArg1, rowsFit(image)}, {ResultBadArg2, rowsFit(mask)}},
            [&]<class T>(std::type_identity<T>) {
                const T sample = plainValue<T>(value);
                const SetMaskedRow setRow = maskKernels().setMasked.of<T>();
                const std::int64_t left = pos.x() * std::int64_t{sizeof(T)};
                rowsByConsent(workOn(mask, image), [&](std::int64_t y) noexcept {
                    setRow(rowOf(image, pos.y() + y) + left, rowOf(mask, y), mask.width, &sample);
                });
            },
            ResultFailed);
    });
}

ResultCode BinaryMask(const SxImageBuf& src, SxImageBuf& mask, unsigned int value)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src)},
                {ResultBadArg1, hasType(src, Int8, UInt8, Int16, UInt16, Int32, UInt32, Int64, UInt64)},
                {ResultBadArg2, isMaskOf(mask, src)},
                {ResultUnsupportedType, hasKnownPacking(src)},
            }))
            return rc;
        return dispatch(IntegersBySize{}, src.dataType,
                        {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(mask)}},
                        [&]<class T>(std::type_identity<T>) {
                            if (isInterleaved(src))
                                markDifferentInterleaved(src, mask, maskKernels().markUnlike.of<T>(), value);
                            else
                                markDifferentPlanar(src, mask, maskKernels().markDifferent.of<T>(), value);
                        });
    });
}

}  // namespace ko
