#include "io/dng_tags.h"

#include "io/dng_obstacles.h"
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

int sideOf(double number)
{
    return static_cast<int>(std::min<std::int64_t>(wholeOf(number), mostNumbers));
}

}  // namespace

int BlackLevels::at(int x, int y, int colour) const
{
    // Damaged files have any active area, which LibRaw does not take then.
    const int column = std::max(x - left, 0);
    const int row = std::max(y - top, 0);
    const auto added = [](const std::vector<double>& levels, int place) {
        return place < static_cast<int>(levels.size()) ? levels[static_cast<std::size_t>(place)] : 0;
    };
    const int place = (row % rows * columns + column % columns) * colours + colour % colours;
    const double level =
        pattern[static_cast<std::size_t>(place)] + added(ofColumns, column) + added(ofRows, row);
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
    const int number = tag & 0xffff;
    if (directory != 0 && (number == rawOpcodes || number == linearOpcodes || number == colourOpcodes)) {
        const TagDirectory* const above = &static_cast<DngTags*>(self)->m_directories[directory];
        static_cast<DngTags*>(self)->m_opcodes[{above, number}] =
            readOpcodes(*static_cast<LibRaw_abstract_datastream*>(stream), count);
        return;
    }
    const int size = sizeOf(type);
    if (directory == 0 || size == 0 || count < 1 || count > mostNumbers ||
        std::ranges::find(wanted, number) == wanted.end())
        return;
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(count) * static_cast<std::size_t>(size));
    if (static_cast<LibRaw_abstract_datastream*>(stream)->read(bytes.data(), bytes.size(), 1) != 1)
        return;
    Numbers& numbers = static_cast<DngTags*>(self)->m_directories[directory][number];
    numbers.clear();
    const bool isLittle = order == 0x4949;
    static_cast<DngTags*>(self)->m_isLittle = isLittle;
    for (std::size_t at = 0; at < bytes.size(); at += static_cast<std::size_t>(size))
        numbers.push_back(numberAt(&bytes[at], type, isLittle));
}

OpcodeList DngTags::opcodesOf(const TagDirectory& directory, int list) const
{
    const auto found = m_opcodes.find({&directory, list});
    return found != m_opcodes.end() ? found->second : OpcodeList{};
}

OpcodeList DngTags::opcodes(int width, int height, int list) const
{
    const TagDirectory* const directory = ofSensor(width, height);
    // What makes samples linear is all that the list of such files has.
    const bool isMade = directory && list == linearOpcodes && ko::tool::hasAllColours(*directory) &&
                        firstOf(*directory, Compression, 1) == LossyJpeg;
    return directory && !isMade ? opcodesOf(*directory, list) : OpcodeList{};
}

const TagDirectory* DngTags::raw() const
{
    const TagDirectory* largest = nullptr;
    std::pair<bool, std::int64_t> most{};
    bool isDng = false;
    for (const auto& [number, directory] : m_directories) {
        isDng = isDng || directory.contains(DngVersion);
        const std::int64_t photometric = firstOf(directory, Photometric, 0);
        // A mosaic may come with what somebody has made of it, which is larger.
        const bool isMosaic = photometric == Mosaic;
        const std::int64_t width = firstOf(directory, Width, 0);
        const std::int64_t height = firstOf(directory, Height, 0);
        if (width > mostNumbers || height > mostNumbers)
            continue;
        const std::pair size{isMosaic, width * height};
        if ((isMosaic || photometric == LinearRaw) && size > most) {
            most = size;
            largest = &directory;
        }
    }
    return isDng ? largest : nullptr;
}

std::string DngTags::obstacle() const
{
    const TagDirectory* const directory = raw();
    return directory ? obstacleOf(*directory, opcodesOf(*directory, linearOpcodes).opcodes) : "";
}

const TagDirectory* DngTags::ofSensor(int width, int height) const
{
    const TagDirectory* const directory = raw();
    return directory && firstOf(*directory, Width, 0) == width && firstOf(*directory, Height, 0) == height
               ? directory
               : nullptr;
}

bool DngTags::hasAllColours(int width, int height) const
{
    const TagDirectory* const directory = ofSensor(width, height);
    return directory && ko::tool::hasAllColours(*directory);
}

std::optional<DngParts> DngTags::parts(int width, int height) const
{
    const TagDirectory* const directory = ofSensor(width, height);
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
    parts.width *= ko::tool::hasAllColours(*directory) ? 3 : 1;
    std::ranges::transform(offsets, std::back_inserter(parts.offsets), wholeOf);
    return parts;
}

