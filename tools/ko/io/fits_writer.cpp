#include "io/fits_file.h"

#include "cli/failure.h"
#include "cli/transfer.h"
#include "io/bayer.h"
#include "io/description.h"
#include "io/fits_types.h"
#include "io/replace_file.h"

#include <algorithm>
#include <array>
#include <optional>

namespace ko::tool {
namespace {

std::string card(const std::string& key, const std::string& value)
{
    std::string text = key;
    text.resize(8, ' ');
    text += "= ";
    if (value.size() < 20 && value.front() != '\'')
        text.append(20 - value.size(), ' ');
    text += value;
    text.resize(fitsCardLength, ' ');
    return text;
}

std::string headerOf(const SxImageInfo& format, const FitsType& type)
{
    std::string text = card("SIMPLE", "T") + card("BITPIX", std::to_string(type.bitpix)) +
                       card("NAXIS", format.channels == 1 ? "2" : "3") +
                       card("NAXIS1", std::to_string(format.width)) +
                       card("NAXIS2", std::to_string(format.height));
    if (format.channels != 1)
        text += card("NAXIS3", std::to_string(format.channels));
    if (type.topBit != 0)
        text += card("BZERO", type.offsetText) + card("BSCALE", "1");
    if (format.bayerGrid != BayerNone)
        text += card("BAYERPAT", '\'' + gridName(format.bayerGrid) + "    '");
    std::string comment = "COMMENT " + describe(format);
    comment.resize(fitsCardLength, ' ');
    text += comment + "END";
    text.resize((text.size() + fitsBlockLength - 1) / fitsBlockLength * fitsBlockLength, ' ');
    return text;
}

}  // namespace

void writeFits(const Image& image, const std::string& file)
{
    const auto type = std::ranges::find(fitsTypes, image->dataType, &FitsType::type);
    if (type == std::end(fitsTypes))
        throw Failure(nameOfOutput(file), "cannot be written: this file format cannot hold such samples");
    const std::optional<Image> moved = alignedForFile(image);
    const Image& aligned = moved ? *moved : image;
    const auto size = static_cast<std::size_t>(bytesPerSample(image->dataType));
    const auto pixelSize = size * static_cast<std::size_t>(image->channels);
    std::string bytes = headerOf(*image, *type);
    for (int channel = 0; channel < image->channels; ++channel)
        for (int y = 0; y < image->height; ++y) {
            const std::uint8_t* from =
                rowOf<std::uint8_t>(aligned, y) + size * static_cast<std::size_t>(channel);
            for (int x = 0; x < image->width; ++x, from += pixelSize) {
                std::array<std::uint8_t, 8> sample;
                std::reverse_copy(from, from + size, sample.begin());
                sample[0] ^= type->topBit;
                bytes.append(sample.begin(), sample.begin() + size);
            }
        }
    bytes.resize((bytes.size() + fitsBlockLength - 1) / fitsBlockLength * fitsBlockLength);
    replaceFile(file, bytes);
}

}  // namespace ko::tool
