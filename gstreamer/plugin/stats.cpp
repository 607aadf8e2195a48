// kostats: messages with the levels and the sharpness of frames.
#include "frames/frame_view.h"
#include "plugin/elements.h"
#include "plugin/focus.h"
#include "plugin/frame_stats.h"

#include <gst/base/gstbasetransform.h>
#include <gst/video/video.h>

#include <algorithm>
#include <atomic>
#include <exception>

namespace {

struct StatsState {
    std::atomic<unsigned> interval{1};
    std::atomic<unsigned> bins{256};
    // Of the streaming thread.
    ko::SxImageInfo format;
    ko::CxImageHistogram histogram;
    unsigned framesSince = 0;
};

}  // namespace

struct KoStats {
    GstBaseTransform parent;
    StatsState* state;
};
struct KoStatsClass {
    GstBaseTransformClass parent;
};

extern "C" {
G_DEFINE_TYPE(KoStats, ko_stats, GST_TYPE_BASE_TRANSFORM)
}

namespace {

#define FRAME_CAPS                                                                                           \
    "video/x-bayer, format=(string)" KO_GST_BAYER_NATIVE_FORMATS                                             \
    ", width=(int)[1, max], height=(int)[1, max]; " GST_VIDEO_CAPS_MAKE(KO_GST_RAW_FORMATS)

GstStaticPadTemplate sinkTemplate =
    GST_STATIC_PAD_TEMPLATE("sink", GST_PAD_SINK, GST_PAD_ALWAYS, GST_STATIC_CAPS(FRAME_CAPS));
GstStaticPadTemplate srcTemplate =
    GST_STATIC_PAD_TEMPLATE("src", GST_PAD_SRC, GST_PAD_ALWAYS, GST_STATIC_CAPS(FRAME_CAPS));

enum Property { PropertyInterval = 1, PropertyBins };

StatsState& stateOf(gpointer element)
{
    return *static_cast<KoStats*>(element)->state;
}

/// A field that is an array; `write` writes the value of each of `count` elements.
template <class Write>
void setArray(GstStructure* structure, const char* name, std::size_t count, GType type, const Write& write)
{
    GValue array = G_VALUE_INIT;
    gst_value_array_init(&array, static_cast<guint>(count));
    for (std::size_t i = 0; i < count; ++i) {
        GValue value = G_VALUE_INIT;
        g_value_init(&value, type);
        write(&value, i);
        gst_value_array_append_and_take_value(&array, &value);
    }
    gst_structure_take_value(structure, name, &array);
}

/// As many counts as asked for, or one per level where there are fewer; each of equally many levels.
void writeHistogram(GValue* value, const std::uint32_t* counts, std::uint64_t levels, std::uint64_t bins)
{
    for (std::uint64_t bin = 0; bin < bins; ++bin) {
        std::uint64_t samples = 0;
        for (std::uint64_t level = bin * levels / bins; level < (bin + 1) * levels / bins; ++level)
            samples += counts[level];
        GValue count = G_VALUE_INIT;
        g_value_init(&count, G_TYPE_UINT64);
        g_value_set_uint64(&count, samples);
        gst_value_array_append_and_take_value(value, &count);
    }
}

void addColours(GstStructure* structure, const StatsState& state, const ko::SxImageBuf& frame)
{
    const std::vector<ko::gst::ColourStats> colours = ko::gst::colourStats(frame, state.histogram);
    const std::size_t count = colours.size();
    setArray(structure, "colours", count, G_TYPE_STRING,
             [&](GValue* value, std::size_t i) { g_value_set_static_string(value, colours[i].name); });
    setArray(structure, "minimum", count, G_TYPE_UINT,
             [&](GValue* value, std::size_t i) { g_value_set_uint(value, colours[i].minimum); });
    setArray(structure, "maximum", count, G_TYPE_UINT,
             [&](GValue* value, std::size_t i) { g_value_set_uint(value, colours[i].maximum); });
    setArray(structure, "mean", count, G_TYPE_DOUBLE,
             [&](GValue* value, std::size_t i) { g_value_set_double(value, colours[i].mean); });
    setArray(structure, "clipped", count, G_TYPE_DOUBLE,
             [&](GValue* value, std::size_t i) { g_value_set_double(value, colours[i].clipped); });
    const std::uint64_t levels = ko::gst::levelsOf(frame);
    const std::uint64_t bins = std::min<std::uint64_t>(state.bins, levels);
    setArray(structure, "histogram", count, GST_TYPE_ARRAY, [&](GValue* value, std::size_t i) {
        writeHistogram(value, state.histogram.bins[i], levels, bins);
    });
}

void addTimes(GstStructure* structure, GstBaseTransform* element, GstBuffer* buffer)
{
    const GstClockTime time = GST_BUFFER_PTS(buffer);
    const GstSegment& segment = element->segment;
    // Of a file, the segment may be one of bytes, which knows no times.
    const auto within = [&](auto convert) {
        return segment.format == GST_FORMAT_TIME ? convert(&segment, GST_FORMAT_TIME, time)
                                                 : GST_CLOCK_TIME_NONE;
    };
    gst_structure_set(structure, "timestamp", G_TYPE_UINT64, time, "stream-time", G_TYPE_UINT64,
                      within(gst_segment_to_stream_time), "running-time", G_TYPE_UINT64,
                      within(gst_segment_to_running_time), "duration", G_TYPE_UINT64,
                      GST_BUFFER_DURATION(buffer), nullptr);
}

gboolean setCaps(GstBaseTransform* element, GstCaps* in, GstCaps*)
{
    StatsState& state = stateOf(element);
    const auto format = ko::gst::frameFormat(in);
    state.format = format ? format->info : ko::SxImageInfo();
    return format.has_value();
}

gboolean start(GstBaseTransform* element)
{
    StatsState& state = stateOf(element);
    state.framesSince = 0;
    state.format = {};
    return TRUE;
}

GstFlowReturn look(GstBaseTransform* element, GstBuffer* buffer)
{
    StatsState& state = stateOf(element);
    // An element that lets frames pass gets them even without caps.
    if (state.format.width == 0)
        return GST_FLOW_NOT_NEGOTIATED;
    if (state.framesSince++ % state.interval != 0)
        return GST_FLOW_OK;
    state.framesSince = 1;
    ko::gst::FrameView view(buffer, state.format, GST_MAP_READ);
    if (!view)
        return ko::gst::refuseShortBuffer(element, buffer);
    try {
        ko::gst::countLevels(view.image(), state.histogram);
        GstStructure* const structure = gst_structure_new_empty("kostats");
        addTimes(structure, element, buffer);
        addColours(structure, state, view.image());
        gst_structure_set(structure, "focus", G_TYPE_DOUBLE, ko::focusOf(view.image()), nullptr);
        gst_element_post_message(GST_ELEMENT(element),
                                 gst_message_new_element(GST_OBJECT(element), structure));
    } catch (const std::exception& error) {
        GST_ELEMENT_ERROR(element, LIBRARY, FAILED, ("%s", error.what()), (nullptr));
        return GST_FLOW_ERROR;
    }
    return GST_FLOW_OK;
}

void setProperty(GObject* object, guint id, const GValue* value, GParamSpec*)
{
    StatsState& state = stateOf(object);
    (id == PropertyInterval ? state.interval : state.bins) = g_value_get_uint(value);
}

void getProperty(GObject* object, guint id, GValue* value, GParamSpec*)
{
    const StatsState& state = stateOf(object);
    g_value_set_uint(value, id == PropertyInterval ? state.interval : state.bins);
}

void finalize(GObject* object)
{
    delete &stateOf(object);
    G_OBJECT_CLASS(ko_stats_parent_class)->finalize(object);
}

}  // namespace

