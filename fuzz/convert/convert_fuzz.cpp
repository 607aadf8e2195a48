// Floating-point and wide samples to unsigned ones.
#include "base/dispatch.h"
#include "fuzz/support/run.h"
#include "oracle/convert.h"

#include <ko/convert.h>

#include <vector>

namespace ko::fuzz {

namespace {

constexpr std::initializer_list<NormalizationType> normalizations = {NormalizeSeparate, NormalizeJoint};

/// The arrays for the measured range; either may be missing.
template <class T>
struct Range {
    std::vector<T> lows, highs;
    bool hasLow, hasHigh;

    Range(ByteReader& in, const FuzzImage& src)
        : lows(resultsOf(src), T{77}),
          highs(resultsOf(src), T{77}),
          hasLow(!in.oneIn(8)),
          hasHigh(!in.oneIn(8))
    {
    }

    T* low() { return hasLow ? lows.data() : nullptr; }
    T* high() { return hasHigh ? highs.data() : nullptr; }

    void addTo(Outcome& out) const
    {
        for (std::size_t i = 0; i < 5 && i < lows.size(); ++i) {
            out.add(lows[i]);
            out.add(highs[i]);
        }
    }

    void requireEqual(const std::vector<oracle::Span>& spans) const
    {
        for (std::size_t i = 0; i < spans.size(); ++i) {
            require(!hasLow || static_cast<double>(lows[i]) == spans[i].low, "another minimum");
            require(!hasHigh || static_cast<double>(highs[i]) == spans[i].high, "another maximum");
        }
    }
};

void mayBecomeMosaic(ByteReader& in, FuzzImage& image)
{
    if (in.oneIn(4))
        image->bayerGrid = in.pick({BayerBGGR, BayerRGGB, BayerGBRG, BayerGRBG});
}

/// Calls `body` with the type of the destination's samples.
template <class Body>
void forDestination(const FuzzImage& dst, const Body& body)
{
    using Types = BySizeOf<Int8, UInt8, Int16, UInt16, UInt32>;
    require(dispatch(Types{}, dst.layout().type, {}, body) == ResultOk, "a type that has no conversion");
}

/// ConvertDoubleToU and ConvertFloatToU.
template <class S, auto Convert>
void measured(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {{std::is_same_v<S, double> ? Float64 : Float32}, everyChannels});
    FuzzImage src(in, layout);
    mayBecomeMosaic(in, src);
    const auto type = in.pick({UInt8, UInt16, UInt32, UInt8, UInt16, UInt32, Int16});
    FuzzImage dst(in, like(in, layout, type, layout.channels, in.flag() ? 0 : in.between(1, 32)));
    Range<S> range(in, src);
    const NormalizationType normalization = in.code(normalizations);
    const bool zeroBased = in.flag();
    const ResultCode rc = Convert(src, dst, normalization, range.low(), range.high(), zeroBased);
    addCall(out, rc, dst, src);
    range.addTo(out);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, dst))
        return;
    forDestination(dst, [&]<class D>(std::type_identity<D>) {
        Twin expected(dst);
        const bool isJoint = normalization == NormalizeJoint;
        const auto spans = oracle::convertToU<S, D>(Twin(src), expected, isJoint, zeroBased);
        expected.requireEqual(dst);
        range.requireEqual(spans);
    });
}

void forDisplay(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {{Float32}, everyChannels});
    FuzzImage src(in, layout);
    mayBecomeMosaic(in, src);
    FuzzImage dst(in, like(in, layout, UInt8, layout.channels));
    Range<float> range(in, src);
    const NormalizationType normalization = in.code(normalizations);
    const ResultCode rc = ConvertFloatToU8(src, dst, normalization, range.low(), range.high());
    addCall(out, rc, dst, src);
    range.addTo(out);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, dst))
        return;
    Twin expected(dst);
    oracle::convertForDisplay(Twin(src), nullptr, expected, normalization == NormalizeJoint);
    expected.requireEqual(dst);
}

