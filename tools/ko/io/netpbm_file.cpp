#include "io/netpbm_file.h"

#include "io/replace_file.h"

#include <algorithm>

namespace ko::tool {
namespace {

/// The lower byte last. The file must not have levels above the greatest one that it names.
void append(std::string& bytes, const std::uint16_t* row, std::ptrdiff_t samples, int top)
{
    for (std::ptrdiff_t i = 0; i < samples; ++i) {
        const int level = std::min<int>(row[i], top);
        if (top > 255)
            bytes += static_cast<char>(level >> 8);
        bytes += static_cast<char>(level);
    }
}

void append(std::string& bytes, const std::uint8_t* row, std::ptrdiff_t samples, int top)
{
    for (std::ptrdiff_t i = 0; i < samples; ++i)
        bytes += static_cast<char>(std::min<int>(row[i], top));
}

template <class T>
std::string encoded(const Image& image)
{
    const int top = (1 << image->bitsPerSample) - 1;
    const std::ptrdiff_t samples = std::ptrdiff_t{image->width} * image->channels;
    std::string bytes = (image->channels == 1 ? "P5\n" : "P6\n") + std::to_string(image->width) + ' ' +
                        std::to_string(image->height) + '\n' + std::to_string(top) + '\n';
    bytes.reserve(bytes.size() + static_cast<std::size_t>(samples * image->height) * sizeof(T));
    for (int y = 0; y < image->height; ++y)
        append(bytes, rowOf<T>(image, y), samples, top);
    return bytes;
}

}  // namespace

bool isNetpbm(const std::string& ending, const SxImageInfo& format)
{
    const bool isEnding = ending == ".pgm" || ending == ".ppm" || ending == ".pnm";
    const bool hasChannels = format.channels == 1 || format.channels == 3;
    return isEnding && hasChannels && (format.dataType == UInt8 || format.dataType == UInt16);
}

void writeNetpbm(const Image& image, const std::string& file)
{
    replaceFile(file,
                image->dataType == UInt8 ? encoded<std::uint8_t>(image) : encoded<std::uint16_t>(image));
}

}  // namespace ko::tool
