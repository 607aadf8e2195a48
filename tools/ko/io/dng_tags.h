// What a DNG file says of its samples, where LibRaw says less or something else.
#pragma once

#include "io/dng_opcodes.h"
#include "io/dng_parts.h"
#include "io/tag_directory.h"

#include <QRect>
#include <libraw/libraw.h>

#include <array>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ko::tool {

/// Black levels of the places of a sensor. LibRaw drops fractions, takes the mean of what is added by column and
/// row, and measures masked pixels instead, which differs from frame to frame.
class BlackLevels {
public:
    /// At a place of the sensor, rounded; of one of the colours where it has them all.
    int at(int x, int y, int colour) const;

    int left = 0;  ///< corner of the active area, from which on the pattern is repeated
    int top = 0;
    int rows = 1;
    int columns = 1;
    int colours = 1;                ///< with levels of their own
    std::vector<double> pattern;    ///< `rows` times `columns` levels of each colour
    std::vector<double> ofColumns;  ///< what columns of the active area add; nothing beyond the last
    std::vector<double> ofRows;
};

/// The tags of the file that LibRaw opens while this lives.
class DngTags {
public:
    explicit DngTags(LibRaw& raw);
    DngTags(const DngTags&) = delete;
    DngTags& operator=(const DngTags&) = delete;

    /// What keeps the samples from being read, to follow the name of the file; empty where nothing is known.
    std::string obstacle() const;

    /// True where the picture of this size has red, green and blue of every pixel.
    bool hasAllColours(int width, int height) const;

    /// Of a sensor of this size; none where the file does not tell them all, or nonsense.
    std::optional<BlackLevels> blackLevels(int width, int height) const;

    /// The part of a sensor of this size that pictures should show; null where the file tells none.
    QRect crop(int width, int height) const;

    /// The part of a sensor of this size that sees light, as the file tells it; null where it does not.
    QRect activeArea(int width, int height) const;

    /// A list of the corrections that the file asks for in the samples of a sensor of this size and that LibRaw does
    /// not make; empty where there is none.
    OpcodeList opcodes(int width, int height, int list) const;

    /// Where the samples of a sensor of this size lie, all colours side by side; none where LibRaw finds them itself.
    std::optional<DngParts> parts(int width, int height) const;

    /// False where a part of the samples should begin as JPEG and does not, or should end as lossy JPEG and does not.
    /// LibRaw leaves it black or gray.
    bool partsAreWhole(LibRaw_abstract_datastream& stream) const;

    /// True where the parts are lossless JPEG and of a shape that LibRaw takes for another. It mixes the samples up.
    bool areMistaken(LibRaw_abstract_datastream& stream) const;

    /// The light of the picture as x and y, which some files have and not what gray is to the camera.
    std::optional<std::array<double, 2>> whitePoint() const;

    /// True where the calibration of this camera belongs to the matrices of its model.
    bool isCalibrated() const;

    /// The camera in the words of the file, which LibRaw shortens; empty where the file is no TIFF file.
    std::string make() const;
    std::string model() const;

    /// False where there are only numbers that stand for no orientation, of which LibRaw makes one.
    bool hasOrientation() const;

private:
    using Numbers = std::vector<double>;

    static void take(void* self, int tag, int type, int count, unsigned order, void* stream, INT64 base);
    /// That of the largest mosaic, or of the largest picture of a camera where there is no mosaic; none where the
    /// file is no DNG file.
    const TagDirectory* raw() const;
    /// A list of corrections; empty where the directory has none.
    OpcodeList opcodesOf(const TagDirectory& directory, int list) const;
    /// What any directory has of a tag.
    Numbers anywhere(int tag) const;
    /// The letters of it; empty where there are none.
    std::string text(int tag) const;
    /// The same if it is of this size.
    const TagDirectory* ofSensor(int width, int height) const;

    bool m_isLittle = true;
    std::map<int, TagDirectory> m_directories;
    std::map<std::pair<const TagDirectory*, int>, OpcodeList> m_opcodes;  ///< by directory and list
};

}  // namespace ko::tool
