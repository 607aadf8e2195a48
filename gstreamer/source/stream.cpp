#include "source/stream.h"

namespace ko::gst {

namespace {

struct FreeError {
    void operator()(GError* error) const { g_error_free(error); }
};
using Error = std::unique_ptr<GError, FreeError>;

constexpr const char* sinkName = "ko-frames";

QString textOf(const Error& error)
{
    return error ? QString::fromUtf8(error->message).simplified() : QStringLiteral("no reason given");
}

/// Whether a stream has failed as no element takes the format that another one sends.
bool isFormatError(GstMessage* message)
{
    const GstStructure* details = nullptr;
    gst_message_parse_error_details(message, &details);
    gint flow = GST_FLOW_OK;
    return details != nullptr && gst_structure_get_int(details, "flow-return", &flow) &&
           (flow == GST_FLOW_NOT_NEGOTIATED || flow == GST_FLOW_NOT_LINKED);
}

/// The element, the error, and in parentheses what the element has to say of it, which comes below a line with the
/// place in its source.
QString errorOf(GstMessage* message)
{
    GError* raw = nullptr;
    gchar* rawDetails = nullptr;
    gst_message_parse_error(message, &raw, &rawDetails);
    const Error error(raw);
    const QString details = QString::fromUtf8(rawDetails);
    g_free(rawDetails);
    const QString who = QString::fromUtf8(GST_MESSAGE_SRC_NAME(message)) + QStringLiteral(": ");
    if (isFormatError(message))
        return who + QStringLiteral("nothing behind it takes its format; \"! videoconvert\" may help");
    const QString more = details.section(QLatin1Char('\n'), 1).simplified();
    return who + textOf(error) + (more.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(more));
}

/// Why a description does not become a pipeline.
QString parseErrorOf(const Error& error)
{
    const QString text = textOf(error);
    return text.endsWith(QStringLiteral(" to ") + QLatin1String(sinkName))
               ? QStringLiteral("its end delivers no format that is taken; \"! videoconvert\" may help")
               : text;
}

/// Initialises GStreamer with the first call. Empty, or what is wrong.
QString initialise()
{
    static const QString failure = [] {
        GError* raw = nullptr;
        if (!gst_init_check(nullptr, nullptr, &raw))
            return QStringLiteral("GStreamer cannot be used: ") + textOf(Error(raw));
        return registerFrameSink() ? QString() : QStringLiteral("GStreamer does not take the frame sink");
    }();
    return failure;
}

}  // namespace

std::unique_ptr<Stream> Stream::open(const QString& description, FrameReceiver& receiver)
{
    if (const QString failure = initialise(); !failure.isEmpty()) {
        receiver.endStream(failure);
        return nullptr;
    }
    const QString whole = QStringLiteral("%1 ! %2 name=%3")
                              .arg(description, QLatin1String(frameSinkElement), QLatin1String(sinkName));
    GError* raw = nullptr;
    GstElement* pipeline =
        gst_parse_launch_full(whole.toUtf8().constData(), nullptr, GST_PARSE_FLAG_FATAL_ERRORS, &raw);
    const Error error(raw);
    if (pipeline == nullptr || error) {
        gst_clear_object(&pipeline);
        receiver.endStream(
            QStringLiteral("\"%1\" is no pipeline: %2").arg(description.simplified(), parseErrorOf(error)));
        return nullptr;
    }
    std::unique_ptr<Stream> stream(new Stream(pipeline, receiver));
    return stream->change(GST_STATE_PAUSED) ? std::move(stream) : nullptr;
}

Stream::Stream(GstElement* pipeline, FrameReceiver& receiver)
    : m_pipeline(GST_ELEMENT(gst_object_ref_sink(pipeline))), m_receiver(receiver)
{
    GstElement* const sink = gst_bin_get_by_name(GST_BIN(m_pipeline), sinkName);
    setReceiver(sink, receiver);
    gst_object_unref(sink);
    GstBus* const bus = gst_element_get_bus(m_pipeline);
    gst_bus_set_sync_handler(bus, &Stream::handleMessage, this, nullptr);
    gst_object_unref(bus);
}

Stream::~Stream()
{
    gst_element_set_state(m_pipeline, GST_STATE_NULL);
    GstBus* const bus = gst_element_get_bus(m_pipeline);
    gst_bus_set_sync_handler(bus, nullptr, nullptr, nullptr);
    gst_object_unref(bus);
    gst_object_unref(m_pipeline);
}

bool Stream::change(GstState state)
{
    if (gst_element_set_state(m_pipeline, state) != GST_STATE_CHANGE_FAILURE)
        return true;
    // Unless an element has told an error already, which counts.
    m_receiver.endStream(QStringLiteral("the stream cannot be started"));
    return false;
}

GstBusSyncReply Stream::handleMessage(GstBus*, GstMessage* message, gpointer stream)
{
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR)
        static_cast<Stream*>(stream)->m_receiver.endStream(errorOf(message));
    gst_message_unref(message);
    return GST_BUS_DROP;
}

}  // namespace ko::gst
