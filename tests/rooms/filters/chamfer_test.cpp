#include "oracle/chamfer.h"
#include "support/check_table.h"
#include "support/failing_new.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/filters.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

constexpr ExChamferMask masks[] = {ChamferChessboard, Chamfer3x3, Chamfer5x5, Chamfer7x7, Chamfer13x13};
constexpr double scales[] = {1, 3, 5, 14, 68};

struct ChamferArgs {
    TestImage src{Layout{}};
    TestImage dst{Layout{.type = Float64}};
    ExChamferMask mask = Chamfer3x3;
    std::vector<std::uint8_t> before = dst.bytes();

    ResultCode call() { return ChamferDistance(src, dst, mask); }
    bool outputsUntouched() const { return dst.bytes() == before; }
};

TEST(ChamferDistanceChecks, RunInOrder)
{
    runCheckTable<ChamferArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src not mono", [](auto& a) { a.src->channels = 3; }, ResultBadArg1},
        {"src not UInt8", [](auto& a) { a.src->dataType = Int8; }, ResultBadArg1},
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, ResultBadArg2},
        {"dst not mono", [](auto& a) { a.dst->channels = 3; }, ResultBadArg2},
        {"dst not Float64", [](auto& a) { a.dst->dataType = Float32; }, ResultBadArg2},
        {"dst narrower", [](auto& a) { a.dst->width = 3; }, ResultBadArg2},
        {"dst lower", [](auto& a) { a.dst->height = 2; }, ResultBadArg2},
        {"mask above", [](auto& a) { a.mask = static_cast<ExChamferMask>(5); }, ResultBadArg3},
        {"mask negative", [](auto& a) { a.mask = static_cast<ExChamferMask>(-1); }, ResultBadArg3},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 3; }, ResultBadArg1},
        {"dst rows beyond their stride", [](auto& a) { a.dst->stride = 31; }, ResultBadArg2},
    });
}

TEST(ChamferDistanceChecks, ReportMissingMemoryBeforeTheDestinationIsTouched)
{
    int successes = 0;
    for (ResultCode rc = ResultFailed; rc != ResultOk; ++successes) {
        ChamferArgs args;
        {
            NewFailure failure(successes);
            rc = args.call();
        }
        EXPECT_TRUE(rc == ResultOk || (rc == ResultFailed && args.outputsUntouched())) << successes;
    }
    EXPECT_GT(successes, 1);
}

TEST(ChamferDistanceValues, AroundASinglePixelAreTheWeightsOfTheSteps)
{
    TestImage src(Layout{.width = 5, .height = 5}), dst(Layout{.width = 5, .height = 5, .type = Float64});
    src.set<std::uint8_t>(2, 2, 1);
    ASSERT_EQ(ChamferDistance(src, dst, Chamfer3x3), ResultOk);
    EXPECT_EQ(dst.get<double>(2, 2), 0.0);
    EXPECT_EQ(dst.get<double>(3, 2), 1.0);
    EXPECT_EQ(dst.get<double>(1, 3), 4.0 / 3);
    EXPECT_EQ(dst.get<double>(4, 3), 7.0 / 3);
    ASSERT_EQ(ChamferDistance(src, dst, Chamfer5x5), ResultOk);
    EXPECT_EQ(dst.get<double>(4, 3), 11.0 / 5);
    EXPECT_EQ(dst.get<double>(1, 0), 11.0 / 5);
    EXPECT_EQ(dst.get<double>(0, 0), 14.0 / 5);
}

TEST(ChamferDistanceValues, OnTheChessboardAreOneAllAround)
{
    TestImage src(Layout{.width = 3, .height = 3}), dst(Layout{.width = 3, .height = 3, .type = Float64});
    src.set<std::uint8_t>(1, 1, 255);
    ASSERT_EQ(ChamferDistance(src, dst, ChamferChessboard), ResultOk);
    EXPECT_EQ(dst.all<double>(), (std::vector<double>{1, 1, 1, 1, 0, 1, 1, 1, 1}));
}

TEST(ChamferDistanceValues, WithoutObjectsAreMinusOneStepFraction)
{
    for (int i = 0; i < 5; ++i) {
        TestImage src(Layout{}), dst(Layout{.type = Float64});
        ASSERT_EQ(ChamferDistance(src, dst, masks[i]), ResultOk);
        EXPECT_EQ(dst.all<double>(), std::vector<double>(12, -1.0 / scales[i]));
    }
}

