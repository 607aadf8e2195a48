#include "gstreamer/harness.h"

#include <ko/cpp/image.h>
#include <ko/demosaic.h>

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <random>
#include <thread>

namespace ko::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

const struct {
    const char* name;
    ExBayerGrid grid;
    int colours[4];
} orders[] = {{"bggr", BayerBGGR, {2, 1, 1, 0}},
              {"gbrg", BayerGBRG, {1, 2, 0, 1}},
              {"grbg", BayerGRBG, {1, 0, 2, 1}},
              {"rggb", BayerRGGB, {0, 1, 1, 2}}};

/// Where red, green and blue lie in a pixel.
const struct {
    const char* name;
    int channels;
    int places[3];
} pictures[] = {{"BGRx", 4, {2, 1, 0}}, {"RGBx", 4, {0, 1, 2}}, {"BGRA", 4, {2, 1, 0}},
                {"RGBA", 4, {0, 1, 2}}, {"BGR", 3, {2, 1, 0}},  {"RGB", 3, {0, 1, 2}}};

int roundedUp(int bytes)
{
    return (bytes + 3) / 4 * 4;
}

/// A mosaic of samples without rows' filling.
struct Mosaic {
    int width;
    int height;
    std::vector<int> samples;

    Mosaic(int columns, int rows, int levels, unsigned seed)
        : width(columns), height(rows), samples(static_cast<std::size_t>(columns) * rows)
    {
        std::minstd_rand random(seed);
        for (int& sample : samples)
            sample = static_cast<int>(random() % static_cast<unsigned>(levels));
    }

    static int mirrored(int i, int size)
    {
        if (size == 1)
            return 0;
        return i < 0 ? -i : i >= size ? 2 * (size - 1) - i : i;
    }
    int at(int x, int y) const
    {
        return samples[static_cast<std::size_t>(mirrored(y, height)) * width + mirrored(x, width)];
    }

    /// As a buffer whose rows are `stride` bytes long.
    Bytes bytes(int stride, int sampleBytes, bool isBigEndian = false) const
    {
        Bytes result(static_cast<std::size_t>(stride) * height, 0xEE);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const std::size_t place = static_cast<std::size_t>(y) * stride + x * sampleBytes;
                const int value = at(x, y);
                result[place + (isBigEndian ? 1 : 0)] = static_cast<std::uint8_t>(value);
                if (sampleBytes == 2)
                    result[place + (isBigEndian ? 0 : 1)] = static_cast<std::uint8_t>(value >> 8);
            }
        return result;
    }

    /// Red, green and blue of a pixel as means of the nearest samples of each colour.
    std::array<int, 3> linear(int x, int y, const int (&colours)[4]) const
    {
        std::array<int, 3> pixel{};
        for (int colour = 0; colour < 3; ++colour) {
            // The nearest are the sample itself, or those beside it, or those at its corners.
            for (const int distance : {0, 1, 2}) {
                int sum = 0, count = 0;
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx)
                        if (dx * dx + dy * dy == distance &&
                            colours[((x + dx) & 1) + 2 * ((y + dy) & 1)] == colour) {
                            sum += at(x + dx, y + dy);
                            ++count;
                        }
                if (count > 0) {
                    pixel[static_cast<std::size_t>(colour)] = (2 * sum + count) / (2 * count);
                    break;
                }
            }
        }
        return pixel;
    }
};

