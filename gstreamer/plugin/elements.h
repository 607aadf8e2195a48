// The elements of the plugin.
#pragma once

#include <gst/gst.h>

extern "C" {
GType ko_demosaic_get_type();
GType ko_flat_field_get_type();
GType ko_stats_get_type();
}

namespace ko::gst {

constexpr const char* author = "koimproc developers <koimproc@lists.example.com>";

/// Flags of a property that may be changed at any time.
constexpr auto changeableProperty =
    static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_PLAYING);

}  // namespace ko::gst
