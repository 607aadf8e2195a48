// Work buffers of operations, kept over pictures of one format.
#pragma once

#include <array>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace ko::tool {

/// Lends every call a buffer of its own, so that calls may run at the same time.
class WorkBuffers {
public:
    using Key = std::array<int, 6>;  ///< what a buffer is made for
    using Free = void (*)(void*);

    explicit WorkBuffers(Free free) : m_free(free) {}

    /// Runs `work` with a buffer for the key, a new one from `make` where none is at hand.
    template <class Make, class Work>
    void lend(const Key& key, const Make& make, const Work& work)
    {
        Buffer buffer = take(key);
        if (!buffer)
            buffer.reset(make());
        work(buffer.get());
        const std::lock_guard lock(m_mutex);
        m_idle.emplace_back(key, std::move(buffer));
    }

private:
    using Buffer = std::unique_ptr<void, Free>;

    Buffer take(const Key& key)
    {
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_idle, [&](const auto& idle) { return idle.first != key; });
        if (m_idle.empty())
            return {nullptr, m_free};
        Buffer buffer = std::move(m_idle.back().second);
        m_idle.pop_back();
        return buffer;
    }

    Free m_free;
    std::mutex m_mutex;
    std::vector<std::pair<Key, Buffer>> m_idle;
};

}  // namespace ko::tool
