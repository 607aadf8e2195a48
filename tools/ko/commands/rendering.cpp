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

/// Limits a colour to white and keeps its hue: the greatest part becomes white, and the middle one stays where it was
/// between the least and the greatest. Each part alone would make skies cyan and skin yellow. Nothing is below 0.
template <std::size_t Channels>
void limitToWhite(std::array<float, Channels>& colour)
{
    const auto [least, greatest] = std::ranges::minmax(colour);
    if (greatest <= white)
        return;
    if (least >= white) {
        colour.fill(white);
        return;
    }
    const float share = (white - least) / (greatest - least);
    for (float& part : colour)
        part = std::min(least + (part - least) * share, float{white});
}

/// The light of pixels, in sRGB and within the range of the samples; of so many channels, 3 or 1.
template <std::size_t Channels>
class Light {
public:
    Light(const Rendering& rendering, double gain) : m_light(tableOf(decoded, rendering.curve, white))
    {
        const ColourMatrix matrix = rendering.matrix.value_or(noMatrix);
        for (std::size_t c = 0; c < Channels; ++c)
            for (std::size_t i = 0; i < Channels; ++i)
                m_weights[c][i] = static_cast<float>(matrix[c][i] * gain);
    }

    std::array<float, Channels> of(const std::uint16_t* samples) const
    {
        std::array<float, Channels> pixel{};
        for (std::size_t c = 0; c < Channels; ++c) {
            for (std::size_t i = 0; i < Channels; ++i)
                pixel[c] += m_weights[c][i] * m_light[samples[i]];
            pixel[c] = std::max(pixel[c], 0.0F);
        }
        limitToWhite(pixel);
        return pixel;
    }

private:
    std::vector<float> m_light;
    std::array<std::array<float, Channels>, Channels> m_weights{};
};

/// The levels of the curve for light of 16 bits, and one more for what lies between the last and none.
std::vector<float> levelsFor(Curve curve, int top)
{
    std::vector<float> levels = tableOf(encoded, curve, top);
    levels.push_back(levels.back());
    return levels;
}

/// That of light, rounded.
std::uint32_t levelAt(const std::vector<float>& levels, float light)
{
    const auto level = static_cast<std::size_t>(light);
    const float part = light - static_cast<float>(level);
    return static_cast<std::uint32_t>(levels[level] + part * (levels[level + 1] - levels[level]) + 0.5F);
}

template <class T, std::size_t Channels>
void renderRows(const Image& colours, const Rendering& rendering, Image& result)
{
    const Light<Channels> light(rendering, rendering.gain);
    const std::vector<float> levels = levelsFor(rendering.curve, (1 << rendering.bits) - 1);
    for (int y = 0; y < colours->height; ++y) {
        const std::uint16_t* from = rowOf<std::uint16_t>(colours, y);
        T* to = rowOf<T>(result, y);
        for (int x = 0; x < colours->width; ++x, from += Channels)
            for (const float colour : light.of(from))
                *to++ = static_cast<T>(levelAt(levels, colour));
    }
}

/// How many pixels have which level as their greatest one.
template <std::size_t Channels>
std::vector<std::int64_t> brightest(const Image& colours, const Rendering& rendering)
{
    const Light<Channels> light(rendering, 1);
    std::vector<std::int64_t> counts(white + 1);
    for (int y = 0; y < colours->height; ++y) {
        const std::uint16_t* from = rowOf<std::uint16_t>(colours, y);
        for (int x = 0; x < colours->width; ++x, from += Channels)
            ++counts[static_cast<std::size_t>(std::ranges::max(light.of(from)) + 0.5F)];
    }
    return counts;
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

Brightener::Brightener(Curve curve)
    : m_light(tableOf(decoded, curve, white)), m_levels(levelsFor(curve, white))
{
}

std::uint16_t Brightener::operator()(std::uint16_t sample, float gain) const
{
    if (sample == white)
        return white;
    return static_cast<std::uint16_t>(levelAt(m_levels, std::min(m_light[sample] * gain, float{white})));
}

double automaticGain(const Image& colours, const Rendering& rendering, double percent)
{
    const std::vector<std::int64_t> counts =
        colours->channels == 1 ? brightest<1>(colours, rendering) : brightest<3>(colours, rendering);
    const double limit = static_cast<double>(pixelCount(*colours)) * percent / 100;
    std::size_t level = white;
    for (std::int64_t brighter = counts[level]; static_cast<double>(brighter) <= limit && level > 1;)
        brighter += counts[--level];
    return static_cast<double>(white) / static_cast<double>(level);
}

Image rendered(const Image& colours, const Rendering& rendering)
{
    const bool isWide = rendering.bits != 8;
    Image result(makeFormat(colours->width, colours->height, colours->channels, isWide ? UInt16 : UInt8));
    if (colours->channels == 1)
        (isWide ? renderRows<std::uint16_t, 1> : renderRows<std::uint8_t, 1>)(colours, rendering, result);
    else
        (isWide ? renderRows<std::uint16_t, 3> : renderRows<std::uint8_t, 3>)(colours, rendering, result);
    return result;
}

}  // namespace ko::tool
