#include "pipeline/frame_queue.h"
#include "rooms/pipeline/stage.h"
#include "support/failing_new.h"

#include <ko/pipeline/endpoints.h>

#include <gtest/gtest.h>

#include <vector>

namespace ko::test {
namespace {

TEST(PipeMemory, ForTheFrameOfAnImageIsMissedWithTheImageFreed)
{
    CxFrameSource source;
    SxImageBuf image;
    ASSERT_EQ(AllocBuffer(image, 4, 4, 1, UInt8, 0, 8, Interleaved, false, CompressionNone), ResultOk);
    bool isPushed = true;
    bool hasStruck = false;
    {
        const NewFailure none(0);
        isPushed = source.push(image);
        hasStruck = NewFailure::hasStruck();
    }
    EXPECT_TRUE(hasStruck);
    EXPECT_FALSE(isPushed);
}

TEST(PipeMemory, ForAQueueIsMissedWithTheFrameDropped)
{
    constexpr int most = 1000;
    FrameQueue queue;
    queue.open(most + 1, QueueBlocks);
    std::vector<FrameQueue::Frame> frames;
    for (int i = 0; i < most; ++i)
        frames.push_back(std::make_unique<CxImageData>());
    int taken = 0;
    {
        const NewFailure none(0);
        while (taken < most && queue.push(std::move(frames[static_cast<std::size_t>(taken)]), nullptr))
            ++taken;
    }
    EXPECT_LT(taken, most);
    EXPECT_EQ(1U, queue.statistics().dropped);
    EXPECT_TRUE(queue.push(std::make_unique<CxImageData>(), nullptr));
    queue.close();
}

}  // namespace
}  // namespace ko::test
