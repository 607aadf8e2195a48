#include <ko/tone.h>

#include "base/boundary.h"
#include "tone/level_map.h"

namespace ko {

namespace {

/// Compresses three channels together. `load(x, y, count, samples)` reads the samples of `count` pixels of a
/// row into three blocks.
template <class T, class Load>
void compressColours(const SxImageBuf& src, SxImageBuf& dst, const SxImageBuf* mask, int low, int high,
                     const Load& load)
{
    const ContrastRows<T>& rows = contrastKernels().of<T>();
    const ContrastBand band = bandOf(src, low, high);
    const LevelMap<T> map(Spreading::Compress, band);
    const ChannelSamples<std::uint8_t> channels[3]{channelOf(dst, 0), channelOf(dst, 1), channelOf(dst, 2)};
    const bool wholePixels = isInterleaved(dst) && dst.channels == 3 && mask == nullptr;
    partsByConsent(Selection(wholeOf(src), mask), [&](const Selection& part) noexcept {
        SampleBlock<T> sampleBlocks[3], resultBlocks[3];
        const std::uint8_t* samples[3];
        std::uint8_t* results[3];
        for (int c = 0; c < 3; ++c) {
            samples[c] = sampleBlocks[c].data();
            results[c] = resultBlocks[c].data();
        }
        forEachRun<samplesPerBlock>(
            part, [&](std::int64_t x, std::int64_t y, std::int64_t count, const std::uint8_t* selected) {
                load(x, y, count, sampleBlocks);
                for (int c = 0; c < 3; ++c)
                    map(samples[c], results[c], count);
                rows.clearOutside(samples, results, count, band);
                if (wholePixels)
                    return rows.merge(results, count, channels[0].at<T>(x, y));
                for (int c = 0; c < 3; ++c) {
                    if (channels[c].first != nullptr)
                        putSamples<T>(results[c], channels[c].at<T>(x, y), channels[c].step, count, selected);
                }
            });
    });
}

/// One channel alone, three together, two not at all.
template <class T>
void compress(const SxImageBuf& src, SxImageBuf& dst, const SxImageBuf* mask, int low, int high)
{
    if (src.channels == 1) {
        const LevelMap<T> map(Spreading::Compress, bandOf(src, low, high));
        mapChannel<T>(channelOf(src, 0), channelOf(dst, 0), Selection(wholeOf(src), mask), map);
    }
    if (src.channels < 3)
        return;
    const ChannelSamples<const std::uint8_t> channels[3]{channelOf(src, 0), channelOf(src, 1),
                                                         channelOf(src, 2)};
    const bool wholePixels = isInterleaved(src) && src.channels == 3;
    const ContrastRows<T>& rows = contrastKernels().of<T>();
    compressColours<T>(
        src, dst, mask, low, high,
        [&](std::int64_t x, std::int64_t y, std::int64_t count, SampleBlock<T>* samples) {
            if (wholePixels) {
                std::uint8_t* const to[3]{samples[0].data(), samples[1].data(), samples[2].data()};
                return rows.split(channels[0].template at<T>(x, y), count, to);
            }
            for (int c = 0; c < 3; ++c)
                rows.gather(channels[c].template at<T>(x, y), channels[c].step, count, samples[c].data());
        });
}

/// Red, the mean of both greens and blue of the four planes of a raw image. A source with fewer planes, or
/// none, has no pixels.
template <class T>
void compressRaw(const SxImageBuf& src, SxImageBuf& dst, const SxImageBuf* mask, int low, int high)
{
    if (src.data == nullptr || isInterleaved(src) || src.channels < 4)
        return;
    const ContrastRows<T>& rows = contrastKernels().of<T>();
    const ChannelSamples<const std::uint8_t> planes[4]{channelOf(src, 0), channelOf(src, 1),
                                                       channelOf(src, 2), channelOf(src, 3)};
    compressColours<T>(src, dst, mask, low, high,
                       [&](std::int64_t x, std::int64_t y, std::int64_t count, SampleBlock<T>* samples) {
                           rows.gather(planes[0].template at<T>(x, y), 1, count, samples[0].data());
                           rows.mean(planes[1].template at<T>(x, y), planes[3].template at<T>(x, y),
                                     samples[1].data(), count);
                           rows.gather(planes[2].template at<T>(x, y), 1, count, samples[2].data());
                       });
}

/// The destination of the Gray members: any number of channels.
bool isGrayResultOf(const SxImageBuf& dst, const SxImageInfo& src) noexcept
{
    return isPresent(dst) && sameSize(dst, src) && dst.packing == src.packing && sameLevels(dst, src);
}

/// 0 <= low <= high, and below the number of levels.
bool isLowOf(int low, int high, const SxImageInfo& src) noexcept
{
    return low >= 0 && low <= high && low < wrappedLevels(src.bitsPerSample);
}

/// Unlike anywhere else, only what fails all three tests is refused.
bool isAnyRawSource(const SxImageBuf& src) noexcept
{
    return isPresent(src) || src.channels == 4 || isPlanar(src);
}

/// Both forms for images with samples of colours; `mask` is null for all pixels.
ResultCode compressImage(const SxImageBuf& src, const SxImageBuf* mask, SxImageBuf& dst, int low,
                         int high) noexcept
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src)},
                {ResultBadArg2, isGrayResultOf(dst, src)},
                {ResultBadArg3, isLowOf(low, high, src)},
                {ResultBadArg4, high < wrappedLevels(src.bitsPerSample)},
                {ResultUnsupportedType, hasLevelSamples(src)},
                {ResultUnsupportedType, src.channels < 3 || hasKnownPacking(src)},
            }))
            return rc;
        return dispatch(LevelSamples{}, src.dataType,
                        {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(dst)}},
                        [&]<class T>(std::type_identity<T>) { compress<T>(src, dst, mask, low, high); });
    });
}

