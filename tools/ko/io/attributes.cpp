#include "io/attributes.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace ko::tool {
namespace {

constexpr std::string_view profileKey = "ICCProfile";

bool travels(std::string_view name)
{
    constexpr std::array plain{profileKey,
                               std::string_view("Make"),
                               std::string_view("Model"),
                               std::string_view("DateTime"),
                               std::string_view("ExposureTime"),
                               std::string_view("FNumber"),
                               std::string_view("Artist"),
                               std::string_view("Copyright")};
    // The size that Exif names is that of the picture before.
    const bool isSize = name == "Exif:PixelXDimension" || name == "Exif:PixelYDimension";
    return std::ranges::find(plain, name) != plain.end() ||
           ((name.starts_with("Exif:") || name.starts_with("GPS:")) && !isSize);
}

/// The channels of the colours that a profile is for, which stand at a fixed place of it; 0 for others.
int channelsOf(const OIIO::ParamValue& profile)
{
    if (profile.datasize() < 20)
        return 0;
    const std::string_view colours(static_cast<const char*>(profile.data()) + 16, 4);
    return colours == "RGB " ? 3 : colours == "GRAY" ? 1 : 0;
}

}  // namespace

std::shared_ptr<const Attributes> attributesOf(const OIIO::ImageSpec& spec)
{
    auto attributes = std::make_shared<Attributes>();
    for (const OIIO::ParamValue& value : spec.extra_attribs)
        if (travels({value.name().data(), value.name().size()}))
            attributes->list.push_back(value);
    return attributes;
}

void addAttributes(const Attributes& attributes, OIIO::ImageSpec& spec)
{
    for (const OIIO::ParamValue& value : attributes.list) {
        const bool isProfile = value.name() == OIIO::string_view(profileKey.data(), profileKey.size());
        const int colours = spec.nchannels > 2 ? 3 : 1;
        if (!isProfile || (spec.nchannels <= 4 && channelsOf(value) == colours))
            spec.extra_attribs.add_or_replace(value);
    }
}

}  // namespace ko::tool
