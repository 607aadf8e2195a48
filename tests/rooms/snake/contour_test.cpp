#include "snake/contour.h"

#include <gtest/gtest.h>

#include <vector>

namespace ko {

static bool operator==(ContourPoint a, ContourPoint b)
{
    return a.x == b.x && a.y == b.y;
}
static void PrintTo(ContourPoint point, std::ostream* out)
{
    *out << '(' << point.x << ", " << point.y << ')';
}

}  // namespace ko

namespace ko::test {
namespace {

constexpr std::size_t plenty = 65536;

TEST(LoopRemoval, CutsOffTheFarthestPointInReach)
{
    Contour contour{{0, 0}, {10, 0}, {20, 0}, {1, 0}, {50, 50}, {0, 50}};
    removeLoops(contour, 1);
    EXPECT_EQ(contour, (Contour{{0, 0}, {50, 50}, {0, 50}}));
}

TEST(LoopRemoval, WrapsAroundTheEndOfTheList)
{
    Contour contour{{0, 0}, {30, 31}, {90, 0}, {30, 30}, {60, 60}};
    removeLoops(contour, 1);
    EXPECT_EQ(contour, (Contour{{0, 0}, {30, 31}, {60, 60}}));
    Contour wrapping{{30, 31}, {90, 0}, {200, 200}, {0, 90}, {30, 30}};
    removeLoops(wrapping, 1);
    EXPECT_EQ(wrapping, (Contour{{90, 0}, {200, 200}, {0, 90}, {30, 30}}));
}

TEST(LoopRemoval, NeverRemovesTheLastPoint)
{
    for (std::size_t count = 1; count <= 6; ++count) {
        Contour contour(count, ContourPoint{5, 5});
        removeLoops(contour, 100);
        EXPECT_GE(contour.size(), 1U) << count;
    }
    Contour pair{{5, 5}, {5, 6}};
    removeLoops(pair, 1);
    EXPECT_EQ(pair, (Contour{{5, 5}}));
}

TEST(LoopRemoval, WithANegativeDistanceRemovesNothing)
{
    Contour contour{{5, 5}, {5, 5}, {5, 5}};
    removeLoops(contour, -1);
    EXPECT_EQ(contour.size(), 3U);
}

TEST(PointInsertion, FillsGapsWiderThanTheSpacing)
{
    Contour contour{{10, 10}, {20, 10}, {20, 20}, {10, 20}};
    insertPoints(contour, 9, plenty);
    // 10 / 48 + 23 * 10 / 48 + 23 * 20 / 48 + 20 / 48 + 0.5 = 15.5; rows 20 / 48 + 46 * 10 / 48 + 20 / 48 +
    // 0.5 = 10.9
    EXPECT_EQ(contour,
              (Contour{{10, 10}, {15, 10}, {20, 10}, {20, 15}, {20, 20}, {15, 20}, {10, 20}, {10, 15}}));
}

TEST(PointInsertion, BelowOnePixelDoesNothing)
{
    for (const int spacing : {0, -1}) {
        Contour contour{{1, 1}, {90, 90}};
        insertPoints(contour, spacing, plenty);
        EXPECT_EQ(contour.size(), 2U);
    }
}

TEST(PointInsertion, LeavesAGapThatNoPointCanClose)
{
    // Between the first two, rounding lands on both points that follow, however often it is tried.
    Contour contour{{2, 2}, {3, 3}, {3, 3}, {9, 9}};
    insertPoints(contour, 1, 6);
    ASSERT_EQ(contour.size(), 6U);
    contour.resize(3);
    EXPECT_EQ(contour, (Contour{{2, 2}, {3, 3}, {3, 3}}));
}

TEST(PointInsertion, StopsAtTheLimit)
{
    Contour contour{{1, 1}, {1000, 1}, {1000, 1000}};
    insertPoints(contour, 1, 10);
    EXPECT_EQ(contour.size(), 10U);
    EXPECT_EQ(contour.back(), (ContourPoint{1000, 1000}));
}

TEST(Resampling, SpacesPointsEvenly)
{
    Contour square{{10, 10}, {20, 10}, {20, 20}, {10, 20}};
    resampleContour(square, 4);
    EXPECT_EQ(square.size(), 10U);
    // t = 0 on the first segment: ((10, 20) + 4 (10, 10) + (20, 10)) / 6, rounded
    EXPECT_EQ(square[0], (ContourPoint{12, 12}));
}

TEST(Resampling, LeavesWhatIsTooShortOrWithoutSpacingAlone)
{
    Contour point{{7, 7}};
    resampleContour(point, 4);
    EXPECT_EQ(point, (Contour{{7, 7}}));
    Contour pair{{7, 7}, {8, 7}};
    resampleContour(pair, 5);
    EXPECT_EQ(pair.size(), 2U);
    for (const int spacing : {0, -3}) {
        Contour square{{10, 10}, {20, 10}, {20, 20}, {10, 20}};
        resampleContour(square, spacing);
        EXPECT_EQ(square.size(), 4U);
    }
}

TEST(Band, KeepsPointsOnePixelInside)
{
    SxImageInfo image;
    image.width = 10, image.height = 6;
    EXPECT_EQ(intoBand({0, 5}, image), (ContourPoint{1, 4}));
    EXPECT_EQ(intoBand({9, -100}, image), (ContourPoint{8, 1}));
    EXPECT_EQ(intoBand({4, 4}, image), (ContourPoint{4, 4}));
}

}  // namespace
}  // namespace ko::test