void forDisplayMasked(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {{Float32}, everyChannels});
    FuzzImage src(in, layout);
    mayBecomeMosaic(in, src);
    const FuzzImage mask(in, like(in, layout, UInt8, 1));
    FuzzImage dst(in, like(in, layout, UInt8, layout.channels));
    Range<float> range(in, src);
    const NormalizationType normalization = in.code(normalizations);
    const ResultCode rc = ConvertFloatToU8(src, mask, dst, normalization, range.low(), range.high());
    addCall(out, rc, dst, src, mask);
    range.addTo(out);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, mask, dst))
        return;
    Twin expected(dst);
    const Twin selection(mask);
    oracle::convertForDisplay(Twin(src), &selection, expected, normalization == NormalizeJoint);
    expected.requireEqual(dst);
}

void doubleMasked(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {{Float64}, everyChannels});
    FuzzImage src(in, layout);
    mayBecomeMosaic(in, src);
    FuzzImage mask(in, like(in, layout, UInt8, in.oneIn(16) ? layout.channels : 1));
    const auto type = in.pick({UInt8, UInt16, Int8, Int16, UInt8, UInt16, Int8, UInt32});
    FuzzImage dst(in, like(in, layout, type, layout.channels, in.flag() ? 0 : in.between(1, 16)));
    Range<double> range(in, src);
    const NormalizationType normalization = in.code(normalizations);
    const ResultCode rc = ConvertDoubleToUMasked(src, mask, dst, normalization, range.low(), range.high());
    addCall(out, rc, dst, src, mask);
    range.addTo(out);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, mask, dst))
        return;
    forDestination(dst, [&]<class D>(std::type_identity<D>) {
        Twin expected(dst);
        oracle::convertDoubleMasked<D>(Twin(src), Twin(mask), expected, normalization == NormalizeJoint);
        expected.requireEqual(dst);
    });
}

void integers(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {{Int32}, everyChannels});
    FuzzImage src(in, layout);
    mayBecomeMosaic(in, src);
    const auto type = in.pick({UInt8, UInt16, UInt8, UInt16, Int8});
    FuzzImage dst(in, like(in, layout, type, layout.channels, in.flag() ? 0 : in.between(1, 16)));
    Range<int> range(in, src);
    const NormalizationType normalization = in.code(normalizations);
    const ResultCode rc = ConvertI32ToU(src, dst, normalization, range.low(), range.high());
    addCall(out, rc, dst, src);
    range.addTo(out);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, dst))
        return;
    forDestination(dst, [&]<class D>(std::type_identity<D>) {
        Twin expected(dst);
        oracle::convertIntegers<D>(Twin(src), expected, normalization == NormalizeJoint);
        expected.requireEqual(dst);
    });
}

void scale(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {{Float32, Float64}, everyChannels});
    const FuzzImage src(in, layout);
    const auto type = in.pick({UInt8, UInt16, UInt32, UInt8, UInt16, UInt32, Int16});
    FuzzImage dst(in, like(in, layout, type, layout.channels, in.flag() ? 0 : in.between(1, 32)));
    const double low = in.real(), high = in.oneIn(4) ? low : in.real();
    const ResultCode rc = ScaleDoubleFloatToU(src, dst, low, high);
    addCall(out, rc, dst, src);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, dst))
        return;
    forDestination(dst, [&]<class D>(std::type_identity<D>) {
        Twin expected(dst);
        if (layout.type == Float32)
            oracle::scaleToU<float, D>(Twin(src), expected, low, high);
        else
            oracle::scaleToU<double, D>(Twin(src), expected, low, high);
        expected.requireEqual(dst);
    });
}

Cases convertCases()
{
    return {{"convert: measured ConvertDoubleToU", &measured<double, &ConvertDoubleToU>},
            {"convert: measured ConvertFloatToU", &measured<float, &ConvertFloatToU>},
            {"convert: forDisplay", &forDisplay},
            {"convert: forDisplayMasked", &forDisplayMasked},
            {"convert: doubleMasked", &doubleMasked},
            {"convert: integers", &integers},
            {"convert: scale", &scale}};
}

}  // namespace

}  // namespace ko::fuzz

KO_FUZZ_ROOM(ko::fuzz::convertCases())
