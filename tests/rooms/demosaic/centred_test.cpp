// What DemosaicMalvar and DemosaicMenon have in common, and the numbers of each.
#include "oracle/centred.h"
#include "support/check_table.h"
#include "support/failing_new.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/demosaic.h>

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <utility>

namespace ko::test {
namespace {

constexpr ExBayerGrid grids[] = {BayerBGGR, BayerRGGB, BayerGBRG, BayerGRBG};
constexpr int most = std::numeric_limits<int>::max();

struct Malvar {
    static ResultCode call(const SxImageBuf& src, const QRect& roi, SxImageBuf& dst, void* buffer)
    {
        return DemosaicMalvar(src, roi, dst, buffer);
    }
    static ResultCode whole(const SxImageBuf& src, SxImageBuf& dst, void* buffer)
    {
        return DemosaicMalvar(src, dst, buffer);
    }
    template <class T>
    static void twin(const TestImage& src, const QRect& roi, TestImage& dst)
    {
        oracle::malvar<T>(src, roi, src.buf().bayerGrid, dst);
    }
};

struct Menon {
    static ResultCode call(const SxImageBuf& src, const QRect& roi, SxImageBuf& dst, void* buffer)
    {
        return DemosaicMenon(src, roi, dst, buffer);
    }
    static ResultCode whole(const SxImageBuf& src, SxImageBuf& dst, void* buffer)
    {
        return DemosaicMenon(src, dst, buffer);
    }
    template <class T>
    static void twin(const TestImage& src, const QRect& roi, TestImage& dst)
    {
        oracle::menon<T>(src, roi, src.buf().bayerGrid, dst);
    }
};

struct FreeBuffer {
    void operator()(void* buffer) const { DemosaicCentredFreeBuffer(buffer); }
};
using Buffer = std::unique_ptr<void, FreeBuffer>;

template <class Method>
struct CentredArgs {
    TestImage src{Layout{.width = 9, .height = 7, .type = UInt16}};
    TestImage dst{Layout{.width = 5, .height = 3, .channels = 3, .type = UInt16}};
    QRect roi{3, 1, 5, 3};
    void* buffer = nullptr;
    std::vector<std::uint8_t> before = dst.bytes();

    CentredArgs()
    {
        src.fillRandom(1);
        src->bayerGrid = BayerRGGB;
    }
    ResultCode call() { return Method::call(src, roi, dst, buffer); }
    bool outputsUntouched() const { return dst.bytes() == before; }
    void setType(ExImageDataType type) { src->dataType = dst->dataType = type; }
};

template <class Method>
class CentredChecks : public testing::Test {
};
using Methods = testing::Types<Malvar, Menon>;
TYPED_TEST_SUITE(CentredChecks, Methods);

TYPED_TEST(CentredChecks, RunInOrderAndLeaveTheDestinationAlone)
{
    runCheckTable<CentredArgs<TypeParam>>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src of negative height", [](auto& a) { a.src->height = -1; }, ResultBadArg1},
        {"src not mono", [](auto& a) { a.src->channels = 3; }, ResultBadArg1},
        {"src planar", [](auto& a) { a.src->packing = Planar; }, ResultBadArg1},
        {"src without mosaic", [](auto& a) { a.src->bayerGrid = BayerNone; }, ResultBadArg1},
        {"grid 5", [](auto& a) { a.src->bayerGrid = static_cast<ExBayerGrid>(5); }, ResultBadArg1},
        {"roi right of src", [](auto& a) { a.roi.moveLeft(5); }, ResultBadArg2},
        {"roi above src", [](auto& a) { a.roi.moveTop(-1); }, ResultBadArg2},
        {"roi of negative size", [](auto& a) { a.roi.setCoords(4, 0, -1, 1); }, ResultBadArg2},
        {"roi of all coordinates", [](auto& a) { a.roi.setCoords(-most, -most, most, most); }, ResultBadArg2},
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, ResultBadArg3},
        {"dst of two channels", [](auto& a) { a.dst->channels = 2; }, ResultBadArg3},
        {"dst of five channels", [](auto& a) { a.dst->channels = 5; }, ResultBadArg3},
        {"dst planar", [](auto& a) { a.dst->packing = Planar; }, ResultBadArg3},
        {"dst of another type", [](auto& a) { a.dst->dataType = Int16; }, ResultBadArg3},
        {"dst narrower", [](auto& a) { a.dst->width = 4; }, ResultBadArg3},
        {"dst lower", [](auto& a) { a.dst->height = 2; }, ResultBadArg3},
        {"signed samples", [](auto& a) { a.setType(Int16); }, ResultUnsupportedType},
        {"float samples", [](auto& a) { a.setType(Float32); }, ResultUnsupportedType},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 17; }, ResultBadArg1},
        {"dst rows beyond their stride", [](auto& a) { a.dst->stride = 29; }, ResultBadArg3},
    });
}

