#include <ko/tone.h>

#include "core/checks.h"
#include "core/dispatch.h"
#include "core/image_view.h"
#include "frame/boundary.h"
#include "frame/conversions.h"
#include "frame/rows.h"
#include "tone/background_kernels.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace ko {

namespace {

/// The first `count` gains over and over, until whole vectors of a kernel fit.
std::vector<double> alongRow(const double* gains, int count)
{
    std::vector<double> samples(64 * static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = gains[i % static_cast<std::size_t>(count)];
    return samples;
}

/// Corrects the first `treated` channels of interleaved pixels or planes; `loop` runs the rows.
template <class Loop>
void correct(const CorrectRows& kernels, const SxImageBuf& src, const SxImageBuf& background, SxImageBuf& dst,
             int treated, Correction correction, const double* gains, const Loop& loop)
{
    if (!hasPixels(src) || treated < 1)
        return;
    const bool interleaved = isInterleaved(src);
    if (interleaved && treated == src.channels && treated == background.channels) {
        const std::vector<double> repeated = alongRow(gains, treated);
        correction.gain = repeated.data();
        correction.period = static_cast<std::int64_t>(repeated.size());
        const std::int64_t samples = std::int64_t{src.width} * src.channels;
        loop(src.height, [&](std::int64_t y) noexcept {
            kernels.row(rowOf(src, y), rowOf(background, y), rowOf(dst, y), samples, correction);
        });
        return;
    }
    const ChannelSteps steps =
        interleaved ? ChannelSteps{src.channels, background.channels, dst.channels} : ChannelSteps{1, 1, 1};
    const std::int64_t size = bytesPerSample(src.dataType);
    for (int c = 0; c < treated; ++c) {
        const std::int64_t shift = interleaved ? c * size : 0;
        const int plane = interleaved ? 0 : c;
        correction.gain = gains + c;
        correction.period = 1;
        loop(src.height, [&](std::int64_t y) noexcept {
            kernels.channel(planeRowOf(src, plane, y) + shift, planeRowOf(background, plane, y) + shift,
                            planeRowOf(dst, plane, y) + shift, src.width, steps, correction);
        });
    }
}

using Depths = ByTypeOf<UInt8, UInt16>;

/// The image is one to be corrected by, or to receive, the source.
bool goesWith(const SxImageBuf& image, const SxImageInfo& src)
{
    return isPresent(image) && sameSize(image, src) && sameFormat(image, src);
}

/// Both have one channel, or both have colour.
bool channelsGoTogether(const SxImageInfo& background, const SxImageInfo& image)
{
    return isMono(background) ? isMono(image) : hasChannels(background, 3, 4) && hasChannels(image, 3, 4);
}

}  // namespace

ResultCode CorrectBackground(const SxImageBuf& src, const SxImageBuf& background, SxImageBuf& dst,
                             double referenceLevel, double targetLevel, double* gains)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && hasType(src, UInt8, UInt16)},
                {ResultBadArg1, hasChannels(src, 1, 3, 4) && isInterleaved(src)},
                {ResultBadArg2, goesWith(background, src)},
                {ResultBadArg3, goesWith(dst, src)},
                {ResultBadArg4, !(referenceLevel < 0)},
                {ResultBadArg5, !(targetLevel < 0)},
                {ResultBadArg1, rowsFit(src)},
                {ResultBadArg2, rowsFit(background)},
                {ResultBadArg3, rowsFit(dst)},
            }))
            return rc;
        std::unique_ptr<double[]> owned(gains);  // whatever happens from here on
        return dispatch(Depths{}, src.dataType, {}, [&]<class T>(std::type_identity<T>) {
            const double top = std::trunc(std::ldexp(1.0, src.bitsPerSample) - 1);
            const double ratio = referenceLevel > 0 && targetLevel > 0 ? targetLevel / referenceLevel : 1.0;
            if (owned == nullptr) {
                const auto channels = static_cast<std::size_t>(src.channels);
                owned = std::make_unique<double[]>(channels);
                std::fill_n(owned.get(), channels, static_cast<T>(toInt64(top)));
            }
            correct(backgroundKernels().of<T>(), src, background, dst, std::min(src.channels, 3),
                    {.ratio = ratio, .top = top, .gain = nullptr, .period = 0, .keep = false}, owned.get(),
                    [](std::int64_t rows, const auto& body) { rowsDynamic(rows, body); });
        });
    });
}

ResultCode BackgroundCorrection(const SxImageBuf& background, SxImageBuf& image, int channelCount,
                                const double* factors)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(background)},
                {ResultBadArg2, isPresent(image) && sameSize(image, background)},
                {ResultBadArg2, image.packing == background.packing && image.dataType == background.dataType},
                {ResultBadArg2, channelsGoTogether(background, image)},
                {ResultBadArg3, channelCount <= std::min(background.channels, image.channels)},
                {ResultBadArg3, factors != nullptr},
            }))
            return rc;
        return dispatch(
            Depths{}, image.dataType, {{ResultBadArg1, rowsFit(background)}, {ResultBadArg2, rowsFit(image)}},
            [&]<class T>(std::type_identity<T>) {
                // 2^bits, not one less, and cut to the sample: 16 bits leave 0.
                const double clamp =
                    sizeof(T) == 1
                        ? 255.0
                        : static_cast<std::uint16_t>(toInt64(std::ldexp(1.0, image.bitsPerSample)));
                correct(backgroundKernels().of<T>(), image, background, image, channelCount,
                        {.ratio = 1.0, .top = clamp, .gain = nullptr, .period = 0, .keep = true}, factors,
                        [](std::int64_t rows, const auto& body) {
                            for (std::int64_t y = 0; y < rows; ++y)
                                body(y);
                        });
            });
    });
}

}  // namespace ko
