#include "gstreamer/harness.h"

#include <gmock/gmock.h>

namespace ko::test {
namespace {

using ::testing::ElementsAre;

/// The message of a frame.
class Told {
public:
    explicit Told(const Harness& harness) : m_message(harness.message(GST_MESSAGE_ELEMENT)) {}

    explicit operator bool() const { return m_message != nullptr; }
    const GstStructure* fields() const { return gst_message_get_structure(m_message.get()); }

    template <class T, class Get>
    std::vector<T> list(const char* field, Get get) const
    {
        return listOf<T>(gst_structure_get_value(fields(), field), get);
    }
    std::vector<std::string> names() const
    {
        return list<std::string>("colours", [](const GValue* value) { return g_value_get_string(value); });
    }
    std::vector<unsigned> numbers(const char* field) const { return list<unsigned>(field, g_value_get_uint); }
    std::vector<double> reals(const char* field) const { return list<double>(field, g_value_get_double); }
    std::vector<std::uint64_t> histogram(unsigned colour) const
    {
        return listOf<std::uint64_t>(
            gst_value_array_get_value(gst_structure_get_value(fields(), "histogram"), colour),
            g_value_get_uint64);
    }
    double focus() const
    {
        double value = -1;
        EXPECT_TRUE(gst_structure_get_double(fields(), "focus", &value));
        return value;
    }

private:
    template <class T, class Get>
    static std::vector<T> listOf(const GValue* array, Get get)
    {
        std::vector<T> list;
        for (unsigned i = 0; i < gst_value_array_get_size(array); ++i)
            list.push_back(get(gst_value_array_get_value(array, i)));
        return list;
    }

