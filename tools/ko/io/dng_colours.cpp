#include "io/dng_colours.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

namespace ko::tool {
namespace {

constexpr Colour d50{0.96422, 1, 0.82521};
constexpr Colour d65{0.95047, 1, 1.08883};

/// From XYZ whose white is D65.
constexpr ColourMatrix toSrgb{{{3.2404542, -1.5371385, -0.4985314},
                               {-0.9692660, 1.8760108, 0.0415560},
                               {0.0556434, -0.2040259, 1.0572252}}};

/// From XYZ to the responses in which white is adapted: those of Bradford.
constexpr ColourMatrix toCones{
    {{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};

Colour operator*(const ColourMatrix& a, const Colour& b)
{
    Colour result{};
    for (std::size_t i = 0; i < 3; ++i)
        result[i] = a[i][0] * b[0] + a[i][1] * b[1] + a[i][2] * b[2];
    return result;
}

ColourMatrix operator*(const ColourMatrix& a, const ColourMatrix& b)
{
    ColourMatrix result{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            result[i][j] = a[i][0] * b[0][j] + a[i][1] * b[1][j] + a[i][2] * b[2][j];
    return result;
}

ColourMatrix diagonal(const Colour& numbers)
{
    return {{{numbers[0], 0, 0}, {0, numbers[1], 0}, {0, 0, numbers[2]}}};
}

/// Not finite where there is none.
ColourMatrix inverse(const ColourMatrix& m)
{
    ColourMatrix result{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            result[j][i] = m[(i + 1) % 3][(j + 1) % 3] * m[(i + 2) % 3][(j + 2) % 3] -
                           m[(i + 1) % 3][(j + 2) % 3] * m[(i + 2) % 3][(j + 1) % 3];
    const double determinant = m[0][0] * result[0][0] + m[0][1] * result[1][0] + m[0][2] * result[2][0];
    for (Colour& row : result)
        for (double& number : row)
            number /= determinant;
    return result;
}

ColourMatrix between(const ColourMatrix& a, const ColourMatrix& b, double share)
{
    ColourMatrix result{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            result[i][j] = a[i][j] + share * (b[i][j] - a[i][j]);
    return result;
}

bool arePositive(const Colour& numbers)
{
    return std::ranges::all_of(numbers, [](double n) { return std::isfinite(n) && n > 0; });
}

Colour inverse(const Colour& numbers)
{
    return {1 / numbers[0], 1 / numbers[1], 1 / numbers[2]};
}

/// From colours under one white to how they look under another one.
ColourMatrix adaptation(const Colour& from, const Colour& to)
{
    const Colour now = toCones * from;
    const Colour then = toCones * to;
    return inverse(toCones) * diagonal({then[0] / now[0], then[1] / now[1], then[2] / now[2]}) * toCones;
}

/// 10^6 / temperature of a light that Exif numbers; 0 where that says none.
double coldnessOf(int light)
{
    // Of the ranges of fluorescent lamps the middle.
    constexpr std::array<double, 25> temperatures{0,    5500, 4150, 2850, 5500, 0,    0,    0,    0,
                                                  5500, 6500, 7500, 6400, 5050, 4150, 3525, 2925, 2856,
                                                  4874, 6774, 5503, 6504, 7504, 5003, 3200};
    const double kelvin = light >= 0 && light < static_cast<int>(temperatures.size())
                              ? temperatures[static_cast<std::size_t>(light)]
                              : 0;
    return kelvin > 0 ? 1e6 / kelvin : 0;
}

/// How far in the diagram of 1960 a colour lies from a black body, squared. The curve of black bodies is that of
/// M. Krystek (1985), which holds from 1,000 to 15,000 K.
double distanceFrom(double coldness, double u, double v)
{
    const double t = 1e6 / coldness;
    const double bodyU = (0.860117757 + 1.54118254e-4 * t + 1.28641212e-7 * t * t) /
                         (1 + 8.42420235e-4 * t + 7.08145163e-7 * t * t);
    const double bodyV = (0.317398726 + 4.22806245e-5 * t + 4.20481691e-8 * t * t) /
                         (1 - 2.89741816e-5 * t + 1.61456053e-7 * t * t);
    return (u - bodyU) * (u - bodyU) + (v - bodyV) * (v - bodyV);
}

/// That of the black body whose colour is nearest.
double coldnessOf(const Colour& xyz)
{
    const double sum = xyz[0] + 15 * xyz[1] + 3 * xyz[2];
    double least = 1e6 / 15000;
    double greatest = 1e6 / 1000;
    for (int i = 0; i < 40; ++i) {
        const double third = (greatest - least) / 3;
        const bool isLess = distanceFrom(least + third, 4 * xyz[0] / sum, 6 * xyz[1] / sum) <
                            distanceFrom(greatest - third, 4 * xyz[0] / sum, 6 * xyz[1] / sum);
        (isLess ? greatest : least) += isLess ? -third : third;
    }
    return least;
}

/// None where LibRaw has found none, which then leaves zeros.
template <std::size_t Columns, std::size_t Rows>
std::optional<ColourMatrix> matrixOf(const float (&numbers)[Rows][Columns])
{
    ColourMatrix matrix{};
    for (std::size_t row = 0; row < 3; ++row)
        std::copy_n(numbers[row], 3, matrix[row].begin());
    return matrix != ColourMatrix{} ? std::optional(matrix) : std::nullopt;
}

}  // namespace

std::optional<DngColours::Light> DngColours::lightOf(const libraw_dng_color_t& told, bool withCalibration)
{
    const std::optional<ColourMatrix> colours = matrixOf(told.colormatrix);
    if (!colours)
        return {};
    const std::optional<ColourMatrix> camera = withCalibration ? matrixOf(told.calibration) : std::nullopt;
    return Light{coldnessOf(told.illuminant), *colours, camera.value_or(noMatrix),
                 matrixOf(told.forwardmatrix)};
}

std::optional<DngColours> DngColours::of(const libraw_data_t& raw, bool withCalibration)
{
    if (raw.idata.dng_version == 0 || raw.idata.colors != 3)
        return {};
    std::vector<Light> lights;
    for (const libraw_dng_color_t& told : raw.color.dng_color)
        if (const std::optional<Light> light = lightOf(told, withCalibration))
            lights.push_back(*light);
    const auto isKnown = [](const Light& light) { return light.coldness > 0; };
    if (std::ranges::any_of(lights, isKnown))
        std::erase_if(lights, std::not_fn(isKnown));
    if (lights.empty())
        return {};
    DngColours colours;
    colours.m_lights = {lights.front(), lights.back()};
    std::copy_n(raw.color.dng_levels.analogbalance, 3, colours.m_analog.begin());
    return colours;
}

/// That of the second light.
double DngColours::shareAt(double coldness) const
{
    const double first = m_lights[0].coldness;
    const double second = m_lights[1].coldness;
    return first == second ? 0 : std::clamp((coldness - first) / (second - first), 0.0, 1.0);
}

DngColours::Light DngColours::at(double share) const
{
    const auto& [a, b] = m_lights;
    Light light{0, between(a.colours, b.colours, share), between(a.camera, b.camera, share), {}};
    if (a.forward && b.forward)
        light.forward = between(*a.forward, *b.forward, share);
    return light;
}

ColourMatrix DngColours::fromModel(const Light& light) const
{
    return diagonal(m_analog) * light.camera;
}

ColourMatrix DngColours::fromXyz(const Light& light) const
{
    return fromModel(light) * light.colours;
}

std::optional<Colour> DngColours::gainsOf(double x, double y) const
{
    const Colour white{x / y, 1, (1 - x - y) / y};
    const Colour neutral = fromXyz(at(shareAt(coldnessOf(white)))) * white;
    return arePositive(white) && arePositive(neutral) ? std::optional(inverse(neutral)) : std::nullopt;
}

std::optional<ColourMatrix> DngColours::matrixFor(const Colour& gains) const
{
    const Colour neutral = inverse(gains);
    // The light decides about the matrix, and the matrix about the light that a neutral colour stands for.
    double least = 0;
    double greatest = 1;
    for (int i = 0; i < 40; ++i) {
        const double share = (least + greatest) / 2;
        const bool isMore = shareAt(coldnessOf(inverse(fromXyz(at(share))) * neutral)) > share;
        (isMore ? least : greatest) = share;
    }
    const Light light = at(least);
    const Colour white = inverse(fromXyz(light)) * neutral;
    const Colour ofModel = inverse(fromModel(light)) * neutral;
    if (!arePositive(light.forward ? ofModel : toCones * white))
        return {};
    const ColourMatrix toXyz = light.forward ? adaptation(d50, d65) * *light.forward *
                                                   diagonal(inverse(ofModel)) * inverse(fromModel(light))
                                             : adaptation(white, d65) * inverse(fromXyz(light));
    ColourMatrix matrix = toSrgb * toXyz * diagonal(neutral);
    for (Colour& row : matrix) {
        const double sum = row[0] + row[1] + row[2];
        for (double& number : row)
            number /= sum;
    }
    return isSound(matrix) ? std::optional(matrix) : std::nullopt;
}

}  // namespace ko::tool
