// What holds for all elements of the plugin.
#include "gstreamer/harness.h"

#include <gst/base/gstbasetransform.h>

#include <cstdlib>
#include <random>

namespace ko::test {
namespace {

const char* const elements[] = {"kodemosaic", "koflatfield", "kostats"};

TEST(Elements, AreDocumented)
{
    loadPlugin();
    for (const char* const name : elements) {
        GstElement* const element = gst_element_factory_make(name, nullptr);
        ASSERT_TRUE(element != nullptr) << name;
        GstElementFactory* const factory = gst_element_get_factory(element);
        for (const char* const key : {GST_ELEMENT_METADATA_LONGNAME, GST_ELEMENT_METADATA_KLASS,
                                      GST_ELEMENT_METADATA_DESCRIPTION, GST_ELEMENT_METADATA_AUTHOR}) {
            const char* const value = gst_element_factory_get_metadata(factory, key);
            EXPECT_TRUE(value != nullptr && *value != '\0') << name << ' ' << key;
        }
        EXPECT_EQ(2U, gst_element_factory_get_num_pad_templates(factory)) << name;
        guint count = 0;
        GParamSpec** const properties = g_object_class_list_properties(G_OBJECT_GET_CLASS(element), &count);
        for (guint i = 0; i < count; ++i) {
            EXPECT_STRNE("", g_param_spec_get_blurb(properties[i])) << name << ' ' << properties[i]->name;
            EXPECT_STRNE("", g_param_spec_get_nick(properties[i])) << name << ' ' << properties[i]->name;
        }
        g_free(properties);
        gst_object_unref(gst_object_ref_sink(element));
    }
}

TEST(Elements, TakeMosaicsWithoutAFrameRate)
{
    loadPlugin();
    for (const char* const name : elements) {
        const std::string description = "fakesrc num-buffers=2 sizetype=fixed sizemax=32 ! "
                                        "video/x-bayer,format=rggb,width=8,height=4 ! " +
                                        std::string(name) + " ! fakesink";
        GstElement* const pipeline = gst_parse_launch(description.c_str(), nullptr);
        ASSERT_TRUE(pipeline != nullptr);
        gst_element_set_state(pipeline, GST_STATE_PLAYING);
        GstBus* const bus = gst_element_get_bus(pipeline);
        GstMessage* end = gst_bus_timed_pop_filtered(
            bus, 60 * GST_SECOND, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
        EXPECT_TRUE(end != nullptr && GST_MESSAGE_TYPE(end) == GST_MESSAGE_EOS) << name;
        gst_clear_message(&end);
        gst_object_unref(bus);
        gst_element_set_state(pipeline, GST_STATE_NULL);
        gst_object_unref(pipeline);
    }
}

/// Caps and buffers that go together, nearly do, or do not.
class Hostile {
public:
    explicit Hostile(unsigned seed) : m_random(seed) {}

    int below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned>(limit)); }
    const char* oneOf(std::initializer_list<const char*> words)
    {
        return words.begin()[below(static_cast<int>(words.size()))];
    }

    std::string format()
    {
        const std::string order = oneOf({"bggr", "gbrg", "grbg", "rggb", "rgbw", ""});
        return order +
               oneOf({"", "", "8", "10le", "12le", "14le", "16le", "10be", "12be", "16be", "17le", "le"});
    }
    std::string caps(int width, int height)
    {
        const bool isMosaic = below(3) > 0;
        std::string text = capsText(isMosaic ? "video/x-bayer" : "video/x-raw",
                                    isMosaic ? format()
                                             : oneOf({"GRAY8", "GRAY16_LE", "RGB", "RGBx", "BGRx", "RGBA",
                                                      "RGBA64_LE", "I420", "GRAY16_BE"}),
                                    width, height);
        if (below(8) == 0)
            text += ", pixel-aspect-ratio=(fraction)4/3";
        if (below(16) == 0)
            text = oneOf({"video/x-bayer", "video/x-bayer, format=(string)rggb",
                          "video/x-raw, format=(string)GRAY8",
                          "video/x-bayer, format=(string)rggb, width=(int)4", "audio/x-raw",
                          "video/x-bayer, width=(int)4"});
        return text;
    }
    Buffer buffer(int width, int height)
    {
        const int rowBytes[] = {width,    (width + 3) / 4 * 4, 2 * width, (2 * width + 3) / 4 * 4, 8 * width,
                                below(64)};
        const int size = rowBytes[below(6)] * height + below(5) - 2;
        Buffer made = bufferOf(
            Bytes(static_cast<std::size_t>(std::max(size, 0)), static_cast<std::uint8_t>(below(256))));
        if (below(4) == 0) {
            gsize offsets[GST_VIDEO_MAX_PLANES] = {static_cast<gsize>(below(100))};
            gint strides[GST_VIDEO_MAX_PLANES] = {below(200) - 20};
            gst_buffer_add_video_meta_full(made.get(), GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_ENCODED,
                                           width, height, 1, offsets, strides);
        }
        return made;
    }

private:
    std::minstd_rand m_random;
};

TEST(Elements, SurviveCapsAndBuffersOfEveryKind)
{
    loadPlugin();
    const int rounds = std::getenv("KO_NIGHTLY") != nullptr ? 100000 : 2000;
    GstCaps* const fallback = gst_caps_from_string(capsText("video/x-bayer", "grbg", 5, 3).c_str());
    int passed = 0, refused = 0;
    gst_debug_set_default_threshold(GST_LEVEL_NONE);
    for (int round = 0; round < rounds; ++round) {
        SCOPED_TRACE(round);
        Hostile hostile(static_cast<unsigned>(round) + 1);
        Harness harness(elements[round % 3]);
        g_object_set(harness.element(), "qos", FALSE, nullptr);
        for (int change = 0; change < 3; ++change) {
            const int width = 1 + hostile.below(hostile.below(4) == 0 ? 300 : 20),
                      height = 1 + hostile.below(12);
            GstCaps* caps = gst_caps_from_string(hostile.caps(width, height).c_str());
            // Others could not be sent.
            if (caps == nullptr || !gst_caps_is_fixed(caps))
                gst_caps_replace(&caps, fallback);
            gst_harness_push_event(harness.get(), gst_event_new_caps(caps));
            gst_caps_unref(caps);
            if (change == 0) {
                GstSegment segment;
                gst_segment_init(&segment, GST_FORMAT_TIME);
                gst_harness_push_event(harness.get(), gst_event_new_segment(&segment));
            }
            for (int i = 0; i < 2; ++i)
                ++(harness.push(hostile.buffer(width, height)) == GST_FLOW_OK ? passed : refused);
        }
    }
    gst_caps_unref(fallback);
    EXPECT_LT(rounds / 10, passed);
    EXPECT_LT(rounds / 10, refused);
}

}  // namespace
}  // namespace ko::test
