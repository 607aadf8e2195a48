// An element of the plugin between two pads of the test.
#pragma once

#include <gtest/gtest.h>

#include <gst/check/gstharness.h>
#include <gst/gst.h>
#include <gst/video/video.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace ko::test {

using Bytes = std::vector<std::uint8_t>;

struct UnrefBuffer {
    void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
};
using Buffer = std::unique_ptr<GstBuffer, UnrefBuffer>;

inline Buffer bufferOf(const Bytes& bytes)
{
    Buffer buffer(gst_buffer_new_allocate(nullptr, bytes.size(), nullptr));
    gst_buffer_fill(buffer.get(), 0, bytes.data(), bytes.size());
    GST_BUFFER_PTS(buffer.get()) = 0;
    return buffer;
}

inline Bytes bytesOf(GstBuffer* buffer)
{
    Bytes bytes(gst_buffer_get_size(buffer));
    gst_buffer_extract(buffer, 0, bytes.data(), bytes.size());
    return bytes;
}

inline void loadPlugin()
{
    static const bool isLoaded = [] {
        gst_init(nullptr, nullptr);
        GstPlugin* const plugin = gst_plugin_load_file(KO_GST_PLUGIN, nullptr);
        if (plugin == nullptr)
            return false;
        gst_object_unref(plugin);
        return true;
    }();
    ASSERT_TRUE(isLoaded) << KO_GST_PLUGIN;
}

class Harness {
public:
    /// @param description  the element's name, and maybe properties
    explicit Harness(const std::string& description)
    {
        loadPlugin();
        m_harness = gst_harness_new_parse(description.c_str());
        m_bus = gst_bus_new();
        gst_element_set_bus(element(), m_bus);
    }
    ~Harness()
    {
        gst_element_set_bus(element(), nullptr);
        gst_object_unref(m_bus);
        gst_harness_teardown(m_harness);
    }
    Harness(const Harness&) = delete;
    Harness& operator=(const Harness&) = delete;

    GstHarness* get() const { return m_harness; }

    /// The element, which lies in a bin.
    GstElement* element() const { return GST_ELEMENT(GST_BIN(m_harness->element)->children->data); }

    void setCaps(const std::string& in, const std::string& out)
    {
        gst_harness_set_sink_caps_str(m_harness, out.c_str());
        gst_harness_set_src_caps_str(m_harness, in.c_str());
    }

    GstFlowReturn push(Buffer buffer) { return gst_harness_push(m_harness, buffer.release()); }

    /// What has come out for longest; null where nothing has.
    Buffer pull() { return Buffer(gst_harness_try_pull(m_harness)); }

    Buffer pushAndPull(Buffer buffer)
    {
        EXPECT_EQ(GST_FLOW_OK, push(std::move(buffer)));
        return pull();
    }

    /// The first message of a type; null where there is none.
    std::unique_ptr<GstMessage, void (*)(GstMessage*)> message(GstMessageType type) const
    {
        return {gst_bus_pop_filtered(m_bus, type), [](GstMessage* message) { gst_message_unref(message); }};
    }

    std::string error() const
    {
        const auto told = message(GST_MESSAGE_ERROR);
        if (told == nullptr)
            return {};
        GError* error = nullptr;
        gst_message_parse_error(told.get(), &error, nullptr);
        const std::string text = error->message;
        g_error_free(error);
        return text;
    }

    /// The caps that the element takes and gives at present.
    std::string capsOf(const char* pad) const
    {
        GstPad* const own = gst_element_get_static_pad(element(), pad);
        GstCaps* const caps = gst_pad_query_caps(own, nullptr);
        gchar* const text = gst_caps_to_string(caps);
        const std::string result = text;
        g_free(text);
        gst_caps_unref(caps);
        gst_object_unref(own);
        return result;
    }

private:
    GstHarness* m_harness = nullptr;
    GstBus* m_bus = nullptr;
};

inline std::string capsText(const std::string& type, const std::string& format, int width, int height)
{
    return type + ", format=(string)" + format + ", width=(int)" + std::to_string(width) + ", height=(int)" +
           std::to_string(height) + ", framerate=(fraction)30/1";
}

}  // namespace ko::test
