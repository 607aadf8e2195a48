#include "io/dng_corrections.h"

#include "io/dng_faults.h"
#include "io/tag_numbers.h"

#include <QRect>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace ko::tool {
namespace {

/// More of a list no sound file has, and each takes time.
constexpr std::size_t mostGains = 64;

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
std::optional<Gain> gainMapOf(const OpcodeBody& body, const Opcode& opcode, const QSize& whole, int channels)
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
    const std::array sides{whole.height(), whole.width()};
    for (std::size_t axis = 0; axis < 2; ++axis) {
        // More points than pixels would only take time.
        if (map.points[axis] > static_cast<std::uint32_t>(sides[axis]) + 1)
            return {};
        const bool isStep = std::isfinite(map.spacing[axis]) && map.spacing[axis] > 0;
        if (!std::isfinite(map.origin[axis]) || (!isStep && map.points[axis] > 1))
            return {};
    }
    for (std::size_t i = 0; i < count; ++i)
        map.gains.push_back(body.single(headSize + 4 * i));
    const auto isGain = [](float gain) { return std::isfinite(gain) && gain >= 0; };
    return std::ranges::all_of(map.gains, isGain) ? std::optional<Gain>(std::move(map)) : std::nullopt;
}

/// None where it makes no sense, which would be a gain below 0 somewhere.
std::optional<Gain> radialGainOf(const OpcodeBody& body)
{
    constexpr std::size_t fullSize = 56;
    if (body.size() != fullSize)
        return {};
    RadialGain gain{{body.number(40), body.number(48)}, {}};
    for (std::size_t i = 0; i < gain.factors.size(); ++i)
        gain.factors[i] = body.number(8 * i);
    const auto isShare = [](double share) { return share >= 0 && share <= 1; };
    const auto isFactor = [](double factor) { return std::abs(factor) < 1e6; };
    bool isSound = std::ranges::all_of(gain.centre, isShare) && std::ranges::all_of(gain.factors, isFactor);
    constexpr int steps = 1024;
    for (int i = 0; i <= steps; ++i)
        isSound = isSound && gain.at(static_cast<double>(i) / steps) >= 0;
    return isSound ? std::optional<Gain>(gain) : std::nullopt;
}

/// Takes a correction that multiplies pixels of so many channels.
Fate addGain(LibRaw_abstract_datastream& stream, const Opcode& opcode, const QSize& whole, int channels,
             std::vector<Gain>& gains)
{
    if (opcode.number != GainMapping && opcode.number != FixVignetteRadial)
        return Left;
    const OpcodeBody body(stream, opcode);
    std::optional<Gain> gain =
        opcode.number == GainMapping ? gainMapOf(body, opcode, whole, channels) : radialGainOf(body);
    if (!gain || gains.size() == mostGains)
        return Damaged;
    gains.push_back(std::move(*gain));
    return Applied;
}

void addOnce(std::vector<std::string>& names, const std::string& name)
{
    if (std::ranges::find(names, name) == names.end())
        names.push_back(name);
}

/// Takes what a list has and answers whether all of it makes sense. Otherwise nothing of it should be applied: the maps of
/// some colours without those of others would tint the picture.
template <class Take>
bool readList(const OpcodeList& list, const char* name, Corrections& corrections, const Take& take)
{
    std::vector<std::string> applied;
    bool isSound = !list.isDamaged;
    for (const Opcode& opcode : list.opcodes) {
        const Fate fate = isSound ? take(opcode) : Damaged;
        isSound = fate != Damaged;
        if (fate == Applied)
            addOnce(applied, nameOf(opcode));
        if (fate == Left)
            addOnce(corrections.left, nameOf(opcode));
        if (fate == Left && !opcode.isOption)
            addOnce(corrections.missed, nameOf(opcode));
    }
    if (!isSound)
        corrections.damaged.emplace_back(name);
    else
        for (const std::string& correction : applied)
            addOnce(corrections.applied, correction);
    return isSound;
}

}  // namespace

std::shared_ptr<const Corrections> readCorrections(const std::string& file,
                                                   LibRaw_abstract_datastream& stream, const DngTags& tags,
                                                   const libraw_data_t& raw, const RawSamples& samples,
                                                   const SxImageInfo& format)
{
    const libraw_image_sizes_t& sizes = raw.sizes;
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
    const auto opcodes = [&](int list) { return tags.opcodes(sizes.raw_width, sizes.raw_height, list); };
    DngFaults faults(stream, raw, samples, format);
    if (readList(opcodes(rawOpcodes), "OpcodeList1", *corrections,
                 [&](const Opcode& opcode) { return faults.add(opcode); }))
        corrections->faulty = faults.places();
    const auto readGains = [&](int list, const char* name, int channels, std::vector<Gain>& gains) {
        const auto add = [&](const Opcode& opcode) {
            return addGain(stream, opcode, area.size(), channels, gains);
        };
        if (!readList(opcodes(list), name, *corrections, add))
            gains.clear();
    };
    const bool isMosaic = format.bayerGrid != BayerNone;
    readGains(linearOpcodes, "OpcodeList2", format.channels, corrections->linear);
    readGains(colourOpcodes, "OpcodeList3", isMosaic ? 3 : format.channels, corrections->colours);
    const bool isEmpty =
        corrections->applied.empty() && corrections->left.empty() && corrections->damaged.empty();
    return isEmpty ? nullptr : corrections;
}

}  // namespace ko::tool
