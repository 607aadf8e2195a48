// The bytes of a camera raw, watched.
#pragma once

#include <libraw/libraw.h>

#include <atomic>
#include <string>

namespace ko::tool {

/// Notes reads at the end of the file: some decoders go on with zeros where a file is cut short, and say
/// nothing, or look there for billions of things that a damaged file promises. Others may read ahead of their last
/// sample, a block or a few bytes, which means nothing.
class RawStream : public LibRaw_bigfile_datastream {
public:
    explicit RawStream(const std::string& path) : LibRaw_bigfile_datastream(path.c_str()) {}

    int read(void* to, std::size_t size, std::size_t count) override
    {
        const int items = LibRaw_bigfile_datastream::read(to, size, count);
        if (items <= 0)
            miss(wholeBlock);
        return items;
    }
    int get_char() override
    {
        const int byte = LibRaw_bigfile_datastream::get_char();
        if (byte == EOF)
            miss(1);
        return byte;
    }

    /// Forgets what was missed before, when headers were looked for. From here on a decoder reads, which ends with
    /// the exception that LibRaw has for it where it does not stop.
    void watch()
    {
        m_misses = 0;
        m_isDecoding = true;
    }
    bool hasRunOut() const { return m_misses > 2 * wholeBlock; }

private:
    static constexpr int wholeBlock = 8;
    static constexpr int mostMisses = 1 << 20;

    void miss(int weight)
    {
        if ((m_misses += weight) > mostMisses && m_isDecoding)
            throw LIBRAW_EXCEPTION_IO_EOF;
    }

    std::atomic<int> m_misses = 0;
    bool m_isDecoding = false;
};

}  // namespace ko::tool
