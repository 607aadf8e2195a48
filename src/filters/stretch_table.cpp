#include "filters/stretch_table.h"

#include <algorithm>
#include <cmath>

namespace ko {

namespace {

constexpr std::uint32_t one = 65536;
constexpr std::uint32_t largestFactor = 32767;

/// Weights of a tent of `weights.size()` taps around a centre with the given fraction, in 1/65536; what
/// truncation loses goes to the middle.
void fillTent(std::vector<std::uint32_t>& weights, double half, double fraction)
{
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < weights.size(); ++i) {
        const double distance = static_cast<double>(i) + fraction - half;
        const double share = std::max(0.0, (half - std::fabs(distance)) / (half + half));
        weights[i] = static_cast<std::uint32_t>(share * 65536.0);
        sum += weights[i];
    }
    const double factor = 65536.0 / static_cast<double>(sum);
    std::uint32_t normalised = 0;
    for (std::uint32_t& weight : weights) {
        weight = static_cast<std::uint32_t>(weight * factor);
        normalised += weight;
    }
    weights[weights.size() / 2] += one - normalised;
}

}  // namespace

std::optional<StretchTwo> twoOf(std::span<const StretchTap> taps) noexcept
{
    std::size_t second = 0;
    std::int32_t weight = 0;
    for (std::size_t i = 1; i < taps.size(); ++i) {
        if (taps[i].weight == 0 || taps[i].index == taps[0].index)
            continue;
        if (weight != 0 && taps[i].index != taps[second].index)
            return std::nullopt;
        second = i;
        weight += taps[i].weight;
    }
    constexpr auto all = static_cast<std::int32_t>(one);
    if (weight <= all / 2)
        return StretchTwo{0, second, static_cast<std::int16_t>(-weight)};
    return StretchTwo{second, 0, static_cast<std::int16_t>(weight - all)};
}

StretchTable::StretchTable(std::int64_t inputs, std::int64_t outputs)
{
    const double scale = static_cast<double>(inputs) / static_cast<double>(outputs);
    const bool enlarges = scale < 1.0;
    const std::int64_t count = enlarges ? 2 : static_cast<std::int64_t>(scale + 2.0);
    const double half = static_cast<double>(count) * 0.5;
    std::vector<std::uint32_t> weights(static_cast<std::size_t>(count));
    m_first.reserve(static_cast<std::size_t>(outputs) + 1);
    for (std::int64_t output = 0; output < outputs; ++output) {
        const double centre = (static_cast<double>(output) + 0.5) * scale;
        const double fraction = centre - std::floor(centre);
        if (enlarges) {
            weights[1] = static_cast<std::uint32_t>(fraction * 65536.0);
            weights[0] = one - weights[1];
        } else {
            fillTent(weights, half, fraction);
        }
        for (std::int64_t i = 0; i < count; ++i) {
            // Rounded after each step: near whole numbers another order would name another input.
            const double position = (static_cast<double>(i) + centre) - half;
            addTap(std::clamp<std::int64_t>(static_cast<std::int64_t>(position), 0, inputs - 1),
                   weights[static_cast<std::size_t>(i)]);
        }
        endOutput();
    }
}

void StretchTable::addTap(std::int64_t index, std::uint32_t weight)
{
    while (weight != 0) {
        const std::uint32_t part = std::min(weight, largestFactor);
        m_taps.push_back({static_cast<std::int32_t>(index), static_cast<std::int32_t>(part)});
        weight -= part;
    }
}

void StretchTable::endOutput()
{
    if ((m_taps.size() - m_first.back()) % 2 != 0)
        m_taps.push_back({m_taps.back().index, 0});
    m_first.push_back(m_taps.size());
    const std::span<const StretchTap> own = taps(outputs() - 1);
    m_mostTaps = std::max(m_mostTaps, static_cast<std::int64_t>(own.size()));
    for (const StretchTap& tap : own)
        m_inputsSeen = std::max(m_inputsSeen, std::int64_t{tap.index} + 1);
    for (const StretchTap& tap : own)
        m_inputsKept = std::max(m_inputsKept, m_inputsSeen - tap.index);
}

}  // namespace ko