TEST(Demosaic, TakesTheMeansOfTheNearestSamples)
{
    for (const auto& [orderName, grid, colours] : orders)
        for (const auto& [name, channels, places] : pictures)
            for (const int width : {1, 2, 3, 4, 7, 17, 18, 33, 34, 35, 66, 67, 131})
                for (const int height : {1, 2, 5}) {
                    const Mosaic mosaic(width, height, 256, 7);
                    Harness harness("kodemosaic method=linear");
                    harness.setCaps(capsText("video/x-bayer", orderName, width, height),
                                    capsText("video/x-raw", name, width, height));
                    const Buffer out = harness.pushAndPull(bufferOf(mosaic.bytes(roundedUp(width), 1)));
                    ASSERT_TRUE(out);
                    const Bytes made = bytesOf(out.get());
                    const int stride = roundedUp(width * channels);
                    ASSERT_EQ(static_cast<std::size_t>(stride) * height, made.size());
                    for (int y = 0; y < height; ++y)
                        for (int x = 0; x < width; ++x) {
                            const std::uint8_t* const pixel =
                                &made[static_cast<std::size_t>(y) * stride + x * channels];
                            const auto expected = mosaic.linear(x, y, colours);
                            for (std::size_t c = 0; c < 3; ++c)
                                ASSERT_EQ(expected[c], pixel[places[c]])
                                    << orderName << name << width << 'x' << height << " at " << x << ',' << y;
                            ASSERT_EQ(255, channels == 4 ? pixel[3] : 255);
                        }
                }
}

TEST(Demosaic, SpreadsTheLevelsOfWords)
{
    for (const int bits : {10, 12, 14, 16})
        for (const bool isBigEndian : {false, true}) {
            const int width = 37, height = 6, top = (1 << bits) - 1;
            Mosaic mosaic(width, height, top + 1, 3);
            mosaic.samples[0] = top;
            const std::string format = "grbg" + std::to_string(bits) + (isBigEndian ? "be" : "le");
            Harness harness("kodemosaic method=linear");
            harness.setCaps(capsText("video/x-bayer", format, width, height),
                            capsText("video/x-raw", "RGBA64_LE", width, height));
            const Buffer out =
                harness.pushAndPull(bufferOf(mosaic.bytes(roundedUp(2 * width), 2, isBigEndian)));
            ASSERT_TRUE(out) << format;
            const Bytes made = bytesOf(out.get());
            Mosaic spread = mosaic;
            for (int& sample : spread.samples)
                sample = static_cast<int>(sample * 65535.0 / top + 0.5);
            ASSERT_EQ(65535, spread.samples[0]);
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) {
                    std::uint16_t pixel[4];
                    std::memcpy(pixel, &made[static_cast<std::size_t>(y * width + x) * 8], 8);
                    const auto expected = spread.linear(x, y, orders[2].colours);
                    for (std::size_t c = 0; c < 3; ++c)
                        // The gains of WhiteBalance are multiples of 1/65536.
                        ASSERT_NEAR(expected[c], pixel[c], bits == 16 ? 0 : 1)
                            << format << " at " << x << ',' << y;
                    ASSERT_EQ(65535, pixel[3]);
                }
        }
}

TEST(Demosaic, GivesThePixelsOfTheLibrary)
{
    const int width = 45, height = 31;
    const Mosaic mosaic(width, height, 256, 11);
    const Bytes in = mosaic.bytes(roundedUp(width), 1);
    for (const auto& [orderName, grid, colours] : orders)
        for (const auto& [name, channels, places] : pictures)
            for (const bool isMenon : {false, true}) {
                SxImageBuf src;
                src.width = width;
                src.height = height;
                src.stride = roundedUp(width);
                src.channels = 1;
                src.bitsPerSample = 8;
                src.dataType = UInt8;
                src.bayerGrid = grid;
                src.data = const_cast<std::uint8_t*>(in.data());
                Image expected(width, height, 3, UInt8);
                orThrow(isMenon ? DemosaicMenon(src, expected, nullptr)
                                : DemosaicMalvar(src, expected, nullptr));
                Harness harness(isMenon ? "kodemosaic method=menon" : "kodemosaic method=malvar");
                harness.setCaps(capsText("video/x-bayer", orderName, width, height),
                                capsText("video/x-raw", name, width, height));
                const Buffer out = harness.pushAndPull(bufferOf(in));
                ASSERT_TRUE(out);
                const Bytes made = bytesOf(out.get());
                for (int y = 0; y < height; ++y)
                    for (int x = 0; x < width; ++x)
                        for (int c = 0; c < 3; ++c)
                            ASSERT_EQ(expected.view<std::uint8_t>().row(y)[3 * x + c],
                                      made[static_cast<std::size_t>(y) * roundedUp(width * channels) +
                                           x * channels + places[c]])
                                << orderName << name << isMenon << " at " << x << ',' << y << ',' << c;
            }
}

