#include "io/orientation.h"

#include <cstring>

namespace ko::tool {

SxImageInfo turnedFormat(SxImageInfo format, int orientation)
{
    if (isTransposed(orientation))
        std::swap(format.width, format.height);
    return format;
}

// OpenImageIO turns samples of more than 16 bits as floats, which changes them.
Image turned(const Image& picture, int orientation)
{
    const bool fromRight = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    const bool fromBottom = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    Image result = allocated(turnedFormat(*picture, orientation));
    const auto pixel = static_cast<std::size_t>(picture->channels) *
                       static_cast<std::size_t>(bytesPerSample(picture->dataType));
    for (int y = 0; y < result->height; ++y) {
        std::uint8_t* to = rowOf<std::uint8_t>(result, y);
        for (int x = 0; x < result->width; ++x, to += pixel) {
            const int column = isTransposed(orientation) ? y : x;
            const int row = isTransposed(orientation) ? x : y;
            const int fromX = fromRight ? picture->width - 1 - column : column;
            const int fromY = fromBottom ? picture->height - 1 - row : row;
            std::memcpy(to, rowOf<std::uint8_t>(picture, fromY) + pixel * static_cast<std::size_t>(fromX),
                        pixel);
        }
    }
    return result;
}

}  // namespace ko::tool
