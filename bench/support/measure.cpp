#include "support/measure.h"

#include "support/traffic_kernels.h"

#include <ko/threads.h>

#include <omp.h>

#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <new>
#include <thread>

namespace ko::bench {

namespace {

constexpr std::size_t lineBytes = 64;

clockid_t clockFor(const Work& work, int threads)
{
    if (threads > 1)
        return CLOCK_MONOTONIC;
    return work.hasOwnThreads ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_THREAD_CPUTIME_ID;
}

double secondsNow(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// Touches as much memory as an operation must, in small alternating pieces as a row loop does.
class Sweep {
public:
    explicit Sweep(const Traffic& traffic)
        : m_read(traffic.read),
          m_written(traffic.written),
          m_rewritten(traffic.rewritten),
          m_pieces(std::max({m_read.bytes, m_written.bytes, m_rewritten.bytes}) / pieceBytes + 1)
    {
    }

    bool isEmpty() const { return m_read.bytes + m_written.bytes + m_rewritten.bytes == 0; }

    void run()
    {
        const TrafficKernels& kernels = trafficKernels();
        std::uint64_t sum = 0;
#pragma omp parallel for schedule(static) reduction(+ : sum)
        for (std::size_t piece = 0; piece < m_pieces; ++piece) {
            sum += kernels.read(m_read.at(piece, m_pieces), m_read.size(piece, m_pieces));
            kernels.write(m_written.at(piece, m_pieces), m_written.size(piece, m_pieces));
            kernels.rewrite(m_rewritten.at(piece, m_pieces), m_rewritten.size(piece, m_pieces));
        }
        m_sum = sum;
    }

private:
    static constexpr std::size_t pieceBytes = 4096;

    struct Buffer {
        std::size_t bytes;
        std::unique_ptr<std::uint8_t, decltype(&std::free)> memory;

        explicit Buffer(std::size_t wanted)
            : bytes((wanted + lineBytes - 1) / lineBytes * lineBytes),
              memory(static_cast<std::uint8_t*>(std::aligned_alloc(lineBytes, bytes + lineBytes)), &std::free)
        {
            if (!memory)
                throw std::bad_alloc();
            std::fill_n(memory.get(), bytes, std::uint8_t{1});
        }
        std::size_t offset(std::size_t piece, std::size_t pieces) const
        {
            return bytes / lineBytes * piece / pieces * lineBytes;
        }
        std::uint8_t* at(std::size_t piece, std::size_t pieces) const
        {
            return memory.get() + offset(piece, pieces);
        }
        std::size_t size(std::size_t piece, std::size_t pieces) const
        {
            return offset(piece + 1, pieces) - offset(piece, pieces);
        }
    };

    Buffer m_read;
    Buffer m_written;
    Buffer m_rewritten;
    std::size_t m_pieces;
    volatile std::uint64_t m_sum = 0;
};

/// One of the three that take turns, with the times of its calls.
class Contender {
public:
    Contender(std::function<void()> call, std::function<void()> before)
        : m_call(std::move(call)), m_before(std::move(before))
    {
    }

    void takeTurn(int threads, clockid_t clock, double turnSeconds)
    {
        // The first call brings its memory back into the caches after the others' turns.
        const int calls = callsPerTime(timedCalls(clock, 1));
        double spent = 0;
        do {
            const double seconds = timedCalls(clock, calls);
            m_seconds.push_back(seconds / calls);
            spent += seconds;
        } while (spent < turnSeconds);
        // Worker threads spin for a while after a parallel region; they must not do so in the next turn.
        if (threads > 1)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }

    double medianMilliseconds()
    {
        if (m_seconds.empty())
            return 0;
        const auto middle = m_seconds.begin() + static_cast<std::ptrdiff_t>(m_seconds.size() / 2);
        std::nth_element(m_seconds.begin(), middle, m_seconds.end());
        return *middle * 1e3;
    }

private:
    /// Asking for the time takes longer than a call on a tiny image, which is therefore timed with others.
    int callsPerTime(double seconds) const
    {
        constexpr double enough = 20e-6;
        return m_before || seconds >= enough ? 1 : 64;
    }

    double timedCalls(clockid_t clock, int calls) const
    {
        if (m_before)
            m_before();
        const double start = secondsNow(clock);
        for (int i = 0; i < calls; ++i)
            m_call();
        return secondsNow(clock) - start;
    }

    std::function<void()> m_call;
    std::function<void()> m_before;
    std::vector<double> m_seconds;
};

}  // namespace

Result measure(const Work& work, int threads, const Effort& effort)
{
    omp_set_num_threads(threads);
    cv::setNumThreads(threads);
    const CallThreads allowed(threads);
    const clockid_t clock = clockFor(work, threads);
    Result result;
    Sweep sweep(work.limit);
    Contender ours([&] { result.failed |= isFailure(work.ours()); }, work.before);
    Contender peer(work.peer.run, work.before);
    Contender limit([&] { sweep.run(); }, {});

    const auto start = std::chrono::steady_clock::now();
    for (int round = 0; round < effort.maxRounds; ++round) {
        const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
        if (round >= effort.minRounds && round % 2 == 0 && spent.count() > effort.seconds)
            break;
        // The second of these two finds more of their memory in the caches. Each is so equally often.
        const bool peerIsFirst = round % 2 == 1;
        for (const bool isPeer : {peerIsFirst, !peerIsFirst}) {
            if (!isPeer)
                ours.takeTurn(threads, clock, effort.turnSeconds);
            else if (work.peer.run)
                peer.takeTurn(threads, clock, effort.turnSeconds);
        }
        if (!sweep.isEmpty())
            limit.takeTurn(threads, clock, effort.turnSeconds);
    }
    result.ours = ours.medianMilliseconds();
    result.peer = peer.medianMilliseconds();
    result.limit = limit.medianMilliseconds();
    return result;
}

}  // namespace ko::bench
