#include "core/frame_date.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace ko::test {
namespace {

TEST(FrameDate, IsTheDateOfNowInLocalTime)
{
    for (int i = 0; i < 3; ++i) {
        const QDateTime before = QDateTime::currentDateTime();
        const QDateTime date = currentFrameDate();
        EXPECT_LE(before, date);
        EXPECT_GE(QDateTime::currentDateTime(), date);
        EXPECT_EQ(Qt::LocalTime, date.timeSpec());
        EXPECT_EQ(before.offsetFromUtc(), date.offsetFromUtc());
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

TEST(FrameDate, IsOfEachThreadsOwn)
{
    const QDateTime before = currentFrameDate();
    QDateTime elsewhere;
    std::thread([&] { elsewhere = currentFrameDate(); }).join();
    EXPECT_LE(before, elsewhere);
    EXPECT_LE(elsewhere, currentFrameDate());
}

}  // namespace
}  // namespace ko::test
