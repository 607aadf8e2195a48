// What becomes of every pixel format, with frames that the test packs.
#include "camera/fake_camera.h"

#include <ko/raw.h>

#include <gtest/gtest.h>

#include <cstring>
#include <mutex>
#include <optional>

namespace ko::test {
namespace {

struct Format {
    const char* name;
    std::uint32_t code;
    int bits;
    int channels = 1;
    ExBayerGrid grid = BayerNone;
    std::optional<ExPackedLayout> layout = std::nullopt;
};

/// The numbers and names are those of GenICam's pixel format naming convention.
std::vector<Format> allFormats()
{
    std::vector<Format> formats{
        {"Mono8", 0x01080001, 8},
        {"Mono10", 0x01100003, 10},
        {"Mono12", 0x01100005, 12},
        {"Mono14", 0x01100025, 14},
        {"Mono16", 0x01100007, 16},
        {"Mono10p", 0x010A0046, 10, 1, BayerNone, Mono10p},
        {"Mono12p", 0x010C0047, 12, 1, BayerNone, Mono12p},
        {"Mono14p", 0x010E0104, 14, 1, BayerNone, Mono14p},
        {"Mono10Packed", 0x010C0004, 10, 1, BayerNone, Mono10Packed},
        {"Mono12Packed", 0x010C0006, 12, 1, BayerNone, Mono12Packed},
        {"RGB8", 0x02180014, 8, 3},
        {"RGBa8", 0x02200016, 8, 4},
        {"RGB10", 0x02300018, 10, 3},
        {"RGB12", 0x0230001A, 12, 3},
        {"RGB14", 0x0230005E, 14, 3},
        {"RGB16", 0x02300033, 16, 3},
        {"RGBa16", 0x02400064, 16, 4},
    };
    struct Family {
        const char* names[4];
        std::uint32_t codes[4];
        int bits;
        std::optional<ExPackedLayout> layout;
    };
    static const Family families[] = {
        {{"BayerGR8", "BayerRG8", "BayerGB8", "BayerBG8"},
         {0x01080008, 0x01080009, 0x0108000A, 0x0108000B},
         8,
         std::nullopt},
        {{"BayerGR10", "BayerRG10", "BayerGB10", "BayerBG10"},
         {0x0110000C, 0x0110000D, 0x0110000E, 0x0110000F},
         10,
         std::nullopt},
        {{"BayerGR12", "BayerRG12", "BayerGB12", "BayerBG12"},
         {0x01100010, 0x01100011, 0x01100012, 0x01100013},
         12,
         std::nullopt},
        {{"BayerGR14", "BayerRG14", "BayerGB14", "BayerBG14"},
         {0x01100109, 0x0110010A, 0x0110010B, 0x0110010C},
         14,
         std::nullopt},
        {{"BayerGR16", "BayerRG16", "BayerGB16", "BayerBG16"},
         {0x0110002E, 0x0110002F, 0x01100030, 0x01100031},
         16,
         std::nullopt},
        {{"BayerGR10p", "BayerRG10p", "BayerGB10p", "BayerBG10p"},
         {0x010A0056, 0x010A0058, 0x010A0054, 0x010A0052},
         10,
         Mono10p},
        {{"BayerGR12p", "BayerRG12p", "BayerGB12p", "BayerBG12p"},
         {0x010C0057, 0x010C0059, 0x010C0055, 0x010C0053},
         12,
         Mono12p},
        {{"BayerGR14p", "BayerRG14p", "BayerGB14p", "BayerBG14p"},
         {0x010E0105, 0x010E0106, 0x010E0107, 0x010E0108},
         14,
         Mono14p},
        {{"BayerGR10Packed", "BayerRG10Packed", "BayerGB10Packed", "BayerBG10Packed"},
         {0x010C0026, 0x010C0027, 0x010C0028, 0x010C0029},
         10,
         Mono10Packed},
        {{"BayerGR12Packed", "BayerRG12Packed", "BayerGB12Packed", "BayerBG12Packed"},
         {0x010C002A, 0x010C002B, 0x010C002C, 0x010C002D},
         12,
         Mono12Packed},
    };
    constexpr ExBayerGrid grids[] = {BayerGRBG, BayerRGGB, BayerGBRG, BayerBGGR};
    for (const Family& family : families)
        for (int i = 0; i < 4; ++i)
            formats.push_back({family.names[i], family.codes[i], family.bits, 1, grids[i], family.layout});
    return formats;
}

/// Sample number `index` of a frame, over the whole depth.
int sampleAt(int index, int bits)
{
    return (index * 2741 + 77) & ((1 << bits) - 1);
}

/// What a camera sends of such samples, all rows as one.
std::vector<std::uint8_t> sent(const Format& format, int samples)
{
    std::vector<std::uint16_t> words(static_cast<std::size_t>(samples));
    for (int i = 0; i < samples; ++i)
        words[static_cast<std::size_t>(i)] = static_cast<std::uint16_t>(sampleAt(i, format.bits));
    std::vector<std::uint8_t> bytes;
    if (format.layout) {
        SxImageBuf row;
        row.width = samples;
        row.height = 1;
        row.stride = samples * 2;
        row.channels = 1;
        row.bitsPerSample = format.bits;
        row.dataType = UInt16;
        row.data = reinterpret_cast<std::uint8_t*>(words.data());
        bytes.resize(packedRowBytes(*format.layout, samples));
        EXPECT_EQ(PackSamples(row, *format.layout, bytes.data(), bytes.size(), 0), ResultOk);
    } else if (format.bits > 8) {
        bytes.resize(words.size() * 2);
        std::memcpy(bytes.data(), words.data(), bytes.size());
    } else {
        bytes.assign(words.begin(), words.end());
    }
    return bytes;
}

int readSample(const SxImageBuf& image, int x, int y)
{
    const std::uint8_t* const row = image.data + static_cast<std::ptrdiff_t>(y) * image.stride;
    if (image.dataType == UInt8)
        return row[x];
    std::uint16_t word = 0;
    std::memcpy(&word, row + static_cast<std::ptrdiff_t>(x) * 2, 2);
    return word;
}

void compare(const Format& format, const SxImageBuf& image, int width, int height)
{
    EXPECT_EQ(image.width, width);
    EXPECT_EQ(image.height, height);
    EXPECT_EQ(image.channels, format.channels);
    EXPECT_EQ(image.bitsPerSample, format.bits);
    EXPECT_EQ(image.dataType, format.bits > 8 ? UInt16 : UInt8);
    EXPECT_EQ(image.packing, Interleaved);
    EXPECT_EQ(image.bayerGrid, format.grid);
    int wrong = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width * format.channels; ++x)
            wrong +=
                readSample(image, x, y) == sampleAt(y * width * format.channels + x, format.bits) ? 0 : 1;
    EXPECT_EQ(wrong, 0) << "samples differ";
}

class CameraFormats : public ::testing::Test {
protected:
    CameraFormats()
    {
        for (const Format& format : m_formats)
            m_names.emplace_back(format.name, format.code);
    }

