#include "filters/stretch_gather.h"

#include <algorithm>

namespace ko {

namespace {

constexpr int windowBytes = 16;
constexpr int lanesPerGroup = 4;

/// The part of the pass that one group does: `pixels` whole pixels from `first` on.
struct Group {
    std::int64_t first;
    std::int64_t pixels;
};

struct RowShape {
    std::int64_t bytes;
    int channels;
    int sampleSize;
};

/// Writes the samples `sample`, `sample` + 1 ... of a window into the bytes of one 16-bit lane.
void pickSample(std::uint8_t* shuffle, std::int64_t byteInWindow, int sampleSize)
{
    shuffle[0] = static_cast<std::uint8_t>(byteInWindow);
    shuffle[1] = sampleSize == 2 ? static_cast<std::uint8_t>(byteInWindow + 1) : std::uint8_t{0x80};
}

/// Tap `at` of an output position, one without weight beyond the last.
StretchTap tapOrNone(const StretchTable& table, std::int64_t output, std::int64_t at)
{
    const auto taps = table.taps(output);
    const auto count = static_cast<std::int64_t>(taps.size());
    return at < count ? taps[static_cast<std::size_t>(at)] : StretchTap{taps[taps.size() - 1].index, 0};
}

/// Fills group `slot` of a step with taps 2 * pair and 2 * pair + 1; false when they do not fit a window.
bool fillGroup(StretchGatherStep& step, int slot, const StretchTable& table, const Group& group,
               std::int64_t pair, const RowShape& row)
{
    const std::int64_t pixelBytes = std::int64_t{row.channels} * row.sampleSize;
    std::int64_t lowest = row.bytes, highest = 0;
    for (std::int64_t pixel = 0; pixel < group.pixels; ++pixel) {
        for (const int second : {0, 1}) {
            const std::int64_t at =
                tapOrNone(table, group.first + pixel, 2 * pair + second).index * pixelBytes;
            lowest = std::min(lowest, at);
            highest = std::max(highest, at + pixelBytes);
        }
    }
    const std::int64_t window = std::min(lowest, row.bytes - windowBytes);
    if (highest - window > windowBytes)
        return false;
    step.window[slot] = window;
    for (std::int64_t pixel = 0; pixel < group.pixels; ++pixel) {
        for (const int second : {0, 1}) {
            const StretchTap tap = tapOrNone(table, group.first + pixel, 2 * pair + second);
            for (int c = 0; c < row.channels; ++c) {
                const auto lane =
                    static_cast<std::size_t>(2 * (slot * lanesPerGroup + pixel * row.channels + c) + second);
                step.weights[lane] = static_cast<std::int16_t>(tap.weight);
                pickSample(step.shuffle + 2 * lane,
                           tap.index * pixelBytes + std::int64_t{c} * row.sampleSize - window,
                           row.sampleSize);
            }
        }
    }
    return true;
}

}  // namespace

std::optional<StretchGather> arrangeGather(const StretchTable& table, std::int64_t inputs, int channels,
                                           int sampleSize)
{
    const RowShape row{inputs * channels * sampleSize, channels, sampleSize};
    if (channels > lanesPerGroup || row.bytes < windowBytes)
        return std::nullopt;
    const std::int64_t pixelsPerGroup = lanesPerGroup / channels;
    const std::int64_t pixelsPerBlock = StretchGather::groups * pixelsPerGroup;
    StretchGather gather;
    gather.samplesPerGroup = static_cast<int>(pixelsPerGroup) * channels;
    gather.pairs = table.mostTaps() / 2;
    gather.blocks = (table.outputs() + pixelsPerBlock - 1) / pixelsPerBlock;
    gather.steps.resize(static_cast<std::size_t>(gather.blocks * gather.pairs), {});
    for (std::int64_t block = 0; block < gather.blocks; ++block) {
        for (std::int64_t pair = 0; pair < gather.pairs; ++pair) {
            StretchGatherStep& step = gather.steps[static_cast<std::size_t>(block * gather.pairs + pair)];
            for (int slot = 0; slot < StretchGather::groups; ++slot) {
                const std::int64_t first = block * pixelsPerBlock + slot * pixelsPerGroup;
                const std::int64_t pixels =
                    std::clamp<std::int64_t>(table.outputs() - first, 0, pixelsPerGroup);
                if (pixels != 0 && !fillGroup(step, slot, table, {first, pixels}, pair, row))
                    return std::nullopt;
            }
        }
    }
    return gather;
}

}  // namespace ko
