#include <ko/tone.h>

#include "base/boundary.h"
#include "core/bayer_cell.h"
#include "tone/level_map.h"

namespace ko {

namespace {

/// Bytes take the low 8 bits of the levels.
template <class T>
void stretchChannel(const SxImageBuf& src, int srcChannel, SxImageBuf& dst, int dstChannel,
                    const SxImageBuf* mask, int low, int high)
{
    if constexpr (sizeof(T) == 1) {
        low = static_cast<std::uint8_t>(low);
        high = static_cast<std::uint8_t>(high);
    }
    const LevelMap<T> map(Spreading::Stretch, bandOf(src, low, high));
    mapChannel<T>(channelOf(src, srcChannel), channelOf(dst, dstChannel), Selection(wholeOf(src), mask), map);
}

/// The mean of the greens of a raw image, stretched unless the band is the whole range.
template <class T>
void stretchGreen(const SxImageBuf& src, SxImageBuf& dst, int dstChannel, const SxImageBuf* mask, int low,
                  int high)
{
    const ContrastRows<T>& rows = contrastKernels().of<T>();
    const ContrastBand band = bandOf(src, low, high);
    const bool identity = isIdentity(src, low, high);
    const auto first = channelOf(src, 1), second = channelOf(src, 3);
    fillChannel<T>(
        channelOf(dst, dstChannel), Selection(wholeOf(src), mask),
        [&](std::int64_t x, std::int64_t y, std::int64_t count, std::uint8_t* out) {
            const std::uint8_t *const a = first.template at<T>(x, y), *const b = second.template at<T>(x, y);
            if (identity)
                rows.mean(a, b, out, count);
            else
                rows.stretchMean(a, b, out, count, band);
        });
}

/// The copy forms after their own checks; without a mask all pixels are treated.
ResultCode stretchCopy(const SxImageBuf& src, int srcChannel, SxImageBuf& dst, int dstChannel,
                       const SxImageBuf* mask, int low, int high)
{
    const bool identity = isIdentity(src, low, high);
    if (const ResultCode rc = firstFailure({
            {ResultUnsupportedType, hasLevelSamples(src)},
            {ResultUnsupportedType, identity || (hasKnownPacking(src) && hasKnownPacking(dst))},
        }))
        return rc;
    return dispatch(LevelSamples{}, src.dataType,
                    {{ResultBadArg1, rowsFit(src)},
                     {ResultBadArg3, rowsFit(dst)},
                     {ResultBadArg5, !mask || rowsFit(*mask)}},
                    [&]<class T>(std::type_identity<T>) {
                        if (identity)
                            return isFailure(CopyChannel(src, srcChannel, dst, dstChannel)) ? ResultFailed
                                                                                            : ResultOk;
                        stretchChannel<T>(src, srcChannel, dst, dstChannel, mask, low, high);
                        return ResultOk;
                    });
}

ResultCode stretchInPlace(SxImageBuf& image, const SxImageBuf* mask, int channel, int low, int high)
{
    if (isIdentity(image, low, high))
        return ResultOk;
    return dispatch(LevelSamples{}, image.dataType,
                    {{ResultBadArg1, rowsFit(image)}, {ResultBadArg2, !mask || rowsFit(*mask)}},
                    [&]<class T>(std::type_identity<T>) {
                        stretchChannel<T>(image, channel, image, channel, mask, low, high);
                    });
}

bool isStretchable(const SxImageBuf& image) noexcept
{
    return isPresent(image) && image.channels >= 1 && hasKnownPacking(image);
}

bool isGreenResultOf(const SxImageBuf& dst, const SxImageInfo& src) noexcept
{
    return isPresent(dst) && dst.channels >= 1 && isPlanar(dst) && dst.dataType == src.dataType &&
           sameSize(dst, src);
}

ResultCode stretchGreenChecked(const SxImageBuf& src, SxImageBuf& dst, int dstChannel, const SxImageBuf* mask,
                               int low, int high)
{
    return dispatch(
        LevelSamples{}, src.dataType,
        {{ResultBadArg1, rowsFit(src)},
         {ResultBadArg2, rowsFit(dst)},
         {ResultBadArg4, !mask || rowsFit(*mask)}},
        [&]<class T>(std::type_identity<T>) { stretchGreen<T>(src, dst, dstChannel, mask, low, high); });
}

}  // namespace

ResultCode ThresholdAndStretchHistogram(SxImageBuf& image, int channel, int low, int high)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isStretchable(image)},
                {ResultBadArg2, channel >= 0 && channel <= image.channels},
            }))
            return rc;
        return stretchInPlace(image, nullptr, channel, low, high);
    });
}

ResultCode ThresholdAndStretchHistogram(const SxImageBuf& src, int srcChannel, SxImageBuf& dst,
                                        int dstChannel, int low, int high)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src)},
                {ResultBadArg2, hasChannel(src, srcChannel)},
                {ResultBadArg3, isPresent(dst) && sameSize(dst, src) && sameLevels(dst, src)},
                {ResultBadArg3, dst.packing == src.packing},
                {ResultBadArg4, hasChannel(dst, dstChannel)},
                {ResultBadArg5, isLevel(low, src)},
                {ResultBadArg6, isLevel(high, src)},
            }))
            return rc;
        return stretchCopy(src, srcChannel, dst, dstChannel, nullptr, low, high);
    });
}

ResultCode ThresholdAndStretchHistogramMasked(SxImageBuf& image, const SxImageBuf& mask, int channel, int low,
                                              int high)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isStretchable(image)},
                {ResultBadArg2, isMaskOf(mask, image)},
                {ResultBadArg3, channel >= 0 && channel <= image.channels},
            }))
            return rc;
        return stretchInPlace(image, &mask, channel, low, high);
    });
}

ResultCode ThresholdAndStretchHistogramMasked(const SxImageBuf& src, int srcChannel, SxImageBuf& dst,
                                              int dstChannel, const SxImageBuf& mask, int low, int high)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src)},
                {ResultBadArg2, hasChannel(src, srcChannel)},
                {ResultBadArg3, isPresent(dst) && sameSize(dst, src) && sameLevels(dst, src)},
                {ResultBadArg3, isMono(src) || dst.packing == src.packing},
                {ResultBadArg4, hasChannel(dst, dstChannel)},
                {ResultBadArg5, isMaskOf(mask, src)},
                {ResultBadArg6, isLevel(low, src)},
                {ResultBadArg7, isLevel(high, src)},
            }))
            return rc;
        return stretchCopy(src, srcChannel, dst, dstChannel, &mask, low, high);
    });
}

ResultCode ThresholdAndStretchHistogramGreenRawPlanar(const SxImageBuf& src, SxImageBuf& dst, int dstChannel,
                                                      int low, int high)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && isFourPlanes(src)},
                {ResultBadArg2, isGreenResultOf(dst, src)},
                {ResultBadArg3, hasChannel(dst, dstChannel)},
            }))
            return rc;
        return stretchGreenChecked(src, dst, dstChannel, nullptr, low, high);
    });
}

ResultCode ThresholdAndStretchHistogramGreenRawPlanarMasked(const SxImageBuf& src, SxImageBuf& dst,
                                                            int dstChannel, const SxImageBuf& mask, int low,
                                                            int high)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && isFourPlanes(src)},
                {ResultBadArg2, isGreenResultOf(dst, src)},
                {ResultBadArg3, hasChannel(dst, dstChannel)},
                {ResultBadArg4, isMaskOf(mask, src)},
            }))
            return rc;
        return stretchGreenChecked(src, dst, dstChannel, &mask, low, high);
    });
}

}  // namespace ko
