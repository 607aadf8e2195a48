#include "io/raw_metadata.h"

#include "io/attributes.h"

#include <array>
#include <cmath>
#include <ctime>

namespace ko::tool {
namespace {

/// As Exif has it what LibRaw has as bits: mirrored across, mirrored down, transposed.
int orientationOf(int flip)
{
    constexpr std::array<int, 8> orientations{1, 2, 4, 3, 5, 8, 6, 7};
    return flip >= 0 && flip < 8 ? orientations[static_cast<std::size_t>(flip)] : Upright;
}

}  // namespace

Metadata metadataOf(const libraw_data_t& raw, const DngTags& tags)
{
    OIIO::ImageSpec spec;
    const std::string make = tags.make();
    const std::string model = tags.model();
    spec.attribute("Make", make.empty() ? raw.idata.make : make);
    spec.attribute("Model", model.empty() ? raw.idata.model : model);
    const auto add = [&spec](const char* name, float number) {
        if (std::isfinite(number) && number > 0)
            spec.attribute(name, number);
    };
    add("ExposureTime", raw.other.shutter);
    add("FNumber", raw.other.aperture);
    add("Exif:FocalLength", raw.other.focal_len);
    // LibRaw takes the date of the file for one of this time zone.
    std::tm date{};
    std::array<char, 20> text;
    if (const time_t taken = raw.other.timestamp;
        taken > 0 && localtime_r(&taken, &date) &&
        std::strftime(text.data(), text.size(), "%Y:%m:%d %H:%M:%S", &date))
        for (const char* name : {"DateTime", "Exif:DateTimeOriginal"})
            spec.attribute(name, text.data());
    if (raw.other.iso_speed > 0 && raw.other.iso_speed < 65536)
        spec.attribute("Exif:PhotographicSensitivity", static_cast<int>(raw.other.iso_speed));
    return {orientationOf(tags.hasOrientation() ? raw.sizes.flip : 0), attributesOf(spec)};
}

}  // namespace ko::tool