TYPED_TEST(CentredChecks, KeepTheirNumbersForTheWholeImage)
{
    CentredArgs<TypeParam> args;
    EXPECT_EQ(TypeParam::whole(args.src, args.dst, nullptr), ResultBadArg3);
    TestImage dst(Layout{.width = 9, .height = 7, .channels = 3, .type = UInt16});
    EXPECT_EQ(TypeParam::whole(args.src, dst, nullptr), ResultOk);
    TestImage same(Layout{.width = 9, .height = 7, .channels = 3, .type = UInt16});
    EXPECT_EQ(TypeParam::call(args.src, QRect(0, 0, 9, 7), same, nullptr), ResultOk);
    EXPECT_EQ(dst.bytes(), same.bytes());
}

TYPED_TEST(CentredChecks, LetARegionWithoutPixelsDoNothing)
{
    CentredArgs<TypeParam> args;
    args.roi = QRect(3, 1, 0, 3);
    args.dst->width = 0;
    EXPECT_EQ(args.call(), ResultOk);
    EXPECT_TRUE(args.outputsUntouched());
}

TYPED_TEST(CentredChecks, RefuseTheBufferOfASmallerWidth)
{
    TestImage src(Layout{.width = 200, .height = 2}), dst(Layout{.width = 200, .height = 2, .channels = 3});
    src->bayerGrid = BayerRGGB;
    const auto before = dst.bytes();
    const Buffer small(DemosaicCentredAllocBuffer(20)), right(DemosaicCentredAllocBuffer(200));
    EXPECT_EQ(TypeParam::whole(src, dst, small.get()), ResultFailed);
    EXPECT_EQ(dst.bytes(), before);
    EXPECT_EQ(TypeParam::whole(src, dst, right.get()), ResultOk);
    EXPECT_EQ(DemosaicCentredAllocBuffer(-1), nullptr);
    DemosaicCentredFreeBuffer(nullptr);
}

TYPED_TEST(CentredChecks, FailWithoutMemoryAndNeedNoneWithABuffer)
{
    CentredArgs<TypeParam> args;
    ResultCode without = ResultOk, with = ResultFailed;
    void* refused = nullptr;
    Buffer buffer(DemosaicCentredAllocBuffer(5));
    {
        const NewFailure failure(0);
        without = args.call();
        refused = DemosaicCentredAllocBuffer(5);
    }
    EXPECT_EQ(without, ResultFailed);
    EXPECT_EQ(refused, nullptr);
    EXPECT_TRUE(args.outputsUntouched());
    args.buffer = buffer.get();
    {
        const NewFailure failure(0);
        with = args.call();
    }
    EXPECT_EQ(with, ResultOk);
    TestImage expected(Layout{.width = 5, .height = 3, .channels = 3, .type = UInt16});
    TypeParam::template twin<std::uint16_t>(args.src, args.roi, expected);
    EXPECT_EQ(args.dst.bytes(), expected.bytes());
}

