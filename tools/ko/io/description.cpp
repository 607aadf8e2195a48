#include "io/description.h"

#include "io/bayer.h"

#include <algorithm>
#include <charconv>
#include <sstream>

namespace ko::tool {
namespace {

/// Bits between a sample in memory and the same sample in a file.
int fileShift(const SxImageInfo& format)
{
    if (format.dataType != UInt8 && format.dataType != UInt16)
        return 0;
    return 8 * bytesPerSample(format.dataType) - format.bitsPerSample;
}

template <class T, class Move>
void moveRows(const Image& from, Image& to, Move move)
{
    const std::int64_t samples = std::int64_t{from->width} * from->channels;
    for (std::int64_t y = 0; y < from->height; ++y)
        for (std::int64_t x = 0; x < samples; ++x)
            rowOf<T>(to, y)[x] = static_cast<T>(move(rowOf<T>(from, y)[x]));
}

template <class Move>
void moveSamples(const Image& from, Image& to, Move move)
{
    if (from->dataType == UInt8)
        moveRows<std::uint8_t>(from, to, move);
    else
        moveRows<std::uint16_t>(from, to, move);
}

}  // namespace

std::string describe(const SxImageInfo& format)
{
    std::string text = "koimproc bits=" + std::to_string(format.bitsPerSample);
    if (format.bayerGrid != BayerNone)
        text += " grid=" + gridName(format.bayerGrid);
    return text;
}

void applyDescription(const std::string& text, SxImageInfo& format)
{
    std::istringstream words(text);
    std::string word;
    if (!(words >> word) || word != "koimproc")
        return;
    while (words >> word) {
        if (word.starts_with("bits=")) {
            int bits = 0;
            std::from_chars(word.data() + 5, word.data() + word.size(), bits);
            if (bits >= 1 && bits <= 8 * bytesPerSample(format.dataType))
                format.bitsPerSample = bits;
        } else if (word.starts_with("grid=") && format.channels == 1) {
            format.bayerGrid = gridOfName(word.substr(5)).value_or(BayerNone);
        }
    }
}

std::optional<Image> alignedForFile(const Image& image)
{
    const int shift = fileShift(*image);
    if (shift == 0)
        return std::nullopt;
    Image moved(*image);
    const int top = (1 << image->bitsPerSample) - 1;
    moveSamples(image, moved, [shift, top](int sample) { return std::min(sample, top) << shift; });
    return moved;
}

void alignForMemory(Image& image)
{
    if (const int shift = fileShift(*image))
        moveSamples(image, image, [shift](int sample) { return sample >> shift; });
}

}  // namespace ko::tool
