#include "io/raw_colours.h"

#include "io/dng_colours.h"

#include <algorithm>
#include <cmath>

namespace ko::tool {
namespace {

bool isGain(double gain)
{
    return std::isfinite(gain) && gain > 0;
}

/// LibRaw, too, has the green in the rows of blue last, where a file has one of its own.
std::optional<Gains> gainsOf(const libraw_data_t& raw, const DngTags& tags,
                             const std::optional<DngColours>& dng)
{
    const float* const told = raw.color.cam_mul;
    if (std::all_of(told, told + 3, isGain))
        return Gains{told[0], told[1], told[2], isGain(told[3]) ? told[3] : told[1]};
    const std::optional<std::array<double, 2>> white = tags.whitePoint();
    const std::optional<Colour> gains = dng && white ? dng->gainsOf((*white)[0], (*white)[1]) : std::nullopt;
    return gains ? std::optional(Gains{(*gains)[0], (*gains)[1], (*gains)[2], (*gains)[1]}) : std::nullopt;
}

/// That of daylight. That of a camera that LibRaw does not know leaves colours as they are; damaged files have any
/// numbers.
std::optional<ColourMatrix> matrixOf(const libraw_data_t& raw)
{
    ColourMatrix matrix{};
    for (std::size_t row = 0; row < 3; ++row)
        std::copy_n(raw.color.rgb_cam[row], 3, matrix[row].begin());
    return isSound(matrix) && matrix != noMatrix ? std::optional(matrix) : std::nullopt;
}

}  // namespace

void addColours(const libraw_data_t& raw, const DngTags& tags, Sensor& sensor)
{
    const std::optional<DngColours> dng = DngColours::of(raw, tags.isCalibrated());
    sensor.gains = gainsOf(raw, tags, dng);
    sensor.matrix = [dng, ofDaylight = matrixOf(raw)](const Colour& gains) {
        const std::optional<ColourMatrix> matrix = dng ? dng->matrixFor(gains) : std::nullopt;
        return matrix ? matrix : ofDaylight;
    };
}

}  // namespace ko::tool