    void SetUp() override
    {
        m_camera = std::make_unique<FakeCamera>(
            [this](std::uint8_t* data, std::size_t bytes) {
                const std::lock_guard lock(m_mutex);
                std::memcpy(data, m_frame.data(), std::min(bytes, m_frame.size()));
            },
            m_names);
    }

    void expectFrames(const Format& format, int width, int height)
    {
        SCOPED_TRACE(format.name);
        {
            const std::lock_guard lock(m_mutex);
            m_frame = sent(format, width * height * format.channels);
        }
        CxAravisSource source;
        std::atomic<int> frames{0};
        SxImageBuf image;
        CxFrameSink sink([&](CxImageData& frame) {
            if (frames++ == 0)
                image = std::exchange(frame.image(), SxImageBuf());
        });
        ASSERT_TRUE(source.addSuccessor(&sink));
        ASSERT_TRUE(source.loadSettings({{"camera", fakeAddress},
                                         {"pixelFormat", format.name},
                                         {"region", QVariantList{0, 0, width, height}},
                                         {"frameRate", 200}}));
        ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
        ASSERT_TRUE(waitFor([&] { return frames > 0; }));
        StopPipe(source);
        compare(format, image, width, height);
        FreeBuffer(image);
        const SxCameraStatistics counts = source.cameraStatistics();
        EXPECT_EQ(counts.copies, format.layout ? counts.delivered : 0U);
    }

    const std::vector<Format> m_formats = allFormats();

private:
    std::vector<PixelFormat> m_names;
    std::mutex m_mutex;
    std::vector<std::uint8_t> m_frame;
    std::unique_ptr<FakeCamera> m_camera;
};

TEST_F(CameraFormats, BecomeImagesOfTheirDepthAndGrid)
{
    for (const Format& format : m_formats)
        expectFrames(format, 64, 8);
}

TEST_F(CameraFormats, MayEndTheirRowsWithinAByte)
{
    for (const Format& format : m_formats)
        if (format.layout && format.grid == BayerNone)
            expectFrames(format, format.bits == 12 || format.code == 0x010C0004 ? 61 : 62, 8);
}

}  // namespace
}  // namespace ko::test
