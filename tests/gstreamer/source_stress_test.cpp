#include <ko/gstreamer.h>

#include "support/quiet_test.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <random>
#include <thread>
#include <vector>

namespace ko::test {
namespace {

using std::chrono::milliseconds;

const QString endless = QStringLiteral("videotestsrc ! video/x-bayer,format=rggb,width=64,height=16");

/// Drops of stopped items are not worth a line each.
class GstSourceStress : public QuietTest {};

TEST_F(GstSourceStress, IsDestroyedWhileItRuns)
{
    for (int round = 0; round < 20; ++round) {
        CxFrameSink sink([](CxImageData&) {});
        CxGstSource source(endless);
        ASSERT_TRUE(source.setQueue(1 + round % 3, round % 2 == 0 ? QueueBlocks : QueueDropsOldest));
        ASSERT_TRUE(source.addSuccessor(&sink));
        ASSERT_TRUE(StartPipe(source));
        std::this_thread::sleep_for(milliseconds(round % 4));
    }
}

TEST_F(GstSourceStress, IsDestroyedWhateverItsStreamDoes)
{
    const char* const streams[] = {
        "videotestsrc num-buffers=1 ! video/x-raw,format=GRAY8",
        "videotestsrc is-live=true ! identity drop-probability=1 ! video/x-raw,format=GRAY8",
        "videotestsrc ! identity error-after=3 ! video/x-raw,format=GRAY8",
        "videotestsrc ! capssetter replace=true caps=video/x-raw,format=RGB",
        "fakesrc sizetype=fixed sizemax=100 ! identity",
        "concat name=all videotestsrc num-buffers=2 ! video/x-raw,format=RGB,width=40,height=30 ! all. "
        "videotestsrc num-buffers=2 ! video/x-bayer,format=grbg,width=51,height=3 ! all. "
        "videotestsrc num-buffers=2 ! video/x-raw,format=I420 ! all. all. ! identity"};
    std::minstd_rand random(6);
    for (int round = 0; round < 60; ++round) {
        CxFrameSink sink([](CxImageData& frame) {
            const SxImageBuf& image = frame.image();
            EXPECT_LE(std::int64_t{image.width} * image.channels, image.stride);
        });
        CxGstSource source(QString::fromUtf8(streams[round % 6]));
        ASSERT_TRUE(source.setQueue(1 + round % 3, round % 2 == 0 ? QueueBlocks : QueueDropsOldest));
        ASSERT_TRUE(source.addSuccessor(&sink));
        std::thread watcher(
            [&source, time = static_cast<int>(random() % 20)] { source.waitUntilEnded(time); });
        StartPipe(source);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 20000));
        if (round % 3 == 0)
            StopPipe(source);
        watcher.join();
    }
}

TEST_F(GstSourceStress, StopsFromTheThreadThatTakesItsFrames)
{
    CxGstSource source(endless);
    std::atomic<int> count{0};
    CxFrameSink sink([&](CxImageData&) {
        if (++count == 5) {
            StopPipe(source);
        }
    });
    ASSERT_TRUE(source.addSuccessor(&sink));
    ASSERT_TRUE(StartPipe(source));
    EXPECT_FALSE(source.waitUntilEnded(60000)) << "woken by the stop, without an end of the stream";
    EXPECT_TRUE(source.setState(IxPipeItem::StateStopped));
    EXPECT_FALSE(source.hasEnded());
    EXPECT_EQ("", source.errorText().toStdString());
}

TEST_F(GstSourceStress, AccountsForEveryFrameThroughStartAndStopStorms)
{
    std::atomic<std::uint64_t> seen{0};
    CxGstSource source(endless);
    CxFrameSink sink([&](CxImageData&) { ++seen; });
    ASSERT_TRUE(source.setQueue(2, QueueDropsOldest));
    ASSERT_TRUE(source.addSuccessor(&sink));
    std::vector<std::thread> threads;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    for (unsigned seed : {1U, 2U, 3U})
        threads.emplace_back([&, seed] {
            std::minstd_rand random(seed);
            while (std::chrono::steady_clock::now() < end) {
                switch (random() % 6) {
                case 0:
                    StopPipe(source);
                    break;
                case 1:
                    source.setState(IxPipeItem::StateStopped);
                    break;
                case 2:
                    source.setDescription(random() % 4 == 0 ? QStringLiteral("nosuchelement") : endless);
                    break;
                case 3:
                    source.waitUntilEnded(1);
                    EXPECT_LE(source.gstStatistics().delivered, source.gstStatistics().received);
                    break;
                default:
                    StartPipe(source);
                    std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000));
                }
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    // Whatever state they have left, the next start works.
    EXPECT_TRUE(source.setState(IxPipeItem::StateStopped));
    EXPECT_TRUE(source.setDescription(endless));
    ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
    for (const std::uint64_t before = seen; seen == before;)
        std::this_thread::sleep_for(milliseconds(1));
    StopPipe(source);
    EXPECT_TRUE(source.setState(IxPipeItem::StateStopped));
    const SxGstStatistics counts = source.gstStatistics();
    EXPECT_EQ(counts.received, counts.delivered + counts.dropped);
    EXPECT_EQ(counts.received, source.statistics().received);
    EXPECT_EQ(counts.delivered, sink.statistics().received);
}

}  // namespace
}  // namespace ko::test
