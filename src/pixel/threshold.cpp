#include <ko/pixel.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/joined_rows.h"
#include "base/repeat.h"
#include "base/values.h"
#include "pixel/threshold_kernels.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

namespace ko {

namespace {

/// Channels that an operation treats: of interleaved pixels with a fourth channel that is not colour, three.
int treatedChannels(const SxImageInfo& image, bool fourChannelRule)
{
    const bool withoutFourth = fourChannelRule && isInterleaved(image) && image.channels == 4;
    return withoutFourth ? 3 : std::max(image.channels, 0);
}

/// One value per channel.
template <class T>
std::vector<T> valuesOf(const QVariant* variants, int channels)
{
    std::vector<T> values(static_cast<std::size_t>(channels));
    std::transform(variants, variants + channels, values.begin(), &typedValue<T>);
    return values;
}

/// The values of the channels in the order of the samples of a row; a single one needs no repetition.
template <class T>
std::vector<T> alongRow(const std::vector<T>& channels)
{
    return channels.size() == 1 ? channels : repeated<T>(channels);
}

/// All values have the same bytes.
template <class T>
bool isOne(const std::vector<T>& channels) noexcept
{
    return std::all_of(channels.begin(), channels.end(), [&](const T& value) {
        return std::memcmp(&value, channels.data(), sizeof(T)) == 0;  // NOLINT: zeros of either sign differ
    });
}

/// Thresholds in the source's type and results in the destination's, one per channel.
template <class T, class Out>
struct Levels {
    std::vector<T> thresholds;
    std::vector<Out> lows;
    std::vector<Out> highs;

