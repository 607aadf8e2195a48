#include "oracle/snake.h"
#include "support/allocation_failure.h"
#include "support/check_table.h"
#include "support/failing_new.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/snake.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace ko::test {
namespace {

using Points = QList<_point_<int>>;

using oracle::plain;

Points circle(int cx, int cy, int radius, int count)
{
    Points points;
    for (int i = 0; i < count; ++i) {
        const double angle = 2 * 3.14159265358979 * i / count;
        points.append({static_cast<int>(cx + radius * std::cos(angle)),
                       static_cast<int>(cy + radius * std::sin(angle))});
    }
    return points;
}

template <class T>
void drawDisc(TestImage& image, int cx, int cy, int radius, T background, T foreground)
{
    for (int y = 0; y < image.buf().height; ++y)
        for (int x = 0; x < image.buf().width; ++x) {
            const bool inside = (x - cx) * (x - cx) + (y - cy) * (y - cy) <= radius * radius;
            image.set<T>(x, y, inside ? foreground : background);
        }
}

struct SnakeArgs {
    TestImage src{Layout{.width = 20, .height = 16}};
    SxSnakeParams params;
    Points input = circle(10, 8, 5, 12), output = circle(1, 1, 1, 3);

    SnakeArgs() { drawDisc<std::uint8_t>(src, 10, 8, 3, 10, 200); }
    ResultCode call() { return SnakeImage(src, params, input, output); }
    bool outputsUntouched() const { return plain(output) == plain(circle(1, 1, 1, 3)); }
};

TEST(SnakeImageChecks, RunInOrder)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    runCheckTable<SnakeArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src not mono", [](auto& a) { a.src->channels = 3; }, ResultBadArg1},
        {"src Int16", [](auto& a) { a.src->dataType = Int16; }, ResultBadArg1},
        {"src narrower than 3", [](auto& a) { a.src->width = 2; }, ResultBadArg1},
        {"src lower than 3", [](auto& a) { a.src->height = 2; }, ResultBadArg1},
        {"edge fraction not a number", [](auto& a) { a.params.edgeFraction = std::nan(""); }, ResultBadArg2},
        {"continuity infinite", [](auto& a) { a.params.weightContinuity = infinity; }, ResultBadArg2},
        {"curvature infinite", [](auto& a) { a.params.weightCurvature = -infinity; }, ResultBadArg2},
        {"distance infinite", [](auto& a) { a.params.weightDistance = infinity; }, ResultBadArg2},
        {"gradient infinite", [](auto& a) { a.params.weightGradient = infinity; }, ResultBadArg2},
        {"no points", [](auto& a) { a.input.clear(); }, ResultBadArg3},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 19; }, ResultBadArg1},
    });
}

TEST(SnakeImageChecks, ReportMissingMemoryOfEveryWorkingImage)
{
    for (int successes = 0; successes < 3; ++successes) {
        SnakeArgs args;
        AllocationFailure failure(successes);
        EXPECT_EQ(args.call(), ResultFailed) << successes;
        EXPECT_TRUE(args.outputsUntouched());
    }
    SnakeArgs args;
    AllocationFailure failure(3);
    EXPECT_EQ(args.call(), ResultOk);
}

TEST(SnakeImageChecks, ReportMissingMemoryOfTheContour)
{
    ResultCode rc = ResultFailed;
    for (int successes = 0; rc != ResultOk; ++successes) {
        SnakeArgs args;
        {
            NewFailure failure(successes);
            rc = args.call();
        }
        EXPECT_TRUE(rc == ResultOk || (rc == ResultFailed && args.outputsUntouched())) << successes;
    }
}

template <class T>
void compareWithTwin(const TestImage& src, const SxSnakeParams& params, const Points& input)
{
    const oracle::Snake expected = oracle::snakeImage<T>(src, params, input);
    Points output;
    ASSERT_EQ(SnakeImage(src, params, input, output), ResultOk);
    EXPECT_EQ(plain(output).size(), expected.size());
    EXPECT_TRUE(plain(output) == expected);
}

