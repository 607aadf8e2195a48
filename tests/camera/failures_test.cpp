// Cameras that are not there, do not want or go away.
#include "camera/fake_camera.h"

#include "support/log_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace ko::test {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::StartsWith;

/// The reason why a source with these settings does not start; empty where it does.
std::string refusal(const QVariantMap& settings)
{
    const LogCapture log;
    CxAravisSource source;
    EXPECT_TRUE(source.loadSettings(settings));
    if (source.setState(IxPipeItem::StateStarted))
        return {};
    EXPECT_TRUE(source.isStopped());
    EXPECT_FALSE(source.isConnected());
    EXPECT_FALSE(source.errorText().contains('\n'));
    return source.errorText().toStdString();
}

TEST(CameraFailures, NoSuchCamera)
{
    EXPECT_EQ(refusal({{"camera", "nosuch"}}), "no camera nosuch found");
    EXPECT_EQ(refusal({}), "no camera found");
    EXPECT_TRUE(ListCameras().isEmpty());
}

TEST(CameraFailures, CameraInUse)
{
    const FakeCameraProcess process;
    CxAravisSource user;
    ASSERT_TRUE(user.loadSettings(smallFrames()));
    ASSERT_TRUE(StartPipe(user)) << user.errorText().toStdString();
    EXPECT_EQ(refusal({{"camera", fakeAddress}}), "camera Aravis-Fake-GV01: another program uses it");
    EXPECT_TRUE(user.isConnected());
    StopPipe(user);
    EXPECT_EQ(refusal({{"camera", fakeAddress}}), "");
}

TEST(CameraFailures, WhatTheCameraDoesNotHave)
{
    const FakeCameraProcess process;
    struct Wrong {
        const char* key;
        QVariant value;
        const char* reason;
    };
    const Wrong wrong[] = {
        {"pixelFormat", "Mono12",
         "it has no pixel format Mono12, but BayerBG8, BayerGB8, BayerGR8, BayerRG8, Mono16, Mono8, RGB8"},
        {"region", QVariantList{0, 0, 2049, 64},
         "it does not take the region; its sensor has 2048 x 2048 pixels"},
        {"region", QVariantList{2000, 0, 64, 64},
         "it does not take the region; its sensor has 2048 x 2048 pixels"},
        {"frameRate", 0.05, "its frame rate is 0.1 to 1000, not 0.05"},
        {"exposure", 1, "its exposure is 10 to 1e+07, not 1"},
        {"gain", -1, "its gain is 0 to 10, not -1"},
        {"chunks", QStringList{"Gain"}, "it sends no values with its frames"},
    };
    for (const auto& [key, value, reason] : wrong)
        EXPECT_EQ(refusal({{"camera", fakeAddress}, {key, value}}),
                  std::string("camera Aravis-Fake-GV01: ") + reason);
    EXPECT_THAT(refusal({{"camera", fakeAddress}, {"trigger", "Line7"}}),
                StartsWith("camera Aravis-Fake-GV01: cannot set the trigger to Line7: "));
}

TEST(CameraFailures, FormatThatBecomesNoImage)
{
    constexpr std::uint32_t pixelFormatRegister = 0x128;
    constexpr std::uint32_t bgr8 = 0x02180015;
    FakeCamera camera([](std::uint8_t*, std::size_t) {}, {{"BGR8", bgr8}});
    camera.writeRegister(pixelFormatRegister, bgr8);
    const std::string formats = "BayerBG8, BayerGB8, BayerGR8, BayerRG8, Mono16, Mono8, RGB8";
    EXPECT_EQ(refusal({{"camera", fakeAddress}}),
              "camera Aravis-Fake-GV01: pixel format BGR8 is not supported, but " + formats);
    EXPECT_EQ(refusal({{"camera", fakeAddress}, {"pixelFormat", "BGR8"}}),
              "camera Aravis-Fake-GV01: pixel format BGR8 is not supported, but " + formats);
    EXPECT_EQ(refusal({{"camera", fakeAddress}, {"pixelFormat", "Mono8"}}), "");
}

TEST(CameraFailures, VanishesWhileItIsOpened)
{
    const LogCapture log;
    FakeCameraProcess process;
    for (const int delay : {0, 5, 20, 60}) {
        process.restart();
        CxAravisSource source;
        ASSERT_TRUE(source.loadSettings(smallFrames()));
        std::thread puller([&] {
            std::this_thread::sleep_for(milliseconds(delay));
            process.kill();
        });
        // Either way is right; what counts is that it comes to an end and says why.
        const bool isStarted = source.setState(IxPipeItem::StateStarted);
        puller.join();
        EXPECT_EQ(isStarted, source.errorText().isEmpty()) << delay;
    }
}

TEST(CameraFailures, DoesNotAnswer)
{
    FakeCameraProcess process;
    process.freeze();
    EXPECT_EQ(refusal({{"camera", fakeAddress}}), "no camera 127.0.0.1 found");
}

