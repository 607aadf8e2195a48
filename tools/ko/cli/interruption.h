// Signals that ask a long series to end, or end the program.
#pragma once

#include <atomic>
#include <csignal>
#include <cstddef>
#include <stop_token>
#include <thread>

namespace ko::tool {

/// While one lives, the first SIGHUP, SIGINT or SIGTERM requests a stop instead of ending the program; the
/// second one ends it. Signals that the program was started to ignore stay ignored. Threads must be started
/// after it, so that none of them receives the signals.
class Interruption {
public:
    /// @param writesFiles  which are finished first
    explicit Interruption(bool writesFiles = true);
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    std::stop_token token() const { return m_stop.get_token(); }

    /// The signal that requested the stop; 0 where none did.
    int signal() const { return m_signal; }

private:
    void watch(const std::stop_token& end);

    const bool m_writesFiles;
    sigset_t m_signals;
    sigset_t m_maskBefore;
    std::stop_source m_stop;
    std::atomic<int> m_signal = 0;
    std::jthread m_watcher;
};

/// Has a function called before SIGHUP, SIGINT or SIGTERM ends the program. It may do no more than handlers of signals may.
void beforeSignalEnds(void (*action)());

/// While one lives, a signal that ends the program says how far a series has come: one line on the standard error. There
/// is one at a time.
class CountOnSignal {
public:
    /// @param isWiped  there may be a progress bar where the line goes
    CountOnSignal(std::size_t total, bool isWiped);
    ~CountOnSignal();
    CountOnSignal(const CountOnSignal&) = delete;
    CountOnSignal& operator=(const CountOnSignal&) = delete;

    void set(std::size_t done);
};

/// Ends the program as the signal would have done, so that a shell's loop ends too.
[[noreturn]] void endBySignal(int signal);

}  // namespace ko::tool
