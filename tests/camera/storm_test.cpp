// Everything at once, from many threads.
#include "camera/fake_camera.h"
#include "support/quiet_test.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <random>
#include <thread>
#include <utility>
#include <vector>

namespace ko::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class CameraStorm : public QuietTest {};

void doSomething(CxAravisSource& source, IxPipeItem& sink, unsigned what)
{
    switch (what % 12) {
    case 0:
        StopPipe(source);
        break;
    case 1:
        source.setState(IxPipeItem::StateStopped);
        break;
    case 2:
        sink.setState(IxPipeItem::StateStopped);
        break;
    case 3:
        source.setExposure(10 + what % 1000);
        break;
    case 4:
        source.setGain(what % 12);
        break;
    case 5:
        source.exposure();
        source.gain();
        break;
    case 6:
        source.loadSettings({{"buffers", 2 + static_cast<int>(what % 10)},
                             {"queueCapacity", 1 + static_cast<int>(what % 5)}});
        break;
    case 7:
        source.cameraStatistics();
        source.errorText();
        source.isConnected();
        break;
    case 8:
        source.saveSettings();
        source.cameraInfo();
        source.trigger();
        break;
    default:
        StartPipe(source);
        std::this_thread::sleep_for(milliseconds(what % 60));
    }
}

TEST_F(CameraStorm, LeavesEveryFrameAccountedForAndWhole)
{
    const FakeCameraProcess process;
    CxAravisSource source;
    std::atomic<int> torn{0};
    std::atomic<int> frames{0};
    std::vector<SxImageBuf> taken;
    CxFrameSink sink([&](CxImageData& frame) {
        torn += isWholeRamp(frame.image()) ? 0 : 1;
        if (frame.frameNo() % 7 == 0 && taken.size() < 500)
            taken.push_back(std::exchange(frame.image(), SxImageBuf()));
        ++frames;
    });
    ASSERT_TRUE(source.addSuccessor(&sink));
    ASSERT_TRUE(source.loadSettings(smallFrames()));
    std::vector<std::thread> threads;
    const auto end = std::chrono::steady_clock::now() + seconds(5);
    for (const unsigned seed : {1U, 2U, 3U})
        threads.emplace_back([&, seed] {
            std::minstd_rand random(seed);
            // On a slow machine it may take longer until the first frame comes through.
            while (std::chrono::steady_clock::now() < end + (frames > 0 ? seconds(0) : seconds(60)))
                doSomething(source, sink, static_cast<unsigned>(random()));
        });
    for (std::thread& thread : threads)
        thread.join();
    StopPipe(source);
    const SxCameraStatistics counts = source.cameraStatistics();
    EXPECT_EQ(counts.received, accountedFor(counts));
    EXPECT_EQ(torn, 0);
    EXPECT_GT(frames, 0);
    for (SxImageBuf& image : taken) {
        torn += isWholeRamp(image) ? 0 : 1;
        FreeBuffer(image);
    }
    EXPECT_EQ(torn, 0);
}

TEST_F(CameraStorm, SourcesAreDestroyedAtAnyMoment)
{
    const FakeCameraProcess process;
    std::minstd_rand random(4);
    for (int i = 0; i < 40; ++i) {
        CxFrameSink sink([](CxImageData&) {});
        auto source = std::make_unique<CxAravisSource>();
        ASSERT_TRUE(source->addSuccessor(&sink));
        ASSERT_TRUE(source->loadSettings(smallFrames()));
        EXPECT_TRUE(StartPipe(*source)) << source->errorText().toStdString();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 20'000));
        source.reset();
    }
}

TEST_F(CameraStorm, CamerasComeAndGo)
{
    FakeCameraProcess process;
    CxAravisSource source;
    std::atomic<int> torn{0};
    CxFrameSink sink([&](CxImageData& frame) { torn += isWholeRamp(frame.image()) ? 0 : 1; });
    ASSERT_TRUE(source.addSuccessor(&sink));
    ASSERT_TRUE(source.loadSettings(smallFrames()));
    std::atomic<bool> isOver{false};
    std::thread asker([&] {
        unsigned what = 3;
        while (!isOver)
            doSomething(source, sink, 3 + what++ % 6);
    });
    std::minstd_rand random(5);
    for (int i = 0; i < 3; ++i) {
        StartPipe(source);
        std::this_thread::sleep_for(milliseconds(random() % 300));
        process.kill();
        std::this_thread::sleep_for(milliseconds(random() % 300));
        if (i % 2 == 0)
            StopPipe(source);
        process.restart();
    }
    StopPipe(source);
    isOver = true;
    asker.join();
    const SxCameraStatistics counts = source.cameraStatistics();
    EXPECT_EQ(counts.received, accountedFor(counts));
    EXPECT_EQ(torn, 0);
}

}  // namespace
}  // namespace ko::test
