#include "plugin/graymap.h"

#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <limits>
#include <stdexcept>

namespace ko::gst {

namespace {

class Reader {
public:
    explicit Reader(const std::string& file) : m_file(file), m_stream(file, std::ios::binary)
    {
        if (!m_stream)
            refuse(std::strerror(errno));
    }

    Graymap read()
    {
        if (m_stream.get() != 'P' || m_stream.get() != '5')
            refuse("is no binary PGM file");
        Graymap map;
        map.width = number(maximalSide);
        map.height = number(maximalSide);
        const int top = number(65535);
        if (!std::isspace(m_stream.get()))
            refuse("has no proper header");
        const std::size_t bytes = top > 255 ? 2 : 1;
        std::vector<std::uint8_t> row(static_cast<std::size_t>(map.width) * bytes);
        for (int y = 0; y < map.height; ++y) {
            if (!m_stream.read(reinterpret_cast<char*>(row.data()), static_cast<std::streamsize>(row.size())))
                refuse("ends before its last row");
            for (std::size_t i = 0; i < row.size(); i += bytes)
                map.samples.push_back(bytes == 1 ? row[i]
                                                 : static_cast<std::uint16_t>(row[i] << 8 | row[i + 1]));
        }
        return map;
    }

private:
    static constexpr int maximalSide = 65535;

    [[noreturn]] void refuse(const std::string& why) const { throw std::runtime_error(m_file + ": " + why); }

    /// The next number of the header, 1 or more. Comments begin with # and end with their line.
    int number(int most)
    {
        int next = m_stream.get();
        for (; std::isspace(next) || next == '#'; next = m_stream.get())
            if (next == '#')
                m_stream.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
        int value = 0;
        for (; std::isdigit(next) && value <= most; next = m_stream.get())
            value = 10 * value + (next - '0');
        m_stream.unget();
        if (value < 1 || value > most)
            refuse("has no proper header");
        return value;
    }

    const std::string m_file;
    std::ifstream m_stream;
};

}  // namespace

Graymap readGraymap(const std::string& file)
{
    return Reader(file).read();
}

}  // namespace ko::gst