/// A mosaic of what `colourAt(x, y, channel)` tells, and the picture made of it: of 8 bits, or of 12 in words.
template <class Method, class T>
struct Scene {
    static constexpr ExImageDataType type = sizeof(T) == 1 ? UInt8 : UInt16;
    TestImage src, dst;

    template <class ColourAt>
    Scene(int width, int height, ExBayerGrid grid, const ColourAt& colourAt)
        : src(Layout{.width = width, .height = height, .type = type, .bits = sizeof(T) == 1 ? 8 : 12}),
          dst(Layout{.width = width, .height = height, .channels = 3, .type = type})
    {
        src->bayerGrid = grid;
        src.forEachSample([&](int x, int y, int) {
            const int channel = oracle::channelOf(oracle::bayerColour(grid, x, y));
            src.set(x, y, static_cast<T>(colourAt(x, y, channel)));
        });
        EXPECT_EQ(Method::whole(src, dst, nullptr), ResultOk);
    }
    int at(int x, int y, int channel) const { return dst.get<T>(x, y, channel); }
};

template <class Method, class T>
struct Pair {
    using M = Method;
    using Sample = T;
    using S = Scene<Method, T>;
    /// A level of 12 bits as one of the samples.
    static int level(int of12Bits) { return sizeof(T) == 1 ? of12Bits / 16 : of12Bits; }
};
using Pairs = testing::Types<Pair<Malvar, std::uint8_t>, Pair<Malvar, std::uint16_t>,
                             Pair<Menon, std::uint8_t>, Pair<Menon, std::uint16_t>>;

template <class P>
class CentredValues : public testing::Test {
};
TYPED_TEST_SUITE(CentredValues, Pairs);

TYPED_TEST(CentredValues, OfFlatAreasAreFlat)
{
    const int colour[] = {TypeParam::level(3001), TypeParam::level(777), TypeParam::level(64)};
    for (const ExBayerGrid grid : grids) {
        const typename TypeParam::S scene(23, 17, grid,
                                          [&](int, int, int channel) { return colour[channel]; });
        scene.dst.forEachSample([&](int x, int y, int c) { ASSERT_EQ(scene.at(x, y, c), colour[c]); });
    }
}

TYPED_TEST(CentredValues, OfGreyRampsAreGrey)
{
    for (const ExBayerGrid grid : grids)
        for (const auto& slope : {std::pair{3, 0}, {0, 5}, {1, 4}, {4, -2}}) {
            const auto ramp = [&](int x, int y, int) {
                return TypeParam::level(16 * (60 + slope.first * x + slope.second * y));
            };
            const typename TypeParam::S scene(40, 30, grid, ramp);
            scene.dst.forEachSample([&](int x, int y, int c) {
                const bool isInside = x >= 8 && y >= 8 && x < 32 && y < 22;
                if (isInside) {
                    ASSERT_NEAR(scene.at(x, y, c), ramp(x, y, c), 1) << x << ", " << y;
                }
            });
        }
}

TYPED_TEST(CentredValues, OfGentleGreyRampsAreGreyUpToTheEdges)
{
    const auto ramp = [](int x, int y, int) { return 50 + x + y; };
    for (const ExBayerGrid grid : grids) {
        const typename TypeParam::S scene(24, 24, grid, ramp);
        scene.dst.forEachSample(
            [&](int x, int y, int c) { ASSERT_NEAR(scene.at(x, y, c), ramp(x, y, c), 1) << x << ", " << y; });
    }
}

/// Where the light of a column or row profile lies.
double centreOf(const std::vector<double>& profile)
{
    double sum = 0, moment = 0;
    for (std::size_t i = 0; i < profile.size(); ++i) {
        sum += profile[i];
        moment += profile[i] * static_cast<double>(i);
    }
    return moment / sum;
}

