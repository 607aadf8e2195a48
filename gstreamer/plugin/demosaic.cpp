// kodemosaic: mosaics to colour pictures.
#include "frames/frame_view.h"
#include "plugin/demosaicer.h"
#include "plugin/elements.h"

#include <gst/base/gstbasetransform.h>
#include <gst/video/gstvideopool.h>
#include <gst/video/video.h>

#include <atomic>
#include <memory>
#include <optional>

using ko::gst::Demosaicer;
using ko::gst::DemosaicMethod;

namespace {

struct DemosaicState {
    std::atomic<DemosaicMethod> method{DemosaicMethod::Malvar};
    // Of the streaming thread.
    std::optional<ko::gst::FrameFormat> input;
    GstVideoInfo output{};
    std::optional<Demosaicer> demosaicer;
};

}  // namespace

struct KoDemosaic {
    GstBaseTransform parent;
    DemosaicState* state;
};
struct KoDemosaicClass {
    GstBaseTransformClass parent;
};

extern "C" {
G_DEFINE_TYPE(KoDemosaic, ko_demosaic, GST_TYPE_BASE_TRANSFORM)
}

namespace {

// Pictures of 4 channels come first: they are the quickest to write.
#define BYTE_FORMATS "BGRx, RGBx, BGRA, RGBA, BGR, RGB"
#define DEEP_FORMAT "RGBA64_LE"

GstStaticPadTemplate sinkTemplate =
    GST_STATIC_PAD_TEMPLATE("sink", GST_PAD_SINK, GST_PAD_ALWAYS,
                            GST_STATIC_CAPS("video/x-bayer, format=(string)" KO_GST_BAYER_FORMATS
                                            ", width=(int)[1, max], height=(int)[1, max]"));
GstStaticPadTemplate srcTemplate =
    GST_STATIC_PAD_TEMPLATE("src", GST_PAD_SRC, GST_PAD_ALWAYS,
                            GST_STATIC_CAPS(GST_VIDEO_CAPS_MAKE("{ " BYTE_FORMATS ", " DEEP_FORMAT " }")));

enum Property { PropertyMethod = 1 };

GType methodType()
{
    static const GType type = [] {
        static const GEnumValue values[] = {{static_cast<gint>(DemosaicMethod::Linear),
                                             "Means of the nearest samples of each colour", "linear"},
                                            {static_cast<gint>(DemosaicMethod::Malvar),
                                             "Linear filters of 5 x 5 samples: quick and good", "malvar"},
                                            {static_cast<gint>(DemosaicMethod::Menon),
                                             "Along the edges: the sharpest, several times slower", "menon"},
                                            {0, nullptr, nullptr}};
        return g_enum_register_static("KoDemosaicMethod", values);
    }();
    return type;
}

KoDemosaic& demosaicOf(gpointer element)
{
    return *static_cast<KoDemosaic*>(element);
}

/// The formats on the other side of the element that go with those of a structure: those of bytes with those of bytes,
/// those of words with those of words. Null where it has none.
GstCaps* formatsBeyond(const GstStructure* structure, bool isMosaic)
{
    static GstStaticCaps mosaicBytes =
        GST_STATIC_CAPS("video/x-bayer, format=(string){ " KO_GST_BAYER_BYTES " }");
    static GstStaticCaps mosaicWords =
        GST_STATIC_CAPS("video/x-bayer, format=(string)" KO_GST_BAYER_DEEP_FORMATS);
    static GstStaticCaps colourBytes = GST_STATIC_CAPS("video/x-raw, format=(string){ " BYTE_FORMATS " }");
    static GstStaticCaps colourWords = GST_STATIC_CAPS("video/x-raw, format=(string)" DEEP_FORMAT);
    GstCaps* const result = gst_caps_new_empty();
    GstCaps* const asked = gst_caps_new_empty();
    GstStructure* const formatAlone = gst_structure_new_empty(isMosaic ? "video/x-bayer" : "video/x-raw");
    if (const GValue* const format = gst_structure_get_value(structure, "format"))
        gst_structure_set_value(formatAlone, "format", format);
    gst_caps_append_structure(asked, formatAlone);
    const auto addWhere = [&](GstStaticCaps& here, GstStaticCaps& beyond) {
        GstCaps* const caps = gst_static_caps_get(&here);
        if (gst_caps_can_intersect(asked, caps))
            gst_caps_append(result, gst_static_caps_get(&beyond));
        gst_caps_unref(caps);
    };
    addWhere(isMosaic ? mosaicBytes : colourBytes, isMosaic ? colourBytes : mosaicBytes);
    addWhere(isMosaic ? mosaicWords : colourWords, isMosaic ? colourWords : mosaicWords);
    gst_caps_unref(asked);
    return result;
}

/// Pictures that may have any frame rate must have one. Mosaics of files need not.
bool isAnyRate(const GValue* value)
{
    return GST_VALUE_HOLDS_FRACTION_RANGE(value) &&
           gst_value_get_fraction_numerator(gst_value_get_fraction_range_min(value)) == 0 &&
           gst_value_get_fraction_numerator(gst_value_get_fraction_range_max(value)) == G_MAXINT;
}

GstCaps* transformCaps(GstBaseTransform*, GstPadDirection direction, GstCaps* caps, GstCaps* filter)
{
    GstCaps* result = gst_caps_new_empty();
    for (guint i = 0; i < gst_caps_get_size(caps); ++i) {
        const GstStructure* const from = gst_caps_get_structure(caps, i);
        GstCaps* const formats = formatsBeyond(from, direction == GST_PAD_SINK);
        for (const char* const field : {"width", "height", "framerate", "pixel-aspect-ratio"})
            if (const GValue* const value = gst_structure_get_value(from, field);
                value != nullptr && !isAnyRate(value))
                gst_caps_set_value(formats, field, value);
        result = gst_caps_merge(result, formats);
    }
    if (filter != nullptr) {
        GstCaps* const both = gst_caps_intersect_full(filter, result, GST_CAPS_INTERSECT_FIRST);
        gst_caps_unref(result);
        result = both;
    }
    return result;
}

/// Bytes of a frame of fixed caps on either side.
gboolean unitSize(GstBaseTransform*, GstCaps* caps, gsize* size)
{
    GstVideoInfo info;
    if (gst_structure_has_name(gst_caps_get_structure(caps, 0), "video/x-raw")) {
        if (!gst_video_info_from_caps(&info, caps))
            return FALSE;
        *size = GST_VIDEO_INFO_SIZE(&info);
        return TRUE;
    }
    const auto format = ko::gst::frameFormat(caps);
    if (format)
        *size = ko::imageByteSize(format->info);
    return format.has_value();
}

/// Whatever the buffer's size: rows may be filled up in several ways, and `FrameView` sees to it that they are there.
gboolean transformSize(GstBaseTransform* element, GstPadDirection, GstCaps*, gsize, GstCaps* otherCaps,
                       gsize* size)
{
    return unitSize(element, otherCaps, size);
}

gboolean setCaps(GstBaseTransform* element, GstCaps* in, GstCaps* out)
{
    DemosaicState& state = *demosaicOf(element).state;
    state.demosaicer.reset();
    state.input = ko::gst::frameFormat(in);
    // The size of a pool's buffers has 32 bits.
    if (!state.input || !gst_video_info_from_caps(&state.output, out) ||
        GST_VIDEO_INFO_SIZE(&state.output) > G_MAXUINT)
        return FALSE;
    const bool isReversed = GST_VIDEO_INFO_COMP_POFFSET(&state.output, GST_VIDEO_COMP_B) == 0;
    try {
        state.demosaicer.emplace(*state.input, isReversed);
    } catch (const std::exception& error) {
        GST_ELEMENT_ERROR(element, RESOURCE, NO_SPACE_LEFT, ("%s", error.what()), (nullptr));
        return FALSE;
    }
    return TRUE;
}

/// Upstream may give rows of any length.
gboolean proposeAllocation(GstBaseTransform* element, GstQuery* decided, GstQuery* query)
{
    gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
    return GST_BASE_TRANSFORM_CLASS(ko_demosaic_parent_class)->propose_allocation(element, decided, query);
}

/// False where the pool is in use elsewhere and does not change any more.
bool prepare(GstBufferPool* pool, GstQuery* query, guint size, guint least, guint most)
{
    GstCaps* caps = nullptr;
    gst_query_parse_allocation(query, &caps, nullptr);
    GstStructure* const config = gst_buffer_pool_get_config(pool);
    gst_buffer_pool_config_set_params(config, caps, size, least, most);
    if (gst_query_find_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr))
        gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_META);
    return gst_buffer_pool_set_config(pool, config);
}