    const std::unique_ptr<GstMessage, void (*)(GstMessage*)> m_message;
};

/// Sends a frame through the element, which lets it pass.
void look(Harness& harness, const std::string& caps, const Bytes& bytes)
{
    harness.setCaps(caps, caps);
    Buffer in = bufferOf(bytes);
    const GstBuffer* const place = in.get();
    const Buffer out = harness.pushAndPull(std::move(in));
    EXPECT_EQ(place, out.get());
    EXPECT_EQ(bytes, bytesOf(out.get()));
}

TEST(Stats, TellsTheLevelsOfAGrayFrame)
{
    Harness harness("kostats");
    look(harness, capsText("video/x-raw", "GRAY8", 4, 2), {10, 20, 30, 255, 10, 255, 255, 5});
    const Told told(harness);
    ASSERT_TRUE(told);
    EXPECT_TRUE(gst_structure_has_name(told.fields(), "kostats"));
    EXPECT_THAT(told.names(), ElementsAre("gray"));
    EXPECT_THAT(told.numbers("minimum"), ElementsAre(5U));
    EXPECT_THAT(told.numbers("maximum"), ElementsAre(255U));
    EXPECT_THAT(told.reals("mean"), ElementsAre(840.0 / 8));
    EXPECT_THAT(told.reals("clipped"), ElementsAre(3.0 / 8));
    const std::vector<std::uint64_t> counts = told.histogram(0);
    ASSERT_EQ(256U, counts.size());
    EXPECT_EQ(2U, counts[10]);
    EXPECT_EQ(3U, counts[255]);
    std::uint64_t time = 1;
    for (const char* const field : {"timestamp", "stream-time", "running-time"}) {
        EXPECT_TRUE(gst_structure_get_uint64(told.fields(), field, &time)) << field;
        EXPECT_EQ(0U, time) << field;
    }
}

TEST(Stats, TellsColoursApart)
{
    Harness mosaic("kostats bins=4");
    look(mosaic, capsText("video/x-bayer", "gbrg12le", 2, 2), {0xE8, 3, 0xFF, 15, 1, 0, 0xD0, 7});
    const Told raw(mosaic);
    ASSERT_TRUE(raw);
    // gbrg: green and blue above red and green.
    EXPECT_THAT(raw.names(), ElementsAre("red", "green-even", "green-odd", "blue"));
    EXPECT_THAT(raw.numbers("maximum"), ElementsAre(1U, 1000U, 2000U, 4095U));
    EXPECT_THAT(raw.reals("clipped"), ElementsAre(0.0, 0.0, 0.0, 1.0));
    EXPECT_THAT(raw.histogram(1), ElementsAre(1U, 0U, 0U, 0U));
    EXPECT_THAT(raw.histogram(2), ElementsAre(0U, 1U, 0U, 0U));
    EXPECT_THAT(raw.histogram(3), ElementsAre(0U, 0U, 0U, 1U));
    Harness picture("kostats bins=1");
    look(picture, capsText("video/x-raw", "RGBx", 1, 1), {1, 2, 3, 4});
    const Told colour(picture);
    ASSERT_TRUE(colour);
    EXPECT_THAT(colour.names(), ElementsAre("red", "green", "blue"));
    EXPECT_THAT(colour.numbers("minimum"), ElementsAre(1U, 2U, 3U));
    EXPECT_THAT(colour.histogram(2), ElementsAre(1U));
}

TEST(Stats, TellsHowSharpAFrameIs)
{
    Harness even("kostats");
    look(even, capsText("video/x-raw", "GRAY8", 4, 3), Bytes(12, 77));
    EXPECT_EQ(0.0, Told(even).focus());
    // The Laplacian of the inner samples is 400 and -100.
    Harness point("kostats");
    look(point, capsText("video/x-raw", "GRAY8", 4, 3), {0, 0, 0, 0, 0, 100, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(250.0 * 250, Told(point).focus());
    // In a mosaic a colour of its own is no edge.
    Bytes cells(8 * 8);
    for (std::size_t i = 0; i < cells.size(); ++i)
        cells[i] = i % 2 == 0 ? 200 : 10;
    Harness mosaic("kostats");
    look(mosaic, capsText("video/x-bayer", "rggb", 8, 8), cells);
    EXPECT_EQ(0.0, Told(mosaic).focus());
    Harness small("kostats");
    look(small, capsText("video/x-bayer", "rggb", 4, 4), Bytes(16, 3));
    EXPECT_EQ(0.0, Told(small).focus());
}

TEST(Stats, TellsOfEveryNthFrame)
{
    Harness harness("kostats interval=3");
    const std::string caps = capsText("video/x-raw", "GRAY8", 4, 1);
    harness.setCaps(caps, caps);
    int count = 0;
    for (int i = 0; i < 7; ++i) {
        EXPECT_TRUE(harness.pushAndPull(bufferOf(Bytes(4, 1))));
        count += Told(harness) ? 1 : 0;
    }
    EXPECT_EQ(3, count);
}

TEST(Stats, CountsLevelsAboveTheDepthAsItsHighest)
{
    Harness harness("kostats bins=2");
    look(harness, capsText("video/x-bayer", "rggb10le", 2, 2), {0xFF, 0xFF, 0, 4, 0xFF, 3, 1, 0});
    const Told told(harness);
    ASSERT_TRUE(told);
    EXPECT_THAT(told.numbers("minimum"), ElementsAre(1023U, 1023U, 1023U, 1U));
    EXPECT_THAT(told.numbers("maximum"), ElementsAre(1023U, 1023U, 1023U, 1U));
    EXPECT_THAT(told.reals("mean"), ElementsAre(1023.0, 1023.0, 1023.0, 1.0));
    EXPECT_THAT(told.reals("clipped"), ElementsAre(1.0, 1.0, 1.0, 0.0));
    EXPECT_THAT(told.histogram(0), ElementsAre(0U, 1U));
    EXPECT_THAT(told.histogram(3), ElementsAre(1U, 0U));
}

TEST(Stats, LooksAtThePartThatIsLeftOfACroppedFrame)
{
    Harness harness("kostats");
    const std::string caps = capsText("video/x-raw", "RGB", 2, 1);
    harness.setCaps(caps, caps);
    // Of 3 x 2 pixels the last two of the second row are left.
    Buffer in = bufferOf({1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 1, 1, 1, 20, 30, 40, 22, 33, 44, 0, 0, 0});
    gst_buffer_add_video_meta(in.get(), GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_RGB, 3, 2);
    GstVideoCropMeta* const crop = gst_buffer_add_video_crop_meta(in.get());
    crop->x = 1;
    crop->y = 1;
    crop->width = 2;
    crop->height = 1;
    EXPECT_TRUE(harness.pushAndPull(std::move(in)));
    const Told told(harness);
    ASSERT_TRUE(told);
    EXPECT_THAT(told.numbers("minimum"), ElementsAre(20U, 30U, 40U));
    EXPECT_THAT(told.numbers("maximum"), ElementsAre(22U, 33U, 44U));
}

TEST(Stats, TellsNoTimesWhereTheStreamHasNone)
{
    int complaints = 0;
    const auto count = [](const gchar*, GLogLevelFlags, const gchar*, gpointer all) {
        ++*static_cast<int*>(all);
    };
    const guint handler = g_log_set_handler("GStreamer", G_LOG_LEVEL_CRITICAL, count, &complaints);
    Harness harness("kostats");
    const std::string caps = capsText("video/x-raw", "GRAY8", 4, 1);
    harness.setCaps(caps, caps);
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_BYTES);
    gst_harness_push_event(harness.get(), gst_event_new_segment(&segment));
    EXPECT_TRUE(harness.pushAndPull(bufferOf(Bytes(4, 1))));
    g_log_remove_handler("GStreamer", handler);
    EXPECT_EQ(0, complaints);
    const Told told(harness);
    ASSERT_TRUE(told);
    for (const char* const field : {"stream-time", "running-time"}) {
        std::uint64_t time = 0;
        EXPECT_TRUE(gst_structure_get_uint64(told.fields(), field, &time)) << field;
        EXPECT_EQ(GST_CLOCK_TIME_NONE, time) << field;
    }
}

TEST(Stats, RefusesFramesWithoutCaps)
{
    Harness harness("kostats");
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    gst_harness_push_event(harness.get(), gst_event_new_stream_start("frames"));
    gst_harness_push_event(harness.get(), gst_event_new_segment(&segment));
    EXPECT_EQ(GST_FLOW_NOT_NEGOTIATED, harness.push(bufferOf(Bytes(4, 1))));
}

TEST(Stats, RefusesBuffersThatAreTooShort)
{
    Harness harness("kostats");
    const std::string caps = capsText("video/x-raw", "GRAY8", 4, 4);
    harness.setCaps(caps, caps);
    EXPECT_EQ(GST_FLOW_ERROR, harness.push(bufferOf(Bytes(15, 1))));
    EXPECT_EQ("A buffer is too short for its frame.", harness.error());
}

}  // namespace
}  // namespace ko::test
