#include "io/fits_file.h"

#include "cli/failure.h"
#include "io/bayer.h"
#include "io/description.h"
#include "io/replace_file.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <vector>

namespace ko::tool {
namespace {

constexpr std::size_t cardLength = 80;
constexpr std::size_t blockLength = 2880;

/// FITS knows unsigned bytes and signed wider integers; the others are stored with an offset of half their
/// range, which is their top bit inverted.
struct FitsType {
    ExImageDataType type;
    const char* bitpix;
    const char* offset;
    std::uint8_t topBit;  ///< of the first byte of a sample
};

constexpr FitsType fitsTypes[] = {
    {UInt8, "8", "0", 0},     {Int8, "8", "-128", 0x80},
    {Int16, "16", "0", 0},    {UInt16, "16", "32768", 0x80},
    {Int32, "32", "0", 0},    {UInt32, "32", "2147483648", 0x80},
    {Int64, "64", "0", 0},    {UInt64, "64", "9223372036854775808", 0x80},
    {Float32, "-32", "0", 0}, {Float64, "-64", "0", 0},
};

std::string trimmed(std::string text)
{
    text.erase(0, text.find_first_not_of(" '+"));
    text.erase(text.find_last_not_of(" '") + 1);
    return text;
}

/// A FITS file whose header has been read; the stream stands at the samples.
struct FitsInput {
    std::ifstream stream;
    SxImageInfo format;
    FitsType type{};
};

std::map<std::string, std::string> readHeader(std::ifstream& stream)
{
    std::map<std::string, std::string> header;
    std::string block(blockLength, ' ');
    while (stream.read(block.data(), blockLength)) {
        if (header.empty() && !block.starts_with("SIMPLE  =                    T"))
            break;
        for (std::size_t at = 0; at < blockLength; at += cardLength) {
            const std::string card = block.substr(at, cardLength);
            const std::string key = trimmed(card.substr(0, 8));
            if (key == "END")
                return header;
            if (card[8] == '=')
                header.emplace(key, trimmed(card.substr(10, card.find('/', 10) - 10)));
            else if (key == "COMMENT" && card.find("koimproc") != std::string::npos)
                header.emplace(key, trimmed(card.substr(8)));
        }
    }
    return {};
}

/// The number under a key, `otherwise` where there is none.
template <class T>
T numberOf(const std::map<std::string, std::string>& header, const std::string& key, T otherwise)
{
    const auto found = header.find(key);
    if (found != header.end())
        std::from_chars(found->second.data(), found->second.data() + found->second.size(), otherwise);
    return otherwise;
}

FitsInput openFits(const std::string& file)
{
    FitsInput input{std::ifstream(file, std::ios::binary), {}, {}};
    auto header = readHeader(input.stream);
    if (header.empty())
        throw Failure(file, "cannot be read as a picture: not a FITS file");
    const int axes = numberOf(header, "NAXIS", 0);
    const int width = numberOf(header, "NAXIS1", 0);
    const int height = numberOf(header, "NAXIS2", 0);
    const int channels = axes == 3 ? numberOf(header, "NAXIS3", 0) : 1;
    if (axes < 2 || axes > 3 || width < 1 || height < 1 || channels < 1)
        throw Failure(file, "holds no flat picture of numbers");

    const double offset = numberOf(header, "BZERO", 0.0);
    const auto type = std::ranges::find_if(fitsTypes, [&](const FitsType& entry) {
        return header["BITPIX"] == entry.bitpix && offset == std::strtod(entry.offset, nullptr);
    });
    if (type == std::end(fitsTypes) || numberOf(header, "BSCALE", 1.0) != 1)
        throw Failure(file, "samples with this BITPIX, BZERO and BSCALE are not supported");
    input.type = *type;
    input.format = makeFormat(width, height, channels, type->type);
    if (channels == 1)
        input.format.bayerGrid = gridOfName(header["BAYERPAT"]).value_or(BayerNone);
    applyDescription(header["COMMENT"], input.format);
    return input;
}

std::string card(const std::string& key, const std::string& value)
{
    std::string text = key;
    text.resize(8, ' ');
    text += "= ";
    if (value.size() < 20 && value.front() != '\'')
        text.append(20 - value.size(), ' ');
    text += value;
    text.resize(cardLength, ' ');
    return text;
}

std::string headerOf(const SxImageInfo& format, const FitsType& type)
{
    std::string text =
        card("SIMPLE", "T") + card("BITPIX", type.bitpix) + card("NAXIS", format.channels == 1 ? "2" : "3") +
        card("NAXIS1", std::to_string(format.width)) + card("NAXIS2", std::to_string(format.height));
    if (format.channels != 1)
        text += card("NAXIS3", std::to_string(format.channels));
    if (type.topBit != 0)
        text += card("BZERO", type.offset) + card("BSCALE", "1");
    if (format.bayerGrid != BayerNone)
        text += card("BAYERPAT", '\'' + gridName(format.bayerGrid) + "    '");
    std::string comment = "COMMENT " + describe(format);
    comment.resize(cardLength, ' ');
    text += comment + "END";
    text.resize((text.size() + blockLength - 1) / blockLength * blockLength, ' ');
    return text;
}

}  // namespace

bool isFitsName(const std::string& file)
{
    std::string ending = std::filesystem::path(file).extension().string();
    std::ranges::transform(ending, ending.begin(), [](unsigned char c) { return std::tolower(c); });
    return ending == ".fits" || ending == ".fit" || ending == ".fts";
}

FileInfo readFitsInfo(const std::string& file)
{
    return {openFits(file).format, "fits"};
}

Image readFits(const std::string& file)
{
    FitsInput input = openFits(file);
    Image image(input.format);
    const auto size = static_cast<std::size_t>(bytesPerSample(image->dataType));
    const auto pixelSize = size * static_cast<std::size_t>(image->channels);
    std::vector<std::uint8_t> row(size * static_cast<std::size_t>(image->width));
    for (int channel = 0; channel < image->channels; ++channel)
        for (int y = 0; y < image->height; ++y) {
            if (!input.stream.read(reinterpret_cast<char*>(row.data()),
                                   static_cast<std::streamsize>(row.size())))
                throw Failure(file, "is damaged or cut short");
            std::uint8_t* to = rowOf<std::uint8_t>(image, y) + size * static_cast<std::size_t>(channel);
            for (std::size_t at = 0; at < row.size(); at += size, to += pixelSize) {
                row[at] ^= input.type.topBit;
                std::reverse_copy(row.data() + at, row.data() + at + size, to);
            }
        }
    alignForMemory(image);
    return image;
}

void writeFits(const Image& image, const std::string& file)
{
    const auto type = std::ranges::find(fitsTypes, image->dataType, &FitsType::type);
    if (type == std::end(fitsTypes))
        throw Failure(file, "cannot be written: this file format cannot hold such samples");
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
    bytes.resize((bytes.size() + blockLength - 1) / blockLength * blockLength);
    replaceFile(file, bytes);
}

}  // namespace ko::tool