/// Pictures come out of a pool: downstream's, or one of the element's own.
gboolean decideAllocation(GstBaseTransform* element, GstQuery* query)
{
    const DemosaicState& state = *demosaicOf(element).state;
    GstBufferPool* pool = nullptr;
    guint size = 0, least = 0, most = 0;
    const bool isOffered = gst_query_get_n_allocation_pools(query) > 0;
    if (isOffered)
        gst_query_parse_nth_allocation_pool(query, 0, &pool, &size, &least, &most);
    size = MAX(size, static_cast<guint>(GST_VIDEO_INFO_SIZE(&state.output)));
    bool isReady = pool != nullptr && prepare(pool, query, size, least, most);
    if (!isReady) {
        gst_clear_object(&pool);
        pool = gst_video_buffer_pool_new();
        isReady = prepare(pool, query, size, least, most);
    }
    if (isOffered)
        gst_query_set_nth_allocation_pool(query, 0, pool, size, least, most);
    else
        gst_query_add_allocation_pool(query, pool, size, least, most);
    gst_object_unref(pool);
    return isReady && GST_BASE_TRANSFORM_CLASS(ko_demosaic_parent_class)->decide_allocation(element, query);
}

GstFlowReturn transform(GstBaseTransform* element, GstBuffer* in, GstBuffer* out)
{
    DemosaicState& state = *demosaicOf(element).state;
    ko::gst::FrameView mosaic(in, state.input->info, GST_MAP_READ);
    if (!mosaic)
        return ko::gst::refuseShortBuffer(element, in);
    GstVideoFrame frame;
    if (!gst_video_frame_map(&frame, &state.output, out, GST_MAP_WRITE)) {
        GST_ELEMENT_ERROR(element, RESOURCE, WRITE, ("A buffer for a picture cannot be mapped."), (nullptr));
        return GST_FLOW_ERROR;
    }
    ko::SxImageBuf picture;
    static_cast<ko::SxImageInfo&>(picture) = state.input->info;
    picture.bayerGrid = ko::BayerNone;
    picture.channels = GST_VIDEO_FRAME_COMP_PSTRIDE(&frame, 0) / bytesPerSample(picture.dataType);
    picture.stride = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0);
    picture.data = static_cast<std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
    GstFlowReturn flow = GST_FLOW_OK;
    try {
        state.demosaicer->make(mosaic.image(), mosaic.bytes(), picture, state.method);
    } catch (const std::exception& error) {
        GST_ELEMENT_ERROR(element, LIBRARY, FAILED, ("%s", error.what()), (nullptr));
        flow = GST_FLOW_ERROR;
    }
    gst_video_frame_unmap(&frame);
    return flow;
}

