// Whose the memory of frames is.
#include "camera/fake_camera.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace ko::test {
namespace {

/// Keeps the frames that arrive.
class Keeper : public IxDataProcessor {
public:
    Keeper() : IxDataProcessor(FlagNoOutput) {}
    ~Keeper() override { retire(); }

    int count() const
    {
        const std::lock_guard lock(m_framesMutex);
        return static_cast<int>(m_frames.size());
    }

    std::vector<std::unique_ptr<IxData>> take()
    {
        const std::lock_guard lock(m_framesMutex);
        return std::exchange(m_frames, {});
    }

protected:
    bool processData(IxData* input, IxData*&) override
    {
        const std::lock_guard lock(m_framesMutex);
        m_frames.emplace_back(input);
        return true;
    }

private:
    mutable std::mutex m_framesMutex;
    std::vector<std::unique_ptr<IxData>> m_frames;
};

int tornOf(const std::vector<std::unique_ptr<IxData>>& frames)
{
    int torn = 0;
    for (const auto& frame : frames)
        torn += isWholeRamp(dynamic_cast<CxImageData&>(*frame).image()) ? 0 : 1;
    return torn;
}

TEST(CameraMemory, BelongsToWhoeverTakesTheRecordOut)
{
    const FakeCameraProcess process;
    constexpr std::size_t enough = 50;  // more than the stream has buffers
    std::vector<SxImageBuf> taken;
    std::atomic<std::size_t> count{0};
    {
        CxAravisSource source;
        CxFrameSink sink([&](CxImageData& frame) {
            if (taken.size() < enough)
                taken.push_back(std::exchange(frame.image(), SxImageBuf()));
            count = taken.size();
        });
        ASSERT_TRUE(source.addSuccessor(&sink));
        ASSERT_TRUE(source.loadSettings(smallFrames()));
        ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
        EXPECT_TRUE(waitFor([&] { return count == enough; }));
        StopPipe(source);
        EXPECT_EQ(source.cameraStatistics().replaced, enough);
        EXPECT_EQ(source.cameraStatistics().copies, 0U);
    }
    ASSERT_EQ(taken.size(), enough);
    for (SxImageBuf& image : taken) {
        EXPECT_TRUE(isWholeRamp(image));
        FreeBuffer(image);
    }
}

TEST(CameraMemory, MayBeReplacedInsideAFrame)
{
    const FakeCameraProcess process;
    CxAravisSource source;
    std::atomic<int> frames{0};
    CxFrameSink sink([&](CxImageData& frame) {
        // The new image is smaller and may get the address of the old one, to which the camera must not write.
        const SxImageInfo info = frame.image();
        FreeBuffer(frame.image());
        ASSERT_EQ(
            AllocBuffer(frame.image(), info.width, 2, 1, UInt8, 0, 8, Interleaved, true, CompressionNone),
            ResultOk);
        ++frames;
    });
    ASSERT_TRUE(source.addSuccessor(&sink));
    ASSERT_TRUE(source.loadSettings(smallFrames()));
    ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
    EXPECT_TRUE(waitFor([&] { return frames >= 100; }));
    StopPipe(source);
    EXPECT_EQ(source.cameraStatistics().replaced, static_cast<std::uint64_t>(frames));
}

TEST(CameraMemory, OutlivesTheSource)
{
    const FakeCameraProcess process;
    Keeper keeper;
    {
        CxAravisSource source;
        ASSERT_TRUE(source.addSuccessor(&keeper));
        ASSERT_TRUE(source.loadSettings(smallFrames()));
        ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
        EXPECT_TRUE(waitFor([&] { return keeper.count() >= 5; }));
        StopPipe(source);
    }
    // The camera is free although its frames live.
    CxAravisSource next;
    ASSERT_TRUE(next.loadSettings(smallFrames()));
    EXPECT_TRUE(StartPipe(next)) << next.errorText().toStdString();
    StopPipe(next);
    const auto frames = keeper.take();
    EXPECT_GE(frames.size(), 5U);
    EXPECT_EQ(tornOf(frames), 0);
}

TEST(CameraMemory, IsMissedWhileFramesAreKeptAndBackAfterwards)
{
    const FakeCameraProcess process;
    Keeper keeper;
    CxAravisSource source;
    ASSERT_TRUE(source.addSuccessor(&keeper));
    QVariantMap settings = smallFrames();
    settings["buffers"] = 2;
    ASSERT_TRUE(source.loadSettings(settings));
    ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
    EXPECT_TRUE(waitFor([&] { return source.cameraStatistics().underruns >= 10; }));
    constexpr int kept = 6;  // two, and those for the queue
    EXPECT_TRUE(waitFor([&] { return keeper.count() == kept; }));
    EXPECT_EQ(tornOf(keeper.take()), 0);
    EXPECT_TRUE(waitFor([&] { return keeper.count() == kept; })) << "the buffers did not go back";
    StopPipe(source);
    const SxCameraStatistics counts = source.cameraStatistics();
    EXPECT_GT(counts.lost, 0U) << "the camera counted on";
    EXPECT_EQ(counts.received, accountedFor(counts));
    EXPECT_EQ(tornOf(keeper.take()), 0);
}

TEST(CameraMemory, IsCopiedForASecondSuccessor)
{
    const FakeCameraProcess process;
    CxAravisSource source;
    std::atomic<int> frames[2] = {};
    std::atomic<int> torn{0};
    CxFrameSink first([&](CxImageData& frame) {
        torn += isWholeRamp(frame.image()) && frame.metadata().contains("camera.id") ? 0 : 1;
        ++frames[0];
    });
    CxFrameSink second([&](CxImageData& frame) {
        torn += isWholeRamp(frame.image()) && frame.metadata().contains("camera.id") ? 0 : 1;
        ++frames[1];
    });
    ASSERT_TRUE(source.addSuccessor(&first));
    ASSERT_TRUE(source.addSuccessor(&second));
    ASSERT_TRUE(source.loadSettings(smallFrames()));
    ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
    EXPECT_TRUE(waitFor([&] { return frames[0] >= 30 && frames[1] >= 30; }));
    StopPipe(source);
    EXPECT_EQ(torn, 0);
}

}  // namespace
}  // namespace ko::test
