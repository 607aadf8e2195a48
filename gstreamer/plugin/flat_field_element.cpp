// koflatfield: frames without the shading of the lens and the unevenness of the sensor.
#include "frames/frame_view.h"
#include "plugin/elements.h"
#include "plugin/flat_field.h"

#include <gst/base/gstbasetransform.h>
#include <gst/video/video.h>

#include <exception>
#include <mutex>
#include <optional>
#include <string>

using ko::gst::FlatField;
using ko::gst::Graymap;

namespace {

struct FlatFieldState {
    std::mutex mutex;  ///< guards the locations
    std::string flatLocation;
    std::string darkLocation;
    // Between start and stop.
    Graymap flat;
    Graymap dark;
    // Of the streaming thread.
    ko::SxImageInfo format;
    std::optional<FlatField> field;
};

}  // namespace

struct KoFlatField {
    GstBaseTransform parent;
    FlatFieldState* state;
};
struct KoFlatFieldClass {
    GstBaseTransformClass parent;
};

extern "C" {
G_DEFINE_TYPE(KoFlatField, ko_flat_field, GST_TYPE_BASE_TRANSFORM)
}

namespace {

#define FRAME_CAPS                                                                                           \
    "video/x-bayer, format=(string)" KO_GST_BAYER_NATIVE_FORMATS                                             \
    ", width=(int)[1, max], height=(int)[1, max]; " GST_VIDEO_CAPS_MAKE("{ GRAY8, GRAY16_LE }")

GstStaticPadTemplate sinkTemplate =
    GST_STATIC_PAD_TEMPLATE("sink", GST_PAD_SINK, GST_PAD_ALWAYS, GST_STATIC_CAPS(FRAME_CAPS));
GstStaticPadTemplate srcTemplate =
    GST_STATIC_PAD_TEMPLATE("src", GST_PAD_SRC, GST_PAD_ALWAYS, GST_STATIC_CAPS(FRAME_CAPS));

enum Property { PropertyFlat = 1, PropertyDark };

FlatFieldState& stateOf(gpointer element)
{
    return *static_cast<KoFlatField*>(element)->state;
}

/// Reads the pictures. Without any, frames pass as they are.
gboolean start(GstBaseTransform* element)
{
    FlatFieldState& state = stateOf(element);
    const std::lock_guard lock(state.mutex);
    try {
        state.flat = state.flatLocation.empty() ? Graymap() : ko::gst::readGraymap(state.flatLocation);
        state.dark = state.darkLocation.empty() ? Graymap() : ko::gst::readGraymap(state.darkLocation);
    } catch (const std::exception& error) {
        GST_ELEMENT_ERROR(element, RESOURCE, OPEN_READ, ("%s", error.what()), (nullptr));
        return FALSE;
    }
    gst_base_transform_set_passthrough(element, state.flatLocation.empty() && state.darkLocation.empty());
    return TRUE;
}

gboolean stop(GstBaseTransform* element)
{
    FlatFieldState& state = stateOf(element);
    state.field.reset();
    state.flat = {};
    state.dark = {};
    return TRUE;
}

gboolean setCaps(GstBaseTransform* element, GstCaps* in, GstCaps*)
{
    FlatFieldState& state = stateOf(element);
    state.field.reset();
    const auto format = ko::gst::frameFormat(in);
    if (!format)
        return FALSE;
    state.format = format->info;
    for (const Graymap* picture : {&state.flat, &state.dark})
        if (!picture->samples.empty() &&
            (picture->width != state.format.width || picture->height != state.format.height)) {
            GST_ELEMENT_ERROR(element, STREAM, FORMAT,
                              ("The %s picture has %d x %d samples, the frames have %d x %d.",
                               picture == &state.flat ? "flat" : "dark", picture->width, picture->height,
                               state.format.width, state.format.height),
                              (nullptr));
            return FALSE;
        }
    try {
        state.field.emplace(state.flat, state.dark, state.format.bayerGrid);
    } catch (const std::exception& error) {
        GST_ELEMENT_ERROR(element, RESOURCE, NO_SPACE_LEFT, ("%s", error.what()), (nullptr));
        return FALSE;
    }
    return TRUE;
}

/// The next element gets the very buffers that come here, so it decides what they may be like: as if frames passed.
gboolean proposeAllocation(GstBaseTransform* element, GstQuery*, GstQuery* query)
{
    return GST_BASE_TRANSFORM_CLASS(ko_flat_field_parent_class)->propose_allocation(element, nullptr, query);
}

GstFlowReturn transformInPlace(GstBaseTransform* element, GstBuffer* buffer)
{
    FlatFieldState& state = stateOf(element);
    ko::gst::FrameView frame(buffer, state.format, GST_MAP_READWRITE);
    if (!frame)
        return ko::gst::refuseShortBuffer(element, buffer);
    state.field->correct(frame.image());
    return GST_FLOW_OK;
}

void setProperty(GObject* object, guint id, const GValue* value, GParamSpec*)
{
    FlatFieldState& state = stateOf(object);
    const char* const text = g_value_get_string(value);
    const std::lock_guard lock(state.mutex);
    (id == PropertyFlat ? state.flatLocation : state.darkLocation) = text != nullptr ? text : "";
}

void getProperty(GObject* object, guint id, GValue* value, GParamSpec*)
{
    FlatFieldState& state = stateOf(object);
    const std::lock_guard lock(state.mutex);
    const std::string& location = id == PropertyFlat ? state.flatLocation : state.darkLocation;
    g_value_set_string(value, location.empty() ? nullptr : location.c_str());
}

void finalize(GObject* object)
{
    delete &stateOf(object);
    G_OBJECT_CLASS(ko_flat_field_parent_class)->finalize(object);
}

void addLocation(GObjectClass* type, Property id, const char* name, const char* nick, const char* description)
{
    g_object_class_install_property(
        type, id,
        g_param_spec_string(
            name, nick, description, nullptr,
            static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_READY)));
}

}  // namespace

static void ko_flat_field_class_init(KoFlatFieldClass* type)
{
    auto* const object = G_OBJECT_CLASS(type);
    object->set_property = setProperty;
    object->get_property = getProperty;
    object->finalize = finalize;
    addLocation(object, PropertyFlat, "flat-location", "Flat location",
                "PGM file with a picture of something even, in the levels and of the size of the frames; "
                "none: frames "
                "are not divided");
    addLocation(object, PropertyDark, "dark-location", "Dark location",
                "PGM file with a picture taken without light, likewise; none: nothing is subtracted");

    ko::gst::describeElement(type, sinkTemplate, srcTemplate, "Flat field", "Filter/Effect/Video",
                             "Divides out what a lens and a sensor do to an evenly lit field: "
                             "(sample - dark) / (flat - dark) * mean, with the "
                             "mean of flat - dark of the sample's colour. Works in place.");

    auto* const base = GST_BASE_TRANSFORM_CLASS(type);
    base->start = start;
    base->stop = stop;
    base->set_caps = setCaps;
    base->propose_allocation = proposeAllocation;
    base->transform_ip = transformInPlace;
    base->transform_ip_on_passthrough = FALSE;
}

static void ko_flat_field_init(KoFlatField* element)
{
    element->state = new FlatFieldState;
    gst_base_transform_set_in_place(&element->parent, TRUE);
    gst_base_transform_set_qos_enabled(&element->parent, TRUE);
}
