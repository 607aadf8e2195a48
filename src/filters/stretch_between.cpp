#include "filters/stretch_between.h"

#include <algorithm>

namespace ko {

std::optional<StretchBetween> arrangeBetween(const StretchTable& table, std::int64_t inputs,
                                             std::int64_t channels, std::int64_t lanes)
{
    const std::int64_t samples = inputs * channels;
    // Two neighbouring pixels always fit then.
    if (samples < lanes || 2 * channels > lanes)
        return std::nullopt;
    StretchBetween between;
    for (std::int64_t pixel = 0; pixel < table.outputs(); ++pixel) {
        const auto taps = table.taps(pixel);
        const auto two = twoOf(taps);
        if (!two)
            return std::nullopt;
        const std::int64_t nearer = taps[two->nearer].index * channels;
        const std::int64_t farther = taps[two->farther].index * channels;
        for (std::int64_t channel = 0; channel < channels; ++channel) {
            const std::int64_t result = pixel * channels + channel;
            auto& groups = between.groups;
            if (groups.empty() || result - groups.back().to == lanes ||
                std::max(nearer, farther) + channel - groups.back().from >= lanes) {
                groups.push_back({});
                groups.back().from = std::min({nearer, farther, samples - lanes});
                groups.back().to = result;
            }
            StretchBetweenGroup& group = groups.back();
            const auto lane = static_cast<std::size_t>(result - group.to);
            group.nearer[lane] = static_cast<std::int16_t>(nearer + channel - group.from);
            group.farther[lane] = static_cast<std::int16_t>(farther + channel - group.from);
            group.minusShares[lane] = two->minusShare;
        }
    }
    const std::int64_t room = static_cast<std::int64_t>(between.groups.size()) * lanes;
    if (2 * table.outputs() * channels < room)
        return std::nullopt;
    return between;
}

}  // namespace ko