TEST(Demosaic, NegotiatesInBothDirections)
{
    Harness harness("kodemosaic");
    gst_harness_set_sink_caps_str(harness.get(), "video/x-raw, format=(string)RGBA64_LE, width=(int)8");
    EXPECT_THAT(harness.capsOf("sink"), HasSubstr("rggb12le"));
    EXPECT_THAT(harness.capsOf("sink"), HasSubstr("width=(int)8"));
    EXPECT_THAT(harness.capsOf("sink"), Not(HasSubstr("rggb,")));
    Harness bytes("kodemosaic");
    gst_harness_set_sink_caps_str(bytes.get(), "video/x-raw, format=(string){ BGR, I420 }");
    EXPECT_THAT(bytes.capsOf("sink"), HasSubstr("rggb"));
    EXPECT_THAT(bytes.capsOf("sink"), Not(HasSubstr("rggb12le")));
    gst_harness_set_src_caps_str(bytes.get(), capsText("video/x-bayer", "gbrg", 6, 4).c_str());
    EXPECT_EQ(GST_FLOW_OK, bytes.push(bufferOf(Bytes(8 * 4, 9))));
    GstCaps* const chosen = gst_pad_get_current_caps(bytes.get()->sinkpad);
    GstVideoInfo info;
    EXPECT_TRUE(gst_video_info_from_caps(&info, chosen));
    gst_caps_unref(chosen);
    EXPECT_EQ(GST_VIDEO_FORMAT_BGR, GST_VIDEO_INFO_FORMAT(&info));
    EXPECT_EQ(6, GST_VIDEO_INFO_WIDTH(&info));
    EXPECT_EQ(4, GST_VIDEO_INFO_HEIGHT(&info));
    EXPECT_EQ(30, GST_VIDEO_INFO_FPS_N(&info));
    Harness wrong("kodemosaic");
    wrong.setCaps(capsText("video/x-bayer", "rggb", 6, 4), capsText("video/x-raw", "RGBA64_LE", 6, 4));
    EXPECT_EQ(GST_FLOW_NOT_NEGOTIATED, wrong.push(bufferOf(Bytes(8 * 4, 9))));
}

TEST(Demosaic, FindsTheRowsOfEveryBuffer)
{
    const int width = 7, height = 5;
    const Mosaic mosaic(width, height, 256, 5);
    Bytes expected;
    const auto check = [&](Buffer in, const char* what) {
        Harness harness("kodemosaic");
        harness.setCaps(capsText("video/x-bayer", "rggb", width, height),
                        capsText("video/x-raw", "RGBx", width, height));
        const Buffer out = harness.pushAndPull(std::move(in));
        ASSERT_TRUE(out) << what;
        if (expected.empty())
            expected = bytesOf(out.get());
        EXPECT_EQ(expected, bytesOf(out.get())) << what;
    };
    check(bufferOf(mosaic.bytes(8, 1)), "filled up to 4");
    Bytes shorter = mosaic.bytes(8, 1);
    shorter.pop_back();
    check(bufferOf(shorter), "without the filling of the last row");
    check(bufferOf(mosaic.bytes(7, 1)), "not filled up");
    Bytes wide = mosaic.bytes(23, 1);
    wide.insert(wide.begin(), 5, 0xDD);
    Buffer described = bufferOf(wide);
    gsize offsets[GST_VIDEO_MAX_PLANES] = {5};
    gint strides[GST_VIDEO_MAX_PLANES] = {23};
    gst_buffer_add_video_meta_full(described.get(), GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_ENCODED,
                                   width, height, 1, offsets, strides);
    check(std::move(described), "described by its meta");
    Bytes large = mosaic.bytes(23, 1);
    large.insert(large.begin(), 23 + 4, 0xDD);
    Buffer cropped = bufferOf(large);
    offsets[0] = 0;
    gst_buffer_add_video_meta_full(cropped.get(), GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_ENCODED, 23,
                                   height + 1, 1, offsets, strides);
    GstVideoCropMeta* const crop = gst_buffer_add_video_crop_meta(cropped.get());
    crop->x = 4;
    crop->y = 1;
    crop->width = width;
    crop->height = height;
    check(std::move(cropped), "a part of a larger frame");
}

