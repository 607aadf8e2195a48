// The element at the end of a source's pipeline: gives every buffer to a receiver.
#pragma once

#include "frames/formats.h"

#include <QString>

namespace ko::gst {

/// Takes what a stream delivers, on threads of GStreamer.
class FrameReceiver {
public:
    virtual ~FrameReceiver() = default;

    /// May wait; the stream waits with it.
    virtual void takeFrame(GstBuffer* buffer, const FrameFormat& format) = 0;

    /// No more frames come.
    /// @param error  one line; empty where the stream has come to its end
    virtual void endStream(const QString& error) = 0;

    /// How many buffers it keeps at a time.
    virtual unsigned buffersKept() const = 0;
};

/// Name of the element in descriptions, registered by `registerFrameSink`.
constexpr const char* frameSinkElement = "koframesink";

/// False where GStreamer does not take the element.
bool registerFrameSink();

/// Tells a sink who takes its frames; before it leaves the state NULL.
void setReceiver(GstElement* sink, FrameReceiver& receiver);

}  // namespace ko::gst