TEST(ChamferDistanceValues, OfAnEmptyImageAreNone)
{
    for (const auto& [w, h] : {std::pair(0, 4), {4, 0}, {0, 0}}) {
        TestImage src(Layout{.width = w, .height = h}), dst(Layout{.width = w, .height = h, .type = Float64});
        EXPECT_EQ(ChamferDistance(src, dst, Chamfer13x13), ResultOk);
        EXPECT_TRUE(dst.guardsIntact());
    }
}

void compareWithTwin(const TestImage& src, int mask)
{
    const Layout layout{.width = src.buf().width, .height = src.buf().height, .type = Float64, .padding = 3};
    TestImage dst(layout), expected(layout);
    oracle::chamferDistance(src, expected, mask);
    ASSERT_EQ(ChamferDistance(src, dst, static_cast<ExChamferMask>(mask)), ResultOk);
    ASSERT_EQ(dst.bytes(), expected.bytes()) << layout.width << " x " << layout.height << " mask " << mask;
}

/// Few objects, so that long paths and unreached corners of the first pass occur.
void sprinkle(TestImage& image, std::mt19937& random, int objects)
{
    image.fillBytes(0);
    const int w = image.buf().width, h = image.buf().height;
    for (int i = 0; i < objects && w * h > 0; ++i)
        image.set<std::uint8_t>(static_cast<int>(random() % static_cast<unsigned>(w)),
                                static_cast<int>(random() % static_cast<unsigned>(h)),
                                static_cast<std::uint8_t>(1 + random() % 255));
}

TEST(ChamferDistanceTargets, EqualTheTwinForEveryMaskSizeAndDensity)
{
    forEachTarget([] {
        std::mt19937 random(7);
        for (int width = 1; width <= 40; ++width)
            for (const int height : {1, 2, 7, 15})
                for (const int objects : {1, 4, width * height / 3})
                    for (int mask = 0; mask < 5; ++mask) {
                        TestImage src(Layout{.width = width, .height = height});
                        sprinkle(src, random, objects);
                        compareWithTwin(src, mask);
                    }
    });
}

TEST(ChamferDistanceTargets, EqualTheTwinOnAdversarialShapes)
{
    forEachTarget([] {
        for (int mask = 0; mask < 5; ++mask) {
            TestImage corners(Layout{.width = 70, .height = 50});
            corners.set<std::uint8_t>(0, 0, 1);
            compareWithTwin(corners, mask);
            corners.set<std::uint8_t>(0, 0, 0);
            corners.set<std::uint8_t>(69, 49, 1);
            compareWithTwin(corners, mask);
            TestImage antidiagonal(Layout{.width = 60, .height = 60});
            for (int i = 0; i < 60; i += 13)
                antidiagonal.set<std::uint8_t>(59 - i, i, 9);
            compareWithTwin(antidiagonal, mask);
            TestImage comb(Layout{.width = 67, .height = 40});
            for (int x = 3; x < 67; x += 16)
                for (int y = 0; y < 40; ++y)
                    comb.set<std::uint8_t>(x, y, static_cast<std::uint8_t>((x / 16 + y) % 9 == 0));
            compareWithTwin(comb, mask);
        }
    });
}

TEST(ChamferDistanceTargets, EqualTheTwinFarFromTheOnlyObject)
{
    TestImage src(Layout{.width = 331, .height = 207});
    src.set<std::uint8_t>(17, 201, 1);
    forEachTarget([&] {
        for (int mask = 0; mask < 5; ++mask)
            compareWithTwin(src, mask);
    });
}

TEST(ChamferDistanceTargets, EqualTheTwinWhereDistancesNeed64Bits)
{
    // So wide that the longest path would not fit 32 bits; one row keeps the memory small.
    constexpr int width = (1 << 30) / 68 + 10;
    std::vector<std::uint8_t> object(static_cast<std::size_t>(width));
    object[0] = 1;
    SxImageBuf src;
    src.width = src.stride = width, src.height = 1, src.channels = 1, src.dataType = UInt8;
    src.data = object.data();
    std::vector<double> distances(static_cast<std::size_t>(width));
    SxImageBuf dst;
    dst.width = width, dst.height = 1, dst.channels = 1, dst.dataType = Float64;
    dst.stride = width * 8;
    dst.data = reinterpret_cast<std::uint8_t*>(distances.data());
    ASSERT_EQ(ChamferDistance(src, dst, Chamfer13x13), ResultOk);
    EXPECT_EQ(distances.front(), 0.0);
    EXPECT_EQ(distances[12345678], 12345678.0);
    EXPECT_EQ(distances.back(), width - 1.0);
}

}  // namespace
}  // namespace ko::test