TYPED_TEST(CentredValues, KeepALineInItsPlace)
{
    const int dark = TypeParam::level(160), light = TypeParam::level(3008);
    for (const ExBayerGrid grid : grids)
        for (const int place : {15, 16})
            for (const bool upright : {true, false}) {
                const typename TypeParam::S scene(32, 32, grid, [&](int x, int y, int) {
                    return (upright ? x : y) == place ? light : dark;
                });
                for (int c = 0; c < 3; ++c) {
                    std::vector<double> profile(32);
                    for (int y = 8; y < 24; ++y)
                        for (int x = 8; x < 24; ++x)
                            profile[static_cast<std::size_t>(upright ? x : y)] += scene.at(x, y, c) - dark;
                    EXPECT_NEAR(centreOf(profile), place, 0.1) << "grid " << grid << ", channel " << c;
                }
            }
}

TEST(MalvarValues, AreThoseOfThePublishedFilters)
{
    const Scene<Malvar, std::uint16_t> scene(
        12, 12, BayerRGGB, [](int x, int y, int) { return x == 6 && y == 6 ? 1160 : 1000; });
    const auto added = [&](int dx, int dy, int c) { return scene.at(6 + dx, 6 + dy, c) - 1000; };
    EXPECT_EQ(added(0, 0, 0), 160) << "red is there";
    EXPECT_EQ(added(0, 0, 1), 80) << "4/8";
    EXPECT_EQ(added(0, 0, 2), 120) << "6/8";
    EXPECT_EQ(added(2, 0, 1), -20) << "-1/8";
    EXPECT_EQ(added(0, -2, 2), -30) << "-3/16";
    EXPECT_EQ(added(1, 0, 0), 80) << "4/8 beside red";
    EXPECT_EQ(added(1, 0, 2), 0);
    EXPECT_EQ(added(1, 1, 0), 40) << "2/8 diagonal to red";
    EXPECT_EQ(added(0, 1, 0), 80) << "4/8 below red";
}

TEST(MenonValues, FollowAnEdgeWithoutColours)
{
    const Scene<Menon, std::uint16_t> scene(24, 24, BayerGRBG,
                                            [](int x, int, int) { return x < 12 ? 200 : 3800; });
    scene.dst.forEachSample([&](int x, int y, int c) {
        if (y >= 4 && y < 20) {
            ASSERT_EQ(scene.at(x, y, c), x < 12 ? 200 : 3800) << x << ", " << y;
        }
    });
}

TEST(MenonValues, KeepColoursApartThatChangeByThemselves)
{
    for (const ExBayerGrid grid : grids) {
        const Scene<Menon, std::uint16_t> scene(48, 48, grid, [](int x, int y, int c) {
            return c == 0 ? 2000 + (x * 911 + y * 577) % 1400 : c == 1 ? 1500 : 300;
        });
        scene.dst.forEachSample([&](int x, int y, int c) {
            if (c != 0 && x >= 8 && x < 40 && y >= 8 && y < 40) {
                ASSERT_EQ(scene.at(x, y, c), c == 1 ? 1500 : 300) << x << ", " << y << ", grid " << grid;
            }
        });
    }
}

struct Case {
    int width, height;
    QRect roi;
    ExBayerGrid grid;
    int bits, channels;
    bool extremes = false;  ///< samples of 0 and the largest value alone
};

