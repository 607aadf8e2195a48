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

    std::int64_t pixelBytes() const { return std::int64_t{channels} * sampleSize; }
};

/// Makes a 16-bit lane take the sample at a byte of the window.
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

/// Where the window of a group starts that holds its taps from `from` to `to` - 1; nothing where none does.
std::optional<std::int64_t> windowOf(const StretchTable& table, const Group& group, std::int64_t from,
                                     std::int64_t to, const RowShape& row)
{
    std::int64_t lowest = row.bytes, highest = 0;
    for (std::int64_t pixel = 0; pixel < group.pixels; ++pixel) {
        for (std::int64_t at = from; at < to; ++at) {
            const std::int64_t byte = tapOrNone(table, group.first + pixel, at).index * row.pixelBytes();
            lowest = std::min(lowest, byte);
            highest = std::max(highest, byte + row.pixelBytes());
        }
    }
    const std::int64_t window = std::min(lowest, row.bytes - windowBytes);
    return highest - window <= windowBytes ? std::optional(window) : std::nullopt;
}

/// Fills group `slot` of a step with taps 2 * pair and 2 * pair + 1 from the given window.
void fillGroup(StretchGatherStep& step, std::int64_t slot, const StretchTable& table, const Group& group,
               std::int64_t pair, std::int64_t window, const RowShape& row)
{
    step.window[slot] = window;
    for (std::int64_t pixel = 0; pixel < group.pixels; ++pixel) {
        for (const int second : {0, 1}) {
            const StretchTap tap = tapOrNone(table, group.first + pixel, 2 * pair + second);
            for (int c = 0; c < row.channels; ++c) {
                const auto lane =
                    static_cast<std::size_t>(2 * (slot * lanesPerGroup + pixel * row.channels + c) + second);
                step.weights[lane] = static_cast<std::int16_t>(tap.weight);
                pickSample(step.shuffle + 2 * lane,
                           tap.index * row.pixelBytes() + std::int64_t{c} * row.sampleSize - window,
                           row.sampleSize);
            }
        }
    }
}

/// Fills all steps, with a window for all pairs of a group or one for each pair; false where the taps lie too
/// far apart.
bool fillSteps(StretchGather& gather, bool oneWindow, const StretchTable& table, const RowShape& row)
{
    const std::int64_t pixelsPerGroup = lanesPerGroup / row.channels;
    gather.oneWindow = oneWindow;
    gather.steps.assign(static_cast<std::size_t>(gather.blocks * gather.pairs), {});
    for (std::int64_t i = 0; i < gather.blocks * StretchGather::groups; ++i) {
        const std::int64_t first = i * pixelsPerGroup;
        const Group group{first, std::clamp<std::int64_t>(table.outputs() - first, 0, pixelsPerGroup)};
        StretchGatherStep* const steps =
            &gather.steps[static_cast<std::size_t>(i / StretchGather::groups * gather.pairs)];
        for (std::int64_t pair = 0; group.pixels != 0 && pair < gather.pairs; ++pair) {
            const auto window = oneWindow ? windowOf(table, group, 0, 2 * gather.pairs, row)
                                          : windowOf(table, group, 2 * pair, 2 * pair + 2, row);
            if (!window)
                return false;
            fillGroup(steps[pair], i % StretchGather::groups, table, group, pair, *window, row);
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
    if (fillSteps(gather, true, table, row) || fillSteps(gather, false, table, row))
        return gather;
    return std::nullopt;
}

}  // namespace ko
