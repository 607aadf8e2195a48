// Means of floats under a mask: additions that never round, that always do, and pictures in which one follows the other.
#include "oracle/means.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/stats/means.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

namespace ko::test {
namespace {

template <class At>
void expectTwin(int width, int height, const At& at, int marked = 3)
{
    std::mt19937 random(5);
    TestImage src(Layout{.width = width, .height = height, .type = Float32, .padding = 3});
    TestImage mask(Layout{.width = width, .height = height});
    src.forEachSample([&](int x, int y, int) {
        const bool isSelected = static_cast<int>(random() % 4) < marked;
        mask.set<std::uint8_t>(x, y, 0, isSelected ? 7 : 0);
        src.set<float>(x, y, 0, isSelected ? at(x, y, random) : std::numeric_limits<float>::quiet_NaN());
    });
    const double expected = oracle::meanMasked<float>(src, mask, 0);
    double mean = 0, same = 0;
    ASSERT_EQ(MeanMasked(src, mask, &mean), ResultOk);
    ASSERT_EQ(MeanStdDevMasked(src, mask, &same, nullptr), ResultOk);
    if (std::isnan(expected)) {
        EXPECT_TRUE(std::isnan(mean) && std::isnan(same)) << width;
        return;
    }
    EXPECT_EQ(std::bit_cast<std::uint64_t>(mean), std::bit_cast<std::uint64_t>(expected)) << width;
    EXPECT_EQ(std::bit_cast<std::uint64_t>(same), std::bit_cast<std::uint64_t>(expected)) << width;
}

float unitFloat(std::mt19937& random)
{
    return static_cast<float>(random() % 4096) / 4095.0F;
}

TEST(FloatMeanTargets, EqualTheTwinForEveryWidth)
{
    forEachTarget([] {
        for (int width = 1; width <= 140; ++width)
            expectTwin(width, 5, [](int, int, auto& random) { return unitFloat(random) - 0.25F; });
    });
}

TEST(FloatMeanTargets, EqualTheTwinFromWhereAdditionsRound)
{
    forEachTarget([] {
        // The exponents spread more and more from row to row, up to and beyond the digits of a sum.
        for (int spread = 0; spread <= 60; spread += 3) {
            expectTwin(67, 20, [=](int x, int y, auto& random) {
                return std::ldexp(unitFloat(random) - 0.5F, (x % 2) * -spread * y / 10);
            });
        }
        // The digits of small numbers leave the sum as it grows.
        for (int exponent = 8; exponent <= 30; ++exponent) {
            expectTwin(131, 40, [=](int x, int, auto& random) {
                return std::ldexp(1.0F + unitFloat(random), x % 2 == 0 ? 0 : -exponent);
            });
        }
        // Large numbers that go out again leave what small ones have added.
        expectTwin(67, 6, [](int x, int y, auto& random) {
            return y % 3 == 1 ? (x % 2 == 0 ? 1e20F : -1e20F) : unitFloat(random);
        });
    });
}

TEST(FloatMeanTargets, EqualTheTwinForOddNumbers)
{
    constexpr float infinity = std::numeric_limits<float>::infinity();
    forEachTarget([] {
        expectTwin(67, 4, [](int x, int, auto&) { return x % 2 == 0 ? -0.0F : 0.0F; });
        expectTwin(67, 4, [](int x, int, auto&) { return x % 2 == 0 ? -0.0F : 1e-45F; });
        expectTwin(67, 4, [](int x, int y, auto&) { return std::ldexp(1.0F, -149 + (x + y) % 50); });
        expectTwin(67, 4, [](int x, int, auto&) { return x % 3 == 0 ? 3.4e38F : -3.4e38F; });
        expectTwin(67, 4, [](int x, int y, auto&) { return x == 40 && y == 2 ? infinity : 1.0F; });
        expectTwin(67, 4,
                   [](int x, int y, auto&) { return y == 2 ? (x % 2 == 0 ? infinity : -infinity) : 1.0F; });
        expectTwin(67, 4, [](int, int, auto&) { return std::numeric_limits<float>::quiet_NaN(); });
        expectTwin(
            67, 4, [](int, int, auto&) { return 1.0F; }, 0);
    });
}

}  // namespace
}  // namespace ko::test
