#include "base/dispatch.h"
#include "oracle/convert.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/convert.h>

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <random>

namespace ko::test {
namespace {

/// Samples that meet in a narrow range, among them now and then one that is none.
template <class S>
void fillRange(TestImage& image, std::uint32_t seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> anywhere(-3, 7);
    constexpr double odd[] = {std::numeric_limits<double>::quiet_NaN(), 0, -0.0};
    image.forEachSample([&](int x, int y, int c) {
        const double value = random() % 16 == 0 ? odd[random() % 3] : anywhere(random);
        if constexpr (std::is_integral_v<S>)
            image.set<S>(x, y, c, static_cast<S>((std::isnan(value) ? 0 : value) * 100000));
        else
            image.set<S>(x, y, c, static_cast<S>(value));
    });
}

/// The same with infinities, numbers near the limits of the type and a constant channel.
template <class S>
void fillWild(TestImage& image, std::uint32_t seed)
{
    std::mt19937 random(seed);
    using Limits = std::numeric_limits<S>;
    const S values[] = {Limits::max(),
                        Limits::lowest(),
                        Limits::min(),
                        S{0},
                        S{1},
                        S{-1},
                        Limits::has_infinity ? Limits::infinity() : Limits::max(),
                        Limits::has_infinity ? -Limits::infinity() : Limits::lowest()};
    const std::uint32_t kinds = 1 + random() % 8;
    image.forEachSample(
        [&](int x, int y, int c) { image.set<S>(x, y, c, c == 1 ? S{5} : values[random() % kinds]); });
}

struct Case {
    Layout src;
    Layout dst;
    ExBayerGrid grid = BayerNone;
    std::uint32_t seed = 1;
    bool wild = false;
};

template <class S, class Out>
bool sameSpans(const std::vector<oracle::Span>& spans, const std::vector<Out>& low,
               const std::vector<Out>& high)
{
    for (std::size_t i = 0; i < spans.size(); ++i)
        if (low[i] != static_cast<Out>(spans[i].low) || high[i] != static_cast<Out>(spans[i].high))
            return false;
    return true;
}

/// Runs an operation and its twin on the same images and compares all bytes and the reported ranges.
template <class S, class Ours, class Twin>
void compare(const Case& with, const Ours& ours, const Twin& twin)
{
    TestImage src(with.src), dst(with.dst), expected(with.dst);
    src->bayerGrid = with.grid;
    with.wild ? fillWild<S>(src, with.seed) : fillRange<S>(src, with.seed);
    dst.fillRandom(with.seed);
    expected.fillRandom(with.seed);
    const std::size_t room = static_cast<std::size_t>(std::max(4, with.src.channels));
    std::vector<S> low(room, S{77}), high(room, S{77});
    ASSERT_EQ(ours(src, dst, low.data(), high.data()), ResultOk);
    const std::vector<oracle::Span> spans = twin(src, expected);
    ASSERT_EQ(dst.bytes(), expected.bytes())
        << "width " << with.src.width << " channels " << with.src.channels << " type " << with.dst.type
        << " packing " << with.src.packing << " bits " << with.dst.bits << " seed " << with.seed;
    ASSERT_TRUE((sameSpans<S, S>(spans, low, high)));
    for (std::size_t i = spans.size(); i < room; ++i)
        ASSERT_TRUE(low[i] == S{77} && high[i] == S{77}) << "no range was written that does not exist";
}

/// Layouts of source and destination: every width, then channels and packings, then depths.
void forEachCase(ExImageDataType from, std::initializer_list<ExImageDataType> to,
                 const std::function<void(const Case&)>& body)
{
    std::uint32_t seed = 0;
    for (const ExImageDataType type : to) {
        const auto run = [&](int width, int height, int channels, ExPixelPacking packing, int bits,
                             bool wild) {
            const Layout src{.width = width,
                             .height = height,
                             .channels = channels,
                             .type = from,
                             .packing = packing,
                             .padding = width % 8,
                             .misalignment = 1 + width % 3};
            Layout dst = src;
            dst.type = type;
            dst.bits = bits;
            dst.padding = width % 5;
            body({src, dst, BayerNone, ++seed, wild});
        };
        for (int width = 0; width <= 67; ++width)
            run(width, 2, 1, Interleaved, 0, false);
        run(601, 2, 1, Interleaved, 0, false);
        for (const ExPixelPacking packing : {Interleaved, Planar})
            for (const int channels : {1, 2, 3, 4, 5, 7, 65})
                for (int wild = 0; wild < 6; ++wild)
                    run(33 + wild, 3, channels, packing, 0, wild > 1);
        for (int bits = 0; bits <= 70; bits += bits < 34 ? 1 : 9)
            run(37, 2, 1, Interleaved, bits, false);
    }
}

template <class Table, class Body>
void forType(Table table, ExImageDataType type, const Body& body)
{
    ASSERT_EQ(dispatch(table, type, {}, body), ResultOk);
}

template <class S>
void compareClamped(const Case& with)
{
    for (const bool joint : {false, true}) {
        for (const bool zeroBased : {false, true}) {
            forType(ByTypeOf<UInt8, UInt16, UInt32>{}, with.dst.type,
                    [&]<class Dst>(std::type_identity<Dst>) {
                        compare<S>(
                            with,
                            [&](const SxImageBuf& src, SxImageBuf& dst, S* low, S* high) {
                                const auto kind = joint ? NormalizeJoint : NormalizeSeparate;
                                if constexpr (std::is_same_v<S, double>)
                                    return ConvertDoubleToU(src, dst, kind, low, high, zeroBased);
                                else
                                    return ConvertFloatToU(src, dst, kind, low, high, zeroBased);
                            },
                            [&](const TestImage& src, TestImage& dst) {
                                return oracle::convertToU<S, Dst>(src, dst, joint, zeroBased);
                            });
                    });
        }
    }
}

void compareMosaics(const std::function<void(const Case&)>& body, ExImageDataType from)
{
    for (const ExImageDataType type : {UInt8, UInt16, UInt32}) {
        for (int width = 2; width <= 68; width += 2) {
            const Layout src{.width = width, .height = 4, .type = from};
            const Layout dst{.width = width, .height = 4, .type = type, .bits = width % 3 == 0 ? 7 : 0};
            body({src, dst, static_cast<ExBayerGrid>(width % 4), static_cast<std::uint32_t>(width),
                  width % 5 == 0});
        }
    }
}

TEST(ConvertDoubleToUTargets, EqualTheTwin)
{
    forEachTarget([] {
        forEachCase(Float64, {UInt8, UInt16, UInt32}, &compareClamped<double>);
        compareMosaics(&compareClamped<double>, Float64);
    });
}

TEST(ConvertFloatToUTargets, EqualTheTwin)
{
    forEachTarget([] {
        forEachCase(Float32, {UInt8, UInt16, UInt32}, &compareClamped<float>);
        compareMosaics(&compareClamped<float>, Float32);
    });
}

TEST(ConvertFloatToU8Targets, EqualTheTwin)
{
    forEachTarget([] {
        forEachCase(Float32, {UInt8}, [](const Case& with) {
            for (const bool joint : {false, true}) {
                compare<float>(
                    with,
                    [&](const SxImageBuf& src, SxImageBuf& dst, float* low, float* high) {
                        return ConvertFloatToU8(src, dst, joint ? NormalizeJoint : NormalizeSeparate, low,
                                                high);
                    },
                    [&](const TestImage& src, TestImage& dst) {
                        return oracle::convertForDisplay(src, nullptr, dst, joint);
                    });
            }
        });
    });
}

TEST(ConvertFloatToU8Targets, EqualTheTwinForARangeWhoseScaleOverflows)
{
    forEachTarget([] {
        for (const int channels : {1, 3, 4}) {
            TestImage src(Layout{.width = 100, .height = 2, .channels = channels, .type = Float32});
            src.forEachSample([&](int x, int y, int c) {
                src.set<float>(x, y, c, (x + y + c) % 3 == 0 ? std::numeric_limits<float>::denorm_min() : 0);
            });
            const Layout layout{.width = 100, .height = 2, .channels = channels};
            TestImage dst(layout), expected(layout);
            ASSERT_EQ(ConvertFloatToU8(src, dst, NormalizeSeparate, nullptr, nullptr), ResultOk);
            oracle::convertForDisplay(src, nullptr, expected, false);
            EXPECT_EQ(dst.bytes(), expected.bytes()) << channels;
        }
    });
}

TEST(ConvertFloatToU8MaskedTargets, EqualTheTwin)
{
    forEachTarget([] {
        forEachCase(Float32, {UInt8}, [](const Case& with) {
            TestImage mask(Layout{.width = with.src.width, .height = with.src.height});
            mask.fillSparse(with.seed);
            for (const bool joint : {false, true}) {
                compare<float>(
                    with,
                    [&](const SxImageBuf& src, SxImageBuf& dst, float* low, float* high) {
                        return ConvertFloatToU8(src, mask, dst, joint ? NormalizeJoint : NormalizeSeparate,
                                                low, high);
                    },
                    [&](const TestImage& src, TestImage& dst) {
                        return oracle::convertForDisplay(src, &mask, dst, joint);
                    });
            }
        });
    });
}

TEST(ConvertDoubleToUMaskedTargets, EqualTheTwin)
{
    forEachTarget([] {
        forEachCase(Float64, {Int8, UInt8, Int16, UInt16}, [](const Case& with) {
            TestImage mask(Layout{.width = with.src.width, .height = with.src.height});
            mask.fillSparse(with.seed);
            for (const bool joint : {false, true}) {
                forType(BySizeOf<Int8, UInt8, Int16, UInt16>{}, with.dst.type,
                        [&]<class Dst>(std::type_identity<Dst>) {
                            compare<double>(
                                with,
                                [&](const SxImageBuf& src, SxImageBuf& dst, double* low, double* high) {
                                    return ConvertDoubleToUMasked(src, mask, dst,
                                                                  joint ? NormalizeJoint : NormalizeSeparate,
                                                                  low, high);
                                },
                                [&](const TestImage& src, TestImage& dst) {
                                    return oracle::convertDoubleMasked<Dst>(src, mask, dst, joint);
                                });
                        });
            }
        });
    });
}

TEST(ConvertI32ToUTargets, EqualTheTwin)
{
    forEachTarget([] {
        forEachCase(Int32, {UInt8, UInt16}, [](const Case& with) {
            for (const bool joint : {false, true}) {
                forType(ByTypeOf<UInt8, UInt16>{}, with.dst.type, [&]<class Dst>(std::type_identity<Dst>) {
                    compare<std::int32_t>(
                        with,
                        [&](const SxImageBuf& src, SxImageBuf& dst, int* low, int* high) {
                            return ConvertI32ToU(src, dst, joint ? NormalizeJoint : NormalizeSeparate, low,
                                                 high);
                        },
                        [&](const TestImage& src, TestImage& dst) {
                            return oracle::convertIntegers<Dst>(src, dst, joint);
                        });
                });
            }
        });
    });
}

/// Wider than any vector, of samples that take turns.
void compareRepeated(std::initializer_list<std::int32_t> samples, int bits)
{
    constexpr int width = 77;
    TestImage src(Layout{.width = width, .height = 1, .type = Int32});
    for (int x = 0; x < width; ++x)
        src.set<std::int32_t>(x, 0, samples.begin()[static_cast<std::size_t>(x) % samples.size()]);
    const Layout to{.width = width, .height = 1, .type = UInt16, .bits = bits};
    TestImage dst(to), expected(to);
    oracle::convertIntegers<std::uint16_t>(src, expected, false);
    ASSERT_EQ(ConvertI32ToU(src, dst, NormalizeSeparate, nullptr, nullptr), ResultOk);
    EXPECT_EQ(dst.bytes(), expected.bytes()) << bits << " bits";
}

TEST(ConvertI32ToUTargets, EqualTheTwinAroundTheLimitsOf32Bits)
{
    constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    forEachTarget([] {
        for (const int bits : {1, 8, 16, 30, 31, 32, 33, 52, 64}) {
            compareRepeated({0, 1}, bits);
            compareRepeated({-5, -4, -3}, bits);
            compareRepeated({0, most, least}, bits);  // a range that wraps to -1
            compareRepeated({least, 1, 7}, bits);
            compareRepeated({9}, bits);
        }
    });
}

template <class S>
void compareScaled(const Case& with)
{
    if (with.src.width == 0 || with.dst.bits < 0)
        return;
    const double infinity = std::numeric_limits<double>::infinity();
    const oracle::Span given[] = {{-2, 5},        {0, 1},        {3, -1},     {4, 4},
                                  {1, 1 + 1e-12}, {0, infinity}, {0, 1e-320}, {-1e300, 1e300}};
    for (const oracle::Span& span : {given[0], given[with.seed % std::size(given)]}) {
        forType(ByTypeOf<UInt8, UInt16, UInt32>{}, with.dst.type, [&]<class Dst>(std::type_identity<Dst>) {
            compare<S>(
                with,
                [&](SxImageBuf& src, SxImageBuf& dst, S*, S*) {
                    src.bitsPerSample = 8 * static_cast<int>(sizeof(S));
                    if (dst.bitsPerSample == 0)
                        dst.bitsPerSample = 1;
                    return ScaleDoubleFloatToU(src, dst, span.low, span.high);
                },
                [&](const TestImage& src, TestImage& dst) {
                    if (dst->bitsPerSample == 0)
                        dst->bitsPerSample = 1;
                    oracle::scaleToU<S, Dst>(src, dst, span.low, span.high);
                    return std::vector<oracle::Span>{};
                });
        });
    }
}

TEST(ScaleDoubleFloatToUTargets, EqualTheTwin)
{
    forEachTarget([] {
        forEachCase(Float64, {UInt8, UInt16, UInt32}, &compareScaled<double>);
        forEachCase(Float32, {UInt8, UInt16, UInt32}, &compareScaled<float>);
    });
}

TEST(ConvertThreads, GiveTheSameBytesForAnyNumber)
{
    forEachThreadCount([] {
        for (const ExPixelPacking packing : {Interleaved, Planar}) {
            const Layout doubles{
                .width = 33, .height = 40, .channels = 3, .type = Float64, .packing = packing};
            Layout bytes = doubles;
            bytes.type = UInt8;
            compareClamped<double>({doubles, bytes});
            compareScaled<double>({doubles, bytes});
        }
    });
}

TEST(ConvertI32ToUThreads, GiveTheSameBytesForAnyNumber)
{
    const Layout layout{.width = 33, .height = 40, .channels = 3, .type = Int32};
    Layout words = layout;
    words.type = UInt16;
    forEachThreadCount([&] {
        compare<std::int32_t>(
            {layout, words},
            [&](const SxImageBuf& src, SxImageBuf& dst, int* low, int* high) {
                return ConvertI32ToU(src, dst, NormalizeSeparate, low, high);
            },
            [&](const TestImage& src, TestImage& dst) {
                return oracle::convertIntegers<std::uint16_t>(src, dst, false);
            });
    });
}

}  // namespace
}  // namespace ko::test
