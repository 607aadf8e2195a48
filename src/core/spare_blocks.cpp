#include "core/spare_blocks.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <mutex>

namespace ko {

namespace {

/// Smaller ones cost no page faults.
constexpr std::uint64_t leastBytes = std::uint64_t{1} << 16;

/// What pipes hold beyond the frames in them.
constexpr std::uint64_t mostBytes = std::uint64_t{1} << 26;

struct Block {
    void* memory = nullptr;
    std::uint64_t bytes = 0;
};

/// The blocks from the first on, the one kept longest first.
class Blocks {
public:
    void addUser()
    {
        const std::lock_guard lock(m_mutex);
        ++m_users;
    }

    void removeUser()
    {
        const std::lock_guard lock(m_mutex);
        if (--m_users != 0)
            return;
        while (m_count > 0)
            std::free(removed(m_count - 1).memory);
    }

    /// The one kept last, which is most likely in a cache.
    void* take(std::uint64_t bytes) noexcept
    {
        const std::lock_guard lock(m_mutex);
        for (std::size_t i = m_count; i > 0; --i) {
            if (m_blocks[i - 1].bytes == bytes)
                return removed(i - 1).memory;
        }
        return nullptr;
    }

    void keep(const Block& block) noexcept
    {
        const std::lock_guard lock(m_mutex);
        while (m_count == m_blocks.size() || m_bytes + block.bytes > mostBytes)
            std::free(removed(0).memory);
        m_blocks[m_count++] = block;
        m_bytes += block.bytes;
    }

private:
    Block removed(std::size_t index) noexcept
    {
        const Block block = m_blocks[index];
        std::copy(m_blocks.begin() + static_cast<std::ptrdiff_t>(index) + 1,
                  m_blocks.begin() + static_cast<std::ptrdiff_t>(m_count),
                  m_blocks.begin() + static_cast<std::ptrdiff_t>(index));
        --m_count;
        m_bytes -= block.bytes;
        return block;
    }

    std::mutex m_mutex;
    std::array<Block, 64> m_blocks;
    std::size_t m_count = 0;
    std::uint64_t m_bytes = 0;
    int m_users = 0;
};

Blocks blocks;

thread_local bool isUser = false;

}  // namespace

UsesSpareBlocks::UsesSpareBlocks()
{
    blocks.addUser();
    isUser = true;
}

UsesSpareBlocks::~UsesSpareBlocks()
{
    isUser = false;
    blocks.removeUser();
}

void* takeSpareBlock(std::uint64_t bytes) noexcept
{
    return isUser && bytes >= leastBytes ? blocks.take(bytes) : nullptr;
}

bool keepSpareBlock(void* block, std::uint64_t bytes) noexcept
{
    if (!isUser || bytes < leastBytes || bytes > mostBytes)
        return false;
    blocks.keep({block, bytes});
    return true;
}

}  // namespace ko
