#include "camera/fake_camera.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <thread>

#include <csignal>
#include <net/if.h>
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

bool isWholeRamp(const SxImageBuf& image)
{
    for (int y = 0; y < image.height; ++y) {
        const std::uint8_t* const row = image.data + static_cast<std::ptrdiff_t>(y) * image.stride;
        for (int x = 0; x < image.width; ++x)
            if (row[x] != (image.data[0] + x + y) % 255)
                return false;
    }
    return true;
}

}  // namespace ko::test
