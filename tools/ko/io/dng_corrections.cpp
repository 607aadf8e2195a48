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
constexpr std::size_t mostCorrections = 64;

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
std::optional<Correction> gainMapOf(const OpcodeBody& body, const Opcode& opcode, const QSize& whole,
                                    int channels)
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
    return std::ranges::all_of(map.gains, isGain) ? std::optional<Correction>(std::move(map)) : std::nullopt;
}

bool isShare(double number)
{
    return number >= 0 && number <= 1;
}

/// True for what a sound polynomial of a lens may have.
bool isFactor(double number)
{
    return std::abs(number) < 1e6;
}

/// None where it makes no sense, which would be a gain below 0 somewhere.
std::optional<Correction> radialGainOf(const OpcodeBody& body)
{
    constexpr std::size_t fullSize = 56;
    if (body.size() != fullSize)
        return {};
    RadialGain gain{{body.number(40), body.number(48)}, {}};
    for (std::size_t i = 0; i < gain.factors.size(); ++i)
        gain.factors[i] = body.number(8 * i);
    bool isSound = std::ranges::all_of(gain.centre, isShare) && std::ranges::all_of(gain.factors, isFactor);
    constexpr int steps = 1024;
    for (int i = 0; i <= steps; ++i)
        isSound = isSound && gain.at(static_cast<double>(i) / steps) >= 0;
    return isSound ? std::optional<Correction>(gain) : std::nullopt;
}

/// None where it makes no sense.
std::optional<Correction> warpOf(const OpcodeBody& body, int channels)
{
    constexpr std::size_t headSize = 20;
    constexpr std::size_t planeSize = sizeof(Warp::Factors);
    const std::size_t planes = body.size() < headSize ? 0 : body.whole(0);
    if ((planes != 1 && planes != static_cast<std::size_t>(channels)) ||
        body.size() != headSize + planes * planeSize)
        return {};
    const std::size_t end = body.size() - 16;
    Warp warp{{body.number(end), body.number(end + 8)}, std::vector<Warp::Factors>(planes)};
    bool isSound = std::ranges::all_of(warp.centre, isShare);
    for (std::size_t i = 0; i < 6 * planes; ++i) {
        warp.planes[i / 6][i % 6] = body.number(4 + 8 * i);
        isSound = isSound && isFactor(warp.planes[i / 6][i % 6]);
    }
    return isSound ? std::optional<Correction>(std::move(warp)) : std::nullopt;
}

/// Takes a correction of pixels of so many channels. A mosaic cannot be bent before it has become a picture.
Fate take(LibRaw_abstract_datastream& stream, const Opcode& opcode, const QSize& whole, int channels,
          bool canBend, std::vector<Correction>& taken)
{
    const bool isGain = opcode.number == GainMapping || opcode.number == FixVignetteRadial;
    if (!isGain && (opcode.number != WarpRectilinear || !canBend))
        return Left;
    const OpcodeBody body(stream, opcode);
    std::optional<Correction> correction = opcode.number == GainMapping
                                               ? gainMapOf(body, opcode, whole, channels)
                                           : isGain ? radialGainOf(body)
                                                    : warpOf(body, channels);
    constexpr int mostWarps = 4;  // which take more time
    const auto isWarp = [](const Correction& one) { return std::holds_alternative<Warp>(one); };
    if (!correction || taken.size() == mostCorrections ||
        (isWarp(*correction) && std::ranges::count_if(taken, isWarp) == mostWarps))
        return Damaged;
    taken.push_back(std::move(*correction));
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
    const QRect area = told.isValid() && told.contains(read) ? told : read;
    auto corrections = std::make_shared<Corrections>();
    corrections->size = area.size();
    corrections->corner = read.topLeft() - area.topLeft();
    corrections->file = file;
    const auto opcodes = [&](int list) { return tags.opcodes(sizes.raw_width, sizes.raw_height, list); };
    DngFaults faults(stream, raw, samples, format);
    if (readList(opcodes(rawOpcodes), "OpcodeList1", *corrections,
                 [&](const Opcode& opcode) { return faults.add(opcode); }))
        corrections->faulty = faults.places();
    const auto readLight = [&](int list, const char* name, int channels, std::vector<Correction>& taken) {
        const auto takeOne = [&](const Opcode& opcode) {
            return take(stream, opcode, area.size(), channels, list == colourOpcodes, taken);
        };
        if (!readList(opcodes(list), name, *corrections, takeOne))
            taken.clear();
    };
    const bool isMosaic = format.bayerGrid != BayerNone;
    readLight(linearOpcodes, "OpcodeList2", format.channels, corrections->linear);
    readLight(colourOpcodes, "OpcodeList3", isMosaic ? 3 : format.channels, corrections->colours);
    const bool isEmpty =
        corrections->applied.empty() && corrections->left.empty() && corrections->damaged.empty();
    return isEmpty ? nullptr : corrections;
}

}  // namespace ko::tool