std::optional<BlackLevels> DngTags::blackLevels(int width, int height) const
{
    const TagDirectory* const directory = ofSensor(width, height);
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
            side = sideOf(numbers[at]);
    };
    takeSide(repeat, 0, levels.rows);
    takeSide(repeat, 1, levels.columns);
    takeSide(area, 0, levels.top);
    takeSide(area, 1, levels.left);
    const auto areFinite = [](const Numbers& numbers) {
        return std::ranges::all_of(numbers, [](double number) { return std::isfinite(number); });
    };
    const double cells = static_cast<double>(levels.rows) * levels.columns;
    const auto count = static_cast<double>(levels.pattern.size());
    if (ko::tool::hasAllColours(*directory) && count == 3 * cells)
        levels.colours = 3;
    if (cells == 0 || count != cells * levels.colours || !areFinite(levels.pattern) ||
        !areFinite(levels.ofColumns) || !areFinite(levels.ofRows))
        return {};
    return levels;
}

QRect DngTags::activeArea(int width, int height) const
{
    const TagDirectory* const directory = ofSensor(width, height);
    const Numbers area = directory ? allOf(*directory, ActiveArea) : Numbers{};
    if (area.size() != 4)
        return {};
    return {QPoint(sideOf(area[1]), sideOf(area[0])), QPoint(sideOf(area[3]) - 1, sideOf(area[2]) - 1)};
}

QRect DngTags::crop(int width, int height) const
{
    const TagDirectory* const directory = ofSensor(width, height);
    const Numbers origin = directory ? allOf(*directory, DefaultCropOrigin) : Numbers{};
    const Numbers size = directory ? allOf(*directory, DefaultCropSize) : Numbers{};
    if (origin.size() != 2 || size.size() != 2)
        return {};
    Numbers corner = allOf(*directory, ActiveArea);
    corner.resize(2);
    return {sideOf(corner[1]) + sideOf(origin[0]), sideOf(corner[0]) + sideOf(origin[1]), sideOf(size[0]),
            sideOf(size[1])};
}

bool DngTags::partsAreWhole(LibRaw_abstract_datastream& stream) const
{
    const TagDirectory* const directory = raw();
    const std::int64_t compression = directory ? firstOf(*directory, Compression, 1) : 0;
    if (compression != LosslessJpeg && compression != LossyJpeg)
        return true;
    const bool areTiles = directory->contains(TileOffsets);
    const Numbers offsets = allOf(*directory, areTiles ? TileOffsets : StripOffsets);
    const Numbers lengths = allOf(*directory, areTiles ? TileByteCounts : StripByteCounts);
    const auto isMarkerAt = [&stream](std::int64_t place, std::uint8_t kind) {
        std::array<std::uint8_t, 2> bytes{};
        return stream.seek(place, SEEK_SET) == 0 && stream.read(bytes.data(), 2, 1) == 1 &&
               bytes == std::array<std::uint8_t, 2>{0xff, kind};
    };
    for (std::size_t part = 0; part < offsets.size(); ++part) {
        const std::int64_t start = wholeOf(offsets[part]);
        const std::int64_t length = part < lengths.size() ? wholeOf(lengths[part]) : 0;
        if (!isMarkerAt(start, 0xd8) ||
            (compression == LossyJpeg && (length < 4 || !isMarkerAt(start + length - 2, 0xd9))))
            return false;
    }
    return true;
}

bool DngTags::areMistaken(LibRaw_abstract_datastream& stream) const
{
    const TagDirectory* const directory = raw();
    if (!directory || firstOf(*directory, Compression, 1) != LosslessJpeg)
        return false;
    const Numbers tiles = allOf(*directory, TileOffsets);
    const std::int64_t width = firstOf(*directory, Width, 0);
    const std::int64_t tile = firstOf(*directory, TileWidth, width);
    const bool isOfColours = ko::tool::hasAllColours(*directory);
    if (tiles.empty() && !isOfColours)
        return false;
    const Numbers first = tiles.empty() ? allOf(*directory, StripOffsets) : tiles;
    const std::optional<JpegFrame> frame =
        first.empty() ? std::nullopt : readJpegFrame(stream, wholeOf(first[0]));
    if (!frame)
        return false;
    if (isOfColours)
        return frame->components != 3 || frame->width != tile || tile > width;
    const std::int64_t row = frame->width * frame->components;
    const bool isTakenForAll = frame->components > 1 && row * frame->components == width;
    const std::int64_t samples = row * frame->height;
    const bool isWrapped =
        tile > width && samples % tile == 0 && samples / tile == firstOf(*directory, TileLength, 0);
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
