#include "camera/fake_camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace ko::test {
namespace {

using std::chrono::milliseconds;

QVariantMap smallFrames()
{
    return {{"camera", fakeAddress}, {"region", QVariantList{0, 0, 64, 64}}, {"frameRate", 500}};
}

TEST(Camera, ListsTheFakeCamera)
{
    const FakeCameraProcess process;
    const QVector<SxCameraInfo> cameras = ListCameras();
    ASSERT_EQ(cameras.size(), 1);
    EXPECT_EQ(cameras[0].id, "Aravis-Fake-GV01");
    EXPECT_EQ(cameras[0].vendor, "Aravis");
    EXPECT_EQ(cameras[0].model, "Fake");
    EXPECT_EQ(cameras[0].serial, "GV01");
    EXPECT_EQ(cameras[0].address, fakeAddress);
    EXPECT_EQ(cameras[0].protocol, "GigEVision");
}

TEST(Camera, DeliversWholeFramesWithWhatTheCameraSaysOfThem)
{
    const FakeCameraProcess process;
    CxAravisSource source;
    std::atomic<int> frames{0};
    std::atomic<int> torn{0};
    std::vector<int> numbers;
    CxMetadata metadata;
    CxFrameSink sink([&](CxImageData& frame) {
        torn += isWholeRamp(frame.image()) ? 0 : 1;
        numbers.push_back(frame.frameNo());
        metadata = frame.metadata();
        ++frames;
    });
    ASSERT_TRUE(source.loadSettings(smallFrames()));
    ASSERT_TRUE(source.addSuccessor(&sink));
    ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
    EXPECT_TRUE(source.isConnected());
    EXPECT_TRUE(waitFor([&] { return frames >= 100; }));
    EXPECT_TRUE(StopPipe(source));
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(numbers[0], 0);
    EXPECT_EQ(metadata.value("camera.id"), "Aravis-Fake-GV01");
    const SxCameraStatistics counts = source.cameraStatistics();
    EXPECT_EQ(counts.received, counts.delivered + counts.dropped + counts.incomplete);
    EXPECT_EQ(counts.copies, 0U);
    EXPECT_FALSE(source.isConnected());
}

}  // namespace
}  // namespace ko::test
