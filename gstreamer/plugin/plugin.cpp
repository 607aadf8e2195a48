#include "plugin/elements.h"

#define PACKAGE "koimproc"

static gboolean registerElements(GstPlugin* plugin)
{
    return gst_element_register(plugin, "kodemosaic", GST_RANK_SECONDARY, ko_demosaic_get_type()) &&
           gst_element_register(plugin, "koflatfield", GST_RANK_NONE, ko_flat_field_get_type()) &&
           gst_element_register(plugin, "kostats", GST_RANK_NONE, ko_stats_get_type());
}

// GStreamer loads plugins only under licences of a list of its own. The file LICENCE names none of them.
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, koimproc, "Operations of koimproc on camera images",
                  registerElements, KO_VERSION, GST_LICENSE_UNKNOWN, "koimproc", "koimproc")
