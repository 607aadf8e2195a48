#include "io/orientation.h"

#include <cstring>

namespace ko::tool {
namespace {

bool isFromRight(int orientation)
{
    return orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
}

bool isFromBottom(int orientation)
{
    return orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
}

}  // namespace

SxImageInfo turnedFormat(SxImageInfo format, int orientation)
{
    if (isTransposed(orientation))
        std::swap(format.width, format.height);
    return format;
}

QRect turned(const QRect& part, const QSize& size, int orientation)
{
    const int left = isFromRight(orientation) ? size.width() - part.x() - part.width() : part.x();
    const int top = isFromBottom(orientation) ? size.height() - part.y() - part.height() : part.y();
    return isTransposed(orientation) ? QRect{top, left, part.height(), part.width()}
                                     : QRect{left, top, part.width(), part.height()};
}

// OpenImageIO turns samples of more than 16 bits as floats, which changes them.
Image turned(const Image& picture, int orientation)
{
    const bool fromRight = isFromRight(orientation);
    const bool fromBottom = isFromBottom(orientation);
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
