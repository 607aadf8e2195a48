#include "source/frame_sink.h"

#include "source/image_memory.h"

#include <gst/base/gstbasesink.h>
#include <gst/video/video.h>

// The names and types that GObject's macros want.
struct KoFrameSink {
    GstBaseSink parent;
    ko::gst::FrameReceiver* receiver;
    ko::gst::FrameFormat format;  ///< of the buffers that follow; only the streaming thread uses it
};
struct KoFrameSinkClass {
    GstBaseSinkClass parent;
};

extern "C" {
G_DEFINE_TYPE(KoFrameSink, ko_frame_sink, GST_TYPE_BASE_SINK)
}

namespace ko::gst {

namespace {

GstStaticPadTemplate sinkTemplate =
    GST_STATIC_PAD_TEMPLATE("sink", GST_PAD_SINK, GST_PAD_ALWAYS,
                            GST_STATIC_CAPS("video/x-raw, format=(string)" KO_GST_RAW_FORMATS
                                            "; video/x-bayer, format=(string)" KO_GST_BAYER_FORMATS));

KoFrameSink& sinkOf(gpointer element)
{
    return *static_cast<KoFrameSink*>(element);
}

gboolean setCaps(GstBaseSink* element, GstCaps* caps)
{
    const auto format = frameFormat(caps);
    if (format)
        sinkOf(element).format = *format;
    return format.has_value();
}

gboolean proposeAllocation(GstBaseSink* element, GstQuery* query)
{
    GstCaps* caps = nullptr;
    gst_query_parse_allocation(query, &caps, nullptr);
    const auto format = caps != nullptr ? frameFormat(caps) : std::nullopt;
    if (!format || imageByteSize(format->info) > G_MAXUINT)
        return FALSE;
    proposeImages(query, caps, format->info, sinkOf(element).receiver->buffersKept());
    gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
    return TRUE;
}

/// A description may name this element like any other.
gboolean start(GstBaseSink* element)
{
    KoFrameSink& sink = sinkOf(element);
    sink.format = {};
    if (sink.receiver == nullptr)
        GST_ELEMENT_ERROR(element, LIBRARY, INIT, ("%s cannot be a part of a description", frameSinkElement),
                          (nullptr));
    return sink.receiver != nullptr;
}

GstFlowReturn render(GstBaseSink* element, GstBuffer* buffer)
{
    const KoFrameSink& sink = sinkOf(element);
    if (sink.format.info.width == 0) {
        GST_ELEMENT_ERROR(element, STREAM, FORMAT,
                          ("frames come without a format; \"! video/x-bayer,format=...,width=...,height=..., "
                           "framerate=...\" tells it"),
                          (nullptr));
        return GST_FLOW_NOT_NEGOTIATED;
    }
    sink.receiver->takeFrame(buffer, sink.format);
    return GST_FLOW_OK;
}

gboolean handleEvent(GstBaseSink* element, GstEvent* event)
{
    const bool isEnd = GST_EVENT_TYPE(event) == GST_EVENT_EOS;
    // Waits until the sink plays; false where it is stopped meanwhile.
    const gboolean isHandled = GST_BASE_SINK_CLASS(ko_frame_sink_parent_class)->event(element, event);
    if (isEnd && isHandled)
        sinkOf(element).receiver->endStream({});
    return isHandled;
}

}  // namespace

bool registerFrameSink()
{
    return gst_element_register(nullptr, frameSinkElement, GST_RANK_NONE, ko_frame_sink_get_type());
}

void setReceiver(GstElement* sink, FrameReceiver& receiver)
{
    sinkOf(sink).receiver = &receiver;
}

}  // namespace ko::gst

static void ko_frame_sink_class_init(KoFrameSinkClass* type)
{
    auto* const element = GST_ELEMENT_CLASS(type);
    gst_element_class_add_static_pad_template(element, &ko::gst::sinkTemplate);
    gst_element_class_set_static_metadata(element, "Frame sink", "Sink/Video",
                                          "Gives frames to a pipe of koimproc",
                                          "koimproc developers <koimproc@lists.example.com>");
    auto* const base = GST_BASE_SINK_CLASS(type);
    base->start = ko::gst::start;
    base->set_caps = ko::gst::setCaps;
    base->propose_allocation = ko::gst::proposeAllocation;
    base->render = ko::gst::render;
    base->event = ko::gst::handleEvent;
}

static void ko_frame_sink_init(KoFrameSink* sink)
{
    sink->receiver = nullptr;
    sink->format = {};
    gst_base_sink_set_sync(&sink->parent, FALSE);
    // The last buffer would stay in use.
    gst_base_sink_set_last_sample_enabled(&sink->parent, FALSE);
}
