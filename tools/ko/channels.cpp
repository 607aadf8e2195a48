#include "channels.h"

#include "failure.h"
#include "geometry.h"
#include "image_file.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <stdexcept>

namespace ko::tool {
namespace {

SxImageInfo monoFormat(const SxImageInfo& like, int width, int height)
{
    SxImageInfo format = makeFormat(width, height, 1, like.dataType);
    format.bitsPerSample = like.bitsPerSample;
    return format;
}

Image crop(const Image& picture, const QRect& region)
{
    SxImageInfo format = *picture;
    format.width = region.width();
    format.height = region.height();
    Image part(format);
    require(CopyBuffer(*picture, region, *part, QPoint(), false), "CopyBuffer");
    return part;
}

std::vector<Image> splitChannels(const Image& picture)
{
    std::vector<Image> channels;
    for (int channel = 0; channel < picture->channels; ++channel) {
        channels.emplace_back(monoFormat(*picture, picture->width, picture->height));
        require(CopyChannel(*picture, channel, *channels.back(), 0), "CopyChannel");
    }
    return channels;
}

std::vector<Image> splitMosaic(const Image& mosaic, const QRect& region, ExBayerGrid grid)
{
    SxImageInfo format = makeFormat(region.width() / 2, region.height() / 2, 4, mosaic->dataType);
    format.bitsPerSample = mosaic->bitsPerSample;
    format.packing = Planar;
    Image planes(format);
    require(ConvertRawToPlanarRaw(*mosaic, region, grid, *planes), "ConvertRawToPlanarRaw");
    return splitChannels(planes);
}

/// The images of the channels, or of a mask that belongs to them.
std::vector<Image> split(const Image& picture, const QRect& region, ExBayerGrid grid)
{
    return grid == BayerNone ? splitChannels(crop(picture, region)) : splitMosaic(picture, region, grid);
}

std::vector<std::string> channelNames(const SxImageInfo& format)
{
    if (format.bayerGrid != BayerNone)
        return {"red", "green 1", "blue", "green 2"};
    if (format.channels == 1)
        return {"gray"};
    if (format.pixelFormat == 1)
        return format.channels == 3 ? std::vector<std::string>{"red", "green", "blue"}
                                    : std::vector<std::string>{"red", "green", "blue", "alpha"};
    std::vector<std::string> names;
    for (int channel = 0; channel < format.channels; ++channel)
        names.push_back("channel " + std::to_string(channel));
    return names;
}

Image readMask(const std::string& file, const SxImageInfo& picture)
{
    const Image mask = readImage(file);
    if (mask->channels != 1 || mask->width != picture.width || mask->height != picture.height)
        throw Failure(file, "a mask has one channel and the size of the picture, " +
                                std::to_string(picture.width) + " x " + std::to_string(picture.height));
    Image bytes(makeFormat(mask->width, mask->height, 1, UInt8));
    require(Binarize(*mask, *bytes, 255), "Binarize");
    return bytes;
}

/// The samples under the mask, in one row.
Image gather(const Image& channel, const Image& mask)
{
    std::int64_t count = 0;
    for (int y = 0; y < mask->height; ++y)
        count += mask->width - std::count(rowOf<std::uint8_t>(mask, y),
                                          rowOf<std::uint8_t>(mask, y) + mask->width, std::uint8_t{0});
    if (count == 0)
        throw std::runtime_error("the mask selects no sample of a channel");
    if (count > (1 << 28) - 1)
        throw std::runtime_error("the mask selects more samples than one row can hold");
    Image row(monoFormat(*channel, static_cast<int>(count), 1));
    const auto size = static_cast<std::size_t>(bytesPerSample(channel->dataType));
    std::uint8_t* to = row->data;
    for (int y = 0; y < mask->height; ++y) {
        const auto* selects = rowOf<std::uint8_t>(mask, y);
        const auto* from = rowOf<std::uint8_t>(channel, y);
        for (int x = 0; x < mask->width; ++x, from += size)
            if (selects[x] != 0) {
                std::memcpy(to, from, size);
                to += size;
            }
    }
    return row;
}

}  // namespace

void addSelectionOptions(CLI::App& command, Selection& selection)
{
    command.add_option("--mask", selection.mask,
                       "picture of one channel and the same size; only where it is not zero");
    addRegionOption(command, selection.region, "only this part; of even size for mosaics");
}

std::vector<Channel> selectChannels(const Image& picture, const Selection& selection)
{
    const QRect region = regionIn(*picture, selection.region);
    const ExBayerGrid grid = picture->bayerGrid;
    if (grid != BayerNone && !hasLevels(*picture))
        throw std::runtime_error("the samples of a mosaic must be unsigned of 8 or 16 bits");
    if (grid != BayerNone && (region.width() % 2 != 0 || region.height() % 2 != 0))
        throw std::runtime_error("a mosaic of odd size, " + std::to_string(region.width()) + " x " +
                                 std::to_string(region.height()) + "; choose an even part with --roi");
    std::vector<Image> samples = split(picture, region, grid);
    if (!selection.mask.empty()) {
        const Image mask = readMask(selection.mask, *picture);
        const std::vector<Image> masks = split(mask, region, grid);
        for (std::size_t i = 0; i < samples.size(); ++i)
            samples[i] = gather(samples[i], masks[grid == BayerNone ? 0 : i]);
    }
    const std::vector<std::string> names = channelNames(*picture);
    std::vector<Channel> channels;
    for (std::size_t i = 0; i < samples.size(); ++i)
        channels.push_back({names[i], std::move(samples[i])});
    return channels;
}

void requireLevels(const SxImageInfo& format)
{
    if (!hasLevels(format))
        throw std::runtime_error("only unsigned samples of 8 or 16 bits have levels that can be counted");
}

std::vector<std::uint32_t> countLevels(const Image& channel)
{
    CxImageHistogram histogram;
    histogram.resize(1, 1 << channel->bitsPerSample, 0);
    require(Histogram(*channel, histogram), "Histogram");
    return {histogram.bins[0], histogram.bins[0] + histogram.levels};
}

Image maskOfOnes(const SxImageInfo& format)
{
    Image mask(makeFormat(format.width, format.height, 1, UInt8));
    std::memset(mask->data, 1, imageByteSize(*mask));
    return mask;
}

unsigned otsuThreshold(const Image& channel)
{
    const std::vector<std::uint32_t> counts = countLevels(channel);
    const std::int64_t total = std::accumulate(counts.begin(), counts.end(), std::int64_t{0});
    const std::int64_t size = std::min<std::int64_t>(total, 32767);
    Image quantiles(makeFormat(static_cast<int>(size), 1, 1, UInt16));
    std::int64_t below = 0;
    std::int64_t next = 0;
    for (std::size_t level = 0; level < counts.size(); ++level) {
        below += counts[level];
        for (; next < size && (2 * next + 1) * total < 2 * below * size; ++next)
            rowOf<std::uint16_t>(quantiles, 0)[next] = static_cast<std::uint16_t>(level);
    }
    unsigned threshold = 0;
    require(ComputeOtsuThresholdMasked(*quantiles, *maskOfOnes(*quantiles), threshold),
            "ComputeOtsuThresholdMasked");
    return threshold;
}

}  // namespace ko::tool
