#include "cli/interruption.h"

#include "cli/failure.h"
#include "cli/standard_error.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <mutex>
#include <string_view>

namespace ko::tool {
namespace {

// Handlers of signals get no argument.
std::array<std::atomic<void (*)()>, 2> endingActions{};

struct Count {
    std::atomic<std::size_t> done;
    std::atomic<std::size_t> total;  ///< 0 where nobody counts
    std::atomic<bool> isWiped;
} count;

extern "C" void actAndEnd(int signal)
{
    for (const auto& place : endingActions)
        if (const auto action = place.load())
            action();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void tellCount()
{
    if (count.total == 0)
        return;
    std::array<char, 128> line;
    char* at = line.data();
    char* const end = at + line.size();
    const auto add = [&](std::string_view text) {
        at = std::ranges::copy(text.substr(0, static_cast<std::size_t>(end - at)), at).out;
    };
    const auto addNumber = [&](std::size_t number) { at = std::to_chars(at, end, number).ptr; };
    add(count.isWiped ? "\r\033[K" : "");
    add("ko: interrupted: ");
    addNumber(count.done);
    add(" of ");
    addNumber(count.total);
    add(" files are done\n");
    writeError({line.data(), static_cast<std::size_t>(at - line.data())});
}

}  // namespace

void beforeSignalEnds(void (*action)())
{
    static std::once_flag watching;
    std::call_once(watching, [] {
        for (const int signal : {SIGHUP, SIGINT, SIGTERM})
            if (std::signal(signal, actAndEnd) == SIG_IGN)
                std::signal(signal, SIG_IGN);
    });
    for (auto& place : endingActions)
        if (void (*none)() = nullptr; place.compare_exchange_strong(none, action))
            return;
}

CountOnSignal::CountOnSignal(std::size_t total, bool isWiped)
{
    static std::once_flag isKnown;
    std::call_once(isKnown, [] { beforeSignalEnds(tellCount); });
    count.isWiped = isWiped;
    count.done = 0;
    count.total = total;
}

CountOnSignal::~CountOnSignal()
{
    count.total = 0;
}

void CountOnSignal::set(std::size_t done)
{
    count.done = done;
}

Interruption::Interruption(bool writesFiles) : m_writesFiles(writesFiles)
{
    sigemptyset(&m_signals);
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            sigaddset(&m_signals, signal);
    }
    pthread_sigmask(SIG_BLOCK, &m_signals, &m_maskBefore);
    m_watcher = std::jthread([this](const std::stop_token& end) { watch(end); });
}

Interruption::~Interruption()
{
    m_watcher.request_stop();
    m_watcher.join();
    pthread_sigmask(SIG_SETMASK, &m_maskBefore, nullptr);
}

void Interruption::watch(const std::stop_token& end)
{
    constexpr timespec step{0, 50'000'000};  // how long the destructor may wait
    while (!end.stop_requested()) {
        const int signal = sigtimedwait(&m_signals, nullptr, &step);
        if (signal <= 0)
            continue;
        if (m_signal != 0) {
            pthread_sigmask(SIG_UNBLOCK, &m_signals, nullptr);
            raise(signal);
        }
        m_signal = signal;
        m_stop.request_stop();
        report(std::string("interrupted: ") + (m_writesFiles ? "the files begun are finished first; " : "") +
               "a second signal ends at once");
    }
}

void endBySignal(int signal)
{
    std::cout.flush();
    std::signal(signal, SIG_DFL);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, signal);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    raise(signal);
    std::abort();  // not reached: the default of all three signals is to end the program
}

}  // namespace ko::tool
