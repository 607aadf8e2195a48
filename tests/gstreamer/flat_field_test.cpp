#include "gstreamer/harness.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <fstream>

#include <unistd.h>

namespace ko::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// A file that vanishes with the test.
class File {
public:
    explicit File(const std::string& content)
        : m_name("ko_flat_field_" + std::to_string(getpid()) + "_" + std::to_string(++s_count) + ".pgm")
    {
        std::ofstream(m_name, std::ios::binary) << content;
    }
    ~File() { std::remove(m_name.c_str()); }

    const std::string& name() const { return m_name; }

private:
    static inline int s_count = 0;
    std::string m_name;
};

std::string text(const Bytes& bytes)
{
    return {bytes.begin(), bytes.end()};
}

std::string elementWith(const File& flat)
{
    return "koflatfield flat-location=" + flat.name();
}

TEST(FlatField, DividesByTheFlatPicture)
{
    // The mean is 125; where the flat picture is black, so is the result.
    const File flat("P5 4 1 255\n" + text({100, 200, 0, 200}));
    Harness harness(elementWith(flat));
    const std::string caps = capsText("video/x-raw", "GRAY8", 4, 1);
    harness.setCaps(caps, caps);
    const Buffer out = harness.pushAndPull(bufferOf({80, 80, 80, 255}));
    ASSERT_TRUE(out);
    // 125 / 100 * 80, 125 / 200 * 80, black, 125 / 200 * 255 = 159.4
    EXPECT_THAT(bytesOf(out.get()), ElementsAre(100, 50, 0, 159));
}

TEST(FlatField, KeepsTheBalanceOfColours)
{
    const File flat("P5\n# even\n2 2\n255\n" + text({10, 100, 200, 20}));
    Harness harness(elementWith(flat));
    const std::string caps = capsText("video/x-bayer", "rggb", 2, 2);
    harness.setCaps(caps, caps);
    const Buffer out = harness.pushAndPull(bufferOf({50, 100, 0, 0, 200, 60, 0, 0}));
    ASSERT_TRUE(out);
    // Red and blue are their own means, the mean of green is 150.
    EXPECT_THAT(bytesOf(out.get()), ElementsAre(50, 150, 0, 0, 150, 60, 0, 0));
}

TEST(FlatField, SubtractsTheDarkPictureFromBoth)
{
    // 16 bits, the upper byte first: 1000 and 3000, 200 and 200.
    const File flat("P5 2 1 4095\n" + text({0x03, 0xE8, 0x0B, 0xB8}));
    const File dark("P5 2 1 4095\n" + text({0x00, 0xC8, 0x00, 0xC8}));
    Harness harness(elementWith(flat) + " dark-location=" + dark.name());
    const std::string caps = capsText("video/x-raw", "GRAY16_LE", 2, 1);
    harness.setCaps(caps, caps);
    // (600 - 200) / 800 * 1800 = 900; (100 - 200) counts as 0.
    const Buffer out = harness.pushAndPull(bufferOf({0x58, 0x02, 0x64, 0x00}));
    ASSERT_TRUE(out);
    EXPECT_THAT(bytesOf(out.get()), ElementsAre(0x84, 0x03, 0, 0));
    Harness alone("koflatfield dark-location=" + dark.name());
    alone.setCaps(caps, caps);
    const Buffer darkOnly = alone.pushAndPull(bufferOf({0x58, 0x02, 0x64, 0x00}));
    ASSERT_TRUE(darkOnly);
    EXPECT_THAT(bytesOf(darkOnly.get()), ElementsAre(0x90, 0x01, 0, 0));
}

TEST(FlatField, LimitsToTheDepth)
{
    const File flat("P5 2 1 255\n" + text({1, 255}));
    Harness harness(elementWith(flat));
    const std::string caps = capsText("video/x-bayer", "rggb12le", 2, 1);
    harness.setCaps(caps, caps);
    const Buffer out = harness.pushAndPull(bufferOf({0xFF, 0x0F, 0x10, 0x00}));
    ASSERT_TRUE(out);
    EXPECT_THAT(bytesOf(out.get()), ElementsAre(0xFF, 0x0F, 0x10, 0x00)) << "each colour is its own mean";
    const std::string gray = capsText("video/x-raw", "GRAY16_LE", 2, 1);
    Harness wide(elementWith(flat));
    wide.setCaps(gray, gray);
    const Buffer limited = wide.pushAndPull(bufferOf({0xFF, 0xFF, 0xFF, 0x00}));
    ASSERT_TRUE(limited);
    EXPECT_THAT(bytesOf(limited.get()), ElementsAre(0xFF, 0xFF, 128, 0));
}

TEST(FlatField, WorksInPlace)
{
    const File flat("P5 4 1 255\n" + text({1, 1, 1, 1}));
    Harness harness(elementWith(flat));
    const std::string caps = capsText("video/x-raw", "GRAY8", 4, 1);
    harness.setCaps(caps, caps);
    Buffer in = bufferOf({1, 2, 3, 4});
    GstBuffer* const place = in.get();
    const Buffer out = harness.pushAndPull(std::move(in));
    EXPECT_EQ(place, out.get());
    EXPECT_THAT(bytesOf(out.get()), ElementsAre(1, 2, 3, 4));
}

