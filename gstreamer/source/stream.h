// A running GStreamer pipeline.
#pragma once

#include "source/frame_sink.h"

#include <memory>

namespace ko::gst {

/// Opens what a description says, plays it, and stops it when destroyed. Errors go to the receiver, which must live
/// longer.
class Stream {
public:
    /// Opens devices and files; frames come when it plays. Null, with an error told, where that fails.
    static std::unique_ptr<Stream> open(const QString& description, FrameReceiver& receiver);

    /// Waits until no thread of the stream uses the receiver any more.
    ~Stream();

    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    /// False, with an error told, where it cannot.
    bool play() { return change(GST_STATE_PLAYING); }

private:
    Stream(GstElement* pipeline, FrameReceiver& receiver);
    bool change(GstState state);

    static GstBusSyncReply handleMessage(GstBus* bus, GstMessage* message, gpointer stream);

    GstElement* const m_pipeline;
    FrameReceiver& m_receiver;
};

}  // namespace ko::gst
