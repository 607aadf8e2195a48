#include "pixel_formats.h"

#include <algorithm>
#include <iterator>

namespace ko {

namespace {

constexpr CameraPixelFormat formats[] = {
    {0x01080001, "Mono8", 8},
    {0x01100003, "Mono10", 10},
    {0x01100005, "Mono12", 12},
    {0x01100025, "Mono14", 14},
    {0x01100007, "Mono16", 16},
    {0x010A0046, "Mono10p", 10, 1, BayerNone, Mono10p},
    {0x010C0047, "Mono12p", 12, 1, BayerNone, Mono12p},
    {0x010E0104, "Mono14p", 14, 1, BayerNone, Mono14p},
    {0x010C0004, "Mono10Packed", 10, 1, BayerNone, Mono10Packed},
    {0x010C0006, "Mono12Packed", 12, 1, BayerNone, Mono12Packed},
    {0x01080008, "BayerGR8", 8, 1, BayerGRBG},
    {0x01080009, "BayerRG8", 8, 1, BayerRGGB},
    {0x0108000A, "BayerGB8", 8, 1, BayerGBRG},
    {0x0108000B, "BayerBG8", 8, 1, BayerBGGR},
    {0x0110000C, "BayerGR10", 10, 1, BayerGRBG},
    {0x0110000D, "BayerRG10", 10, 1, BayerRGGB},
    {0x0110000E, "BayerGB10", 10, 1, BayerGBRG},
    {0x0110000F, "BayerBG10", 10, 1, BayerBGGR},
    {0x01100010, "BayerGR12", 12, 1, BayerGRBG},
    {0x01100011, "BayerRG12", 12, 1, BayerRGGB},
    {0x01100012, "BayerGB12", 12, 1, BayerGBRG},
    {0x01100013, "BayerBG12", 12, 1, BayerBGGR},
    {0x01100109, "BayerGR14", 14, 1, BayerGRBG},
    {0x0110010A, "BayerRG14", 14, 1, BayerRGGB},
    {0x0110010B, "BayerGB14", 14, 1, BayerGBRG},
    {0x0110010C, "BayerBG14", 14, 1, BayerBGGR},
    {0x0110002E, "BayerGR16", 16, 1, BayerGRBG},
    {0x0110002F, "BayerRG16", 16, 1, BayerRGGB},
    {0x01100030, "BayerGB16", 16, 1, BayerGBRG},
    {0x01100031, "BayerBG16", 16, 1, BayerBGGR},
    {0x010A0052, "BayerBG10p", 10, 1, BayerBGGR, Mono10p},
    {0x010A0054, "BayerGB10p", 10, 1, BayerGBRG, Mono10p},
    {0x010A0056, "BayerGR10p", 10, 1, BayerGRBG, Mono10p},
    {0x010A0058, "BayerRG10p", 10, 1, BayerRGGB, Mono10p},
    {0x010C0053, "BayerBG12p", 12, 1, BayerBGGR, Mono12p},
    {0x010C0055, "BayerGB12p", 12, 1, BayerGBRG, Mono12p},
    {0x010C0057, "BayerGR12p", 12, 1, BayerGRBG, Mono12p},
    {0x010C0059, "BayerRG12p", 12, 1, BayerRGGB, Mono12p},
    {0x010E0105, "BayerGR14p", 14, 1, BayerGRBG, Mono14p},
    {0x010E0106, "BayerRG14p", 14, 1, BayerRGGB, Mono14p},
    {0x010E0107, "BayerGB14p", 14, 1, BayerGBRG, Mono14p},
    {0x010E0108, "BayerBG14p", 14, 1, BayerBGGR, Mono14p},
    {0x010C0026, "BayerGR10Packed", 10, 1, BayerGRBG, Mono10Packed},
    {0x010C0027, "BayerRG10Packed", 10, 1, BayerRGGB, Mono10Packed},
    {0x010C0028, "BayerGB10Packed", 10, 1, BayerGBRG, Mono10Packed},
    {0x010C0029, "BayerBG10Packed", 10, 1, BayerBGGR, Mono10Packed},
    {0x010C002A, "BayerGR12Packed", 12, 1, BayerGRBG, Mono12Packed},
    {0x010C002B, "BayerRG12Packed", 12, 1, BayerRGGB, Mono12Packed},
    {0x010C002C, "BayerGB12Packed", 12, 1, BayerGBRG, Mono12Packed},
    {0x010C002D, "BayerBG12Packed", 12, 1, BayerBGGR, Mono12Packed},
    {0x02180014, "RGB8", 8, 3},
    {0x02300018, "RGB10", 10, 3},
    {0x0230001A, "RGB12", 12, 3},
    {0x0230005E, "RGB14", 14, 3},
    {0x02300033, "RGB16", 16, 3},
    {0x02200016, "RGBa8", 8, 4},
    {0x02400064, "RGBa16", 16, 4},
};

}  // namespace

const CameraPixelFormat* findPixelFormat(std::uint32_t code) noexcept
{
    const auto* const found = std::find_if(std::begin(formats), std::end(formats),
                                           [code](const auto& format) { return format.code == code; });
    return found != std::end(formats) ? found : nullptr;
}

}  // namespace ko