TEST(Demosaic, WritesRowsOfTheLengthThatDownstreamWants)
{
    const int width = 6, height = 3;
    Harness harness("kodemosaic");
    harness.setCaps(capsText("video/x-bayer", "rggb", width, height),
                    capsText("video/x-raw", "RGB", width, height));
    EXPECT_TRUE(harness.pushAndPull(bufferOf(Bytes(8 * height, 100))));
    GstBufferPool* const pool = gst_video_buffer_pool_new();
    GstStructure* const config = gst_buffer_pool_get_config(pool);
    GstCaps* const caps = gst_caps_from_string(capsText("video/x-raw", "RGB", width, height).c_str());
    GstVideoAlignment alignment;
    gst_video_alignment_reset(&alignment);
    alignment.padding_right = 40;
    gst_buffer_pool_config_set_params(config, caps, 1000, 0, 0);
    gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_META);
    gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_ALIGNMENT);
    gst_buffer_pool_config_set_video_alignment(config, &alignment);
    ASSERT_TRUE(gst_buffer_pool_set_config(pool, config));
    ASSERT_TRUE(gst_buffer_pool_set_active(pool, TRUE));
    GstBuffer* const in = bufferOf(Bytes(8 * height, 100)).release();
    GstBuffer* out = nullptr;
    ASSERT_EQ(GST_FLOW_OK, gst_buffer_pool_acquire_buffer(pool, &out, nullptr));
    GstBaseTransformClass* const type =
        reinterpret_cast<GstBaseTransformClass*>(G_OBJECT_GET_CLASS(harness.element()));
    ASSERT_EQ(GST_FLOW_OK, type->transform(reinterpret_cast<GstBaseTransform*>(harness.element()), in, out));
    const GstVideoMeta* const meta = gst_buffer_get_video_meta(out);
    ASSERT_TRUE(meta != nullptr);
    EXPECT_LT(18, meta->stride[0]);
    const Bytes bytes = bytesOf(out);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < 3 * width; ++x)
            EXPECT_EQ(100, bytes[meta->offset[0] + static_cast<std::size_t>(y * meta->stride[0] + x)]);
    gst_buffer_unref(in);
    gst_buffer_unref(out);
    gst_caps_unref(caps);
    gst_buffer_pool_set_active(pool, FALSE);
    gst_object_unref(pool);
}

TEST(Demosaic, TakesPicturesFromAPool)
{
    Harness harness("kodemosaic");
    harness.setCaps(capsText("video/x-bayer", "rggb", 8, 4), capsText("video/x-raw", "BGRx", 8, 4));
    std::vector<GstBuffer*> seen;
    for (int i = 0; i < 6; ++i) {
        const Buffer out = harness.pushAndPull(bufferOf(Bytes(32, 1)));
        ASSERT_TRUE(out);
        EXPECT_TRUE(out->pool != nullptr);
        seen.push_back(out.get());
    }
    EXPECT_EQ(seen[1], seen[5]) << "buffers are used again";
}