/// The masks that every other operation requires are refused here.
bool isOddMaskOf(const SxImageBuf& mask, const SxImageInfo& src) noexcept
{
    return isPresent(mask) && !isMask(mask) && !sameSize(mask, src);
}

/// Both forms for raw images; with a mask, dst and the levels are one argument further.
ResultCode compressRawImage(const SxImageBuf& src, const SxImageBuf* mask, SxImageBuf& dst, int low,
                            int high) noexcept
{
    const ResultCode badDst = mask != nullptr ? ResultBadArg3 : ResultBadArg2;
    const ResultCode badLow = mask != nullptr ? ResultBadArg4 : ResultBadArg3;
    const ResultCode badHigh = mask != nullptr ? ResultBadArg5 : ResultBadArg4;
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isAnyRawSource(src)},
                {ResultBadArg2, mask == nullptr || isOddMaskOf(*mask, src)},
                {badDst, isGrayResultOf(dst, src)},
                {badLow, isLowOf(low, high, src)},
                {badHigh, high < wrappedLevels(src.bitsPerSample)},
            }))
            return rc;
        return dispatch(LevelSamples{}, src.dataType,
                        {{ResultBadArg1, src.data == nullptr || rowsFit(src)}, {badDst, rowsFit(dst)}},
                        [&]<class T>(std::type_identity<T>) { compressRaw<T>(src, dst, mask, low, high); });
    });
}

}  // namespace

ResultCode ThresholdAndStretchHistogramGray(const SxImageBuf& src, SxImageBuf& dst, int low, int high)
{
    return compressImage(src, nullptr, dst, low, high);
}

ResultCode ThresholdAndStretchHistogramGrayMasked(const SxImageBuf& src, const SxImageBuf& mask,
                                                  SxImageBuf& dst, int low, int high)
{
    return compressImage(src, &mask, dst, low, high);
}

ResultCode ThresholdAndStretchHistogramGrayRawPlanar(const SxImageBuf& src, SxImageBuf& dst, int low,
                                                     int high)
{
    return compressRawImage(src, nullptr, dst, low, high);
}

ResultCode ThresholdAndStretchHistogramGrayRawPlanarMasked(const SxImageBuf& src, const SxImageBuf& mask,
                                                           SxImageBuf& dst, int low, int high)
{
    return compressRawImage(src, &mask, dst, low, high);
}

}  // namespace ko
