#include "io/dng_corrections.h"

#include "io/tag_numbers.h"
#include "io/tiff_numbers.h"

#include <QRect>

#include <algorithm>
#include <bit>
#include <cmath>
#include <optional>
#include <utility>

namespace ko::tool {
namespace {

/// More of them no sound file has, and each takes time.
constexpr std::size_t mostGains = 64;

/// The bytes of a correction, the upper one of numbers first.
class Body {
public:
    Body(LibRaw_abstract_datastream& stream, const Opcode& opcode)
    {
        if (opcode.place + opcode.length > stream.size() || stream.seek(opcode.place, SEEK_SET) != 0)
            return;
        m_bytes.resize(opcode.length);
        if (!m_bytes.empty() && stream.read(m_bytes.data(), m_bytes.size(), 1) != 1)
            m_bytes.clear();
    }

    std::size_t size() const { return m_bytes.size(); }
    std::uint32_t whole(std::size_t at) const { return static_cast<std::uint32_t>(bits(at, 4)); }
    float single(std::size_t at) const { return std::bit_cast<float>(whole(at)); }
    double number(std::size_t at) const { return std::bit_cast<double>(bits(at, 8)); }

private:
    std::uint64_t bits(std::size_t at, int count) const { return wholeAt(&m_bytes[at], count, false); }

    std::vector<std::uint8_t> m_bytes;
};

/// True for an area that has a part of so many channels of the whole.
bool isInside(const Opcode& opcode, const QSize& whole, int channels)
{
    const auto& [top, left, bottom, right] = opcode.area;
    return top < bottom && left < right && top < static_cast<std::uint32_t>(whole.height()) &&
           left < static_cast<std::uint32_t>(whole.width()) &&
           opcode.plane < static_cast<std::uint32_t>(channels) && opcode.planes > 0 &&
           opcode.pitches[0] > 0 && opcode.pitches[1] > 0;
}

/// None where it makes no sense.
std::optional<GainMap> gainMapOf(const Body& body, const Opcode& opcode, const QSize& whole, int channels)
{
    constexpr std::size_t headSize = 76;
    if (body.size() <= headSize || !isInside(opcode, whole, channels))
        return {};
    GainMap map{opcode.area,
                opcode.plane,
                opcode.planes,
                opcode.pitches,
                {body.whole(32), body.whole(36)},
                body.whole(72),
                {body.number(40), body.number(48)},
                {body.number(56), body.number(64)},
                {}};
    const std::size_t count = (body.size() - headSize) / 4;
    if (std::max({map.points[0], map.points[1], map.channels}) > count || map.points[0] == 0 ||
        map.points[1] == 0 || std::size_t{map.points[0]} * map.points[1] > count ||
        std::size_t{map.points[0]} * map.points[1] * map.channels != count ||
        body.size() != headSize + 4 * count)
        return {};
    for (std::size_t axis = 0; axis < 2; ++axis) {
        const bool isStep = std::isfinite(map.spacing[axis]) && map.spacing[axis] > 0;
        if (!std::isfinite(map.origin[axis]) || (!isStep && map.points[axis] > 1))
            return {};
    }
    for (std::size_t i = 0; i < count; ++i)
        map.gains.push_back(body.single(headSize + 4 * i));
    const auto isGain = [](float gain) { return std::isfinite(gain) && gain >= 0; };
    return std::ranges::all_of(map.gains, isGain) ? std::optional(std::move(map)) : std::nullopt;
}

/// Each list is for samples in one state, and all of it is left out if a part of it makes no sense: the maps of some
/// colours without those of others would tint the picture.
class Reader {
public:
    Reader(LibRaw_abstract_datastream& stream, Corrections& corrections)
        : m_stream(stream), m_corrections(corrections)
    {
    }

    /// One for pixels of so many channels. Without a place for gains, there are none that can be applied.
    void read(const OpcodeList& list, const char* name, int channels, std::vector<GainMap>* gains)
    {
        std::vector<std::string> applied;
        bool isSound = !list.isDamaged;
        for (const Opcode& opcode : list.opcodes) {
            if (!gains || opcode.number != GainMapCode) {
                addOnce(m_corrections.left, nameOf(opcode));
                if (!opcode.isOption)
                    addOnce(m_corrections.missed, nameOf(opcode));
                continue;
            }
            std::optional<GainMap> map =
                gainMapOf(Body(m_stream, opcode), opcode, m_corrections.size, channels);
            isSound = isSound && map && gains->size() < mostGains;
            if (!isSound)
                break;
            gains->push_back(std::move(*map));
            addOnce(applied, nameOf(opcode));
        }
        if (!isSound) {
            m_corrections.damaged.emplace_back(name);
            if (gains)
                gains->clear();
            return;
        }
        for (const std::string& correction : applied)
            addOnce(m_corrections.applied, correction);
    }

private:
    static void addOnce(std::vector<std::string>& names, const std::string& name)
    {
        if (std::ranges::find(names, name) == names.end())
            names.push_back(name);
    }

    LibRaw_abstract_datastream& m_stream;
    Corrections& m_corrections;
};

}  // namespace

std::shared_ptr<const Corrections> readCorrections(const std::string& file,
                                                   LibRaw_abstract_datastream& stream, const DngTags& tags,
                                                   const libraw_image_sizes_t& sizes,
                                                   const SxImageInfo& format)
{
    // The first list is for what the file holds, masked pixels too. The others count places from the corner of the
    // active area: their samples have been made linear or colours, which masked pixels never are. Telephones and drones
    // write them so. LibRaw leaves out what makes an area begin at an odd place, so the area of the file counts.
    const QRect read(sizes.left_margin, sizes.top_margin, sizes.width, sizes.height);
    const QRect told = tags.activeArea(sizes.raw_width, sizes.raw_height);
    const QRect area = told.contains(read) ? told : read;
    auto corrections = std::make_shared<Corrections>();
    corrections->size = area.size();
    corrections->corner = read.topLeft() - area.topLeft();
    corrections->file = file;
    Reader reader(stream, *corrections);
    const auto readList = [&](int list, const char* name, int channels, std::vector<GainMap>* gains) {
        reader.read(tags.opcodes(sizes.raw_width, sizes.raw_height, list), name, channels, gains);
    };
    readList(rawOpcodes, "OpcodeList1", format.channels, nullptr);
    readList(linearOpcodes, "OpcodeList2", format.channels, &corrections->linear);
    const bool isMosaic = format.bayerGrid != BayerNone;
    readList(colourOpcodes, "OpcodeList3", isMosaic ? 3 : format.channels, &corrections->colours);
    const bool isEmpty =
        corrections->applied.empty() && corrections->left.empty() && corrections->damaged.empty();
    return isEmpty ? nullptr : corrections;
}

}  // namespace ko::tool
