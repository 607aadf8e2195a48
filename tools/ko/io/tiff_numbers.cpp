#include "io/tiff_numbers.h"

#include <libraw/libraw.h>

#include <bit>

namespace ko::tool {

std::uint64_t wholeAt(const std::uint8_t* bytes, int size, bool isLittle)
{
    std::uint64_t number = 0;
    for (int i = 0; i < size; ++i)
        number = number << 8 | bytes[isLittle ? size - 1 - i : i];
    return number;
}

int sizeOf(int type)
{
    switch (type) {
    case LIBRAW_EXIFTAG_TYPE_BYTE:
    case LIBRAW_EXIFTAG_TYPE_ASCII:
        return 1;
    case LIBRAW_EXIFTAG_TYPE_SHORT:
        return 2;
    case LIBRAW_EXIFTAG_TYPE_LONG:
        return 4;
    case LIBRAW_EXIFTAG_TYPE_RATIONAL:
    case LIBRAW_EXIFTAG_TYPE_SRATIONAL:
        return 8;
    default:
        return 0;
    }
}

double numberAt(const std::uint8_t* bytes, int type, bool isLittle)
{
    const int size = sizeOf(type);
    if (size < 8)
        return static_cast<double>(wholeAt(bytes, size, isLittle));
    const auto above = static_cast<std::uint32_t>(wholeAt(bytes, 4, isLittle));
    const auto below = static_cast<std::uint32_t>(wholeAt(bytes + 4, 4, isLittle));
    if (type == LIBRAW_EXIFTAG_TYPE_SRATIONAL)
        return static_cast<double>(std::bit_cast<std::int32_t>(above)) / std::bit_cast<std::int32_t>(below);
    return static_cast<double>(above) / below;
}

}  // namespace ko::tool