TEST(FlatField, LetsFramesPassWithoutPictures)
{
    Harness harness("koflatfield");
    const std::string caps = capsText("video/x-bayer", "gbrg10le", 2, 1);
    harness.setCaps(caps, caps);
    const Buffer out = harness.pushAndPull(bufferOf({1, 2, 3, 4}));
    ASSERT_TRUE(out);
    EXPECT_THAT(bytesOf(out.get()), ElementsAre(1, 2, 3, 4));
}

/// Whether the element in front may describe the rows of its buffers, where the next element knows such descriptions or
/// does not.
bool mayDescribeRows(const std::string& description, bool isKnown)
{
    Harness harness(description);
    if (isKnown)
        gst_harness_add_propose_allocation_meta(harness.get(), GST_VIDEO_META_API_TYPE, nullptr);
    const std::string caps = capsText("video/x-raw", "GRAY8", 4, 1);
    harness.setCaps(caps, caps);
    EXPECT_TRUE(harness.pushAndPull(bufferOf({1, 2, 3, 4})));
    GstCaps* const asked = gst_caps_from_string(caps.c_str());
    GstQuery* const query = gst_query_new_allocation(asked, TRUE);
    EXPECT_TRUE(gst_pad_peer_query(harness.get()->srcpad, query));
    const bool may = gst_query_find_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr) != FALSE;
    gst_query_unref(query);
    gst_caps_unref(asked);
    return may;
}

TEST(FlatField, LetsTheNextElementDecideHowRowsLie)
{
    const File flat("P5 4 1 255\n" + text({1, 1, 1, 1}));
    for (const std::string& description : {std::string("koflatfield"), elementWith(flat)}) {
        EXPECT_TRUE(mayDescribeRows(description, true)) << description;
        EXPECT_FALSE(mayDescribeRows(description, false)) << description;
    }
}

/// What the element says when it starts with a file of this content.
std::string startError(const std::string& content)
{
    loadPlugin();
    const File file(content);
    GstElement* const element = gst_element_factory_make("koflatfield", nullptr);
    gst_object_ref_sink(element);
    GstBus* const bus = gst_bus_new();
    gst_element_set_bus(element, bus);
    g_object_set(element, "flat-location", content.empty() ? "nosuchfile.pgm" : file.name().c_str(), nullptr);
    EXPECT_EQ(GST_STATE_CHANGE_FAILURE, gst_element_set_state(element, GST_STATE_PAUSED)) << content;
    std::string told;
    if (GstMessage* const message = gst_bus_pop_filtered(bus, GST_MESSAGE_ERROR)) {
        GError* error = nullptr;
        gst_message_parse_error(message, &error, nullptr);
        told = error->message;
        g_error_free(error);
        gst_message_unref(message);
    }
    gst_element_set_state(element, GST_STATE_NULL);
    gst_element_set_bus(element, nullptr);
    gst_object_unref(bus);
    gst_object_unref(element);
    return told;
}

TEST(FlatField, RefusesFilesThatAreNoPictures)
{
    EXPECT_EQ("nosuchfile.pgm: No such file or directory", startError({}));
    EXPECT_THAT(startError("P2 1 1 255\n7"), HasSubstr("is no binary PGM file"));
    EXPECT_THAT(startError("P"), HasSubstr("is no binary PGM file"));
    for (const char* const header :
         {"P5", "P5 ", "P5 x", "P5 1", "P5 0 1 255\n", "P5 1 70000 255\n", "P5 1 1 65536\n", "P5 1 1 0\n",
          "P5 99999999999999 1 1\n", "P5 1 1 255x", "P5 # 1 1 255\n"})
        EXPECT_THAT(startError(header), HasSubstr("has no proper header")) << header;
    EXPECT_THAT(startError("P5 2 2 255\nabc"), HasSubstr("ends before its last row"));
    EXPECT_THAT(startError("P5 2 1 256\nabc"), HasSubstr("ends before its last row"));
    EXPECT_THAT(startError("P5 65535 65535 65535\nabc"), HasSubstr("ends before its last row"));
}

TEST(FlatField, RefusesPicturesOfAnotherSize)
{
    const File flat("P5 2 1 255\n" + text({1, 2}));
    Harness harness(elementWith(flat));
    const std::string caps = capsText("video/x-raw", "GRAY8", 3, 1);
    harness.setCaps(caps, caps);
    EXPECT_EQ(GST_FLOW_NOT_NEGOTIATED, harness.push(bufferOf({1, 2, 3, 0})));
    EXPECT_EQ("The flat picture has 2 x 1 samples, the frames have 3 x 1.", harness.error());
}

}  // namespace
}  // namespace ko::test
