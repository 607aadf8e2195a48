#include "camera/fake_camera.h"

#include <QTemporaryFile>

#include <arv.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <thread>

#include <csignal>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ko::test {

namespace {

/// Whether a program listens at the port of the cameras' protocol, as the kernel writes it.
bool isPortTaken()
{
    std::ifstream table("/proc/self/net/udp");
    for (std::string line; std::getline(table, line);)
        if (line.find(":0F74 ") != std::string::npos)
            return true;
    return false;
}

/// The fake camera's description of itself.
std::string ownDescription()
{
    ArvFakeCamera* const camera = arv_fake_camera_new("GV01");
    std::size_t size = 0;
    const char* const text = arv_fake_camera_get_genicam_xml(camera, &size);
    std::string description(text, size);
    g_object_unref(camera);
    return description;
}

void addFormats(std::string& description, const std::vector<PixelFormat>& formats)
{
    std::string entries;
    for (const auto& [name, code] : formats)
        entries += "<EnumEntry Name=\"" + name + "\" NameSpace=\"Standard\"><Value>" + std::to_string(code) +
                   "</Value></EnumEntry>";
    description.insert(description.find("<pValue>PixelFormatRegister</pValue>"), entries);
}

/// Numbers as the stream's protocol has them, the upper byte first.
void append(std::vector<std::uint8_t>& packet, std::uint64_t value, int bytes)
{
    for (int i = bytes - 1; i >= 0; --i)
        packet.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

}  // namespace

bool leaveNetwork()
{
    if (unshare(CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0)
        return false;
    const int handle = socket(AF_INET, SOCK_DGRAM, 0);
    ifreq request{};
    request.ifr_name[0] = 'l';
    request.ifr_name[1] = 'o';
    request.ifr_flags = IFF_UP | IFF_LOOPBACK | IFF_RUNNING;
    const bool isUp = ioctl(handle, SIOCSIFFLAGS, &request) == 0;
    close(handle);
    return isUp;
}

bool waitFor(const std::function<bool()>& condition, std::chrono::milliseconds time)
{
    const auto end = std::chrono::steady_clock::now() + time;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

QVariantMap smallFrames()
{
    return {{"camera", fakeAddress}, {"region", QVariantList{0, 0, 64, 64}}, {"frameRate", 1000}};
}

std::uint64_t accountedFor(const SxCameraStatistics& counts)
{
    return counts.delivered + counts.dropped + counts.incomplete;
}

FakeCameraProcess::FakeCameraProcess(int lostPackets) : m_lostPackets(lostPackets)
{
    restart();
}

FakeCameraProcess::~FakeCameraProcess()
{
    kill();
}

void FakeCameraProcess::kill()
{
    if (m_process <= 0)
        return;
    ::kill(m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
    m_process = 0;
}

void FakeCameraProcess::freeze()
{
    ::kill(m_process, SIGSTOP);
    waitpid(m_process, nullptr, WUNTRACED);
}

void FakeCameraProcess::restart()
{
    kill();
    // A camera of this test that is still there would be taken for the new one.
    ASSERT_TRUE(waitFor([] { return !isPortTaken(); }));
    const std::string lost = std::to_string(m_lostPackets);
    const pid_t parent = getpid();
    m_process = fork();
    ASSERT_GE(m_process, 0);
    if (m_process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() == parent)
            execl(KO_FAKE_CAMERA, KO_FAKE_CAMERA, "-i", "127.0.0.1", "-r", lost.c_str(), nullptr);
        _exit(127);
    }
    ASSERT_TRUE(waitFor(&isPortTaken));
}

struct FakeCamera::Camera {
    static void write(ArvBuffer* buffer, void* fill, guint32, guint32, ArvPixelFormat format)
    {
        // The buffer does not say yet how much of it is used.
        std::size_t unknown = 0;
        const void* const data = arv_buffer_get_data(buffer, &unknown);
        const int bits = arv_buffer_get_image_width(buffer) * arv_buffer_get_image_height(buffer) *
                         static_cast<int>(ARV_PIXEL_FORMAT_BIT_PER_PIXEL(format));
        (*static_cast<Fill*>(fill))(static_cast<std::uint8_t*>(const_cast<void*>(data)),
                                    static_cast<std::size_t>(bits / 8));
    }

    Fill fill;
    QTemporaryFile description;
    ArvGvFakeCamera* camera = nullptr;
};

FakeCamera::FakeCamera(Fill fill, const std::vector<PixelFormat>& formats)
    : FakeCamera(std::move(fill), [&](std::string& description) { addFormats(description, formats); })
{
}

FakeCamera::FakeCamera(Fill fill, const std::function<void(std::string& description)>& describe)
    : m_camera(std::make_unique<Camera>())
{
    m_camera->fill = std::move(fill);
    m_camera->description.open();
    std::string text = ownDescription();
    describe(text);
    m_camera->description.write(text.data(), static_cast<qint64>(text.size()));
    m_camera->description.flush();
    EXPECT_TRUE(waitFor([] { return !isPortTaken(); }));
    m_camera->camera = arv_gv_fake_camera_new_full("127.0.0.1", "GV01",
                                                   m_camera->description.fileName().toUtf8().constData());
    EXPECT_TRUE(arv_gv_fake_camera_is_running(m_camera->camera));
    arv_fake_camera_set_fill_pattern(arv_gv_fake_camera_get_fake_camera(m_camera->camera), &Camera::write,
                                     &m_camera->fill);
}

FakeCamera::~FakeCamera()
{
    g_object_unref(m_camera->camera);
}

void FakeCamera::sendFrame(std::uint16_t frameId, std::uint16_t payloadType, int width, int height,
                           const std::vector<std::uint8_t>& data)
{
    constexpr std::uint32_t packetSizeRegister = 0x0d04;
    constexpr std::uint32_t headers = 20 + 8 + 8;  // of IP, UDP and the stream's protocol
    enum Kind : std::uint8_t { First = 1, Last = 2, Data = 3 };
    ArvFakeCamera* const camera = arv_gv_fake_camera_get_fake_camera(m_camera->camera);
    guint32 packetSize = 0;
    arv_fake_camera_read_register(camera, packetSizeRegister, &packetSize);
    const std::size_t room = (packetSize & 0xffff) - headers;
    GSocketAddress* const address = arv_fake_camera_get_stream_address(camera);
    sockaddr_in target{};
    g_socket_address_to_native(address, &target, sizeof target, nullptr);
    g_object_unref(address);
    const int handle = socket(AF_INET, SOCK_DGRAM, 0);
    std::uint32_t number = 0;
    const auto send = [&](Kind kind, const std::vector<std::uint8_t>& content) {
        std::vector<std::uint8_t> packet;
        append(packet, 0, 2);
        append(packet, frameId, 2);
        append(packet, kind, 1);
        append(packet, number++, 3);
        packet.insert(packet.end(), content.begin(), content.end());
        EXPECT_EQ(sendto(handle, packet.data(), packet.size(), 0, reinterpret_cast<const sockaddr*>(&target),
                         sizeof target),
                  static_cast<ssize_t>(packet.size()));
    };
    std::vector<std::uint8_t> first;
    append(first, 0, 2);
    append(first, payloadType, 2);
    append(first, 123456789, 8);  // when
    append(first, ARV_PIXEL_FORMAT_MONO_8, 4);
    append(first, static_cast<std::uint64_t>(width), 4);
    append(first, static_cast<std::uint64_t>(height), 4);
    append(first, 0, 8);  // where on the sensor
    append(first, 0, 4);  // what fills up rows and image
    send(First, first);
    for (std::size_t at = 0; at < data.size(); at += room)
        send(Data, {data.begin() + static_cast<std::ptrdiff_t>(at),
                    data.begin() + static_cast<std::ptrdiff_t>(std::min(at + room, data.size()))});
    std::vector<std::uint8_t> last;
    append(last, payloadType, 4);
    append(last, static_cast<std::uint64_t>(height), 4);
    send(Last, last);
    close(handle);
}

void FakeCamera::writeRegister(std::uint32_t address, std::uint32_t value)
{
    arv_fake_camera_write_register(arv_gv_fake_camera_get_fake_camera(m_camera->camera), address, value);
}

bool isWholeRamp(const SxImageBuf& image)
{
    // What the levels are depends on exposure and gain.
    for (int y = 1; y < image.height; ++y) {
        const std::uint8_t* const row = image.data + static_cast<std::ptrdiff_t>(y) * image.stride;
        const std::uint8_t* const above = row - image.stride;
        if (!std::equal(row, row + image.width - 1, above + 1))
            return false;
    }
    return true;
}

}  // namespace ko::test
