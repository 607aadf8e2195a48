#include "median/sorting_networks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace ko::test {
namespace {

std::vector<int> applied(const SortingNetwork& network, std::vector<int> values)
{
    for (std::size_t i = 0; i < network.size; ++i) {
        int& low = values[static_cast<std::size_t>(network.comparators[i].low)];
        int& high = values[static_cast<std::size_t>(network.comparators[i].high)];
        if (high < low)
            std::swap(low, high);
    }
    std::vector<int> result;
    for (int rank = 0; rank < network.order.size; ++rank)
        result.push_back(values[static_cast<std::size_t>(network.order.at(rank))]);
    return result;
}

TEST(SortingNetworks, SortEverySequenceOfZerosAndOnes)
{
    for (int count = 1; count <= 9; ++count)
        for (int bits = 0; bits < 1 << count; ++bits) {
            std::vector<int> values;
            for (int i = 0; i < count; ++i)
                values.push_back((bits >> i) & 1);
            const std::vector<int> sorted = applied(sortingNetwork(count), values);
            ASSERT_EQ(sorted.size(), values.size());
            ASSERT_TRUE(std::is_sorted(sorted.begin(), sorted.end())) << count << " " << bits;
        }
}

TEST(SortingNetworks, MergeSortedSequencesOfAnyTwoLengths)
{
    for (int a = 0; a <= 14; ++a)
        for (int b = 0; b <= 14; ++b)
            for (int onesOfA = 0; onesOfA <= a; ++onesOfA)
                for (int onesOfB = 0; onesOfB <= b; ++onesOfB) {
                    std::vector<int> values(static_cast<std::size_t>(a + b));
                    std::fill(values.begin() + a - onesOfA, values.begin() + a, 1);
                    std::fill(values.end() - onesOfB, values.end(), 1);
                    const std::vector<int> merged = applied(mergingNetwork(a, b), values);
                    ASSERT_EQ(merged.size(), values.size());
                    ASSERT_TRUE(std::is_sorted(merged.begin(), merged.end()))
                        << a << " " << b << " " << onesOfA << " " << onesOfB;
                }
}

TEST(SortingNetworks, MergeTheLongestSequencesInUse)
{
    for (const auto& [a, b] : {std::pair{58, 16}, {82, 24}, {80, 20}, {96, 48}, {122, 28}, {170, 64}})
        for (int onesOfA = 0; onesOfA <= a; ++onesOfA)
            for (int onesOfB = 0; onesOfB <= b; ++onesOfB) {
                std::vector<int> values(static_cast<std::size_t>(a + b));
                std::fill(values.begin() + a - onesOfA, values.begin() + a, 1);
                std::fill(values.end() - onesOfB, values.end(), 1);
                const std::vector<int> merged = applied(mergingNetwork(a, b), values);
                ASSERT_TRUE(std::is_sorted(merged.begin(), merged.end()))
                    << a << " " << b << " " << onesOfA << " " << onesOfB;
            }
}

TEST(SortingNetworks, OfTheWindowsInUseHaveAsFewComparatorsAsIsKnownToBePossible)
{
    EXPECT_EQ(sortingNetwork(3).size, 3U);
    EXPECT_EQ(sortingNetwork(4).size, 5U);
    EXPECT_EQ(sortingNetwork(5).size, 9U);
    EXPECT_EQ(sortingNetwork(6).size, 12U);
    EXPECT_EQ(sortingNetwork(8).size, 19U);
}

}  // namespace
}  // namespace ko::test
