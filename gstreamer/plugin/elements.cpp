#include "plugin/elements.h"

namespace ko::gst {

void describeElement(gpointer elementClass, GstStaticPadTemplate& sink, GstStaticPadTemplate& src,
                     const char* name, const char* kind, const char* description)
{
    auto* const element = GST_ELEMENT_CLASS(elementClass);
    gst_element_class_add_static_pad_template(element, &sink);
    gst_element_class_add_static_pad_template(element, &src);
    gst_element_class_set_static_metadata(element, name, kind, description,
                                          "koimproc developers <koimproc@lists.example.com>");
}

GstFlowReturn refuseShortBuffer(gpointer element, GstBuffer* buffer)
{
    GST_ELEMENT_ERROR(element, STREAM, FORMAT, ("A buffer is too short for its frame."),
                      ("%" G_GSIZE_FORMAT " bytes", gst_buffer_get_size(buffer)));
    return GST_FLOW_ERROR;
}

}  // namespace ko::gst
