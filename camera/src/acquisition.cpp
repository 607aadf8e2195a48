#include "acquisition.h"

#include "giving_back.h"

#include <QDateTime>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <utility>

namespace ko {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds readyInterval{1};
constexpr milliseconds askInterval{1000};  ///< without a frame
constexpr milliseconds reconnectInterval{500};

/// Numbers of 16 bits, without 0.
constexpr std::uint64_t shortNumbers = 0xFFFF;
constexpr std::uint32_t farthestBehind = 1000;

/// The first frame's number is this one's successor.
constexpr std::uint32_t beforeFirst = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t largestFrameNo = std::numeric_limits<std::int32_t>::max();

/// `QDateTime::fromMSecsSinceEpoch()` of a frame's arrival. Qt asks the system three times for the time zone to make one,
/// which is a fifth of what this thread has to do for a small frame. To move one within its second it asks once. No time
/// zone changes its offset there.
QDateTime dateOf(qint64 milliseconds)
{
    constexpr qint64 second = 1000;
    thread_local qint64 lastSecond = -1;
    thread_local QDateTime beginning;
    if (milliseconds / second != lastSecond) {
        lastSecond = milliseconds / second;
        beginning = QDateTime::fromMSecsSinceEpoch(lastSecond * second);
    }
    QDateTime date = beginning;
    date.setTime(date.time().addMSecs(static_cast<int>(milliseconds % second)));
    return date;
}

}  // namespace

Acquisition::Acquisition(Target target, std::shared_ptr<CameraCounts> counts)
    : m_target(std::move(target)), m_counts(std::move(counts))
{
}

Acquisition::~Acquisition()
{
    stop();
}

void Acquisition::start(const CameraSettings& settings, int queued)
{
    stop();
    {
        const std::lock_guard lock(m_stateMutex);
        m_isStopping = false;
        m_errorText.clear();
    }
    while (!waitUntilGivenBack(settings.camera, reconnectInterval)) {
    }
    try {
        auto camera = std::make_unique<CameraConnection>(settings, queued, m_counts);
        m_settings = settings;
        m_queued = queued;
        m_frameNo = beforeFirst;
        connectTo(std::move(camera));
        m_thread = std::thread([this] { run(); });
    } catch (const CameraError& error) {
        setError(error.text);
        throw;
    } catch (...) {
        giveBack(disconnect());
        throw;
    }
}

void Acquisition::stop()
{
    {
        const std::lock_guard lock(m_stateMutex);
        m_isStopping = true;
    }
    m_stopRequested.notify_all();
    if (m_thread.joinable())
        m_thread.join();
    giveBack(disconnect());
}

bool Acquisition::pause(milliseconds time)
{
    std::unique_lock lock(m_stateMutex);
    return !m_stopRequested.wait_for(lock, time, [this] { return m_isStopping; });
}

void Acquisition::connectTo(std::unique_ptr<CameraConnection> camera)
{
    const SxCameraInfo info = camera->info();
    {
        const std::lock_guard lock(m_cameraMutex);
        m_camera = std::move(camera);
        m_isConnected = true;
    }
    const std::lock_guard lock(m_stateMutex);
    m_info = info;
    m_errorText.clear();
}

std::unique_ptr<CameraConnection> Acquisition::disconnect()
{
    const std::lock_guard lock(m_cameraMutex);
    m_isConnected = false;
    m_formerUnderruns = m_counts->underruns;
    return std::move(m_camera);
}

bool Acquisition::visit(const std::function<void(CameraConnection&, CameraSettings&)>& function)
{
    const std::lock_guard lock(m_cameraMutex);
    if (!m_camera || !m_isConnected)
        return false;
    try {
        function(*m_camera, m_settings);
        return true;
    } catch (const CameraError&) {
        return false;
    }
}

SxCameraInfo Acquisition::info() const
{
    const std::lock_guard lock(m_stateMutex);
    return m_info;
}

QString Acquisition::errorText() const
{
    const std::lock_guard lock(m_stateMutex);
    return m_errorText;
}

void Acquisition::setError(const QString& text)
{
    const std::lock_guard lock(m_stateMutex);
    m_errorText = text;
}

void Acquisition::run()
{
    // Frames that come before the item has opened its queue would be dropped.
    while (!m_target.isReady())
        if (!pause(readyInterval))
            return;
    do
        takeFrames();
    while (reconnect());
}

void Acquisition::takeFrames()
{
    if (!visit([](CameraConnection& camera, CameraSettings&) { camera.startAcquisition(); }))
        return;
    // Only this thread replaces the connection.
    CameraConnection& camera = *m_camera;
    const std::shared_ptr<StreamBuffers> buffers = camera.buffers();
    Known known;
    Clock::time_point last = Clock::now();
    while (pause(milliseconds(0))) {
        ArvBuffer* const buffer = buffers->pop();
        m_counts->underruns = m_formerUnderruns + buffers->underruns();
        if (buffer != nullptr) {
            ++m_counts->received;
            handle(camera, buffer, known);
            last = Clock::now();
            continue;
        }
        const bool isQuiet = Clock::now() - last > askInterval;
        bool isAlive = camera.isAlive(false);
        if (isAlive && isQuiet) {
            visit([&](CameraConnection& same, CameraSettings&) { isAlive = same.isAlive(true); });
            last = Clock::now();
        }
        if (!isAlive)
            return;
    }
}