    std::int64_t count() const noexcept { return static_cast<std::int64_t>(thresholds.size()); }
    Levels alongRow() const { return {ko::alongRow(thresholds), ko::alongRow(lows), ko::alongRow(highs)}; }
    /// All channels have the same ones.
    bool areOne() const noexcept { return isOne(thresholds) && isOne(lows) && isOne(highs); }
    /// The levels of channel `first` and those behind it.
    BinaryLevels<T, Out> from(int first, std::int64_t period) const noexcept
    {
        return {thresholds.data() + first, lows.data() + first, highs.data() + first, period};
    }
};

/// One level for all samples, without memory for one per channel.
template <class T, class Out>
void binaryMono(const SxImageBuf& src, SxImageBuf& dst, BinaryRows<T, Out> rows, T threshold, Out low,
                Out high)
{
    const BinaryLevels<T, Out> levels{&threshold, &low, &high, 1};
    pairsStatic(src, dst, src.width, [&](const RowPairs& pairs) noexcept { rows(pairs, levels); });
}

/// One plane after another, each as a mono image.
template <class T, class Out>
void binaryPlanes(const SxImageBuf& src, SxImageBuf& dst, BinaryRows<T, Out> rows,
                  const Levels<T, Out>& levels)
{
    const int planes = std::min(static_cast<int>(levels.count()), dst.channels);
    for (int plane = 0; plane < planes; ++plane) {
        SxImageBuf to = planeView(dst, plane);
        const auto c = static_cast<std::size_t>(plane);
        binaryMono(planeView(src, plane), to, rows, levels.thresholds[c], levels.lows[c], levels.highs[c]);
    }
}

/// Pixels whose channels are all treated: rows of samples without gaps.
template <class T, class Out>
void binaryPixels(const SxImageBuf& src, SxImageBuf& dst, BinaryRows<T, Out> rows,
                  const Levels<T, Out>& levels)
{
    const bool areOne = levels.areOne();
    const Levels<T, Out> repeated = areOne ? Levels<T, Out>{} : levels.alongRow();
    const BinaryLevels<T, Out> all = areOne ? levels.from(0, 1) : repeated.from(0, repeated.count());
    pairsStatic(src, dst, std::int64_t{src.width} * src.channels,
                [&](const RowPairs& pairs) noexcept { rows(pairs, all); });
}

/// Pixels whose fourth channel is left alone.
template <class T>
void binaryTreated(const SxImageBuf& src, SxImageBuf& dst, Levels<T, std::uint8_t> levels)
{
    const auto rows = thresholdKernels().of<T>().markTreated;
    const auto channels = static_cast<std::size_t>(src.channels);
    std::vector<std::uint8_t> treated(levels.thresholds.size(), 1);
    treated.resize(channels);
    levels.thresholds.resize(channels);
    levels.lows.resize(channels);
    levels.highs.resize(channels);
    treated = alongRow(treated);
    const Levels<T, std::uint8_t> repeated = levels.alongRow();
    const BinaryLevels<T, std::uint8_t> all = repeated.from(0, repeated.count());
    pairsStatic(src, dst, std::int64_t{src.width} * src.channels,
                [&](const RowPairs& pairs) noexcept { rows(pairs, all, treated.data()); });
}

/// Pixels with more channels on one side: each image is stepped by its own channel count.
template <class T>
void binaryChannels(const SxImageBuf& src, SxImageBuf& dst, const Levels<T, std::uint8_t>& levels)
{
    const auto row = thresholdKernels().of<T>().markChannel;
    const int channels = std::min(static_cast<int>(levels.count()), dst.channels);
    rowsStatic(workOn(src, dst).times(16), [&](std::int64_t y) noexcept {
        for (int c = 0; c < channels; ++c) {
            row(rowOf(src, y) + c * std::int64_t{sizeof(T)}, rowOf(dst, y) + c, src.width,
                {src.channels, dst.channels}, levels.from(c, 1));
        }
    });
}

template <class T, class Out>
void binary(const SxImageBuf& src, SxImageBuf& dst, BinaryRows<T, Out> rows, const Levels<T, Out>& levels)
{
    if (!hasPixels(src) || !hasPixels(dst))
        return;
    if (!isInterleaved(src)) {
        binaryPlanes(src, dst, rows, levels);
        return;
    }
    if constexpr (std::is_same_v<Out, std::uint8_t>) {
        if (src.channels != dst.channels) {
            binaryChannels(src, dst, levels);
            return;
        }
        if (src.channels != levels.count()) {
            binaryTreated(src, dst, levels);
            return;
        }
    }
    binaryPixels(src, dst, rows, levels);
}

/// The copy form after its own checks, which the masked form shares.
ResultCode binaryCopy(const SxImageBuf& src, SxImageBuf& dst, ResultCode badDst, const QVariant* thresholds,
                      const QVariant* lows, const QVariant* highs)
{
    return dispatch(ByType{}, src.dataType, {{ResultBadArg1, rowsFit(src)}, {badDst, rowsFit(dst)}},
                    [&]<class T>(std::type_identity<T>) {
                        const auto rows = thresholdKernels().of<T>().binary;
                        if (isMono(src))
                            return binaryMono(src, dst, rows, typedValue<T>(*thresholds),
                                              typedValue<T>(*lows), typedValue<T>(*highs));
                        const int channels = treatedChannels(src, hasType(src, UInt8));
                        binary<T, T>(src, dst, rows,
                                     {valuesOf<T>(thresholds, channels), valuesOf<T>(lows, channels),
                                      valuesOf<T>(highs, channels)});
                    });
}

/// A level that changes no sample: nothing but itself is at or below it.
template <class T>
constexpr T leastOf() noexcept
{
    if constexpr (std::numeric_limits<T>::has_infinity)
        return -std::numeric_limits<T>::infinity();
    else
        return std::numeric_limits<T>::lowest();
}

/// Keeps the samples above their thresholds. Planar images change in their first plane only, by the levels of
/// channel 0.
template <class T>
void keepAbove(SxImageBuf& image, const QVariant* thresholds, const QVariant* values, bool fourChannelRule)
{
    if (!hasPixels(image))
        return;
    const int channels = isInterleaved(image) ? image.channels : 1;
    const int treated = std::min(treatedChannels(image, fourChannelRule), channels);
    std::vector<T> floors = valuesOf<T>(thresholds, treated), replacements = valuesOf<T>(values, treated);
    floors.resize(static_cast<std::size_t>(channels), leastOf<T>());
    replacements.resize(static_cast<std::size_t>(channels), leastOf<T>());
    floors = alongRow(floors);
    replacements = alongRow(replacements);
    const KeepLevels<T> levels{floors.data(), replacements.data(), static_cast<std::int64_t>(floors.size())};
    const auto row = thresholdKernels().of<T>().keep;
    pairsStatic(image, image, std::int64_t{image.width} * channels, [&](const RowPairs& pairs) noexcept {
        for (std::int64_t y = 0; y < pairs.rows; ++y)
            row(pairs.dstRow(y), pairs.samples, levels);
    });
}

}  // namespace

ResultCode ThresholdBinary(SxImageBuf& image, const QVariant& threshold, const QVariant& low,
                           const QVariant& high)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({{ResultBadArg1, isPresent(image) && isMono(image)}}))
            return rc;
        return dispatch(IntegersByType{}, image.dataType, {{ResultBadArg1, rowsFit(image)}},
                        [&]<class T>(std::type_identity<T>) {
                            binaryMono(image, image, thresholdKernels().of<T>().binary,
                                       plainValue<T>(threshold), plainValue<T>(low), plainValue<T>(high));
                        });
    });
}

