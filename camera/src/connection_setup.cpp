// How an open camera is set up, and what can be changed while it runs.
#include "connection.h"

#include <cmath>

namespace ko {

/// What a value of a camera is made of.
struct ControlCalls {
    const char* name;
    gboolean (*isAvailable)(ArvCamera*, GError**);
    gboolean (*isAutoAvailable)(ArvCamera*, GError**);
    void (*setAuto)(ArvCamera*, ArvAuto, GError**);
    double (*get)(ArvCamera*, GError**);
    void (*bounds)(ArvCamera*, double*, double*, GError**);
    void (*set)(ArvCamera*, double, GError**);
};

namespace {

constexpr ControlCalls exposureCalls{"exposure",
                                     &arv_camera_is_exposure_time_available,
                                     &arv_camera_is_exposure_auto_available,
                                     &arv_camera_set_exposure_time_auto,
                                     &arv_camera_get_exposure_time,
                                     &arv_camera_get_exposure_time_bounds,
                                     &arv_camera_set_exposure_time};
constexpr ControlCalls gainCalls{"gain",
                                 &arv_camera_is_gain_available,
                                 &arv_camera_is_gain_auto_available,
                                 &arv_camera_set_gain_auto,
                                 &arv_camera_get_gain,
                                 &arv_camera_get_gain_bounds,
                                 &arv_camera_set_gain};
constexpr ControlCalls frameRateCalls{"frame rate",
                                      &arv_camera_is_frame_rate_available,
                                      nullptr,
                                      nullptr,
                                      &arv_camera_get_frame_rate,
                                      &arv_camera_get_frame_rate_bounds,
                                      &arv_camera_set_frame_rate};

}  // namespace

SxCameraControl CameraConnection::ask(const ControlCalls& calls, GErrorSlot& error)
{
    // Each call that is not answered takes seconds, in which nobody else finds out that the camera has vanished.
    SxCameraControl control;
    control.isAvailable = !m_isLost && calls.isAvailable(m_camera.get(), error.slot()) != FALSE;
    if (control.isAvailable) {
        control.value = calls.get(m_camera.get(), error.slot());
        if (!error.isSet())
            calls.bounds(m_camera.get(), &control.minimum, &control.maximum, error.slot());
        control.isAvailable = !error.isSet();
    }
    if (error.isTimeout())
        m_isLost = true;
    return control.isAvailable ? control : SxCameraControl{};
}

void CameraConnection::change(const ControlCalls& calls, double value)
{
    const QString name = QLatin1String(calls.name);
    GErrorSlot error;
    const SxCameraControl control = ask(calls, error);
    failIfLost();
    if (!control.isAvailable)
        fail(QStringLiteral("it has no %1").arg(name));
    // Written so that NaN is outside.
    if (!(value >= control.minimum && value <= control.maximum))
        fail(QStringLiteral("its %1 is %2 to %3, not %4")
                 .arg(name)
                 .arg(control.minimum)
                 .arg(control.maximum)
                 .arg(value));
    if (calls.setAuto != nullptr && calls.isAutoAvailable(m_camera.get(), error.slot()) != FALSE)
        calls.setAuto(m_camera.get(), ARV_AUTO_OFF, error.slot());
    calls.set(m_camera.get(), value, error.slot());
    check(error, QStringLiteral("set the %1").arg(name));
}

void CameraConnection::setExposure(double microseconds)
{
    change(exposureCalls, microseconds);
}

void CameraConnection::setGain(double decibels)
{
    change(gainCalls, decibels);
}

SxCameraControl CameraConnection::exposure()
{
    GErrorSlot error;
    return ask(exposureCalls, error);
}

SxCameraControl CameraConnection::gain()
{
    GErrorSlot error;
    return ask(gainCalls, error);
}

void CameraConnection::setFrameRate(double framesPerSecond)
{
    change(frameRateCalls, framesPerSecond);
}

void CameraConnection::configure(const CameraSettings& settings)
{
    GErrorSlot error;
    // A program that has crashed leaves its camera running, and a running camera takes no settings.
    arv_camera_stop_acquisition(m_camera.get(), error.slot());
    if (error.isTimeout())
        check(error, QStringLiteral("stop it"));
    if (arv_camera_is_feature_available(m_camera.get(), "AcquisitionMode", error.slot()) != FALSE) {
        arv_camera_set_acquisition_mode(m_camera.get(), ARV_ACQUISITION_MODE_CONTINUOUS, error.slot());
        check(error, QStringLiteral("make it run continuously"));
    }
    setPixelFormat(settings.pixelFormat);
    if (settings.region)
        setRegion(*settings.region);
    // Aravis turns the triggers off where it sets a frame rate.
    if (settings.frameRate)
        setFrameRate(*settings.frameRate);
    setTrigger(settings.trigger);
    if (settings.exposure)
        setExposure(*settings.exposure);
    if (settings.gain)
        setGain(*settings.gain);
    setChunks(settings.chunks);
}

void CameraConnection::setPixelFormat(const QString& name)
{
    GErrorSlot error;
    if (!name.isEmpty()) {
        arv_camera_set_pixel_format_from_string(m_camera.get(), name.toUtf8().constData(), error.slot());
        if (error.isSet())
            fail(
                QStringLiteral("it has no pixel format %1, but %2").arg(name, supportedFormats().join(", ")));
    }
    const ArvPixelFormat code = arv_camera_get_pixel_format(m_camera.get(), error.slot());
    check(error, QStringLiteral("ask for its pixel format"));
    if (findPixelFormat(code) != nullptr)
        return;
    const QString current =
        QString::fromUtf8(arv_camera_get_pixel_format_as_string(m_camera.get(), error.slot()));
    fail(QStringLiteral("pixel format %1 is not supported, but %2")
             .arg(current, supportedFormats().join(", ")));
}

QStringList CameraConnection::supportedFormats() const
{
    GErrorSlot error;
    guint count = 0;
    gint64* const codes = arv_camera_dup_available_pixel_formats(m_camera.get(), &count, error.slot());
    QStringList names;
    for (guint i = 0; i < count; ++i)
        if (const auto* const format = findPixelFormat(static_cast<std::uint32_t>(codes[i])))
            names += QLatin1String(format->name);
    g_free(codes);
    names.sort();
    return names.isEmpty() ? QStringList(QStringLiteral("none")) : names;
}

void CameraConnection::setRegion(const QRect& region)
{
    GErrorSlot error;
    arv_camera_set_region(m_camera.get(), region.x(), region.y(), region.width(), region.height(),
                          error.slot());
    check(error, QStringLiteral("set the region"));
    // Cameras may round or limit what they are told.
    gint x = 0;
    gint y = 0;
    gint width = 0;
    gint height = 0;
    arv_camera_get_region(m_camera.get(), &x, &y, &width, &height, error.slot());
    check(error, QStringLiteral("ask for the region"));
    gint sensorWidth = 0;
    gint sensorHeight = 0;
    arv_camera_get_sensor_size(m_camera.get(), &sensorWidth, &sensorHeight, error.slot());
    if (QRect(x, y, width, height) != region || !QRect(0, 0, sensorWidth, sensorHeight).contains(region))
        fail(QStringLiteral("it does not take the region; its sensor has %1 x %2 pixels")
                 .arg(sensorWidth)
                 .arg(sensorHeight));
}

void CameraConnection::setTrigger(const QString& source)
{
    GErrorSlot error;
    if (!source.isEmpty()) {
        arv_camera_set_trigger(m_camera.get(), source.toUtf8().constData(), error.slot());
        check(error, QStringLiteral("set the trigger to %1").arg(source));
    } else if (arv_camera_is_feature_available(m_camera.get(), "TriggerMode", error.slot()) != FALSE) {
        arv_camera_clear_triggers(m_camera.get(), error.slot());
        check(error, QStringLiteral("turn off its trigger"));
    }
}

void CameraConnection::setChunks(const QStringList& names)
{
    GErrorSlot error;
    if (arv_camera_are_chunks_available(m_camera.get(), error.slot()) == FALSE) {
        if (!names.isEmpty())
            fail(QStringLiteral("it sends no values with its frames"));
        return;
    }
    arv_camera_set_chunks(m_camera.get(), names.join(QLatin1Char(',')).toUtf8().constData(), error.slot());
    check(error, QStringLiteral("make it send %1").arg(names.join(", ")));
    if (names.isEmpty())
        return;
    m_parser.reset(arv_camera_create_chunk_parser(m_camera.get()));
    for (const QString& name : names) {
        const QByteArray feature = "Chunk" + name.toUtf8();
        ArvGcNode* const node =
            arv_device_get_feature(arv_camera_get_device(m_camera.get()), feature.constData());
        // Floating-point and enumerated values can be read as whole numbers too.
        const CameraChunk::Kind kind = ARV_IS_GC_FLOAT(node)     ? CameraChunk::Float
                                       : ARV_IS_GC_BOOLEAN(node) ? CameraChunk::Boolean
                                       : ARV_IS_GC_STRING(node)  ? CameraChunk::Text
                                                                 : CameraChunk::Integer;
        if (node == nullptr)
            fail(QStringLiteral("it does not say how to read %1").arg(name));
        m_chunks.push_back({feature, QStringLiteral("camera.chunk.") + name, kind});
    }
}

}  // namespace ko