bool Acquisition::reconnect()
{
    if (!pause(milliseconds(0)))
        return false;
    const QString name = QStringLiteral("camera %1").arg(info().id);
    giveBack(disconnect());
    setError(name + QStringLiteral(": connection lost"));
    m_target.tell(errorText());
    CameraSettings settings;
    {
        const std::lock_guard lock(m_cameraMutex);
        settings = m_settings;
    }
    if (settings.camera.isEmpty())
        settings.camera = info().id;
    while (settings.reconnect && pause(reconnectInterval)) {
        if (!waitUntilGivenBack(settings.camera, milliseconds(0)))
            continue;
        try {
            connectTo(std::make_unique<CameraConnection>(settings, m_queued, m_counts));
            ++m_counts->reconnections;
            m_target.tell(name + QStringLiteral(": connected again"));
            return true;
        } catch (const CameraError& error) {
            setError(QStringLiteral("%1: connection lost; %2").arg(name, error.text));
        }
    }
    return false;
}

std::uint32_t Acquisition::numberAhead(std::uint64_t step, Known& known)
{
    m_counts->lost += step - 1;
    const std::uint32_t before = m_frameNo;
    m_frameNo += static_cast<std::uint32_t>(step);
    for (std::uint32_t late = std::max(before + 1, m_frameNo - std::min(m_frameNo, farthestBehind));
         late < m_frameNo; ++late)
        known.missing.insert(known.missing.end(), late);
    while (!known.missing.empty() && *known.missing.begin() + farthestBehind < m_frameNo)
        known.missing.erase(known.missing.begin());
    return m_frameNo;
}

std::optional<std::uint32_t> Acquisition::numberOf(ArvBuffer* buffer, Known& known)
{
    const std::uint64_t frameId = arv_buffer_get_frame_id(buffer);
    const bool isWhole = arv_buffer_get_status(buffer) == ARV_BUFFER_STATUS_SUCCESS;
    if (!known.frameId) {
        if (!isWhole)
            return std::nullopt;
        known.frameId = frameId;
        return numberAhead(1, known);
    }
    // GigE Vision of the first version counts from 65535 on to 1.
    const bool isShort = frameId <= shortNumbers && *known.frameId <= shortNumbers;
    const std::uint64_t ahead =
        isShort ? (frameId + shortNumbers - *known.frameId) % shortNumbers : frameId - *known.frameId;
    const std::uint64_t behind = isShort ? shortNumbers - ahead : *known.frameId - frameId;
    // A frame that has waited for its data until others had overtaken it.
    if (behind <= farthestBehind && known.missing.erase(m_frameNo - static_cast<std::uint32_t>(behind)) > 0) {
        --m_counts->lost;
        return m_frameNo - static_cast<std::uint32_t>(behind);
    }
    const bool isAhead = ahead > 0 && ahead < (isShort ? shortNumbers : UINT64_MAX) / 2 && frameId != 0;
    if (!isWhole && !isAhead) {
        // Its number got lost with its first data, and the buffer has that of a former frame. It is one of those that
        // are missing, by the order in which Aravis gives frames up the oldest.
        if (!known.missing.empty()) {
            known.missing.erase(known.missing.begin());
            --m_counts->lost;
        }
        return std::nullopt;
    }
    known.frameId = frameId;
    return numberAhead(isAhead ? ahead : 1, known);
}

void Acquisition::handle(CameraConnection& camera, ArvBuffer* buffer, Known& known)
{
    const std::shared_ptr<StreamBuffers>& buffers = camera.buffers();
    const std::optional<std::uint32_t> frameNo = numberOf(buffer, known);
    StreamImage image{};
    if (imageIn(buffer, image))
        known.image = image;
    else if (!m_settings.incompleteFrames || !known.image || !frameNo) {
        ++m_counts->incomplete;
        buffers->giveBack(buffer);
        return;
    }
    std::unique_ptr<StreamFrame> frame;
    try {
        if (m_target.hasRoom())
            frame = std::make_unique<StreamFrame>(buffers, buffer, *known.image);
    } catch (const std::bad_alloc&) {
        // Dropped.
    }
    if (!frame) {
        ++m_counts->dropped;
        buffers->giveBack(buffer);
        return;
    }
    describe(*frame, camera, buffer, *frameNo);
    m_target.takeFrame(std::move(frame));
}

void Acquisition::describe(StreamFrame& frame, const CameraConnection& camera, ArvBuffer* buffer,
                           std::uint32_t frameNo) const
{
    const quint64 arrival = arv_buffer_get_system_timestamp(buffer);
    const quint64 cameraTime = arv_buffer_get_timestamp(buffer);
    frame.setImageShallow(frame.image(), static_cast<int>(frameNo & largestFrameNo),
                          cameraTime != 0 ? cameraTime : arrival,
                          dateOf(static_cast<qint64>(arrival / 1'000'000)));
    CxMetadata& metadata = frame.metadata();
    metadata.set(QStringLiteral("camera.id"), camera.info().id);
    metadata.set(QStringLiteral("camera.frameId"), quint64{arv_buffer_get_frame_id(buffer)});
    metadata.set(QStringLiteral("camera.systemTimestamp"), arrival);
    metadata.set(QStringLiteral("camera.offsetX"), frame.source().x);
    metadata.set(QStringLiteral("camera.offsetY"), frame.source().y);
    if (arv_buffer_get_status(buffer) != ARV_BUFFER_STATUS_SUCCESS)
        metadata.set(QStringLiteral("camera.incomplete"), true);
    else
        camera.readChunks(buffer, metadata);
}

}  // namespace ko
