#include "io/packed_file.h"

#include "cli/failure.h"
#include "cli/transfer.h"
#include "cli/usage.h"
#include "io/bayer.h"
#include "io/source.h"

#include <ko/raw.h>

#include <algorithm>
#include <bit>
#include <cctype>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace ko::tool {

const char* const packedFormatHelp =
    "Packed formats: Mono, BayerRG, BayerGR, BayerGB or BayerBG, followed by 10p, 12p, 14p (GenICam),\n"
    "10Packed, 12Packed (GigE Vision), 8 (bytes), 10, 12, 14, 16 (little-endian words), 10msb, 12msb, 14msb\n"
    "(upper bits of such words), 10be, 12be, 14be, 16be (big-endian words); V4L2's pRAA, pgAA, pGAA, pBAA,\n"
    "pRCC ..., pREE ..., Y10P, Y12P, Y14P (CSI-2).";

namespace {

std::vector<PackedFormat> allFormats()
{
    struct Ending {
        const char* name;
        std::optional<ExPackedLayout> layout;
        int bits;
    };
    constexpr Ending endings[] = {
        {"10p", Mono10p, 10},
        {"12p", Mono12p, 12},
        {"14p", Mono14p, 14},
        {"10Packed", Mono10Packed, 10},
        {"12Packed", Mono12Packed, 12},
        {"8", {}, 8},
        {"10", {}, 10},
        {"12", {}, 12},
        {"14", {}, 14},
        {"16", {}, 16},
        {"10be", Mono16BigEndian, 10},
        {"12be", Mono16BigEndian, 12},
        {"14be", Mono16BigEndian, 14},
        {"16be", Mono16BigEndian, 16},
        {"10msb", Mono16MsbAligned, 10},
        {"12msb", Mono16MsbAligned, 12},
        {"14msb", Mono16MsbAligned, 14},
    };
    constexpr std::pair<const char*, ExBayerGrid> beginnings[] = {{"Mono", BayerNone},
                                                                  {"BayerRG", BayerRGGB},
                                                                  {"BayerGR", BayerGRBG},
                                                                  {"BayerGB", BayerGBRG},
                                                                  {"BayerBG", BayerBGGR}};
    struct Csi2 {
        const char* mono;
        const char* ending;
        ExPackedLayout layout;
        int bits;
    };
    constexpr Csi2 csi2Formats[] = {
        {"Y10P", "AA", Csi2Raw10, 10}, {"Y12P", "CC", Csi2Raw12, 12}, {"Y14P", "EE", Csi2Raw14, 14}};
    constexpr std::pair<const char*, ExBayerGrid> csi2Beginnings[] = {
        {"pR", BayerRGGB}, {"pg", BayerGRBG}, {"pG", BayerGBRG}, {"pB", BayerBGGR}};

    std::vector<PackedFormat> formats;
    for (const auto& [beginning, grid] : beginnings)
        for (const Ending& ending : endings)
            formats.push_back({std::string(beginning) + ending.name, ending.layout, ending.bits, grid});
    for (const Csi2& format : csi2Formats) {
        formats.push_back({format.mono, format.layout, format.bits, BayerNone});
        for (const auto& [beginning, grid] : csi2Beginnings)
            formats.push_back({std::string(beginning) + format.ending, format.layout, format.bits, grid});
    }
    return formats;
}

static_assert(std::endian::native == std::endian::little, "formats without a layout are as in memory");

ExImageDataType typeOf(const PackedFormat& format)
{
    return format.bits > 8 ? UInt16 : UInt8;
}

std::size_t rowBytesOf(const PackedFormat& format, int width)
{
    return format.layout ? packedRowBytes(*format.layout, width)
                         : static_cast<std::size_t>(width) * (typeOf(format) == UInt16 ? 2 : 1);
}

bool sameLetters(const std::string& a, const std::string& b)
{
    return std::ranges::equal(
        a, b, [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

std::string describe(const PackedFrame& frame)
{
    return std::to_string(frame.size.width()) + " x " + std::to_string(frame.size.height()) + " samples of " +
           frame.format.name;
}

SxImageInfo formatOf(const PackedFrame& frame)
{
    SxImageInfo format = makeFormat(frame.size.width(), frame.size.height(), 1, typeOf(frame.format));
    format.bitsPerSample = frame.format.bits;
    format.bayerGrid = frame.format.grid;
    return format;
}

/// Where the frames of a file lie.
struct Frames {
    std::uint64_t first;
    std::uint64_t length;  ///< from one to the next
    std::uint64_t needed;  ///< of one: its last row ends behind its samples
    std::uint64_t count;
};

Frames framesOf(const Source& source, const PackedFrame& frame)
{
    const auto rows = static_cast<std::uint64_t>(frame.size.height());
    const std::uint64_t filling = frame.pitch - rowBytesOf(frame.format, frame.size.width());
    Frames frames{frame.offset.value_or(0), frame.pitch * rows, frame.pitch * rows - filling, 0};
    const std::uint64_t held = source.size - std::min(source.size, frames.first);
    frames.count = (held + filling) / frames.length;
    if (frames.count == 0)
        throw Failure(source.name, "is too short for " + describe(frame) + ": " + std::to_string(held) +
                                       " bytes instead of " + std::to_string(frames.needed));
    if (const std::uint64_t all = frames.count * frames.length; !frame.offset && held > all)
        throw Failure(source.name, "is too long for " + describe(frame) + ": " + std::to_string(held - all) +
                                       " bytes more than " + std::to_string(frames.count) +
                                       (frames.count == 1 ? " frame" : " frames") + " of " +
                                       std::to_string(frames.length) + "; --offset skips a header");
    if (static_cast<std::uint64_t>(transfer().page) > frames.count)
        throw Failure(source.name, "has no page " + std::to_string(transfer().page) + ", it holds " +
                                       std::to_string(frames.count));
    return frames;
}

}  // namespace

PackedFormat packedFormatOf(const std::string& name)
{
    const std::vector<PackedFormat> formats = allFormats();
    std::vector<std::string> names;
    for (const PackedFormat& format : formats) {
        if (format.name == name)
            return format;
        names.push_back(format.name);
    }
    const auto isAlike = [&](const PackedFormat& format) { return sameLetters(format.name, name); };
    if (std::ranges::count_if(formats, isAlike) == 1)
        return *std::ranges::find_if(formats, isAlike);
    const std::string nearest = nearestTo(name, names);
    throw UsageError("--packed: " + name + " is no packed format" +
                     (nearest.empty() ? "" : "; did you mean " + nearest + '?'));
}

std::size_t pitchOf(const PackedFormat& format, int width, std::optional<int> wanted)
{
    const std::size_t least = rowBytesOf(format, width);
    if (wanted && static_cast<std::size_t>(*wanted) < least)
        throw UsageError("--pitch " + std::to_string(*wanted) + " is less than the " + std::to_string(least) +
                         " bytes of " + std::to_string(width) + " samples of " + format.name);
    return wanted ? static_cast<std::size_t>(*wanted) : least;
}

FileInfo readPackedInfo(const std::string& file, const PackedFrame& frame)
{
    const Source source = sourceOf(file);
    const Frames frames = framesOf(source, frame);
    std::string kind =
        "packed as " + frame.format.name + ", rows of " + std::to_string(frame.pitch) + " bytes";
    if (frames.count > 1)
        kind += ", page " + std::to_string(transfer().page) + " of " + std::to_string(frames.count);
    return {formatOf(frame), kind};
}

Picture readPacked(const std::string& file, const PackedFrame& frame)
{
    const Source source = sourceOf(file);
    const Frames frames = framesOf(source, frame);
    std::vector<char> bytes(frames.needed);
    std::ifstream stream(source.path, std::ios::binary);
    stream.seekg(static_cast<std::streamoff>(
        frames.first + frames.length * static_cast<std::uint64_t>(transfer().page - 1)));
    if (!stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size())))
        throw Failure(source.name, "cannot be read");
    Image image = allocated(formatOf(frame));
    if (frame.format.layout)
        require(UnpackSamples(bytes.data(), bytes.size(), frame.pitch, *frame.format.layout, *image),
                "UnpackSamples");
    else
        for (int y = 0; y < image->height; ++y)
            std::copy_n(bytes.data() + static_cast<std::size_t>(y) * frame.pitch,
                        rowBytesOf(frame.format, image->width), rowOf<char>(image, y));
    return {std::move(image)};
}

std::string packedBytes(const Image& picture, const PackedFormat& format, std::optional<int> pitch)
{
    if (picture->channels != 1)
        throw std::runtime_error("has " + std::to_string(picture->channels) + " channels, wanted is one");
    if (picture->dataType != typeOf(format) || picture->bitsPerSample != format.bits)
        throw std::runtime_error("its samples are not unsigned of " + std::to_string(format.bits) +
                                 " bits, as those of " + format.name);
    if (format.grid != BayerNone && picture->bayerGrid != BayerNone && picture->bayerGrid != format.grid)
        throw std::runtime_error("its mosaic is " + gridName(picture->bayerGrid) + ", that of " +
                                 format.name + " is " + gridName(format.grid));
    const std::size_t row = pitchOf(format, picture->width, pitch);
    std::string bytes(row * static_cast<std::size_t>(picture->height), '\0');
    if (format.layout)
        require(PackSamples(*picture, *format.layout, bytes.data(), bytes.size(), row), "PackSamples");
    else
        for (int y = 0; y < picture->height; ++y)
            std::copy_n(rowOf<char>(picture, y), rowBytesOf(format, picture->width),
                        bytes.data() + static_cast<std::size_t>(y) * row);
    return bytes;
}

}  // namespace ko::tool