ResultCode ThresholdBinary(const SxImageBuf& src, SxImageBuf& dst, const QVariant* thresholds,
                           const QVariant* lows, const QVariant* highs)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src)},
                {ResultBadArg2, isTwinOf(dst, src)},
                {ResultBadArg3, thresholds != nullptr},
                {ResultBadArg4, lows != nullptr},
                {ResultBadArg5, highs != nullptr},
                {ResultUnsupportedType, hasLayout(src)},
            }))
            return rc;
        return binaryCopy(src, dst, ResultBadArg2, thresholds, lows, highs);
    });
}

ResultCode ThresholdBinaryMasked(const SxImageBuf& src, const SxImageBuf& mask, SxImageBuf& dst,
                                 const QVariant* thresholds, const QVariant* lows, const QVariant* highs)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src)},
                {ResultBadArg2, isMaskOf(mask, src)},
                {ResultBadArg3, isTwinOf(dst, src)},
                {ResultBadArg4, thresholds != nullptr},
                {ResultBadArg5, lows != nullptr},
                {ResultBadArg6, highs != nullptr},
                {ResultUnsupportedType, hasLayout(src)},
            }))
            return rc;
        return binaryCopy(src, dst, ResultBadArg3, thresholds, lows, highs);
    });
}

ResultCode ThresholdBinaryGT(const SxImageBuf& src, SxImageBuf& dst, const QVariant* thresholds,
                             unsigned char* highs, bool fourChannelRule)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src)},
                {ResultBadArg2, isPresent(dst) && hasType(dst, UInt8) && sameSize(dst, src)},
                {ResultBadArg2, dst.packing == src.packing},
                {ResultBadArg3, thresholds != nullptr},
                {ResultBadArg4, highs != nullptr},
                {ResultUnsupportedType, hasLayout(src)},
            }))
            return rc;
        return dispatch(
            ByType{}, src.dataType, {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(dst)}},
            [&]<class T>(std::type_identity<T>) {
                const auto rows = thresholdKernels().of<T>().mark;
                if (isMono(src) && isMono(dst))
                    return binaryMono(src, dst, rows, typedValue<T>(*thresholds), std::uint8_t{0},
                                      std::uint8_t{*highs});
                const int channels = treatedChannels(src, fourChannelRule);
                const std::vector<std::uint8_t> lows(static_cast<std::size_t>(channels));
                binary<T, std::uint8_t>(src, dst, rows,
                                        {valuesOf<T>(thresholds, channels), lows, {highs, highs + channels}});
            });
    });
}

ResultCode ThresholdGT(SxImageBuf& image, const QVariant* thresholds, const QVariant* values,
                       bool fourChannelRule)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(image)},
                {ResultBadArg2, thresholds != nullptr},
                {ResultBadArg3, values != nullptr},
                {ResultUnsupportedType, hasLayout(image)},
            }))
            return rc;
        return dispatch(ByType{}, image.dataType, {{ResultBadArg1, rowsFit(image)}},
                        [&]<class T>(std::type_identity<T>) {
                            keepAbove<T>(image, thresholds, values, fourChannelRule);
                        });
    });
}

}  // namespace ko