TEST(CameraFailures, VanishesAndComesBack)
{
    const LogCapture log;
    FakeCameraProcess process;
    CxAravisSource source;
    std::atomic<int> frames{0};
    std::atomic<int> last{-1};
    std::atomic<int> disordered{0};
    CxFrameSink sink([&](CxImageData& frame) {
        disordered += frame.frameNo() > last && isWholeRamp(frame.image()) ? 0 : 1;
        last = frame.frameNo();
        ++frames;
    });
    ASSERT_TRUE(source.addSuccessor(&sink));
    ASSERT_TRUE(source.loadSettings(smallFrames()));
    ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
    EXPECT_TRUE(waitFor([&] { return frames > 20; }));
    EXPECT_TRUE(source.setExposure(1234));

    process.kill();
    EXPECT_TRUE(waitFor([&] { return !source.isConnected(); }));
    EXPECT_TRUE(waitFor([&] { return source.errorText().contains("connection lost"); }));
    EXPECT_FALSE(source.setExposure(2000));
    EXPECT_FALSE(source.exposure().isAvailable);
    EXPECT_TRUE(source.isStarted());

    process.restart();
    EXPECT_TRUE(waitFor([&] { return source.isConnected(); }));
    const int before = frames;
    EXPECT_TRUE(waitFor([&] { return frames > before + 20; }));
    EXPECT_EQ(source.errorText(), "");
    EXPECT_EQ(source.exposure().value, 1234);
    StopPipe(source);
    const SxCameraStatistics counts = source.cameraStatistics();
    EXPECT_EQ(counts.reconnections, 1U);
    EXPECT_EQ(counts.received, accountedFor(counts));
    EXPECT_EQ(disordered, 0);
    std::string told;
    for (const auto& record : log.records())
        told += record.text.toStdString() + '\n';
    EXPECT_THAT(told, HasSubstr(": camera Aravis-Fake-GV01: connection lost\n"));
    EXPECT_THAT(told, HasSubstr(": camera Aravis-Fake-GV01: connected again\n"));
}

TEST(CameraFailures, VanishesForGood)
{
    const LogCapture log;
    for (const bool reconnect : {false, true}) {
        FakeCameraProcess process;
        CxAravisSource source;
        QVariantMap settings = smallFrames();
        settings["reconnect"] = reconnect;
        ASSERT_TRUE(source.loadSettings(settings));
        ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
        process.kill();
        EXPECT_TRUE(waitFor([&] { return source.errorText().contains("connection lost"); }));
        EXPECT_TRUE(StopPipe(source));
        EXPECT_FALSE(source.isConnected());
        // The same object runs the next camera.
        process.restart();
        EXPECT_TRUE(StartPipe(source)) << source.errorText().toStdString();
        EXPECT_EQ(source.errorText(), "");
    }
}

TEST(CameraFailures, ControlsDoNotHideThatItHasVanished)
{
    const LogCapture log;
    FakeCameraProcess process;
    CxAravisSource source;
    ASSERT_TRUE(source.loadSettings(smallFrames()));
    ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
    EXPECT_TRUE(source.exposure().isAvailable);
    process.freeze();
    EXPECT_FALSE(source.exposure().isAvailable);
    // One call without an answer is enough: to ask again would take 2.5 seconds.
    const auto begin = Clock::now();
    EXPECT_FALSE(source.gain().isAvailable);
    EXPECT_LT(Clock::now() - begin, milliseconds(2000));
    EXPECT_TRUE(waitFor([&] { return source.errorText().contains("connection lost"); }));
    EXPECT_FALSE(source.isConnected());
    EXPECT_TRUE(StopPipe(source));
    // Nor does the source's thread ask again, which may not even have started the camera yet.
    EXPECT_LT(Clock::now() - begin, milliseconds(4000));
}

TEST(CameraFailures, FreezesAndIsStopped)
{
    const LogCapture log;
    FakeCameraProcess process;
    CxAravisSource source;
    ASSERT_TRUE(source.loadSettings(smallFrames()));
    ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
    process.freeze();
    // Aravis asks such a camera for 2.5 seconds at a time: the source twice at most, and nobody waits for the rest.
    const auto begin = Clock::now();
    EXPECT_TRUE(StopPipe(source));
    EXPECT_LT(Clock::now() - begin, milliseconds(9000));
    EXPECT_FALSE(source.isConnected());
}

TEST(CameraFailures, IsStoppedWhileItIsGivenBack)
{
    const LogCapture log;
    FakeCameraProcess process;
    CxAravisSource source;
    ASSERT_TRUE(source.loadSettings(smallFrames()));
    ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
    process.freeze();
    EXPECT_TRUE(waitFor([&] { return source.errorText().contains("connection lost"); }));
    const auto begin = Clock::now();
    EXPECT_TRUE(StopPipe(source));
    EXPECT_LT(Clock::now() - begin, milliseconds(5000));
    // Another camera of that name has to wait, lest it be given back too.
    process.restart();
    CxAravisSource next;
    std::atomic<int> frames{0};
    CxFrameSink sink([&](CxImageData&) { ++frames; });
    ASSERT_TRUE(next.addSuccessor(&sink));
    ASSERT_TRUE(next.loadSettings(smallFrames()));
    ASSERT_TRUE(StartPipe(next)) << next.errorText().toStdString();
    EXPECT_TRUE(waitFor([&] { return frames > 20; }));
}

}  // namespace
}  // namespace ko::test
