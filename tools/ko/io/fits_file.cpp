#include "io/fits_file.h"

#include "cli/failure.h"
#include "io/bayer.h"
#include "io/claims.h"
#include "io/description.h"
#include "io/fits_header.h"
#include "io/fits_types.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <limits>
#include <optional>
#include <type_traits>
#include <vector>

namespace ko::tool {
namespace {

const std::string primaryCard = "SIMPLE  =                    T";
const std::string extensionCard = "XTENSION= ";

/// Samples that stand for other numbers than they are.
struct Scaling {
    double scale;
    double offset;
    std::optional<std::int64_t> blank;
};

/// A FITS file that stands at the samples of a picture.
struct FitsInput {
    FitsStream stream;
    FitsHeader header;
    SxImageInfo format;
    FitsType type{};  ///< in the file
    std::optional<Scaling> scaling;
    Claim claim{};
};

bool isPicture(const FitsHeader& header)
{
    const auto extension = header.find("XTENSION");
    const bool isArray = extension == header.end() || extension->second == "IMAGE";
    return isArray && numberOf(header, "NAXIS", 0) >= 2 && dataSizeOf(header) > 0;
}

FitsHeader nextHeader(FitsStream& stream, const FitsHeader& header)
{
    return stream.skip(dataSizeOf(header)) ? stream.readHeader(extensionCard) : FitsHeader();
}

/// Puts the stream to the samples of a page.
FitsInput findPage(const Source& source, int page)
{
    FitsStream stream(source);
    FitsHeader header = stream.readHeader(primaryCard);
    if (header.empty())
        throw Failure(source.name, "cannot be read as a picture: not a FITS file");
    int pages = 0;
    bool isTiled = false;
    while (!header.empty() && !(isPicture(header) && ++pages == page)) {
        isTiled = isTiled || header.contains("ZIMAGE");
        header = nextHeader(stream, header);
    }
    if (header.empty() && pages > 0)
        throw Failure(source.name,
                      "has no page " + std::to_string(page) + ", it holds " + std::to_string(pages));
    if (header.empty())
        throw Failure(source.name, isTiled ? "its pictures are compressed in tiles; funpack unpacks them"
                                           : "holds no flat picture of numbers");
    return {std::move(stream), std::move(header), {}, {}, {}, {}};
}

/// Sets the type of the samples and what they stand for.
void describeSamples(FitsInput& input, const Source& source)
{
    const int bitpix = numberOf(input.header, "BITPIX", 0);
    const double scale = numberOf(input.header, "BSCALE", 1.0);
    const double offset = numberOf(input.header, "BZERO", 0.0);
    const auto find = [&](double wanted) {
        return std::ranges::find_if(fitsTypes, [&](const FitsType& entry) {
            return entry.bitpix == bitpix && entry.offset == wanted;
        });
    };
    const auto plain = find(0);
    if (plain == std::end(fitsTypes))
        throw Failure(source.name, "samples with this BITPIX are not supported");
    const auto exact = scale == 1 ? find(offset) : std::end(fitsTypes);
    const bool hasBlank = bitpix > 0 && input.header.contains("BLANK");
    // Integers with an offset of half their range have no blank samples, as astropy reads them.
    const bool isExact = exact != std::end(fitsTypes) && (exact->topBit != 0 || !hasBlank);
    input.type = isExact ? *exact : *plain;
    if (isExact)
        return;
    input.scaling = {scale, offset, {}};
    if (hasBlank)
        input.scaling->blank = numberOf<std::int64_t>(input.header, "BLANK", 0);
}

FitsInput openFits(const Source& source, int page)
{
    FitsInput input = findPage(source, page);
    const int axes = numberOf(input.header, "NAXIS", 0);
    const int width = numberOf(input.header, "NAXIS1", 0);
    const int height = numberOf(input.header, "NAXIS2", 0);
    const int channels = axes > 2 ? numberOf(input.header, "NAXIS3", 0) : 1;
    int others = 1;
    for (int axis = 4; axis <= std::min(axes, 999) && others == 1; ++axis)
        others = numberOf(input.header, "NAXIS" + std::to_string(axis), 0);
    if (width < 1 || height < 1 || channels < 1 || others != 1)
        throw Failure(source.name, "holds no flat picture of numbers");

    describeSamples(input, source);
    const bool isSingle = input.type.bitpix == -32 || input.type.bitpix == 8 || input.type.bitpix == 16;
    input.format = makeFormat(width, height, channels,
                              !input.scaling ? input.type.type
                              : isSingle     ? Float32
                                             : Float64);
    // Of a part of the sensor, the pattern is that of the sensor and the offsets say where in it the part begins.
    if (channels == 1)
        input.format.bayerGrid =
            gridAt(gridOfName(input.header["BAYERPAT"]).value_or(BayerNone),
                   numberOf(input.header, "XBAYROFF", 0), numberOf(input.header, "YBAYROFF", 0));
    applyDescription(input.header["COMMENT"], input.format);
    input.claim = {input.stream.position() + dataSizeOf(input.header),
                   input.stream.isCompressed() ? deflateRatio : 1};
    return input;
}

// --------------------------------------------------------------------------------------------- samples

/// Turns the samples of a row into those of one channel in memory.
void placeExact(std::vector<std::uint8_t>& row, const FitsType& type, std::uint8_t* to, std::size_t pixelSize)
{
    const auto size = static_cast<std::size_t>(bytesPerSample(type.type));
    for (std::size_t at = 0; at < row.size(); at += size, to += pixelSize) {
        row[at] ^= type.topBit;
        std::reverse_copy(row.data() + at, row.data() + at + size, to);
    }
}

/// The same where they stand for other numbers: in the arithmetic of the result, as astropy has it.
template <class Stored, class Real>
void placeScaled(const std::vector<std::uint8_t>& row, const Scaling& scaling, std::uint8_t* to,
                 std::size_t pixelSize)
{
    for (std::size_t at = 0; at < row.size(); at += sizeof(Stored), to += pixelSize) {
        std::array<std::uint8_t, sizeof(Stored)> bytes;
        std::memcpy(bytes.data(), row.data() + at, sizeof(Stored));
        std::reverse(bytes.begin(), bytes.end());
        const auto stored = std::bit_cast<Stored>(bytes);
        Real real = static_cast<Real>(stored);
        if (scaling.scale != 1)
            real *= static_cast<Real>(scaling.scale);
        if (scaling.offset != 0)
            real += static_cast<Real>(scaling.offset);
        if (std::is_integral_v<Stored> && scaling.blank &&
            static_cast<std::int64_t>(stored) == *scaling.blank)
            real = std::numeric_limits<Real>::quiet_NaN();
        std::memcpy(to, &real, sizeof real);
    }
}

void place(std::vector<std::uint8_t>& row, const FitsInput& input, std::uint8_t* to, std::size_t pixelSize)
{
    if (!input.scaling)
        return placeExact(row, input.type, to, pixelSize);
    switch (input.type.bitpix) {
    case 8:
        return placeScaled<std::uint8_t, float>(row, *input.scaling, to, pixelSize);
    case 16:
        return placeScaled<std::int16_t, float>(row, *input.scaling, to, pixelSize);
    case 32:
        return placeScaled<std::int32_t, double>(row, *input.scaling, to, pixelSize);
    case 64:
        return placeScaled<std::int64_t, double>(row, *input.scaling, to, pixelSize);
    case -32:
        return placeScaled<float, float>(row, *input.scaling, to, pixelSize);
    default:
        return placeScaled<double, double>(row, *input.scaling, to, pixelSize);
    }
}

}  // namespace

bool isFitsEnding(const std::string& ending)
{
    return ending == ".fits" || ending == ".fit" || ending == ".fts";
}

bool isFitsName(const std::string& file)
{
    std::string name = file;
    std::ranges::transform(name, name.begin(), [](unsigned char c) { return std::tolower(c); });
    const std::filesystem::path path(name);
    return isFitsEnding((path.extension() == ".gz" ? path.stem() : path).extension().string());
}

bool startsAsFits(const Source& source)
{
    return !FitsStream(source).readHeader(primaryCard).empty();
}

FileInfo readFitsInfo(const Source& source, int page)
{
    FitsInput input = openFits(source, page);
    const std::string kind = input.stream.isCompressed() ? "fits in gzip" : "fits";
    if (const std::string shortfall = shortfallOf(source, input.claim); !shortfall.empty())
        return {input.format, kind + ", " + shortfall};
    int pages = page;
    FitsHeader header = input.header;
    while (!(header = nextHeader(input.stream, header)).empty())
        pages += isPicture(header);
    return {input.format,
            pages == 1 ? kind : kind + ", page " + std::to_string(page) + " of " + std::to_string(pages)};
}

Image readFits(const Source& source, int page)
{
    FitsInput input = openFits(source, page);
    requireRoom(source, input.claim);
    Image image = allocated(input.format);
    const auto size = static_cast<std::size_t>(bytesPerSample(image->dataType));
    const auto pixelSize = size * static_cast<std::size_t>(image->channels);
    std::vector<std::uint8_t> row(static_cast<std::size_t>(std::abs(input.type.bitpix)) / 8 *
                                  static_cast<std::size_t>(image->width));
    for (int channel = 0; channel < image->channels; ++channel)
        for (int y = 0; y < image->height; ++y) {
            if (!input.stream.read(row.data(), row.size()))
                throw Failure(source.name, "is damaged or cut short");
            place(row, input, rowOf<std::uint8_t>(image, y) + size * static_cast<std::size_t>(channel),
                  pixelSize);
        }
    if (input.stream.isCompressed() && !input.stream.endsRight())
        throw Failure(source.name, "is damaged or cut short");
    alignForMemory(image);
    return image;
}

}  // namespace ko::tool
