#include "filters/resize_plan.h"

#include <algorithm>

namespace ko {

namespace {

double weightOf(const ResizeTaps& taps, std::int64_t tap, std::int64_t inner)
{
    if (tap == 0)
        return static_cast<double>(taps.firstWeight);
    if (tap >= taps.count)
        return 0;
    return static_cast<double>(tap == taps.count - 1 ? taps.lastWeight : inner);
}

}  // namespace

ResizePlan::ResizePlan(const ResizeAxis& axis, std::int64_t results, std::int64_t pixelSamples,
                       std::size_t lanes)
    : samples(results * pixelSamples),
      channels(pixelSamples),
      innerCount(axis.innerCount()),
      endCount(axis.endCount()),
      inner(static_cast<double>(axis.inner()))
{
    const auto span = static_cast<std::int64_t>(lanes);
    std::int64_t lowest = 0, highest = 0;
    for (std::int64_t sample = 0; sample < samples; ++sample) {
        const ResizeTaps taps = axis.taps(sample / channels);
        const std::int64_t at = taps.first * channels + sample % channels;
        lowest = std::min(lowest, at);
        highest = std::max(highest, at);
        if (groups.empty() || sample - groups.back().to == span || highest - lowest >= span) {
            groups.push_back({});
            groups.back().to = sample;
            lowest = highest = at;
        }
        ResizeGroup& group = groups.back();
        const auto lane = static_cast<std::size_t>(sample - group.to);
        // Lanes are counted from sum 0 until the group is complete and its first sum is known.
        group.lanes[lane] = at;
        group.from = lowest;
        group.weights[0][lane] = weightOf(taps, 0, axis.inner());
        for (std::int64_t end = 1; end <= endCount; ++end)
            group.weights[end][lane] = weightOf(taps, innerCount + end, axis.inner());
    }
    for (ResizeGroup& group : groups)
        for (std::int64_t& lane : group.lanes)
            lane = std::max<std::int64_t>(lane - group.from, 0);
}

}  // namespace ko
