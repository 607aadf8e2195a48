#include "commands/channels.h"

#include "cli/failure.h"
#include "io/geometry.h"
#include "io/levels.h"
#include "io/masks.h"
#include "io/mosaic.h"
#include "io/parts.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>

namespace ko::tool {
namespace {

/// The images of the channels, or of a mask that belongs to them.
std::vector<Image> split(const Image& picture, const QRect& region, ExBayerGrid grid)
{
    const Image whole = grid == BayerNone ? cropOf(picture, region) : planesOf(picture, region, grid);
    std::vector<Image> channels;
    for (int channel = 0; channel < whole->channels; ++channel)
        channels.push_back(channelOf(whole, channel));
    return channels;
}

std::int64_t countSelected(const Image& mask)
{
    std::int64_t count = 0;
    for (int y = 0; y < mask->height; ++y) {
        const auto* row = rowOf<std::uint8_t>(mask, y);
        count += mask->width - std::count(row, row + mask->width, std::uint8_t{0});
    }
    return count;
}

template <class T>
std::int64_t deselectNaN(const Image& samples, Image& mask)
{
    std::int64_t count = 0;
    for (int y = 0; y < samples->height; ++y) {
        const T* from = rowOf<T>(samples, y);
        auto* selects = rowOf<std::uint8_t>(mask, y);
        for (int x = 0; x < samples->width; ++x)
            if (selects[x] != 0 && std::isnan(from[x])) {
                selects[x] = 0;
                ++count;
            }
    }
    return count;
}

}  // namespace

void addSelection(Settings& settings, Selection& selection)
{
    settings.file("mask", selection.mask,
                  "picture of one channel and the same size; only where it is not zero");
    settings.region("roi", selection.region, "only this part; of even size for mosaics");
}

std::vector<Channel> selectChannels(const Image& picture, const Selection& selection)
{
    const QRect region = selectedRegion(*picture, selection);
    const ExBayerGrid grid = picture->bayerGrid;
    std::vector<Image> samples = split(picture, region, grid);
    const std::vector<std::string> names = channelNames(*picture);
    std::vector<Channel> channels;
    for (std::size_t i = 0; i < samples.size(); ++i)
        channels.push_back({names[i], std::move(samples[i]), std::nullopt});
    if (const auto mask = readMask(selection.mask)) {
        std::vector<Image> masks = split(mask->of(*picture), region, grid);
        for (std::size_t i = 0; i < channels.size(); ++i) {
            channels[i].mask = copyOf(masks[grid == BayerNone ? 0 : i]);
            if (countSelected(*channels[i].mask) == 0)
                throw std::runtime_error("the mask selects no sample of a channel");
        }
    }
    return channels;
}

std::int64_t leaveOutNaN(Channel& channel)
{
    const Image& samples = channel.samples;
    if (!isFloating(*samples))
        return 0;
    Image numbers = channel.mask ? copyOf(*channel.mask) : maskOfOnes(*samples);
    const std::int64_t count = samples->dataType == Float32 ? deselectNaN<float>(samples, numbers)
                                                            : deselectNaN<double>(samples, numbers);
    if (count > 0)
        channel.mask = std::move(numbers);
    return count;
}

bool isEmpty(const Channel& channel)
{
    return channel.mask && countSelected(*channel.mask) == 0;
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

QRect selectedRegion(const SxImageInfo& format, const Selection& selection)
{
    const QRect region = regionIn(format, selection.region);
    if (format.bayerGrid != BayerNone && !hasLevels(format))
        throw std::runtime_error("the samples of a mosaic must be unsigned of 8 or 16 bits");
    if (format.bayerGrid != BayerNone)
        requireEven(region.size(), "; choose an even part with --roi");
    return region;
}

Image gather(const Channel& channel)
{
    if (!channel.mask)
        return copyOf(channel.samples);
    const Image& mask = *channel.mask;
    const std::int64_t count = countSelected(mask);
    if (count > (1 << 28) - 1)
        throw std::runtime_error("the mask selects more samples than one row can hold");
    Image row(resized(*channel.samples, static_cast<int>(count), 1, 1));
    const auto size = static_cast<std::size_t>(bytesPerSample(row->dataType));
    std::uint8_t* to = row->data;
    for (int y = 0; y < mask->height; ++y) {
        const auto* selects = rowOf<std::uint8_t>(mask, y);
        const auto* from = rowOf<std::uint8_t>(channel.samples, y);
        for (int x = 0; x < mask->width; ++x, from += size)
            if (selects[x] != 0) {
                std::memcpy(to, from, size);
                to += size;
            }
    }
    return row;
}

std::vector<std::uint32_t> countLevels(const Channel& channel)
{
    CxImageHistogram histogram;
    histogram.resize(1, 1 << channel.samples->bitsPerSample, 0);
    if (channel.mask)
        require(HistogramMasked(*channel.samples, **channel.mask, histogram), "HistogramMasked");
    else
        require(Histogram(*channel.samples, histogram), "Histogram");
    return {histogram.bins[0], histogram.bins[0] + histogram.levels};
}

unsigned otsuThreshold(const std::vector<std::uint32_t>& counts)
{
    std::int64_t pixels = 0;
    std::int64_t sum = 0;
    for (std::size_t level = 0; level < counts.size(); ++level) {
        pixels += counts[level];
        sum += static_cast<std::int64_t>(level) * counts[level];
    }
    std::int64_t below = 0;
    std::int64_t sumBelow = 0;
    double best = 0;
    unsigned threshold = 0;
    for (std::size_t level = 0; level < counts.size(); ++level) {
        below += counts[level];
        sumBelow += static_cast<std::int64_t>(level) * counts[level];
        const std::int64_t above = pixels - below;
        if (below == 0 || above == 0)
            continue;
        const double distance = static_cast<double>(sumBelow) / static_cast<double>(below) -
                                static_cast<double>(sum - sumBelow) / static_cast<double>(above);
        const double variance = static_cast<double>(below) * static_cast<double>(above) * distance * distance;
        if (variance >= best) {
            best = variance;
            threshold = static_cast<unsigned>(level);
        }
    }
    return threshold;
}

}  // namespace ko::tool
