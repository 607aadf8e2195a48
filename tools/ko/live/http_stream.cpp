#include "live/http_stream.h"

#include <algorithm>
#include <cerrno>

#include <poll.h>
#include <sys/socket.h>

namespace ko::tool {
namespace {

using namespace std::chrono_literals;

constexpr auto idleTime = 5s;             // until the next request begins
constexpr auto requestTime = 5s;          // from its first byte to its last
constexpr auto patience = 10s;            // with a viewer that takes nothing
constexpr auto step = 100ms;              // within which an end is noticed
constexpr std::size_t mostBytes = 32768;  // of a request

}  // namespace

bool HttpStream::waitForRequest()
{
    if (m_next == m_end && !waitFor(POLLIN, Clock::now() + idleTime))
        return false;
    m_requestEnd = Clock::now() + requestTime;
    m_bytesLeft = mostBytes;
    return true;
}

bool HttpStream::waitFor(short event, Clock::time_point end) const
{
    while (!m_isEnding) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        if (left <= 0ms)
            return false;
        pollfd state{m_socket, event, 0};
        const int ready =
            poll(&state, 1, static_cast<int>(std::min<std::chrono::milliseconds>(left, step).count()));
        if (ready > 0)
            return (state.revents & event) != 0;
        if (ready < 0 && errno != EINTR)
            return false;
    }
    return false;
}

bool HttpStream::is_readable() const
{
    return m_next < m_end || waitFor(POLLIN, m_requestEnd);
}

bool HttpStream::is_writable() const
{
    char byte;
    const ssize_t read = recv(m_socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return !m_isEnding && (read > 0 || (read < 0 && (errno == EAGAIN || errno == EINTR)));
}

ssize_t HttpStream::read(char* to, size_t size)
{
    if (m_next == m_end) {
        if (m_bytesLeft == 0 || !waitFor(POLLIN, m_requestEnd))
            return -1;
        const ssize_t received =
            recv(m_socket, m_received.data(), std::min(m_received.size(), m_bytesLeft), MSG_DONTWAIT);
        if (received <= 0)
            return received;
        m_next = 0;
        m_end = static_cast<std::size_t>(received);
        m_bytesLeft -= m_end;
    }
    const std::size_t taken = std::min(size, m_end - m_next);
    std::copy_n(m_received.data() + m_next, taken, to);
    m_next += taken;
    return static_cast<ssize_t>(taken);
}

ssize_t HttpStream::write(const char* from, size_t size)
{
    std::size_t sent = 0;
    while (sent < size) {
        const ssize_t written =
            m_isEnding ? 0 : send(m_socket, from + sent, size - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (written > 0)
            sent += static_cast<std::size_t>(written);
        else if ((written < 0 && errno != EAGAIN && errno != EINTR) ||
                 !waitFor(POLLOUT, Clock::now() + patience))
            return -1;
    }
    return static_cast<ssize_t>(size);
}

void HttpStream::get_remote_ip_and_port(std::string& ip, int& port) const
{
    ip.clear();  // nobody asks
    port = 0;
}

void HttpStream::get_local_ip_and_port(std::string& ip, int& port) const
{
    ip.clear();
    port = 0;
}

}  // namespace ko::tool
