// One connection to the page.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <string>

#include <httplib.h>

namespace ko::tool {

/// A socket with limits on what a request may take: its bytes, its time, and how long the other side may leave what it
/// is sent lying.
class HttpStream : public httplib::Stream {
public:
    /// Reads and writes fail as soon as `isEnding` becomes true.
    HttpStream(socket_t socket, const std::atomic<bool>& isEnding) : m_socket(socket), m_isEnding(isEnding) {}

    /// Waits for a request to begin. False when none comes.
    bool waitForRequest();

    bool is_readable() const override;
    bool is_writable() const override;  ///< false when the other side has gone
    ssize_t read(char* to, size_t size) override;
    ssize_t write(const char* from, size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override { return m_socket; }

private:
    using Clock = std::chrono::steady_clock;

    bool waitFor(short event, Clock::time_point end) const;

    const socket_t m_socket;
    const std::atomic<bool>& m_isEnding;
    Clock::time_point m_requestEnd;
    std::size_t m_bytesLeft = 0;        ///< that may still be received
    std::array<char, 4096> m_received;  ///< the library asks for single bytes
    std::size_t m_next = 0;             ///< of those
    std::size_t m_end = 0;
};

}  // namespace ko::tool