static void ko_stats_class_init(KoStatsClass* type)
{
    auto* const object = G_OBJECT_CLASS(type);
    object->set_property = setProperty;
    object->get_property = getProperty;
    object->finalize = finalize;
    g_object_class_install_property(object, PropertyInterval,
                                    g_param_spec_uint("interval", "Interval",
                                                      "A message for every n-th frame", 1, G_MAXUINT, 1,
                                                      ko::gst::changeableProperty));
    g_object_class_install_property(
        object, PropertyBins,
        g_param_spec_uint("bins", "Bins",
                          "Counts of a histogram; frames with fewer levels have one for each level", 1, 65536,
                          256, ko::gst::changeableProperty));

    ko::gst::describeElement(
        type, sinkTemplate, srcTemplate, "Statistics", "Filter/Analyzer/Video",
        "Posts element messages named kostats: arrays with an entry per colour (colours, minimum, maximum, "
        "mean, clipped, "
        "histogram) and focus, the variance of the Laplacian. Frames pass as they are.");

    auto* const base = GST_BASE_TRANSFORM_CLASS(type);
    base->start = start;
    base->set_caps = setCaps;
    base->transform_ip = look;
    base->passthrough_on_same_caps = TRUE;
    base->transform_ip_on_passthrough = TRUE;
}

static void ko_stats_init(KoStats* element)
{
    element->state = new StatsState;
    gst_base_transform_set_passthrough(&element->parent, TRUE);
}
