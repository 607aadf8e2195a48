#include "io/netpbm_file.h"

#include "cli/failure.h"
#include "io/claims.h"
#include "io/replace_file.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <fstream>
#include <limits>
#include <optional>
#include <vector>

namespace ko::tool {
namespace {

/// A file that stands at the samples of its picture.
struct NetpbmInput {
    std::ifstream stream;
    SxImageInfo format;
    bool isText = false;
    int maximum = 0;
    Claim claim{};
};

/// The next number, behind white space and comments; nothing where there is none, or one that is too large.
std::optional<int> nextNumber(std::istream& stream)
{
    while (std::isspace(stream.peek()) != 0 || stream.peek() == '#') {
        if (stream.get() == '#')
            stream.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    std::int64_t number = 0;
    bool isThere = false;
    for (; std::isdigit(stream.peek()) != 0; isThere = true) {
        number = 10 * number + (stream.get() - '0');
        if (number > std::numeric_limits<int>::max())
            return std::nullopt;
    }
    return isThere ? std::optional(static_cast<int>(number)) : std::nullopt;
}

/// Two bytes that say what the file is: '2' and '3' stand for text, '5' and '6' for bytes.
bool isMagic(int first, int second)
{
    return first == 'P' && (second == '2' || second == '3' || second == '5' || second == '6');
}

NetpbmInput openNetpbm(const Source& source, int page)
{
    NetpbmInput input{std::ifstream(source.path, std::ios::binary), {}};
    input.stream.get();
    const int kind = input.stream.get();
    input.isText = kind == '2' || kind == '3';
    const int channels = kind == '2' || kind == '5' ? 1 : 3;
    const std::optional<int> width = nextNumber(input.stream);
    const std::optional<int> height = nextNumber(input.stream);
    const std::optional<int> maximum = nextNumber(input.stream);
    if (!width || !height || !maximum || *width < 1 || *height < 1 || *maximum < 1 || *maximum > 65535 ||
        std::isspace(input.stream.get()) == 0)
        throw Failure(source.name, "cannot be read as a picture: its header is damaged");
    if (page > 1)
        throw Failure(source.name, "has no page " + std::to_string(page) + ", it holds 1");
    input.maximum = *maximum;
    input.format = makeFormat(*width, *height, channels, *maximum > 255 ? UInt16 : UInt8);
    if (*maximum > 255 && (*maximum & (*maximum + 1)) == 0)
        input.format.bitsPerSample = std::bit_width(static_cast<unsigned>(*maximum));
    const double samples = 1.0 * *width * *height * channels;
    // Text has a digit and a space for each sample at least, save for the last space.
    const double bytes = input.isText ? 2 * samples - 1 : samples * bytesPerSample(input.format.dataType);
    input.claim.bytes = static_cast<double>(input.stream.tellg()) + bytes;
    return input;
}

/// The samples of a row as they stand in the file.
void readRow(NetpbmInput& input, const Source& source, std::vector<std::uint16_t>& row, std::string& bytes)
{
    const bool isWide = input.maximum > 255;
    if (!input.isText) {
        bytes.resize(row.size() * (isWide ? 2 : 1));
        input.stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    for (std::size_t i = 0; i < row.size() && input.stream; ++i) {
        const auto byte = [&bytes](std::size_t at) { return static_cast<unsigned char>(bytes[at]); };
        std::optional<int> level;
        if (input.isText)
            level = nextNumber(input.stream);
        else
            level = isWide ? byte(2 * i) << 8 | byte(2 * i + 1) : byte(i);
        if (!level)
            throw Failure(source.name, "is damaged or cut short: a sample is missing");
        row[i] = static_cast<std::uint16_t>(std::min(*level, input.maximum));
    }
    if (!input.stream && !input.isText)
        throw Failure(source.name, "is damaged or cut short");
}

template <class T>
void readSamples(NetpbmInput& input, const Source& source, Image& image)
{
    const unsigned top = (1U << image->bitsPerSample) - 1;
    const auto maximum = static_cast<unsigned>(input.maximum);
    std::vector<std::uint16_t> row(static_cast<std::size_t>(image->width) *
                                   static_cast<std::size_t>(image->channels));
    std::string bytes;
    for (int y = 0; y < image->height; ++y) {
        readRow(input, source, row, bytes);
        std::ranges::transform(row, rowOf<T>(image, y), [&](unsigned level) {
            return static_cast<T>((level * top + maximum / 2) / maximum);
        });
    }
}

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

bool startsAsNetpbm(const Source& source)
{
    std::ifstream stream(source.path, std::ios::binary);
    const int first = stream.get();
    return isMagic(first, stream.get()) && (std::isspace(stream.peek()) != 0 || stream.peek() == '#');
}

FileInfo readNetpbmInfo(const Source& source, int page)
{
    const NetpbmInput input = openNetpbm(source, page);
    const std::string shortfall = shortfallOf(source, input.claim);
    return {input.format, shortfall.empty() ? "pnm" : "pnm, " + shortfall};
}

Image readNetpbm(const Source& source, int page)
{
    NetpbmInput input = openNetpbm(source, page);
    requireRoom(source, input.claim);
    Image image = allocated(input.format);
    if (image->dataType == UInt8)
        readSamples<std::uint8_t>(input, source, image);
    else
        readSamples<std::uint16_t>(input, source, image);
    return image;
}

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
