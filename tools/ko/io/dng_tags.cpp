#include "io/dng_tags.h"

#include "io/dng_opcodes.h"
#include "io/tag_numbers.h"
#include "io/tiff_numbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <utility>

namespace ko::tool {
namespace {

constexpr int mostNumbers = 65536;  ///< no side of a sensor has more pixels

constexpr std::size_t longestName = 64;  ///< of makers and models, of which damaged files have any

constexpr int losslessJpeg = 7;

std::vector<double> allOf(const std::map<int, std::vector<double>>& directory, Tag tag)
{
    const auto found = directory.find(tag);
    return found != directory.end() ? found->second : std::vector<double>{};
}

/// Without its fraction; 0 for what no tag of a sound file has.
std::int64_t wholeOf(double number)
{
    return number >= 0 && number <= 0xffffffff ? static_cast<std::int64_t>(number) : 0;
}

std::int64_t firstOf(const std::map<int, std::vector<double>>& directory, Tag tag, std::int64_t otherwise)
{
    const std::vector<double> numbers = allOf(directory, tag);
    return numbers.empty() ? otherwise : wholeOf(numbers[0]);
}

std::string nameOfCompression(std::int64_t number)
{
    switch (number) {
    case 5:
        return "LZW";
    case 8:
    case 32946:
        return "Deflate";
    case 32773:
        return "PackBits";
    case 52546:
        return "JPEG XL";
    default:
        return "method " + std::to_string(number);
    }
}

}  // namespace

int BlackLevels::at(int x, int y) const
{
    // Damaged files have any active area, which LibRaw does not take then.
    const int column = std::max(x - left, 0);
    const int row = std::max(y - top, 0);
    const auto added = [](const std::vector<double>& levels, int place) {
        return place < static_cast<int>(levels.size()) ? levels[static_cast<std::size_t>(place)] : 0;
    };
    const double level = pattern[static_cast<std::size_t>(row % rows * columns + column % columns)] +
                         added(ofColumns, column) + added(ofRows, row);
    return static_cast<int>(std::floor(std::clamp(level, -65535.0, 65535.0) + 0.5));
}

DngTags::DngTags(LibRaw& raw)
{
    raw.set_exifparser_handler(&take, this);
}

void DngTags::take(void* self, int tag, int type, int count, unsigned order, void* stream, INT64)
{
    // Tags of the directories of a TIFF file come with the number of the directory above them, others without.
    const int directory = tag >> 20;
    if (directory != 0 && std::ranges::find(opcodeLists, tag & 0xffff) != opcodeLists.end()) {
        readOpcodes(*static_cast<LibRaw_abstract_datastream*>(stream), count,
                    static_cast<DngTags*>(self)->m_opcodes);
        return;
    }
    const int size = sizeOf(type);
    if (directory == 0 || size == 0 || count < 1 || count > mostNumbers ||
        std::ranges::find(wanted, tag & 0xffff) == wanted.end())
        return;
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(count) * static_cast<std::size_t>(size));
    if (static_cast<LibRaw_abstract_datastream*>(stream)->read(bytes.data(), bytes.size(), 1) != 1)
        return;
    Numbers& numbers = static_cast<DngTags*>(self)->m_directories[directory][tag & 0xffff];
    numbers.clear();
    const bool isLittle = order == 0x4949;
    static_cast<DngTags*>(self)->m_isLittle = isLittle;
    for (std::size_t at = 0; at < bytes.size(); at += static_cast<std::size_t>(size))
        numbers.push_back(numberAt(&bytes[at], type, isLittle));
}

const DngTags::Directory* DngTags::raw() const
{
    const Directory* largest = nullptr;
    std::pair<bool, std::int64_t> most{};
    bool isDng = false;
    for (const auto& [number, directory] : m_directories) {
        isDng = isDng || directory.contains(DngVersion);
        const std::int64_t photometric = firstOf(directory, Photometric, 0);
        // A mosaic may come with what somebody has made of it, which is larger.
        const bool isMosaic = photometric == 32803;
        const std::pair size{isMosaic, firstOf(directory, Width, 0) * firstOf(directory, Height, 0)};
        if ((isMosaic || photometric == 34892) && size > most) {
            most = size;
            largest = &directory;
        }
    }
    return isDng ? largest : nullptr;
}

