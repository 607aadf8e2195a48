// What a source delivers, and how it is set up and controlled.
#include "camera/fake_camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>

namespace ko::test {
namespace {

TEST(Camera, IsListed)
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

TEST(Camera, IsOpenedByIdSerialNumberAddressAndAsTheFirst)
{
    const FakeCameraProcess process;
    for (const char* const name : {"Aravis-Fake-GV01", "GV01", "127.0.0.1", ""}) {
        CxAravisSource source;
        ASSERT_TRUE(source.loadSettings({{"camera", name}}));
        EXPECT_EQ(source.cameraInfo().id, "");
        ASSERT_TRUE(StartPipe(source)) << name << ": " << source.errorText().toStdString();
        const SxCameraInfo found = source.cameraInfo();
        EXPECT_EQ(found.id, "Aravis-Fake-GV01");
        EXPECT_EQ(found.vendor, "Aravis");
        EXPECT_EQ(found.model, "Fake");
        EXPECT_EQ(found.serial, "GV01");
        EXPECT_EQ(found.address, fakeAddress);
        EXPECT_EQ(found.protocol, "GigEVision");
        EXPECT_TRUE(source.isConnected());
        EXPECT_TRUE(StopPipe(source));
        EXPECT_FALSE(source.isConnected());
    }
}

TEST(Camera, DeliversWholeFramesWithWhatTheCameraSaysOfThem)
{
    const FakeCameraProcess process;
    CxAravisSource source;
    std::atomic<int> frames{0};
    int torn = 0;
    int disordered = 0;
    int lastNumber = -1;
    std::uint64_t lastTime = 0;
    quint64 lastId = 0;
    CxMetadata metadata;
    QDateTime date;
    CxFrameSink sink([&](CxImageData& frame) {
        const quint64 id = frame.metadata().value("camera.frameId").toULongLong();
        torn += isWholeRamp(frame.image()) ? 0 : 1;
        if (frames != 0)
            disordered += frame.timestamp() > lastTime &&
                                  (id + 65535 - lastId) % 65535 == quint64(frame.frameNo() - lastNumber)
                              ? 0
                              : 1;
        lastNumber = frame.frameNo();
        lastTime = frame.timestamp();
        lastId = id;
        metadata = frame.metadata();
        date = frame.dateTime();
        ++frames;
    });
    QVariantMap settings = smallFrames();
    settings["region"] = QVariantList{16, 32, 64, 48};
    ASSERT_TRUE(source.loadSettings(settings));
    ASSERT_TRUE(source.addSuccessor(&sink));
    ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
    EXPECT_TRUE(waitFor([&] { return frames >= 100; }));
    EXPECT_TRUE(StopPipe(source));
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(disordered, 0);
    EXPECT_EQ(metadata.value("camera.id"), "Aravis-Fake-GV01");
    EXPECT_EQ(metadata.value("camera.offsetX"), 16);
    EXPECT_EQ(metadata.value("camera.offsetY"), 32);
    EXPECT_FALSE(metadata.contains("camera.incomplete"));
    EXPECT_EQ(metadata.value("camera.systemTimestamp").toULongLong() / 1'000'000, date.toMSecsSinceEpoch());
    EXPECT_EQ(date, QDateTime::fromMSecsSinceEpoch(date.toMSecsSinceEpoch()));
    EXPECT_EQ(date.timeSpec(), Qt::LocalTime);
    EXPECT_LT(std::abs(date.msecsTo(QDateTime::currentDateTime())), 60'000);
    const SxCameraStatistics counts = source.cameraStatistics();
    EXPECT_EQ(counts.received, accountedFor(counts));
    EXPECT_EQ(counts.delivered, frames);
    EXPECT_EQ(counts.copies, 0U);
    EXPECT_EQ(counts.replaced, 0U);
}

TEST(Camera, CountsFramesFromZeroAtEachStart)
{
    const FakeCameraProcess process;
    CxAravisSource source;
    std::atomic<int> first{-1};
    CxFrameSink sink([&](CxImageData& frame) {
        int none = -1;
        first.compare_exchange_strong(none, frame.frameNo());
    });
    ASSERT_TRUE(source.addSuccessor(&sink));
    QVariantMap settings = smallFrames();
    settings["queuePolicy"] = int{QueueBlocks};  // drops the newest frame, not the first
    ASSERT_TRUE(source.loadSettings(settings));
    for (int start = 0; start < 3; ++start) {
        first = -1;
        ASSERT_TRUE(StartPipe(source));
        EXPECT_TRUE(waitFor([&] { return first >= 0; }));
        StopPipe(source);
        EXPECT_EQ(first, 0);
    }
}

TEST(Camera, ChangesExposureAndGainWhileItRunsAndKeepsThem)
{
    const FakeCameraProcess process;
    CxAravisSource source;
    EXPECT_FALSE(source.setExposure(100));
    EXPECT_FALSE(source.setGain(1));
    EXPECT_FALSE(source.exposure().isAvailable);
    ASSERT_TRUE(source.loadSettings({{"camera", fakeAddress}, {"exposure", 3000}, {"gain", 2}}));
    ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
    EXPECT_EQ(source.exposure().value, 3000);
    EXPECT_EQ(source.gain().value, 2);

    EXPECT_TRUE(source.setExposure(5000));
    EXPECT_TRUE(source.setGain(7));
    const SxCameraControl exposure = source.exposure();
    EXPECT_TRUE(exposure.isAvailable);
    EXPECT_EQ(exposure.value, 5000);
    EXPECT_EQ(exposure.minimum, 10);
    EXPECT_EQ(exposure.maximum, 1e7);
    EXPECT_EQ(source.gain().value, 7);
    EXPECT_EQ(source.gain().minimum, 0);
    EXPECT_EQ(source.gain().maximum, 10);

    for (const double wrong : {9.9, 1.1e7, -1.0, std::nan(""), HUGE_VAL})
        EXPECT_FALSE(source.setExposure(wrong)) << wrong;
    EXPECT_FALSE(source.setGain(11));
    EXPECT_EQ(source.exposure().value, 5000);
    StopPipe(source);
    EXPECT_EQ(source.saveSettings().value("exposure"), 5000);
    EXPECT_EQ(source.saveSettings().value("gain"), 7);
    ASSERT_TRUE(StartPipe(source));
    EXPECT_EQ(source.exposure().value, 5000);
}

TEST(Camera, WaitsForItsTrigger)
{
    const FakeCameraProcess process;
    CxAravisSource source;
    std::atomic<int> frames{0};
    CxFrameSink sink([&](CxImageData&) { ++frames; });
    ASSERT_TRUE(source.addSuccessor(&sink));
    QVariantMap settings = smallFrames();
    settings["trigger"] = "Software";
    EXPECT_FALSE(source.trigger());
    ASSERT_TRUE(source.loadSettings(settings));
    ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
    // Long enough for a camera that runs to have sent dozens, and to be asked whether it is still there.
    EXPECT_FALSE(waitFor([&] { return frames > 0; }, std::chrono::milliseconds(1500)));
    EXPECT_TRUE(source.isConnected());
    for (int i = 1; i <= 3; ++i) {
        EXPECT_TRUE(source.trigger());
        EXPECT_TRUE(waitFor([&] { return frames == i; }));
    }
    StopPipe(source);
    EXPECT_EQ(frames, 3);
}

TEST(CameraSettings, ComeBackAsTheyWereTaken)
{
    CxAravisSource source;
    EXPECT_EQ(source.queueCapacity(), 4);
    EXPECT_EQ(source.queuePolicy(), QueueDropsOldest);
    const QVariantMap settings{{"camera", "GV01"},
                               {"pixelFormat", "BayerRG12p"},
                               {"region", QVariantList{1, 2, 3, 4}},
                               {"frameRate", 12.5},
                               {"exposure", 100.0},
                               {"gain", 0.0},
                               {"trigger", "Line1"},
                               {"chunks", QStringList{"ExposureTime", "Gain"}},
                               {"buffers", 20},
                               {"incompleteFrames", true},
                               {"packetResend", false},
                               {"reconnect", false},
                               {"name", "left"},
                               {"queueCapacity", 9},
                               {"queuePolicy", int{QueueBlocks}}};
    ASSERT_TRUE(source.loadSettings(settings));
    EXPECT_EQ(source.saveSettings(), settings);
    EXPECT_EQ(source.name(), "left");

    CxAravisSource other;
    ASSERT_TRUE(other.loadSettings(source.saveSettings()));
    EXPECT_EQ(other.saveSettings(), settings);
    ASSERT_TRUE(other.loadSettings({{"camera", QVariant()},
                                    {"region", QVariantList()},
                                    {"exposure", QVariant()},
                                    {"chunks", QVariantList()}}));
    EXPECT_EQ(other.saveSettings().value("camera"), "");
    EXPECT_EQ(other.saveSettings().value("region"), QVariantList());
    EXPECT_FALSE(other.saveSettings().value("exposure").isValid());
    EXPECT_EQ(other.saveSettings().value("gain"), 0.0);
}

TEST(CameraSettings, RefuseWhatIsNotOfTheirKind)
{
    CxAravisSource source;
    const QVariantMap before = source.saveSettings();
    const std::vector<std::pair<QString, QVariant>> wrong{
        {"camera", 7},
        {"pixelFormat", QVariantList{"Mono8"}},
        {"region", QVariantList{0, 0, 8}},
        {"region", QVariantList{0, 0, 8, 0}},
        {"region", QVariantList{-1, 0, 8, 8}},
        {"region", QVariantList{0, 0, 8.5, 8}},
        {"region", "0,0,8,8"},
        {"frameRate", "fast"},
        {"frameRate", true},
        {"exposure", HUGE_VAL},
        {"gain", std::nan("")},
        {"trigger", 1},
        {"chunks", "Gain"},
        {"chunks", QVariantList{1}},
        {"chunks", QStringList{"Gain,Exposure"}},
        {"chunks", QStringList{""}},
        {"buffers", 1},
        {"buffers", 1001},
        {"buffers", 2.5},
        {"buffers", 1e30},
        {"incompleteFrames", 1},
        {"packetResend", "yes"},
        {"reconnect", QVariant()},
        {"queueCapacity", 0},
    };
    for (const auto& [key, value] : wrong) {
        EXPECT_FALSE(source.loadSettings({{"camera", "other"}, {"name", "other"}, {key, value}}))
            << key.toStdString();
        EXPECT_EQ(source.saveSettings(), before) << key.toStdString();
    }
    EXPECT_TRUE(source.loadSettings({{"unknown", 1}}));
}

TEST(CameraSettings, StayWhileTheCameraRuns)
{
    const FakeCameraProcess process;
    CxAravisSource source;
    ASSERT_TRUE(StartPipe(source));
    const QVariantMap before = source.saveSettings();
    EXPECT_FALSE(source.loadSettings({{"camera", "other"}}));
    EXPECT_EQ(source.saveSettings(), before);
}

}  // namespace
}  // namespace ko::test
