#include "pipeline/frame_rate.h"

#include <gtest/gtest.h>

namespace ko::test {
namespace {

using std::chrono::milliseconds;

constexpr FrameRate::Time at(int ms)
{
    return FrameRate::Time{} + milliseconds(100'000 + ms);
}

TEST(FrameRateValues, NeedTwoFrames)
{
    FrameRate rate;
    EXPECT_EQ(0, rate.at(at(0)));
    rate.add(at(0));
    EXPECT_EQ(0, rate.at(at(0)));
    rate.add(at(100));
    EXPECT_DOUBLE_EQ(10, rate.at(at(100)));
}

TEST(FrameRateValues, ForgetFramesOlderThanTheWindow)
{
    FrameRate rate;
    for (const int ms : {0, 1500, 1750, 2000})
        rate.add(at(ms));
    EXPECT_DOUBLE_EQ(1.5, rate.at(at(2000)));
    EXPECT_DOUBLE_EQ(4, rate.at(at(2001)));
    EXPECT_EQ(0, rate.at(at(3751)));
}

TEST(FrameRateValues, OfFastStreamsCountTheLastFramesOnly)
{
    FrameRate rate;
    for (int i = 0; i < 1000; ++i)
        rate.add(at(0));
    EXPECT_EQ(0, rate.at(at(0))) << "no time has passed";
    for (int i = 0; i < static_cast<int>(FrameRate::capacity); ++i)
        rate.add(at(i));
    EXPECT_DOUBLE_EQ(1000, rate.at(at(255)));
}

}  // namespace
}  // namespace ko::test