TEST(SnakeImageTargets, EqualTheTwinOnRandomContoursAndParameters)
{
    forEachTarget([] {
        std::mt19937 random(11);
        const auto pick = [&](int from, int to) {
            return from + static_cast<int>(random() % unsigned(to - from + 1));
        };
        for (int round = 0; round < 60; ++round) {
            TestImage src(Layout{.width = pick(3, 60), .height = pick(3, 50), .type = UInt16, .bits = 12});
            drawDisc<std::uint16_t>(src, pick(0, 60), pick(0, 50), pick(1, 20), 100, 3000);
            for (int i = 0; i < 40; ++i)
                src.set<std::uint16_t>(pick(0, src.buf().width - 1), pick(0, src.buf().height - 1),
                                       static_cast<std::uint16_t>(pick(0, 4095)));
            SxSnakeParams params;
            params.edgeFraction = pick(-2, 12) / 10.0;
            params.weightContinuity = pick(-2, 8) / 4.0;
            params.weightCurvature = pick(-2, 8) / 4.0;
            params.weightDistance = pick(0, 8) / 4.0;
            params.weightGradient = pick(0, 8) / 4.0;
            params.refine = pick(0, 2);
            params.refineInterval = pick(-1, 4);
            params.loopDistance = pick(-1, 4);
            params.pointSpacing = pick(4, 14);
            params.maxIterations = pick(-1, 30);
            Points input;
            for (int i = pick(1, 25); i > 0; --i)
                input.append({pick(-5, 65), pick(-5, 55)});
            compareWithTwin<std::uint16_t>(src, params, input);
        }
    });
}

TEST(SnakeImageTargets, EqualTheTwinHalfWayBetweenTwoPoints)
{
    const TestImage src(Layout{.width = 34, .height = 39});
    SxSnakeParams params;
    params.weightContinuity = params.weightCurvature = params.weightDistance = params.weightGradient = 0;
    params.pointSpacing = 7;
    params.maxIterations = 0;
    params.refineInterval = 1;
    params.loopDistance = -1;
    compareWithTwin<std::uint8_t>(src, params, {{2, 12}, {10, 1}});
    compareWithTwin<std::uint8_t>(src, params, {{3, 13}, {11, 2}});
}

TEST(SnakeImageValues, SettleOnTheDiscInside)
{
    TestImage src(Layout{.width = 80, .height = 80});
    drawDisc<std::uint8_t>(src, 40, 40, 20, 20, 220);
    Points output;
    ASSERT_EQ(SnakeImage(src, SxSnakeParams{}, circle(40, 40, 30, 40), output), ResultOk);
    ASSERT_GE(output.size(), 12);
    for (const auto& point : output)
        EXPECT_NEAR(std::hypot(point.x - 40, point.y - 40), 20.0, 2.5);
}

TEST(SnakeImageValues, MakeOneStepWhenNoIterationIsGranted)
{
    for (const int iterations : {0, -7}) {
        TestImage src(Layout{.width = 80, .height = 80});
        drawDisc<std::uint8_t>(src, 40, 40, 10, 20, 220);
        SxSnakeParams params;
        params.refine = 0;
        params.maxIterations = iterations;
        const Points input = circle(40, 40, 30, 24);
        Points output;
        ASSERT_EQ(SnakeImage(src, params, input, output), ResultOk);
        ASSERT_EQ(output.size(), 24) << "without refinement the number of points stays";
        int moved = 0;
        for (int i = 0; i < 24; ++i) {
            EXPECT_LE(std::abs(output[i].x - input[i].x), 1);
            EXPECT_LE(std::abs(output[i].y - input[i].y), 1);
            moved += output[i].x != input[i].x || output[i].y != input[i].y;
        }
        EXPECT_GT(moved, 0);
    }
}

TEST(SnakeImageValues, StayInsideTheBandWhateverTheInput)
{
    TestImage src(Layout{.width = 12, .height = 9, .type = UInt16});
    src.fillRandom(4);
    constexpr int most = std::numeric_limits<int>::max(), least = std::numeric_limits<int>::min();
    const Points input{{least, most}, {most, least}, {0, 0}, {11, 8}, {5, 5}};
    for (const int spacing : {least, 0, 1, most}) {
        SxSnakeParams params;
        params.pointSpacing = spacing;
        params.loopDistance = spacing;
        params.refineInterval = 0;
        Points output;
        ASSERT_EQ(SnakeImage(src, params, input, output), ResultOk);
        EXPECT_GE(output.size(), 1);
        for (const auto& point : output) {
            EXPECT_TRUE(point.x >= 1 && point.x <= 10);
            EXPECT_TRUE(point.y >= 1 && point.y <= 7);
        }
    }
}

TEST(SnakeImageValues, AcceptOnePointAndTheSameListTwice)
{
    SnakeArgs args;
    Points points{{5, 5}};
    ASSERT_EQ(SnakeImage(args.src, args.params, points, points), ResultOk);
    EXPECT_EQ(points.size(), 1);
}

TEST(SnakeImageValues, DoNotDependOnTheMosaicOfTheSource)
{
    SnakeArgs colour, mosaic;
    mosaic.src->bayerGrid = BayerRGGB;
    ASSERT_EQ(colour.call(), ResultOk);
    ASSERT_EQ(mosaic.call(), ResultOk);
    EXPECT_TRUE(plain(colour.output) == plain(mosaic.output));
}

}  // namespace
}  // namespace ko::test
