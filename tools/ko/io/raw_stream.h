// The bytes of a camera raw, watched.
#pragma once

#include <libraw/libraw.h>

#include <atomic>
#include <string>

namespace ko::tool {

/// Notes reads at the end of the file: some decoders go on with zeros where a file is cut short, and say
/// nothing. Others may read ahead of their last sample, a block or a few bytes, which means nothing.
class RawStream : public LibRaw_bigfile_datastream {
public:
    explicit RawStream(const std::string& path) : LibRaw_bigfile_datastream(path.c_str()) {}

    int read(void* to, std::size_t size, std::size_t count) override
    {
        const int items = LibRaw_bigfile_datastream::read(to, size, count);
        if (items <= 0)
            m_misses += wholeBlock;
        return items;
    }
    int get_char() override
    {
        const int byte = LibRaw_bigfile_datastream::get_char();
        if (byte == EOF)
            ++m_misses;
        return byte;
    }

    /// Forgets what was missed before, when headers were looked for.
    void watch() { m_misses = 0; }
    bool hasRunOut() const { return m_misses > 2 * wholeBlock; }

private:
    static constexpr int wholeBlock = 8;

    std::atomic<int> m_misses = 0;
};

}  // namespace ko::tool
