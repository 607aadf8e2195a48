// Every frame is accounted for, whatever happens to it.
#include "camera/fake_camera.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <iostream>
#include <set>
#include <thread>

namespace ko::test {
namespace {

using std::chrono::milliseconds;

std::ostream& operator<<(std::ostream& out, const SxCameraStatistics& counts)
{
    return out << counts.received << " received, " << counts.delivered << " delivered, " << counts.dropped
               << " dropped, " << counts.incomplete << " incomplete, " << counts.lost << " lost, "
               << counts.underruns << " underruns";
}

/// 100000 frames take minutes.
std::uint64_t frameCount()
{
    return std::getenv("KO_NIGHTLY") != nullptr ? 100'000 : 2'000;
}

/// Runs a camera that loses packets with a consumer that falls behind at times.
class CameraCounts : public ::testing::Test {
protected:
    void run(const QVariantMap& changes, std::uint64_t count, int lostPackets)
    {
        const FakeCameraProcess process(lostPackets);
        QVariantMap settings = smallFrames();
        // A frame that waits for lost packets holds up those behind it.
        settings["buffers"] = 200;
        for (auto change = changes.begin(); change != changes.end(); ++change)
            settings[change.key()] = change.value();
        CxAravisSource source;
        CxFrameSink sink([&](CxImageData& frame) {
            const bool isMarked = frame.metadata().contains("camera.incomplete");
            (isMarked ? marked : unmarked) += 1;
            if (!isMarked)
                torn += isWholeRamp(frame.image()) ? 0 : 1;
            numbers.insert(frame.frameNo());
            if (frame.frameNo() % 100 == 0)
                std::this_thread::sleep_for(milliseconds(60));
        });
        sink.setQueue(1, QueueBlocks);
        ASSERT_TRUE(source.addSuccessor(&sink));
        ASSERT_TRUE(source.loadSettings(settings));
        ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
        EXPECT_TRUE(
            waitFor([&] { return source.cameraStatistics().received >= count; }, milliseconds(count * 20)));
        DrainPipe(source, 100);
        StopPipe(source);
        counts = source.cameraStatistics();
        std::cout << counts << '\n';
        EXPECT_EQ(counts.received, accountedFor(counts));
        EXPECT_EQ(counts.delivered, sink.statistics().received);
        EXPECT_EQ(counts.replaced, 0U);
        EXPECT_EQ(counts.copies, 0U);
        EXPECT_EQ(torn, 0);
        // Fewer than those delivered where one waited when the sink was stopped.
        EXPECT_EQ(numbers.size(), sink.statistics().processed) << "numbers are repeated";
        // Every number belongs to a frame that was received or to one that was lost; those behind the last one
        // delivered are few.
        const auto seen = static_cast<std::uint64_t>(*numbers.rbegin() + 1);
        EXPECT_LE(seen, counts.received + counts.lost);
        EXPECT_GE(seen + 500, counts.received + counts.lost);
    }

    SxCameraStatistics counts;
    std::uint64_t marked = 0;
    std::uint64_t unmarked = 0;
    int torn = 0;
    std::set<int> numbers;
};

TEST_F(CameraCounts, AddUpWithLostPacketsAndASlowConsumer)
{
    run({}, frameCount(), 10);
    EXPECT_GT(counts.dropped, 0U);
    EXPECT_GT(counts.incomplete, 0U);
    EXPECT_EQ(marked, 0U);
}

TEST_F(CameraCounts, AddUpWhereIncompleteFramesArePassedOnMarked)
{
    run({{"incompleteFrames", true}, {"packetResend", false}}, 1000, 50);
    EXPECT_GT(marked, 0U);
    EXPECT_GT(unmarked, 0U);
}

TEST_F(CameraCounts, AddUpWhereTheNewestFramesAreDropped)
{
    run({{"queuePolicy", int{QueueBlocks}}}, 1000, 0);
    EXPECT_GT(counts.dropped, 0U);
    EXPECT_EQ(counts.incomplete, 0U);
    EXPECT_EQ(counts.underruns, 0U);
}

}  // namespace
}  // namespace ko::test
