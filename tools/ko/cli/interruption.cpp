#include "cli/interruption.h"

#include "cli/failure.h"

#include <cstdlib>
#include <ctime>
#include <iostream>

namespace ko::tool {

Interruption::Interruption()
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
        report("interrupted: the files begun are finished first; a second signal ends at once");
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