template <class Method, class T>
void compareWithTwin(const Case& c)
{
    constexpr ExImageDataType type = sizeof(T) == 1 ? UInt8 : UInt16;
    TestImage src(Layout{.width = c.width, .height = c.height, .type = type, .padding = 3});
    src.fillRandom(static_cast<std::uint32_t>(c.width + 64 * c.height));
    if (c.extremes)
        src.forEachSample([&](int x, int y, int channel) {
            const bool isLight = src.get<T>(x, y, channel) % 2 != 0;
            src.set(x, y, channel, isLight ? std::numeric_limits<T>::max() : T{0});
        });
    src->bayerGrid = c.grid;
    src->bitsPerSample = c.bits;
    const Layout layout{
        .width = c.roi.width(), .height = c.roi.height(), .channels = c.channels, .type = type, .padding = 1};
    TestImage expected(layout);
    Method::template twin<T>(src, c.roi, expected);
    forEachTarget([&] {
        TestImage dst(layout);
        ASSERT_EQ(Method::call(src, c.roi, dst, nullptr), ResultOk);
        ASSERT_EQ(dst.bytes(), expected.bytes())
            << c.width << " x " << c.height << ", " << c.roi.width() << " x " << c.roi.height() << " at "
            << c.roi.x() << ", " << c.roi.y() << ", grid " << c.grid << ", " << c.bits << " bits, "
            << c.channels << " channels";
    });
}

template <class P>
class CentredTargets : public testing::Test {
};
TYPED_TEST_SUITE(CentredTargets, Pairs);

template <class P>
void compare(const Case& c)
{
    compareWithTwin<typename P::M, typename P::Sample>(c);
}

TYPED_TEST(CentredTargets, EqualTheTwinForTinyImages)
{
    for (int width = 1; width <= 6; ++width)
        for (int height = 1; height <= 6; ++height)
            compare<TypeParam>(
                {width, height, QRect(0, 0, width, height), grids[(width + height) % 4], 8, 3});
}

TYPED_TEST(CentredTargets, EqualTheTwinForEveryGridAndWidth)
{
    for (const ExBayerGrid grid : grids)
        for (int width = 7; width <= 75; width += 1 + width / 9)
            compare<TypeParam>({width, 5, QRect(0, 0, width, 5), grid,
                                8 * int(sizeof(typename TypeParam::Sample)), 3 + width % 2});
}

TYPED_TEST(CentredTargets, EqualTheTwinForRegions)
{
    for (const ExBayerGrid grid : grids)
        for (const QRect& roi : {QRect(0, 0, 9, 4), QRect(1, 2, 38, 5), QRect(4, 3, 1, 1), QRect(7, 5, 33, 6),
                                 QRect(39, 10, 1, 1)})
            compare<TypeParam>({40, 11, roi, grid, 8, 4});
}

TYPED_TEST(CentredTargets, EqualTheTwinForEveryDepth)
{
    for (const int bits : {-1, 0, 1, 5, 8, 10, 12, 14, 16, 40})
        compare<TypeParam>({21, 6, QRect(0, 0, 21, 6), BayerGBRG, bits, 4});
}

TYPED_TEST(CentredTargets, EqualTheTwinForTheLargestSums)
{
    for (const ExBayerGrid grid : grids)
        for (const int channels : {3, 4})
            compare<TypeParam>({300, 41, QRect(0, 0, 300, 41), grid,
                                8 * int(sizeof(typename TypeParam::Sample)), channels, true});
}

TYPED_TEST(CentredTargets, GiveTheSameBytesForAnyNumberOfThreads)
{
    using T = typename TypeParam::Sample;
    const Layout layout{.width = 37, .height = 240, .channels = 3, .type = sizeof(T) == 1 ? UInt8 : UInt16};
    TestImage src(Layout{.width = 37, .height = 240, .type = layout.type}), expected(layout);
    src.fillRandom(7);
    src->bayerGrid = BayerGRBG;
    TypeParam::M::template twin<T>(src, QRect(0, 0, 37, 240), expected);
    forEachThreadCount([&] {
        TestImage dst(layout);
        const Buffer buffer(DemosaicCentredAllocBuffer(37));
        ASSERT_EQ(TypeParam::M::whole(src, dst, nullptr), ResultOk);
        EXPECT_EQ(dst.bytes(), expected.bytes());
        dst.fillBytes(0);
        ASSERT_EQ(TypeParam::M::whole(src, dst, buffer.get()), ResultOk);
        EXPECT_EQ(dst.bytes(), expected.bytes());
    });
}

}  // namespace
}  // namespace ko::test
