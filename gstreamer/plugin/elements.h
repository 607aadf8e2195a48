// The elements of the plugin.
#pragma once

#include <gst/gst.h>

extern "C" {
GType ko_demosaic_get_type();
GType ko_flat_field_get_type();
GType ko_stats_get_type();
}

namespace ko::gst {

/// Gives a class its pads and what gst-inspect-1.0 shows of it. All texts are literals.
void describeElement(gpointer elementClass, GstStaticPadTemplate& sink, GstStaticPadTemplate& src,
                     const char* name, const char* kind, const char* description);

/// Reports a buffer that ends before its frame.
GstFlowReturn refuseShortBuffer(gpointer element, GstBuffer* buffer);

/// Flags of a property that may be changed at any time.
constexpr auto changeableProperty =
    static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_PLAYING);

}  // namespace ko::gst
