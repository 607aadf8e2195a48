#include "io/dng_faults.h"

#include <algorithm>
#include <iterator>

namespace ko::tool {

DngFaults::DngFaults(LibRaw_abstract_datastream& stream, const libraw_data_t& raw, const RawSamples& samples,
                     const SxImageInfo& format)
    : m_stream(stream),
      m_samples(samples),
      m_isSupported(format.channels == 1),
      m_sensor(0, 0, raw.sizes.raw_width, raw.sizes.raw_height),
      m_picture(raw.sizes.left_margin, raw.sizes.top_margin, format.width, format.height),
      m_left(std::int64_t{format.width} * format.height / 8)
{
    for (std::size_t i = 0; i < std::size(raw.color.curve); ++i)
        m_isSupported = m_isSupported && raw.color.curve[i] == i;
}

Fate DngFaults::add(const Opcode& opcode)
{
    if (!m_isSupported || (opcode.number != FixBadPixelsConstant && opcode.number != FixBadPixelsList))
        return Left;
    const OpcodeBody body(m_stream, opcode);
    m_faulty.resize(static_cast<std::size_t>(m_picture.width()) *
                    static_cast<std::size_t>(m_picture.height()));
    return (opcode.number == FixBadPixelsList ? addList(body) : addConstant(body)) ? Applied : Damaged;
}

/// All pixels of one level.
bool DngFaults::addConstant(const OpcodeBody& body)
{
    constexpr int mostConstants = 8;  // each takes a look at all pixels
    if (body.size() != 8 || ++m_constants > mostConstants)
        return false;
    for (int y = m_picture.top(); y <= m_picture.bottom(); ++y)
        for (int x = m_picture.left(); x <= m_picture.right(); ++x)
            if (*m_samples.at(x, y) == body.whole(0) && !add(QRect(x, y, 1, 1)))
                return false;
    return true;
}

/// Points as row and column, then areas as top, left, bottom and right.
bool DngFaults::addList(const OpcodeBody& body)
{
    constexpr std::size_t headSize = 12;
    if (body.size() < headSize ||
        body.size() != headSize + 8 * std::size_t{body.whole(4)} + 16 * std::size_t{body.whole(8)})
        return false;
    const auto number = [&body](std::size_t at) {
        return static_cast<int>(std::min(body.whole(at), 65536U));
    };
    std::size_t at = headSize;
    for (; at < headSize + 8 * std::size_t{body.whole(4)}; at += 8)
        if (!add(QRect(number(at + 4), number(at), 1, 1)))
            return false;
    for (; at < body.size(); at += 16)
        if (!add(QRect(QPoint(number(at + 4), number(at)), QPoint(number(at + 12) - 1, number(at + 8) - 1))))
            return false;
    return true;
}

/// False where there is no such part, or where the file tells more than a sensor can have.
bool DngFaults::add(const QRect& part)
{
    if (part.isEmpty() || !m_sensor.contains(part))
        return false;
    const QRect seen = part & m_picture;
    m_left -= std::int64_t{seen.width()} * seen.height();
    if (m_left < 0)
        return false;
    for (int y = seen.top(); y <= seen.bottom(); ++y)
        for (int x = seen.left(); x <= seen.right(); ++x)
            m_faulty[static_cast<std::size_t>(y - m_picture.top()) *
                         static_cast<std::size_t>(m_picture.width()) +
                     static_cast<std::size_t>(x - m_picture.left())] = true;
    return true;
}

std::vector<QPoint> DngFaults::places() const
{
    std::vector<QPoint> places;
    const auto width = static_cast<std::size_t>(m_picture.width());
    for (std::size_t i = 0; i < m_faulty.size(); ++i)
        if (m_faulty[i])
            places.emplace_back(static_cast<int>(i % width), static_cast<int>(i / width));
    return places;
}

}  // namespace ko::tool
