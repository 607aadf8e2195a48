#include "commands/rendering.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace ko::tool {
namespace {

constexpr int white = 65535;

/// A matrix for samples, rows after each other.
std::array<float, 9> weightsOf(const std::optional<ColourMatrix>& matrix, double gain)
{
    std::array<float, 9> weights{};
    for (std::size_t i = 0; i < weights.size(); ++i)
        weights[i] = static_cast<float>(matrix.value_or(noMatrix)[i / 3][i % 3] * gain);
    return weights;
}

/// The three colours of a pixel, within the range of the samples.
std::array<float, 3> pixelOf(const std::uint16_t* samples, const std::array<float, 9>& weights)
{
    std::array<float, 3> pixel{};
    for (std::size_t c = 0; c < 3; ++c)
        pixel[c] = std::clamp(weights[3 * c] * static_cast<float>(samples[0]) +
                                  weights[3 * c + 1] * static_cast<float>(samples[1]) +
                                  weights[3 * c + 2] * static_cast<float>(samples[2]),
                              0.0F, float{white});
    return pixel;
}

/// The share of white in a picture for a share of the light of white.
double encoded(double light, Curve curve)
{
    if (curve == LinearCurve)
        return light;
    return light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}

/// A level of the result, not yet rounded, for each level of light; one more for what lies between the last
/// two.
std::vector<float> tableOf(const Rendering& rendering)
{
    const double top = (1 << rendering.bits) - 1;
    std::vector<float> table(white + 2);
    for (int level = 0; level <= white; ++level)
        table[static_cast<std::size_t>(level)] =
            static_cast<float>(encoded(static_cast<double>(level) / white, rendering.curve) * top);
    table.back() = table[white];
    return table;
}

template <class T>
void renderRows(const Image& colours, const Rendering& rendering, Image& result)
{
    const std::array<float, 9> weights = weightsOf(rendering.matrix, rendering.gain);
    const std::vector<float> table = tableOf(rendering);
    for (int y = 0; y < colours->height; ++y) {
        const std::uint16_t* from = rowOf<std::uint16_t>(colours, y);
        T* to = rowOf<T>(result, y);
        for (int x = 0; x < colours->width; ++x, from += 3)
            for (const float light : pixelOf(from, weights)) {
                const auto level = static_cast<std::size_t>(light);
                const float part = light - static_cast<float>(level);
                *to++ = static_cast<T>(table[level] + part * (table[level + 1] - table[level]) + 0.5F);
            }
    }
}

}  // namespace

double automaticGain(const Image& colours, const std::optional<ColourMatrix>& matrix, double percent)
{
    const std::array<float, 9> weights = weightsOf(matrix, 1);
    std::vector<std::int64_t> counts(white + 1);
    for (int y = 0; y < colours->height; ++y) {
        const std::uint16_t* from = rowOf<std::uint16_t>(colours, y);
        for (int x = 0; x < colours->width; ++x, from += 3)
            ++counts[static_cast<std::size_t>(std::ranges::max(pixelOf(from, weights)))];
    }
    const double limit = static_cast<double>(pixelCount(*colours)) * percent / 100;
    std::size_t level = white;
    for (std::int64_t brighter = counts[level]; static_cast<double>(brighter) <= limit && level > 1;)
        brighter += counts[--level];
    return static_cast<double>(white) / static_cast<double>(level);
}

Image rendered(const Image& colours, const Rendering& rendering)
{
    Image result(makeFormat(colours->width, colours->height, 3, rendering.bits == 8 ? UInt8 : UInt16));
    if (rendering.bits == 8)
        renderRows<std::uint8_t>(colours, rendering, result);
    else
        renderRows<std::uint16_t>(colours, rendering, result);
    return result;
}

}  // namespace ko::tool