gboolean stop(GstBaseTransform* element)
{
    demosaicOf(element).state->demosaicer.reset();
    return TRUE;
}

void setProperty(GObject* object, guint, const GValue* value, GParamSpec*)
{
    demosaicOf(object).state->method = static_cast<DemosaicMethod>(g_value_get_enum(value));
}

void getProperty(GObject* object, guint, GValue* value, GParamSpec*)
{
    g_value_set_enum(value, static_cast<gint>(demosaicOf(object).state->method.load()));
}

void finalize(GObject* object)
{
    delete demosaicOf(object).state;
    G_OBJECT_CLASS(ko_demosaic_parent_class)->finalize(object);
}

}  // namespace

static void ko_demosaic_class_init(KoDemosaicClass* type)
{
    auto* const object = G_OBJECT_CLASS(type);
    object->set_property = setProperty;
    object->get_property = getProperty;
    object->finalize = finalize;
    g_object_class_install_property(object, PropertyMethod,
                                    g_param_spec_enum("method", "Method", "How missing colours are found",
                                                      methodType(), static_cast<gint>(DemosaicMethod::Malvar),
                                                      ko::gst::changeableProperty));
    gst_type_mark_as_plugin_api(methodType(), static_cast<GstPluginAPIFlags>(0));

    ko::gst::describeElement(type, sinkTemplate, srcTemplate, "Demosaicing", "Filter/Converter/Video",
                             "Makes colour pictures of raw mosaics of 8 to 16 bits; colours "
                             "stay where the sensor saw them. The levels of 10 "
                             "to 14 bits are spread over 16.");

    auto* const base = GST_BASE_TRANSFORM_CLASS(type);
    base->transform_caps = transformCaps;
    base->get_unit_size = unitSize;
    base->transform_size = transformSize;
    base->set_caps = setCaps;
    base->propose_allocation = proposeAllocation;
    base->decide_allocation = decideAllocation;
    base->transform = transform;
    base->stop = stop;
}

static void ko_demosaic_init(KoDemosaic* demosaic)
{
    demosaic->state = new DemosaicState;
    gst_base_transform_set_qos_enabled(&demosaic->parent, TRUE);
}