std::string DngTags::obstacle() const
{
    const Directory* const directory = raw();
    if (!directory)
        return {};
    if (firstOf(*directory, SampleFormat, 1) == 3)
        return "its samples are floating-point numbers, which are not supported in camera raws";
    const std::int64_t compression = firstOf(*directory, Compression, 1);
    if (compression != 1 && compression != losslessJpeg && compression != 34892)
        return "its samples are compressed by " + nameOfCompression(compression) +
               ", which is not supported in camera raws";
    if (const std::int64_t bits = firstOf(*directory, BitsPerSample, 16); bits > 16)
        return "its samples have " + std::to_string(bits) + " bits; those of camera raws may have 16";
    if (compression == losslessJpeg && !directory->contains(TileOffsets) &&
        allOf(*directory, StripOffsets).size() > 1)
        return "its samples are lossless JPEG in several strips, which is not supported in camera raws";
    if (firstOf(*directory, CfaLayout, 1) > 1)
        return "its rows or columns are staggered, which is not supported in camera raws";
    // LibRaw takes them for red, green and blue in any case.
    const Numbers planes = allOf(*directory, CfaPlaneColor);
    if (!std::ranges::is_sorted(planes))
        return "its colours are not in the order of red, green and blue, which is not supported in camera "
               "raws";
    const auto isMixed = [&](Tag tag) {
        return std::ranges::any_of(allOf(*directory, tag), [](double number) { return number > 1; });
    };
    if (isMixed(SubTileBlockSize) || isMixed(RowInterleaveFactor) || isMixed(ColumnInterleaveFactor))
        return "its samples are interleaved, which is not supported in camera raws";
    return {};
}

const DngTags::Directory* DngTags::ofSensor(int width, int height) const
{
    const Directory* const directory = raw();
    return directory && firstOf(*directory, Width, 0) == width && firstOf(*directory, Height, 0) == height
               ? directory
               : nullptr;
}

std::optional<DngParts> DngTags::parts(int width, int height) const
{
    const Directory* const directory = ofSensor(width, height);
    if (!directory || firstOf(*directory, Compression, 1) != 1)
        return {};
    const bool areTiles = directory->contains(TileOffsets);
    const Numbers offsets = allOf(*directory, areTiles ? TileOffsets : StripOffsets);
    if (!areTiles && offsets.size() < 2)
        return {};
    DngParts parts{width,
                   firstOf(*directory, RowsPerStrip, height),
                   firstOf(*directory, BitsPerSample, 0),
                   m_isLittle,
                   {}};
    if (areTiles) {
        parts.width = firstOf(*directory, TileWidth, 0);
        parts.height = firstOf(*directory, TileLength, 0);
    }
    std::ranges::transform(offsets, std::back_inserter(parts.offsets), wholeOf);
    return parts;
}

std::optional<BlackLevels> DngTags::blackLevels(int width, int height) const
{
    const Directory* const directory = ofSensor(width, height);
    if (!directory)
        return {};
    BlackLevels levels;
    levels.pattern = allOf(*directory, BlackLevel);
    levels.ofColumns = allOf(*directory, BlackLevelDeltaH);
    levels.ofRows = allOf(*directory, BlackLevelDeltaV);
    const Numbers repeat = allOf(*directory, BlackLevelRepeatDim);
    const Numbers area = allOf(*directory, ActiveArea);
    const auto takeSide = [](const Numbers& numbers, std::size_t at, int& side) {
        if (at < numbers.size())
            side = static_cast<int>(std::min<std::int64_t>(wholeOf(numbers[at]), mostNumbers));
    };
    takeSide(repeat, 0, levels.rows);
    takeSide(repeat, 1, levels.columns);
    takeSide(area, 0, levels.top);
    takeSide(area, 1, levels.left);
    const auto areFinite = [](const Numbers& numbers) {
        return std::ranges::all_of(numbers, [](double number) { return std::isfinite(number); });
    };
    const bool isWhole =
        levels.rows > 0 && levels.columns > 0 &&
        static_cast<double>(levels.pattern.size()) == static_cast<double>(levels.rows) * levels.columns;
    if (!isWhole || !areFinite(levels.pattern) || !areFinite(levels.ofColumns) || !areFinite(levels.ofRows))
        return {};
    return levels;
}

