// Values that a camera sends with its frames. The fake camera knows none, so the test describes and sends them.
#include "camera/fake_camera.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <thread>
#include <vector>

namespace ko::test {
namespace {

/// Two values in chunks of their own, and the features that select and enable them, in memory that the fake camera
/// does not use.
constexpr const char* features = R"(
<Boolean Name="ChunkModeActive"><pValue>ChunkModeRegister</pValue></Boolean>
<IntReg Name="ChunkModeRegister"><Address>0x400</Address><Length>4</Length><AccessMode>RW</AccessMode>
  <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>BigEndian</Endianess></IntReg>
<Enumeration Name="ChunkSelector"><EnumEntry Name="FrameTag"><Value>1</Value></EnumEntry>
  <EnumEntry Name="Temperature"><Value>2</Value></EnumEntry><pValue>ChunkSelectorRegister</pValue></Enumeration>
<IntReg Name="ChunkSelectorRegister"><Address>0x404</Address><Length>4</Length><AccessMode>RW</AccessMode>
  <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>BigEndian</Endianess></IntReg>
<Boolean Name="ChunkEnable"><pValue>ChunkEnableRegister</pValue></Boolean>
<IntReg Name="ChunkEnableRegister"><Address>0x408</Address><Length>4</Length><AccessMode>RW</AccessMode>
  <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>BigEndian</Endianess></IntReg>
<Integer Name="ChunkFrameTag"><pValue>ChunkFrameTagRegister</pValue></Integer>
<IntReg Name="ChunkFrameTagRegister"><Address>0x0</Address><Length>4</Length><AccessMode>RO</AccessMode>
  <pPort>FrameTagPort</pPort><Sign>Unsigned</Sign><Endianess>BigEndian</Endianess></IntReg>
<Port Name="FrameTagPort"><ChunkID>1234</ChunkID></Port>
<FloatReg Name="ChunkTemperature"><Address>0x0</Address><Length>8</Length><AccessMode>RO</AccessMode>
  <pPort>TemperaturePort</pPort><Endianess>BigEndian</Endianess></FloatReg>
<Port Name="TemperaturePort"><ChunkID>1235</ChunkID></Port>
)";

void describe(std::string& description)
{
    description.insert(description.find("<!-- Transport layer control -->"), features);
    // Room for both values and for what tells the chunks apart.
    const std::string formula = "* ((PIXELFORMAT>>16)&amp;0xFF) / 8";
    description.insert(description.find(formula) + formula.size(), " + 36");
}

/// Behind the pixels: the size of their chunk, a tag of 77 and a temperature of 42.25. Each chunk ends with its number
/// and its size, four bytes each, the upper byte first.
constexpr std::uint8_t behindThePixels[] = {0,    0,    0,    1,  0, 0, 0x10, 0,                    //
                                            0,    0,    0,    77, 0, 0, 0x12, 0x34, 0, 0, 0,    4,  //
                                            0x40, 0x45, 0x20, 0,  0, 0, 0,    0,    0, 0, 0x12, 0x35,
                                            0,    0,    0,    8};

TEST(CameraChunks, TravelWithTheirFrame)
{
    FakeCamera fake([](std::uint8_t*, std::size_t) {}, &describe);
    CxAravisSource source;
    std::atomic<int> frames{0};
    CxMetadata metadata;
    std::uint64_t timestamp = 0;
    int sum = 0;
    CxFrameSink sink([&](CxImageData& frame) {
        metadata = frame.metadata();
        timestamp = frame.timestamp();
        for (int y = 0; y < frame.image().height; ++y)
            for (int x = 0; x < frame.image().width; ++x)
                sum += frame.image().data[y * frame.image().stride + x];
        ++frames;
    });
    ASSERT_TRUE(source.addSuccessor(&sink));
    ASSERT_TRUE(source.loadSettings({{"camera", fakeAddress},
                                     {"region", QVariantList{0, 0, 64, 64}},
                                     {"trigger", "Software"},
                                     {"chunks", QStringList{"FrameTag", "Temperature"}}}));
    ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();

    std::vector<std::uint8_t> data(64 * 64 + std::size(behindThePixels), 3);
    std::copy(std::begin(behindThePixels), std::end(behindThePixels), data.begin() + 64 * 64);
    constexpr std::uint16_t imageWithChunks = 0x4001;
    EXPECT_TRUE(waitFor([&] {
        if (frames == 0)
            fake.sendFrame(7, imageWithChunks, 64, 64, data);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return frames > 0;
    }));
    StopPipe(source);
    EXPECT_EQ(sum % (64 * 64 * 3), 0);
    EXPECT_EQ(timestamp, 123456789U);
    EXPECT_EQ(metadata.value("camera.frameId"), 7U);
    EXPECT_EQ(metadata.value("camera.chunk.FrameTag"), 77);
    EXPECT_EQ(metadata.value("camera.chunk.Temperature"), 42.25);
}

TEST(CameraChunks, ThatTheCameraDoesNotHaveAreRefused)
{
    FakeCamera fake([](std::uint8_t*, std::size_t) {}, &describe);
    CxAravisSource source;
    ASSERT_TRUE(source.loadSettings({{"camera", fakeAddress}, {"chunks", QStringList{"Gain"}}}));
    EXPECT_FALSE(StartPipe(source));
    EXPECT_TRUE(source.errorText().startsWith("camera Aravis-Fake-GV01: "))
        << source.errorText().toStdString();
}

}  // namespace
}  // namespace ko::test
