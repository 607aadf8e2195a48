#include "rooms/median/work_buffer.h"

#include "base/checks.h"

#include <utility>
#include <vector>

namespace ko::test {
namespace {

TEST(MedianPlans, ChooseCountersThatHoldAWholeWindow)
{
    for (const auto& [radius, width] : {std::pair{0, 1U}, {7, 1U}, {8, 2U}, {127, 2U}, {128, 4U}, {1000, 4U}})
        EXPECT_EQ(WorkBuffer(infoOf(3000, 1), radius)->counterWidth, width) << radius;
}

TEST(MedianPlans, RecordTheFormatAndWhatAStripReads)
{
    const Threads two(2);
    const SxImageInfo info = infoOf(2048, 100, UInt16, 12, 3);
    const WorkBuffer made(info, 5);
    EXPECT_TRUE(sameFormat(made->plan->info, info));
    const std::vector<MedianStrip>& strips = made->plan->strips;
    ASSERT_EQ(strips.size(), 2U);
    EXPECT_EQ(strips[0].firstRow, 0);
    EXPECT_EQ(strips[0].lastRow, 99);
    EXPECT_EQ(strips[0].bins, 4096);
    EXPECT_EQ(strips[0].channels, 3);
    EXPECT_EQ(strips[0].lastColumn, 1018) << "as much to read as half of the image";
    EXPECT_EQ(strips[0].sourceColumns, 1024);
    EXPECT_EQ(strips[1].sourceColumns, 2048 - 1019 + 5);
}

TEST(MedianPlans, CoverAllColumnsOnceForAnyWidthRadiusAndNumberOfThreads)
{
    for (const int threads : {1, 2, 3, 8, 61})
        for (int radius = 0; radius <= 9; ++radius)
            for (int width = 2 * radius + 1; width < 200; ++width) {
                int next = 0;
                for (const MedianStrip& strip : cutIntoStrips(infoOf(width, 3), radius, threads)) {
                    ASSERT_EQ(strip.firstColumn, next) << width << " " << radius << " " << threads;
                    ASSERT_GE(strip.lastColumn, strip.firstColumn);
                    next = strip.lastColumn + 1;
                }
                ASSERT_EQ(next, width) << radius << " " << threads;
            }
}

}  // namespace
}  // namespace ko::test
