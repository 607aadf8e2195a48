#include "commands/rendering.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace ko::tool {
namespace {

constexpr int white = 65535;

/// The way back from `encoded`.
double decoded(double level, Curve curve)
{
    if (curve == LinearCurve)
        return level;
    return level <= 0.04045 ? level / 12.92 : std::pow((level + 0.055) / 1.055, 2.4);
}

/// What a function of shares makes of every level of 16 bits, as a share of `top`.
std::vector<float> tableOf(double (*function)(double, Curve), Curve curve, int top)
{
    std::vector<float> table(white + 1);
    for (int level = 0; level <= white; ++level)
        table[static_cast<std::size_t>(level)] =
            static_cast<float>(function(static_cast<double>(level) / white, curve) * top);
    return table;
}

/// The light of pixels, in sRGB and within the range of the samples.
class Light {
public:
    Light(const Rendering& rendering, double gain) : m_light(tableOf(decoded, rendering.curve, white))
    {
        for (std::size_t i = 0; i < m_weights.size(); ++i)
            m_weights[i] = static_cast<float>(rendering.matrix.value_or(noMatrix)[i / 3][i % 3] * gain);
    }

    std::array<float, 3> of(const std::uint16_t* samples) const
    {
        std::array<float, 3> pixel{};
        for (std::size_t c = 0; c < 3; ++c)
            pixel[c] = std::clamp(m_weights[3 * c] * m_light[samples[0]] +
                                      m_weights[3 * c + 1] * m_light[samples[1]] +
                                      m_weights[3 * c + 2] * m_light[samples[2]],
                                  0.0F, float{white});
        return pixel;
    }

private:
    std::vector<float> m_light;
    std::array<float, 9> m_weights{};
};

template <class T>
void renderRows(const Image& colours, const Rendering& rendering, Image& result)
{
    const Light light(rendering, rendering.gain);
    std::vector<float> levels = tableOf(encoded, rendering.curve, (1 << rendering.bits) - 1);
    levels.push_back(levels.back());  // for what lies between the last level and none
    for (int y = 0; y < colours->height; ++y) {
        const std::uint16_t* from = rowOf<std::uint16_t>(colours, y);
        T* to = rowOf<T>(result, y);
        for (int x = 0; x < colours->width; ++x, from += 3)
            for (const float colour : light.of(from)) {
                const auto level = static_cast<std::size_t>(colour);
                const float part = colour - static_cast<float>(level);
                *to++ = static_cast<T>(levels[level] + part * (levels[level + 1] - levels[level]) + 0.5F);
            }
    }
}

}  // namespace

double encoded(double light, Curve curve)
{
    if (curve == LinearCurve)
        return light;
    return light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}

void encode(Image& samples, Curve curve)
{
    if (curve == LinearCurve)
        return;
    const std::vector<float> levels = tableOf(encoded, curve, white);
    const std::int64_t width = std::int64_t{samples->width} * samples->channels;
    for (int y = 0; y < samples->height; ++y)
        for (std::uint16_t *sample = rowOf<std::uint16_t>(samples, y), *const end = sample + width;
             sample < end; ++sample)
            *sample = static_cast<std::uint16_t>(levels[*sample] + 0.5F);
}

double automaticGain(const Image& colours, const Rendering& rendering, double percent)
{
    const Light light(rendering, 1);
    std::vector<std::int64_t> counts(white + 1);
    for (int y = 0; y < colours->height; ++y) {
        const std::uint16_t* from = rowOf<std::uint16_t>(colours, y);
        for (int x = 0; x < colours->width; ++x, from += 3)
            ++counts[static_cast<std::size_t>(std::ranges::max(light.of(from)) + 0.5F)];
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