QRect DngTags::crop(int width, int height) const
{
    const Directory* const directory = ofSensor(width, height);
    const Numbers origin = directory ? allOf(*directory, DefaultCropOrigin) : Numbers{};
    const Numbers size = directory ? allOf(*directory, DefaultCropSize) : Numbers{};
    if (origin.size() != 2 || size.size() != 2)
        return {};
    Numbers corner = allOf(*directory, ActiveArea);
    corner.resize(2);
    const auto whole = [](double number) {
        return static_cast<int>(std::min<std::int64_t>(wholeOf(number), mostNumbers));
    };
    return {whole(corner[1]) + whole(origin[0]), whole(corner[0]) + whole(origin[1]), whole(size[0]),
            whole(size[1])};
}

bool DngTags::partsBeginRight(LibRaw_abstract_datastream& stream) const
{
    const Directory* const directory = raw();
    if (!directory || firstOf(*directory, Compression, 1) != losslessJpeg)
        return true;
    const Numbers tiles = allOf(*directory, TileOffsets);
    return std::ranges::all_of(tiles.empty() ? allOf(*directory, StripOffsets) : tiles, [&](double offset) {
        std::array<std::uint8_t, 2> start{};
        return stream.seek(wholeOf(offset), SEEK_SET) == 0 && stream.read(start.data(), 2, 1) == 1 &&
               start == std::array<std::uint8_t, 2>{0xff, 0xd8};
    });
}

bool DngTags::areMistaken(LibRaw_abstract_datastream& stream) const
{
    const Directory* const directory = raw();
    const Numbers tiles = directory ? allOf(*directory, TileOffsets) : Numbers{};
    if (tiles.empty() || firstOf(*directory, Compression, 1) != losslessJpeg)
        return false;
    const std::optional<JpegFrame> frame = readJpegFrame(stream, wholeOf(tiles[0]));
    if (!frame)
        return false;
    const std::int64_t width = firstOf(*directory, Width, 0);
    const std::int64_t tile = firstOf(*directory, TileWidth, 0);
    const std::int64_t row = frame->width * frame->components;
    const bool isTakenForAll = frame->components > 1 && row * frame->components == width;
    const bool isWrapped = tile > width && row * frame->height == tile * firstOf(*directory, TileLength, 0);
    return isTakenForAll || isWrapped;
}

DngTags::Numbers DngTags::anywhere(int tag) const
{
    for (const auto& [number, directory] : m_directories)
        if (const auto found = directory.find(tag); found != directory.end())
            return found->second;
    return {};
}

std::optional<std::array<double, 2>> DngTags::whitePoint() const
{
    const Numbers place = anywhere(AsShotWhiteXY);
    return place.size() == 2 ? std::optional(std::array{place[0], place[1]}) : std::nullopt;
}

bool DngTags::isCalibrated() const
{
    return text(CameraSignature) == text(ProfileSignature);
}

std::string DngTags::text(int tag) const
{
    std::string text;
    for (const double letter : anywhere(tag)) {
        if (letter == 0)
            break;
        text += static_cast<char>(wholeOf(letter) & 0xff);
    }
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

std::string DngTags::make() const
{
    return text(Make).substr(0, longestName);
}

std::string DngTags::model() const
{
    return text(Model).substr(0, longestName);
}

bool DngTags::hasOrientation() const
{
    bool isTold = false;
    for (const auto& [number, directory] : m_directories) {
        const std::int64_t orientation = firstOf(directory, Orientation, -1);
        if (orientation >= 1 && orientation <= 8)
            return true;
        isTold = isTold || orientation >= 0;
    }
    return !isTold;
}

}  // namespace ko::tool
