#include "filters/resize_plan.h"

#include <algorithm>

namespace ko {

namespace {

std::int64_t weightOf(const ResizeTaps& taps, std::int64_t tap, std::int64_t inner)
{
    if (tap == 0)
        return taps.firstWeight;
    if (tap >= taps.count)
        return 0;
    return tap == taps.count - 1 ? taps.lastWeight : inner;
}

}  // namespace

template <class F>
ResizePlan<F>::ResizePlan(const ResizeAxis& axis, std::int64_t results, std::int64_t pixelSamples,
                          std::int64_t lanes)
    : samples(results * pixelSamples),
      channels(pixelSamples),
      innerCount(axis.innerCount()),
      endCount(axis.endCount()),
      inner(static_cast<F>(axis.inner()))
{
    using Lane = typename ResizeGroup<F>::Lane;
    std::int64_t lowest = 0, highest = 0, firstOfGroup = 0;
    for (std::int64_t pixel = 0; pixel < results; ++pixel) {
        const ResizeTaps taps = axis.taps(pixel);
        for (std::int64_t channel = 0; channel < channels; ++channel) {
            const std::int64_t sample = pixel * channels + channel, at = taps.first * channels + channel;
            lowest = std::min(lowest, at);
            highest = std::max(highest, at);
            if (groups.empty() || sample - groups.back().to == lanes || highest - lowest >= lanes) {
                groups.push_back({});
                groups.back().to = sample;
                lowest = highest = firstOfGroup = at;
            }
            ResizeGroup<F>& group = groups.back();
            const auto lane = static_cast<std::size_t>(sample - group.to);
            // Counted from the group's first result until its lowest sum is known.
            group.lanes[lane] = static_cast<Lane>(at - firstOfGroup);
            group.from = lowest;
            group.weights[0][lane] = static_cast<F>(weightOf(taps, 0, axis.inner()));
            for (std::int64_t end = 1; end <= endCount; ++end)
                group.weights[end][lane] = static_cast<F>(weightOf(taps, innerCount + end, axis.inner()));
        }
    }
    for (ResizeGroup<F>& group : groups) {
        const Lane below = std::min<Lane>(0, *std::min_element(group.lanes, group.lanes + lanes));
        for (Lane& lane : group.lanes)
            lane = static_cast<Lane>(lane - below);
    }
}

template struct ResizePlan<float>;
template struct ResizePlan<double>;

}  // namespace ko
