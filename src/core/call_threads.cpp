#include <ko/threads.h>

#include <algorithm>

namespace ko {

namespace {

/// More than this is no help to one frame, and a runtime that cannot start a thread ends the program.
constexpr int mostThreads = 64;

thread_local int allowedThreads = 1;

}  // namespace

CallThreads::CallThreads(int threads) noexcept : m_outer(allowedThreads)
{
    allowedThreads = std::clamp(threads, 1, mostThreads);
}

CallThreads::~CallThreads()
{
    allowedThreads = m_outer;
}

int CallThreads::current() noexcept
{
    return allowedThreads;
}

}  // namespace ko
