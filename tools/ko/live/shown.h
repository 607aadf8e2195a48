// Pictures for people of the frames of a camera.
#pragma once

#include "io/image.h"

#include <QRect>

#include <array>
#include <cstdint>
#include <vector>

namespace ko::tool {

/// How levels of the sensor become levels of the screen.
struct Look {
    std::array<double, 3> gains{1, 1, 1};  ///< of red, green and blue
    bool isLinear = true;  ///< the levels are in proportion to light and want the curve of screens

    bool operator==(const Look&) const = default;
};

/// Throws for a frame that cannot be shown.
void requireShowable(const SxImageInfo& frame);

inline constexpr std::int64_t mostShownPixels = 1'300'000;

/// Channels of a picture in colours: red, green, blue, and one that means nothing.
inline constexpr int shownColours = 4;

/// Makes the pictures, all of 8 bits and of one or `shownColours` channels. One thread at a time uses it.
class Shower {
public:
    /// The whole frame with at most `mostShownPixels`: each pixel is the mean of as many cells of a mosaic, or pixels
    /// of another frame, as that takes.
    Image overview(const SxImageBuf& frame, const Look& look);

    /// A region of a frame, pixel by pixel. It is moved into the frame, and made smaller where that takes it.
    Image detail(const SxImageBuf& frame, QRect region, const Look& look);

private:
    /// Levels of the screen by the upper bits of levels of the sensor, for every value that a sample can have.
    struct Tables {
        SxImageInfo format;
        Look look;
        int shift = 0;
        std::array<std::vector<std::uint8_t>, 3> levels;
    };

    void prepare(const SxImageInfo& format, const Look& look);
    template <class T>
    Image overviewOf(const SxImageBuf& frame) const;
    template <class T>
    Image cellsOf(const SxImageBuf& frame) const;
    template <class T>
    void tone(const Image& colours, Image& result) const;
    template <class T, class LevelAt>
    void applyTables(int width, int channels, std::uint8_t* to, const LevelAt& levelAt) const;

    Tables m_tables;  ///< made anew when what they depend on changes
};

}  // namespace ko::tool
