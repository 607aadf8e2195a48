#include "base/conversions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace ko::test {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr std::int32_t least32 = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t least64 = std::numeric_limits<std::int64_t>::min();

TEST(DoubleToInteger, TruncatesTowardsZero)
{
    EXPECT_EQ(toInt32(2.9), 2);
    EXPECT_EQ(toInt32(-2.9), -2);
    EXPECT_EQ(toInt32(-0.5), 0);
    EXPECT_EQ(toInt64(4294967296.75), 4294967296);
    EXPECT_EQ(toInt64(-4294967296.75), -4294967296);
}

TEST(DoubleToInteger, KeepsTheEndsOfTheRange)
{
    EXPECT_EQ(toInt32(2147483647.5), 2147483647);
    EXPECT_EQ(toInt32(-2147483648.0), least32);
    EXPECT_EQ(toInt32(-2147483648.5), least32);
    EXPECT_EQ(toInt64(std::nextafter(std::ldexp(1.0, 63), 0.0)), 9223372036854774784);
    EXPECT_EQ(toInt64(-std::ldexp(1.0, 63)), least64);
}

TEST(DoubleToInteger, GivesTheLeastIntegerWhereTheNumberDoesNotFit)
{
    for (const double value : {2147483648.0, -2147483649.0, 1e300, -1e300, infinity, -infinity, std::nan("")})
        EXPECT_EQ(toInt32(value), least32) << value;
    for (const double value : {std::ldexp(1.0, 63), -std::ldexp(1.1, 63), infinity, -infinity, std::nan("")})
        EXPECT_EQ(toInt64(value), least64) << value;
}

}  // namespace
}  // namespace ko::test
