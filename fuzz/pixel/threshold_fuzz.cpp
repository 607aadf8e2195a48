#include "base/dispatch.h"
#include "base/values.h"
#include "fuzz/pixel/families.h"
#include "fuzz/support/variants.h"
#include "oracle/threshold.h"

#include <ko/pixel.h>

#include <vector>

namespace ko::fuzz {

namespace {

/// One value per channel in the three arrays that the operations take. Some arrays are missing.
struct Levels {
    std::vector<QVariant> thresholds, lows, highs;
    bool hasThresholds, hasLows, hasHighs;

    Levels(ByteReader& in, const FuzzImage& image)
        : thresholds(anyVariants(in, resultsOf(image))),
          lows(anyVariants(in, resultsOf(image))),
          highs(anyVariants(in, resultsOf(image)))
    {
        const int missing = in.below(32);
        hasThresholds = missing != 1;
        hasLows = missing != 2;
        hasHighs = missing != 3;
    }

    const QVariant* thresholdData() const { return hasThresholds ? thresholds.data() : nullptr; }
    const QVariant* lowData() const { return hasLows ? lows.data() : nullptr; }
    const QVariant* highData() const { return hasHighs ? highs.data() : nullptr; }
};

template <class T>
std::vector<T> typed(const std::vector<QVariant>& variants)
{
    std::vector<T> values;
    for (const QVariant& variant : variants)
        values.push_back(typedValue<T>(variant));
    return values;
}

template <class T>
void compareBinary(const FuzzImage& src, const FuzzImage& dst, const Levels& levels)
{
    Twin expected(dst);
    oracle::thresholdBinary<T, T>(Twin(src), expected, typed<T>(levels.thresholds), typed<T>(levels.lows),
                                  typed<T>(levels.highs), src.layout().type == UInt8);
    expected.requireEqual(dst);
}

void inPlace(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {everyType});
    FuzzImage image(in, layout);
    const QVariant threshold = anyVariant(in), low = anyVariant(in), high = anyVariant(in);
    const ResultCode rc = ThresholdBinary(image, threshold, low, high);
    addCall(out, rc, image);
    if (!out.isJudged() || !image.isSound())
        return;
    Twin expected(image);
    const auto judge = [&]<class T>(std::type_identity<T>) {
        oracle::thresholdBinary<T, T>(Twin(image), expected, {plainValue<T>(threshold)}, {plainValue<T>(low)},
                                      {plainValue<T>(high)}, false);
    };
    require(rc == dispatch(IntegersByType{}, layout.type, {}, judge), "another status than expected");
    expected.requireEqual(image);
}

void copy(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {everyType, everyChannels});
    const FuzzImage src(in, layout);
    FuzzImage dst(in, like(in, layout));
    const Levels levels(in, src);
    const ResultCode rc =
        ThresholdBinary(src, dst, levels.thresholdData(), levels.lowData(), levels.highData());
    addCall(out, rc, dst, src);
    if (rc == ResultOk && out.isJudged() && areSound(src, dst))
        (void)dispatch(ByType{}, layout.type, {},
                       [&]<class T>(std::type_identity<T>) { compareBinary<T>(src, dst, levels); });
}

void copyOntoItself(ByteReader& in, Outcome& out)
{
    FuzzImage image(in, anyLayout(in, {everyType, everyChannels}));
    const Levels levels(in, image);
    const ResultCode rc =
        ThresholdBinary(image, image, levels.thresholdData(), levels.lowData(), levels.highData());
    addCall(out, rc, image);
    if (rc == ResultOk && out.isJudged() && image.isSound())
        (void)dispatch(ByType{}, image.layout().type, {},
                       [&]<class T>(std::type_identity<T>) { compareBinary<T>(image, image, levels); });
}

void masked(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {everyType, everyChannels});
    const FuzzImage src(in, layout), mask(in, like(in, layout, UInt8, 1));
    FuzzImage dst(in, like(in, layout));
    const Levels levels(in, src);
    const ResultCode rc =
        ThresholdBinaryMasked(src, mask, dst, levels.thresholdData(), levels.lowData(), levels.highData());
    addCall(out, rc, dst, src, mask);
    if (rc == ResultOk && out.isJudged() && areSound(src, dst))
        (void)dispatch(ByType{}, layout.type, {},
                       [&]<class T>(std::type_identity<T>) { compareBinary<T>(src, dst, levels); });
}

void toBytes(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {everyType, everyChannels});
    const FuzzImage src(in, layout);
    const int channels = in.oneIn(4) ? in.pick(everyChannels) : layout.channels;
    FuzzImage dst(in, like(in, layout, UInt8, channels));
    const Levels levels(in, src);
    std::vector<unsigned char> highs(resultsOf(src));
    for (std::size_t c = 0; c < 5 && c < highs.size(); ++c)
        highs[c] = in.byte();
    const bool fourChannelRule = in.flag();
    const ResultCode rc = ThresholdBinaryGT(src, dst, levels.thresholdData(),
                                            levels.hasHighs ? highs.data() : nullptr, fourChannelRule);
    addCall(out, rc, dst, src);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, dst))
        return;
    Twin expected(dst);
    (void)dispatch(ByType{}, layout.type, {}, [&]<class T>(std::type_identity<T>) {
        oracle::thresholdBinary<T, std::uint8_t>(Twin(src), expected, typed<T>(levels.thresholds),
                                                 std::vector<std::uint8_t>(highs.size()), highs,
                                                 fourChannelRule);
    });
    expected.requireEqual(dst);
}

void toBytesInPlace(ByteReader& in, Outcome& out)
{
    FuzzImage image(in, anyLayout(in, {{UInt8}, everyChannels}));
    const Levels levels(in, image);
    std::vector<unsigned char> highs(resultsOf(image), in.byte());
    const bool fourChannelRule = in.flag();
    const ResultCode rc =
        ThresholdBinaryGT(image, image, levels.thresholdData(), highs.data(), fourChannelRule);
    addCall(out, rc, image);
    if (rc != ResultOk || !out.isJudged() || !image.isSound())
        return;
    Twin expected(image);
    oracle::thresholdBinary<std::uint8_t, std::uint8_t>(
        Twin(image), expected, typed<std::uint8_t>(levels.thresholds),
        std::vector<std::uint8_t>(highs.size()), highs, fourChannelRule);
    expected.requireEqual(image);
}

void replace(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {everyType, everyChannels});
    FuzzImage image(in, layout);
    const Levels levels(in, image);
    const bool fourChannelRule = in.flag();
    const ResultCode rc = ThresholdGT(image, levels.thresholdData(), levels.lowData(), fourChannelRule);
    addCall(out, rc, image);
    if (rc != ResultOk || !out.isJudged() || !image.isSound())
        return;
    Twin expected(image);
    (void)dispatch(ByType{}, layout.type, {}, [&]<class T>(std::type_identity<T>) {
        oracle::thresholdGT<T>(expected, typed<T>(levels.thresholds), typed<T>(levels.lows), fourChannelRule);
    });
    expected.requireEqual(image);
}

}  // namespace

Cases thresholdCases()
{
    return {{"threshold: inPlace", &inPlace},
            {"threshold: copy", &copy},
            {"threshold: copyOntoItself", &copyOntoItself},
            {"threshold: masked", &masked},
            {"threshold: toBytes", &toBytes},
            {"threshold: replace", &replace},
            {"threshold: toBytesInPlace", &toBytesInPlace}};
}

}  // namespace ko::fuzz
