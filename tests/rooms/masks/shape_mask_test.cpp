#include "support/allocation_failure.h"
#include "support/check_table.h"

#include "base/image_view.h"

#include <ko/masks.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace ko::test {
namespace {

constexpr double pi = 3.14159265358979323846;
constexpr unsigned char red[] = {200, 10, 20}, blue[] = {1, 2, 250};

struct EllipseArgs {
    SxImageBuf out;
    std::uint8_t occupied = 0;
    int a = 5, b = 2;
    const unsigned char* background = blue;
    const unsigned char* foreground = red;

    ~EllipseArgs() { FreeBuffer(out); }
    bool outputsUntouched() const { return out.width == 0; }
};
struct MonoArgs : EllipseArgs {
    ResultCode call() { return EllipseMaskMono(out, a, b, 0.3, 0, 255); }
};
struct RgbArgs : EllipseArgs {
    ResultCode call() { return EllipseMaskRgb(out, a, b, 0.3, background, foreground); }
};

template <class Args>
std::vector<CheckRow<Args>> ellipseRows()
{
    return {
        {"out occupied", [](auto& x) { x.out.data = &x.occupied; }, ResultBadArg1},
        {"a below 1", [](auto& x) { x.a = 0; }, ResultBadArg2},
        {"b below 1", [](auto& x) { x.b = 0; }, ResultBadArg3},
        {"b above a", [](auto& x) { x.b = x.a + 1; }, ResultBadArg3},
    };
}

TEST(EllipseMaskChecks, RunInOrder)
{
    runCheckTable<MonoArgs>(ellipseRows<MonoArgs>());
    auto rows = ellipseRows<RgbArgs>();
    rows.push_back({"background null", [](auto& x) { x.background = nullptr; }, ResultBadArg5});
    rows.push_back({"foreground null", [](auto& x) { x.foreground = nullptr; }, ResultBadArg6});
    runCheckTable<RgbArgs>(rows);
}

TEST(EllipseMaskChecks, ReportMemoryThatCannotBeHad)
{
    {
        AllocationFailure failure(0);
        EXPECT_EQ(MonoArgs().call(), ResultFailed);
    }
    SxImageBuf out;
    out.allocation = 5;
    EXPECT_EQ(EllipseMaskMono(out, std::numeric_limits<int>::max(), 7, 0.0, 0, 1), ResultFailed);
    EXPECT_EQ(out.data, nullptr);
    EXPECT_EQ(out.allocation, 0U);
    EXPECT_EQ(EllipseMaskRgb(out, 1200000000, 1, pi / 2, red, blue), ResultFailed);
    EXPECT_EQ(out.data, nullptr);
}

std::vector<std::string> drawMono(int a, int b, double angle)
{
    SxImageBuf out;
    EXPECT_EQ(EllipseMaskMono(out, a, b, angle, '.', '#'), ResultOk);
    EXPECT_EQ(out.stride, (out.width + 3) / 4 * 4);
    EXPECT_EQ(out.bitsPerSample, 8);
    EXPECT_EQ(out.dataType, UInt8);
    std::vector<std::string> rows;
    for (int y = 0; y < out.height; ++y) {
        rows.emplace_back(reinterpret_cast<const char*>(rowOf(out, y)), static_cast<std::size_t>(out.width));
        for (int x = out.width; x < out.stride; ++x)
            EXPECT_EQ(rowOf(out, y)[x], '.') << "the padding holds the background";
    }
    FreeBuffer(out);
    return rows;
}

TEST(EllipseMaskValues, OfACircleAreTheSameForAnyAngle)
{
    const std::vector<std::string> circle{
        "..###..", ".#####.", "#######", "#######", "#######", ".#####.", "..###..",
    };
    for (const double angle : {0.0, 0.7, 2.0, pi, -pi / 3, 100.0})
        EXPECT_EQ(drawMono(3, 3, angle), circle) << angle;
}

TEST(EllipseMaskValues, HaveTheSizeOfTheRotatedExtent)
{
    const auto size = [](int a, int b, double angle) {
        const auto rows = drawMono(a, b, angle);
        return std::pair<std::size_t, std::size_t>(rows[0].size(), rows.size());
    };
    EXPECT_EQ(size(5, 2, 0.0), (std::pair<std::size_t, std::size_t>(11, 5)));
    EXPECT_EQ(size(5, 2, pi / 2), (std::pair<std::size_t, std::size_t>(5, 11)));
    EXPECT_EQ(size(5, 2, pi), (std::pair<std::size_t, std::size_t>(11, 5)));
    EXPECT_EQ(size(5, 2, -pi / 2), (std::pair<std::size_t, std::size_t>(5, 11)));
    // sqrt((10^2 + 4^2) / 2) = 7.62 on both axes at 45 degrees
    EXPECT_EQ(size(10, 4, pi / 4), (std::pair<std::size_t, std::size_t>(17, 17)));
}

TEST(EllipseMaskValues, TakeAnAngleThatIsNotFiniteAsZero)
{
    EXPECT_EQ(drawMono(5, 2, std::nan("")), drawMono(5, 2, 0.0));
    EXPECT_EQ(drawMono(5, 2, std::numeric_limits<double>::infinity()), drawMono(5, 2, 0.0));
    EXPECT_FALSE(drawMono(5, 2, 1e300).empty());
}

TEST(EllipseMaskValues, AreSymmetricAboutTheCentre)
{
    for (int a = 1; a <= 20; a += 3)
        for (int b = 1; b <= a; b += 2)
            for (double angle = -4; angle < 7; angle += 0.37) {
                const auto rows = drawMono(a, b, angle);
                // The centre row alone is drawn point by point and not reflected.
                for (std::size_t y = 0; y < rows.size() / 2; ++y)
                    EXPECT_EQ(rows[y], std::string(rows[rows.size() - 1 - y].rbegin(),
                                                   rows[rows.size() - 1 - y].rend()));
                EXPECT_EQ(rows[rows.size() / 2][rows[0].size() / 2], '#');
            }
}

/// The rule for one pixel of the lower half, in the words of its description.
bool isForeground(double a, double b, double t, int x, int y)
{
    const double f = a == b ? 0 : std::sqrt(a * a - b * b), fc = std::cos(t) * f, fs = std::sin(t) * f;
    const auto q = [&](double px, double py) {
        return (a * a - fc * fc) * (px * px) + (a * a - fs * fs) * (py * py) +
               2 * (fs == 0 ? 0 : -fs * fc) * px * py + -(a * a) * (b * b);
    };
    if (q(x, y) <= 0)
        return true;
    double nx = x, ny = y;
    const double phi = x == 0 ? pi / 2 : std::atan(double(y) / x);
    if (x != 0 && 0 < phi && phi < pi / 4)
        nx -= 1;
    else if (x != 0 && -pi / 4 < phi && phi < 0)
        nx += 1;
    else
        ny -= 1;
    return q((x + nx) / 2, (y + ny) / 2) < 0;
}

TEST(EllipseMaskValues, FollowThePixelRuleInTheLowerHalf)
{
    for (const auto& [a, b] : {std::pair(1, 1), {2, 1}, {5, 2}, {9, 9}, {13, 6}, {30, 1}, {40, 17}})
        for (const double t : {0.0, 0.1, 0.5, pi / 4, 1.2, pi / 2, 2.0, 3.0}) {
            const auto rows = drawMono(a, b, t);
            const int h = static_cast<int>(rows.size()), w = static_cast<int>(rows[0].size());
            for (int y = 0; y <= h / 2; ++y)
                for (int x = -(w / 2); x <= w / 2; ++x)
                    EXPECT_EQ(
                        rows[static_cast<std::size_t>(y + h / 2)][static_cast<std::size_t>(x + w / 2)] == '#',
                        isForeground(a, b, t, x, y))
                        << a << ' ' << b << ' ' << t << ' ' << x << ' ' << y;
        }
}

TEST(EllipseMaskValues, InColourDrawTheSameShape)
{
    const auto rows = drawMono(9, 4, 0.6);
    SxImageBuf out;
    ASSERT_EQ(EllipseMaskRgb(out, 9, 4, 0.6, blue, red), ResultOk);
    ASSERT_EQ(out.channels, 3);
    EXPECT_EQ(out.stride, (out.width * 3 + 3) / 4 * 4);
    ASSERT_EQ(out.height, static_cast<int>(rows.size()));
    for (int y = 0; y < out.height; ++y)
        for (int x = 0; x < out.width; ++x) {
            const unsigned char* const expected =
                rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] == '#' ? red : blue;
            for (int c = 0; c < 3; ++c)
                EXPECT_EQ(rowOf(out, y)[3 * x + c], expected[c]);
        }
    FreeBuffer(out);
}

