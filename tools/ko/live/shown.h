// Pictures for people of the frames of a camera.
#pragma once

#include "io/image.h"

#include <QRect>

#include <array>

namespace ko::tool {

/// How levels of the sensor become levels of the screen.
struct Look {
    std::array<double, 3> gains{1, 1, 1};  ///< of red, green and blue
    bool isLinear = true;  ///< the levels are in proportion to light and want the curve of screens

    bool operator==(const Look&) const = default;
};

/// Throws for a frame that cannot be shown.
void requireShowable(const SxImageInfo& frame);

/// The whole frame with at most `mostShownPixels`: each pixel is the mean of as many cells of a mosaic, or pixels of
/// another frame, as that takes. One or three channels of 8 bits.
Image overview(const SxImageBuf& frame, const Look& look);
inline constexpr std::int64_t mostShownPixels = 1'300'000;

/// A region of a frame, pixel by pixel. It is moved into the frame, and made smaller where that takes it; `region`
/// becomes what is shown.
Image detail(const SxImageBuf& frame, QRect& region, const Look& look);

}  // namespace ko::tool
