#include "base/repeat.h"

#include <gtest/gtest.h>

#include <vector>

namespace ko::test {
namespace {

TEST(RepeatPeriod, IsWholePixelsAndWholeVectors)
{
    EXPECT_EQ(repeatPeriod(1), 64U);
    EXPECT_EQ(repeatPeriod(3), 192U);
    EXPECT_EQ(repeatPeriod(4), 64U);
    EXPECT_EQ(repeatPeriod(64), 64U);
    EXPECT_EQ(repeatPeriod(65), 65U);
    EXPECT_EQ(repeatPeriod(0), 0U);
}

TEST(Repeated, GivesEveryChannelItsValueInTurn)
{
    const std::vector<int> values{7, 8, 9};
    const std::vector<int> row = repeated<int>(values);
    ASSERT_EQ(row.size(), 192U);
    for (std::size_t i = 0; i < row.size(); ++i)
        ASSERT_EQ(row[i], values[i % 3]);
    EXPECT_TRUE(repeated<int>({}).empty());
}

TEST(FillRepeating, EndsWithinThePattern)
{
    const std::vector<int> values{1, 2, 3};
    std::vector<int> row(5);
    fillRepeating<int>(row, values);
    EXPECT_EQ(row, (std::vector<int>{1, 2, 3, 1, 2}));
}

}  // namespace
}  // namespace ko::test