TEST(CircleMasks, ExistForDiametersFrom2To15)
{
    EXPECT_FALSE(GetCircleMaskByte(3, nullptr));
    for (const int size : {-1, 0, 1, 16, 1000}) {
        const unsigned char* mask = red;
        EXPECT_FALSE(GetCircleMaskByte(size, &mask));
        EXPECT_EQ(mask, nullptr);
    }
    const unsigned char* mask = nullptr;
    ASSERT_TRUE(GetCircleMaskByte(3, &mask));
    EXPECT_EQ(std::vector<unsigned char>(mask, mask + 9),
              (std::vector<unsigned char>{0, 1, 0, 1, 1, 1, 0, 1, 0}));
}

TEST(CircleMasks, AreCentredRunsOfTheDrawnWidths)
{
    const std::vector<std::vector<int>> upperHalves{{2},
                                                    {1, 3},
                                                    {2, 4},
                                                    {3, 5, 5},
                                                    {2, 4, 6},
                                                    {3, 5, 7, 7},
                                                    {4, 6, 8, 8},
                                                    {3, 7, 7, 9, 9},
                                                    {4, 6, 8, 10, 10},
                                                    {5, 7, 9, 11, 11, 11},
                                                    {4, 8, 10, 10, 12, 12},
                                                    {5, 7, 9, 11, 13, 13, 13},
                                                    {6, 8, 10, 12, 14, 14, 14},
                                                    {5, 9, 11, 13, 13, 15, 15, 15}};
    for (int size = 2; size <= 15; ++size) {
        const auto& widths = upperHalves[static_cast<std::size_t>(size - 2)];
        const unsigned char* mask = nullptr;
        ASSERT_TRUE(GetCircleMaskByte(size, &mask));
        for (int row = 0; row < size; ++row) {
            const int width = widths[static_cast<std::size_t>(std::min(row, size - 1 - row))];
            for (int x = 0; x < size; ++x) {
                const int first = (size - width) / 2;
                EXPECT_EQ(mask[row * size + x], x >= first && x < first + width ? 1 : 0)
                    << size << ' ' << row << ' ' << x;
            }
        }
    }
}

}  // namespace
}  // namespace ko::test
