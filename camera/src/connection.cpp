#include "connection.h"

#include "list.h"

#include <algorithm>

namespace ko {

namespace {

/// The entry of the list that the user means, if the list has it.
const SxCameraInfo* findCamera(const QVector<SxCameraInfo>& cameras, const QString& name)
{
    const auto* const found = std::find_if(cameras.cbegin(), cameras.cend(),
                                           [&](const SxCameraInfo& camera) { return isMeant(camera, name); });
    return found != cameras.cend() ? found : nullptr;
}

/// What a call has returned; empty after an error, when Aravis may return memory without an end.
QString textOf(const char* text, const GErrorSlot& error)
{
    return error.isSet() ? QString() : QString::fromUtf8(text);
}

}  // namespace

CameraConnection::CameraConnection(const CameraSettings& settings, int queued,
                                   std::shared_ptr<CameraCounts> counts)
{
    open(settings.camera);
    identify();
    configure(settings);
    createStream(settings, queued, std::move(counts));
}

CameraConnection::~CameraConnection()
{
    if (m_handler != 0)
        g_signal_handler_disconnect(arv_camera_get_device(m_camera.get()), m_handler);
    if (m_buffers)
        m_buffers->close();
}

void CameraConnection::fail(const QString& text) const
{
    throw CameraError{m_name + QStringLiteral(": ") + text};
}

void CameraConnection::failIfLost() const
{
    if (m_isLost)
        fail(QStringLiteral("it does not answer"));
}

void CameraConnection::check(const GErrorSlot& error, const QString& purpose)
{
    if (error.isTimeout())
        m_isLost = true;
    if (error.isSet())
        fail(QStringLiteral("cannot %1: %2").arg(purpose, error.text()));
}

void CameraConnection::open(const QString& name)
{
    const std::lock_guard lock(deviceListMutex());
    m_name = name.isEmpty() ? QStringLiteral("camera") : QStringLiteral("camera %1").arg(name);
    const auto attempt = [this](const QString& id, GErrorSlot& error) {
        const QByteArray text = id.toUtf8();
        m_camera.reset(arv_camera_new(text.isEmpty() ? nullptr : text.constData(), error.slot()));
    };
    GErrorSlot error;
    attempt(name, error);
    if (error.isNotFound() && !name.isEmpty()) {
        // Aravis opens no camera by its serial number alone.
        arv_update_device_list();
        const QVector<SxCameraInfo> cameras = knownCameras();
        if (const SxCameraInfo* const meant = findCamera(cameras, name);
            meant != nullptr && meant->id != name)
            attempt(meant->id, error);
    }
    if (m_camera)
        return;
    if (error.isNotFound())
        throw CameraError{name.isEmpty() ? QStringLiteral("no camera found")
                                         : QStringLiteral("no camera %1 found").arg(name)};
    check(error, QStringLiteral("open it"));
    fail(QStringLiteral("cannot open it"));
}

void CameraConnection::identify()
{
    ArvCamera* const camera = m_camera.get();
    GErrorSlot error;
    const auto answer = [&](const char* (*call)(ArvCamera*, GError**)) {
        QString text = textOf(call(camera, error.slot()), error);
        if (error.isTimeout())
            check(error, QStringLiteral("ask what it is"));
        return text;
    };
    m_info.vendor = answer(&arv_camera_get_vendor_name);
    m_info.model = answer(&arv_camera_get_model_name);
    m_info.serial = answer(&arv_camera_get_device_serial_number);
    const bool isGigE = arv_camera_is_gv_device(camera) != FALSE;
    m_info.protocol = isGigE                            ? QStringLiteral("GigEVision")
                      : arv_camera_is_uv_device(camera) ? QStringLiteral("USB3Vision")
                                                        : QStringLiteral("Fake");
    // Aravis names cameras so; the fake device inside the process is known by its serial number alone.
    m_info.id = isGigE || arv_camera_is_uv_device(camera)
                    ? QStringList{m_info.vendor, m_info.model, m_info.serial}.join(QLatin1Char('-'))
                    : m_info.serial;
    m_name = QStringLiteral("camera %1").arg(m_info.id);
    if (!isGigE)
        return;
    auto* const device = ARV_GV_DEVICE(arv_camera_get_device(camera));
    const GSocketAddress* const address = arv_gv_device_get_device_address(device);
    gchar* const text = g_inet_address_to_string(
        g_inet_socket_address_get_address(G_INET_SOCKET_ADDRESS(const_cast<GSocketAddress*>(address))));
    m_info.address = QString::fromUtf8(text);
    g_free(text);
    if (arv_gv_device_is_controller(device) == FALSE)
        fail(QStringLiteral("another program uses it"));
}

void CameraConnection::startAcquisition()
{
    failIfLost();
    GErrorSlot error;
    arv_camera_start_acquisition(m_camera.get(), error.slot());
    check(error, QStringLiteral("start it"));
}

bool CameraConnection::stopAcquisition()
{
    if (!m_isLost) {
        GErrorSlot error;
        arv_camera_stop_acquisition(m_camera.get(), error.slot());
        if (error.isTimeout())
            m_isLost = true;
    }
    return !m_isLost;
}

void CameraConnection::trigger()
{
    failIfLost();
    GErrorSlot error;
    arv_camera_software_trigger(m_camera.get(), error.slot());
    check(error, QStringLiteral("trigger it"));
}

void CameraConnection::onControlLost(ArvDevice*, gpointer isLost)
{
    *static_cast<std::atomic<bool>*>(isLost) = true;
}

bool CameraConnection::isAlive(bool ask)
{
    if (ask && !m_isLost) {
        GErrorSlot error;
        arv_camera_get_payload(m_camera.get(), error.slot());
        if (error.isSet())
            m_isLost = true;
    }
    return !m_isLost;
}

void CameraConnection::createStream(const CameraSettings& settings, int queued,
                                    std::shared_ptr<CameraCounts> counts)
{
    ArvDevice* const device = arv_camera_get_device(m_camera.get());
    m_handler = g_signal_connect(device, "control-lost", G_CALLBACK(&onControlLost), &m_isLost);

    GErrorSlot error;
    const guint payload = arv_camera_get_payload(m_camera.get(), error.slot());
    check(error, QStringLiteral("ask for the size of its frames"));
    GObjectPointer<ArvStream> stream(
        arv_camera_create_stream(m_camera.get(), nullptr, nullptr, error.slot()));
    check(error, QStringLiteral("open its stream"));
    if (!stream)
        fail(QStringLiteral("cannot open its stream"));
    if (ARV_IS_GV_STREAM(stream.get()))
        g_object_set(stream.get(), "packet-resend",
                     settings.packetResend ? ARV_GV_STREAM_PACKET_RESEND_ALWAYS
                                           : ARV_GV_STREAM_PACKET_RESEND_NEVER,
                     nullptr);
    m_buffers = std::make_shared<StreamBuffers>(std::move(stream), payload, std::move(counts));
    if (!m_buffers->provide(settings.buffers + queued))
        fail(QStringLiteral("no memory for %1 frames of %2 bytes")
                 .arg(settings.buffers + queued)
                 .arg(payload));
}

void CameraConnection::readChunks(ArvBuffer* buffer, CxMetadata& metadata) const
{
    if (m_chunks.empty() || arv_buffer_has_chunks(buffer) == FALSE)
        return;
    for (const CameraChunk& chunk : m_chunks) {
        const char* const feature = chunk.feature.constData();
        GErrorSlot error;
        QVariant value;
        switch (chunk.kind) {
        case CameraChunk::Integer:
            value =
                qlonglong{arv_chunk_parser_get_integer_value(m_parser.get(), buffer, feature, error.slot())};
            break;
        case CameraChunk::Float:
            value = arv_chunk_parser_get_float_value(m_parser.get(), buffer, feature, error.slot());
            break;
        case CameraChunk::Boolean:
            value =
                arv_chunk_parser_get_boolean_value(m_parser.get(), buffer, feature, error.slot()) != FALSE;
            break;
        case CameraChunk::Text:
            value = textOf(arv_chunk_parser_get_string_value(m_parser.get(), buffer, feature, error.slot()),
                           error);
            break;
        }
        if (!error.isSet())
            metadata.set(chunk.key, value);
    }
}

}  // namespace ko
