#include "io/raw_samples.h"

#include "cli/failure.h"
#include "io/claims.h"

#include <utility>

namespace ko::tool {

RawSamples::RawSamples(const Source& source, LibRaw& raw, const DngTags& tags, RawStream& stream,
                       const bool& isDamaged)
{
    const libraw_image_sizes_t& sizes = raw.imgdata.sizes;
    if (raw.imgdata.idata.filters == 0 && raw.imgdata.idata.colors != 1) {
        if (!tags.hasAllColours(sizes.raw_width, sizes.raw_height))
            throw Failure(source.name,
                          "holds all colours of every pixel in a way that is not supported in camera raws");
        m_channels = 3;
    }
    // The tightest codecs of sensors need a bit for each sample, save for long runs of the same. Lossy JPEG needs two
    // for a block, and six blocks for three colours of 16 x 16 pixels: 1024 bytes of one.
    constexpr double bestRatio = 128;
    constexpr double jpegRatio = 1024;
    requireRoom(source, {2.0 * m_channels * sizes.raw_width * sizes.raw_height,
                         m_channels == 1 ? bestRatio : jpegRatio});
    if (!tags.partsAreWhole(stream))
        throw Failure(source.name, "is damaged or cut short");
    if (tags.areMistaken(stream))
        throw Failure(source.name, "its lossless JPEG has a width that is not supported in camera raws");
    if (const std::optional<DngParts> parts = tags.parts(sizes.raw_width, sizes.raw_height))
        join(source, raw, stream, *parts);
    else
        decode(source, raw, stream, isDamaged);
    if (!m_first || sizes.top_margin + sizes.height > sizes.raw_height ||
        sizes.left_margin + sizes.width > sizes.raw_width)
        throw Failure(source.name, "holds no samples that can be read");
}

void RawSamples::decode(const Source& source, LibRaw& raw, RawStream& stream, const bool& isDamaged)
{
    stream.watch();
    if (const int status = raw.unpack(); status != LIBRAW_SUCCESS)
        throw Failure(source.name, std::string("is damaged or cut short: ") + libraw_strerror(status));
    constexpr unsigned isGuessed =
        LIBRAW_WARN_NO_JPEGLIB | LIBRAW_WARN_NO_JASPER | LIBRAW_WARN_RAWSPEED_PROBLEM;
    if ((raw.imgdata.process_warnings & isGuessed) != 0)
        throw Failure(source.name, "the decoder of its samples is missing or failed");
    if (isDamaged || stream.hasRunOut())
        throw Failure(source.name, "is damaged or cut short");
    const auto& decoded = raw.imgdata.rawdata;
    m_pitch = raw.imgdata.sizes.raw_pitch / 2;
    if (m_channels == 1) {
        m_first = decoded.raw_image;
    } else if (decoded.color4_image) {
        m_first = *decoded.color4_image;
        m_step = 4;
    }
}

void RawSamples::join(const Source& source, LibRaw& raw, RawStream& stream, const DngParts& parts)
{
    const libraw_image_sizes_t& sizes = raw.imgdata.sizes;
    std::optional<std::vector<std::uint16_t>> joined =
        readParts(stream, parts, m_channels * sizes.raw_width, sizes.raw_height);
    if (!joined)
        throw Failure(source.name, "is damaged or cut short");
    m_joined = std::move(*joined);
    for (std::uint16_t& sample : m_joined)
        sample = raw.imgdata.color.curve[sample];
    m_first = m_joined.data();
    m_step = m_channels;
    m_pitch = std::ptrdiff_t{m_channels} * sizes.raw_width;
}

}  // namespace ko::tool
