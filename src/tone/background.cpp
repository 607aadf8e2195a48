#include <ko/tone.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/conversions.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "tone/background_kernels.h"
#include "tone/byte_quotients_kernels.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace ko {

namespace {

/// The arrays of a correction for rows in which the first `treated` of `channels` samples change.
class RowGains {
public:
    /// `samples` of them are there to correct in all.
    template <class T>
    RowGains(std::type_identity<T>, const Correction& correction, const double* gains, int treated,
             int channels, std::int64_t samples)
        : m_correction(correction)
    {
        const auto all = [&](const auto& serves) { return std::all_of(gains, gains + treated, serves); };
        const bool single = all([&](double gain) { return singleServes<T>(correction, gain); });
        // Trying every level takes as long as ten samples save that need no second look.
        m_correction.isExact = single && static_cast<double>(samples) >= 16 * correction.top &&
                               all([&](double gain) { return exactServes(correction, gain); });
        if (m_correction.isExact && treated == channels &&
            all([&](double gain) { return gain == gains[0]; })) {
            m_correction.highestShort = highestShortSample(correction, gains[0]);
            constexpr std::int64_t worthTable = 1 << 15;
            const bool hasRow = sizeof(T) == 1 && byteQuotientKernels().row != nullptr;
            if (hasRow && samples >= worthTable && fillQuotients(gains[0]))
                m_correction.quotients = &m_quotients;
        }
        constexpr int mostChannels = 4;
        double gain[mostChannels];
        float scale[mostChannels];
        std::uint8_t marks[mostChannels];
        for (int c = 0; c < channels; ++c) {
            // Samples that stay may be computed with anything.
            gain[c] = gains[c < treated ? c : 0];
            scale[c] = single ? static_cast<float>(correction.ratio * gain[c]) : 0;
            marks[c] = c < treated ? 255 : 0;
        }
        const auto pixel = static_cast<std::size_t>(channels);
        fillRepeating<double>(m_gain, {gain, pixel});
        fillRepeating<float>(m_scale, {scale, pixel});
        fillRepeating<std::uint8_t>(m_treated, {marks, pixel});
        m_correction.gain = m_gain;
        m_correction.scale = single ? m_scale : nullptr;
        m_correction.treated = treated < channels ? m_treated : nullptr;
    }
    RowGains(const RowGains&) = delete;
    RowGains& operator=(const RowGains&) = delete;

    const Correction& correction() const noexcept { return m_correction; }

private:
    /// Of a gain that is a multiple of 1/2; false where it is too large.
    bool fillQuotients(double gain) noexcept
    {
        const int parts = gain == std::trunc(gain) ? 1 : 2;
        if (parts * gain > 255)
            return false;
        const auto factor = static_cast<std::uint16_t>(parts * gain);
        m_quotients.factor = factor;
        m_quotients.parts = static_cast<std::uint16_t>(parts);
        for (int below = 1; below < 256; ++below) {
            const int inverse = std::min(256 * factor / (parts * below), 0xFFFF);
            m_quotients.inverse[0][below] = static_cast<std::uint8_t>(inverse);
            m_quotients.inverse[1][below] = static_cast<std::uint8_t>(inverse >> 8);
        }
        return true;
    }

    Correction m_correction;
    ByteQuotients m_quotients{};
    // Whole vectors are read from them, which takes longer across cache lines.
    alignas(64) double m_gain[correctionPeriod];
    alignas(64) float m_scale[correctionPeriod];
    std::uint8_t m_treated[correctionPeriod];
};

/// Corrects the first `treated` channels of interleaved pixels or planes; `loop` runs the rows.
template <class T, class Loop>
void correct(const SxImageBuf& src, const SxImageBuf& background, SxImageBuf& dst, int treated,
             const Correction& correction, const double* gains, const Loop& loop)
{
    if (!hasPixels(src) || treated < 1)
        return;
    const CorrectRows& kernels = backgroundKernels().of<T>();
    const bool interleaved = isInterleaved(src);
    const RowWork work = workOn(src, background, dst).times(3);
    if (!interleaved || src.channels == background.channels) {
        const int perRow = interleaved ? src.channels : 1;
        for (int plane = 0; plane < (interleaved ? 1 : treated); ++plane) {
            const RowGains row(std::type_identity<T>{}, correction, gains + plane, interleaved ? treated : 1,
                               perRow, std::int64_t{src.width} * src.height * perRow);
            const CorrectRow correctRow =
                row.correction().quotients != nullptr ? byteQuotientKernels().row : kernels.row;
            loop(work, [&](std::int64_t y) noexcept {
                correctRow(planeRowOf(src, plane, y), planeRowOf(background, plane, y),
                           planeRowOf(dst, plane, y), std::int64_t{src.width} * perRow, row.correction());
            });
        }
        return;
    }
    const ChannelSteps steps{src.channels, background.channels, dst.channels};
    for (int c = 0; c < treated; ++c) {
        Correction own = correction;
        own.gain = gains + c;
        const std::int64_t shift = std::int64_t{c} * sizeof(T);
        loop(work, [&](std::int64_t y) noexcept {
            kernels.channel(rowOf(src, y) + shift, rowOf(background, y) + shift, rowOf(dst, y) + shift,
                            src.width, steps, own);
        });
    }
}

using Depths = ByTypeOf<UInt8, UInt16>;

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
                {ResultBadArg2, isTwinOf(background, src)},
                {ResultBadArg3, isTwinOf(dst, src)},
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
            correct<T>(src, background, dst, std::min(src.channels, 3),
                       {.ratio = ratio, .top = top, .keep = false}, owned.get(),
                       [](const RowWork& work, const auto& body) { rowsDynamic(work, body); });
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
                {ResultUnsupportedType, hasLayout(image)},
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
                correct<T>(image, background, image, channelCount, {.ratio = 1.0, .top = clamp, .keep = true},
                           factors, [](const RowWork& work, const auto& body) { rowsByConsent(work, body); });
            });
    });
}

}  // namespace ko