TEST(Demosaic, MakesAPoolWhereThatOfTheNextElementDoesNotChange)
{
    Harness harness("kodemosaic");
    // The next element offers a pool that is in use for pictures of another size.
    GstBufferPool* const busy = gst_buffer_pool_new();
    GstStructure* const config = gst_buffer_pool_get_config(busy);
    gst_buffer_pool_config_set_params(config, nullptr, 10, 1, 1);
    ASSERT_TRUE(gst_buffer_pool_set_config(busy, config));
    ASSERT_TRUE(gst_buffer_pool_set_active(busy, TRUE));
    gst_pad_add_probe(
        harness.get()->sinkpad, GST_PAD_PROBE_TYPE_QUERY_DOWNSTREAM,
        [](GstPad*, GstPadProbeInfo* info, gpointer pool) {
            GstQuery* const query = GST_PAD_PROBE_INFO_QUERY(info);
            if (GST_QUERY_TYPE(query) != GST_QUERY_ALLOCATION)
                return GST_PAD_PROBE_OK;
            gst_query_add_allocation_pool(query, static_cast<GstBufferPool*>(pool), 10, 1, 1);
            return GST_PAD_PROBE_HANDLED;
        },
        busy, nullptr);
    harness.setCaps(capsText("video/x-bayer", "rggb", 8, 4), capsText("video/x-raw", "BGRx", 8, 4));
    const Buffer out = harness.pushAndPull(bufferOf(Bytes(32, 1)));
    ASSERT_TRUE(out);
    EXPECT_TRUE(out->pool != nullptr && out->pool != busy);
    gst_buffer_pool_set_active(busy, FALSE);
    gst_object_unref(busy);
}

TEST(Demosaic, RefusesBuffersThatAreTooShort)
{
    Harness harness("kodemosaic");
    harness.setCaps(capsText("video/x-bayer", "rggb", 7, 4), capsText("video/x-raw", "BGRx", 7, 4));
    EXPECT_EQ(GST_FLOW_ERROR, harness.push(bufferOf(Bytes(27, 1))));
    EXPECT_EQ("A buffer is too short for its frame.", harness.error());
}

TEST(Demosaic, LeavesOutFramesThatComeTooLate)
{
    Harness harness("kodemosaic");
    harness.setCaps(capsText("video/x-bayer", "rggb", 8, 4), capsText("video/x-raw", "BGRx", 8, 4));
    EXPECT_TRUE(harness.pushAndPull(bufferOf(Bytes(32, 1))));
    gst_harness_push_upstream_event(harness.get(),
                                    gst_event_new_qos(GST_QOS_TYPE_UNDERFLOW, 2.0, GST_SECOND, GST_SECOND));
    Buffer late = bufferOf(Bytes(32, 1));
    GST_BUFFER_PTS(late.get()) = GST_SECOND / 2;
    EXPECT_EQ(GST_FLOW_OK, harness.push(std::move(late)));
    EXPECT_FALSE(harness.pull());
    Buffer inTime = bufferOf(Bytes(32, 1));
    GST_BUFFER_PTS(inTime.get()) = 5 * GST_SECOND;
    EXPECT_TRUE(harness.pushAndPull(std::move(inTime)));
}

TEST(Demosaic, ChangesItsMethodWhileItRuns)
{
    Harness harness("kodemosaic");
    harness.setCaps(capsText("video/x-bayer", "rggb", 64, 32), capsText("video/x-raw", "BGRx", 64, 32));
    std::atomic<bool> isOver{false};
    std::thread changer([&] {
        for (int i = 0; !isOver; ++i)
            g_object_set(harness.element(), "method", i % 3, nullptr);
    });
    for (int i = 0; i < 200; ++i)
        EXPECT_TRUE(harness.pushAndPull(bufferOf(Bytes(64 * 32, 5))));
    isOver = true;
    changer.join();
}

}  // namespace
}  // namespace ko::test
