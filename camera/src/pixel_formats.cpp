#include "pixel_formats.h"

#include <algorithm>
#include <iterator>

namespace ko {

namespace {

constexpr CameraPixelFormat formats[] = {
    {"Mono8", 0x01080001, 8},
    {"Mono10", 0x01100003, 10},
    {"Mono12", 0x01100005, 12},
    {"Mono14", 0x01100025, 14},
    {"Mono16", 0x01100007, 16},
    {"Mono10p", 0x010A0046, 10, 1, BayerNone, Mono10p},
    {"Mono12p", 0x010C0047, 12, 1, BayerNone, Mono12p},
    {"Mono14p", 0x010E0104, 14, 1, BayerNone, Mono14p},
    {"Mono10Packed", 0x010C0004, 10, 1, BayerNone, Mono10Packed},
    {"Mono12Packed", 0x010C0006, 12, 1, BayerNone, Mono12Packed},
    {"BayerGR8", 0x01080008, 8, 1, BayerGRBG},
    {"BayerRG8", 0x01080009, 8, 1, BayerRGGB},
    {"BayerGB8", 0x0108000A, 8, 1, BayerGBRG},
    {"BayerBG8", 0x0108000B, 8, 1, BayerBGGR},
    {"BayerGR10", 0x0110000C, 10, 1, BayerGRBG},
    {"BayerRG10", 0x0110000D, 10, 1, BayerRGGB},
    {"BayerGB10", 0x0110000E, 10, 1, BayerGBRG},
    {"BayerBG10", 0x0110000F, 10, 1, BayerBGGR},
    {"BayerGR12", 0x01100010, 12, 1, BayerGRBG},
    {"BayerRG12", 0x01100011, 12, 1, BayerRGGB},
    {"BayerGB12", 0x01100012, 12, 1, BayerGBRG},
    {"BayerBG12", 0x01100013, 12, 1, BayerBGGR},
    {"BayerGR14", 0x01100109, 14, 1, BayerGRBG},
    {"BayerRG14", 0x0110010A, 14, 1, BayerRGGB},
    {"BayerGB14", 0x0110010B, 14, 1, BayerGBRG},
    {"BayerBG14", 0x0110010C, 14, 1, BayerBGGR},
    {"BayerGR16", 0x0110002E, 16, 1, BayerGRBG},
    {"BayerRG16", 0x0110002F, 16, 1, BayerRGGB},
    {"BayerGB16", 0x01100030, 16, 1, BayerGBRG},
    {"BayerBG16", 0x01100031, 16, 1, BayerBGGR},
    {"BayerBG10p", 0x010A0052, 10, 1, BayerBGGR, Mono10p},
    {"BayerGB10p", 0x010A0054, 10, 1, BayerGBRG, Mono10p},
    {"BayerGR10p", 0x010A0056, 10, 1, BayerGRBG, Mono10p},
    {"BayerRG10p", 0x010A0058, 10, 1, BayerRGGB, Mono10p},
    {"BayerBG12p", 0x010C0053, 12, 1, BayerBGGR, Mono12p},
    {"BayerGB12p", 0x010C0055, 12, 1, BayerGBRG, Mono12p},
    {"BayerGR12p", 0x010C0057, 12, 1, BayerGRBG, Mono12p},
    {"BayerRG12p", 0x010C0059, 12, 1, BayerRGGB, Mono12p},
    {"BayerGR14p", 0x010E0105, 14, 1, BayerGRBG, Mono14p},
    {"BayerRG14p", 0x010E0106, 14, 1, BayerRGGB, Mono14p},
    {"BayerGB14p", 0x010E0107, 14, 1, BayerGBRG, Mono14p},
    {"BayerBG14p", 0x010E0108, 14, 1, BayerBGGR, Mono14p},
    {"BayerGR10Packed", 0x010C0026, 10, 1, BayerGRBG, Mono10Packed},
    {"BayerRG10Packed", 0x010C0027, 10, 1, BayerRGGB, Mono10Packed},
    {"BayerGB10Packed", 0x010C0028, 10, 1, BayerGBRG, Mono10Packed},
    {"BayerBG10Packed", 0x010C0029, 10, 1, BayerBGGR, Mono10Packed},
    {"BayerGR12Packed", 0x010C002A, 12, 1, BayerGRBG, Mono12Packed},
    {"BayerRG12Packed", 0x010C002B, 12, 1, BayerRGGB, Mono12Packed},
    {"BayerGB12Packed", 0x010C002C, 12, 1, BayerGBRG, Mono12Packed},
    {"BayerBG12Packed", 0x010C002D, 12, 1, BayerBGGR, Mono12Packed},
    {"RGB8", 0x02180014, 8, 3},
    {"RGB10", 0x02300018, 10, 3},
    {"RGB12", 0x0230001A, 12, 3},
    {"RGB14", 0x0230005E, 14, 3},
    {"RGB16", 0x02300033, 16, 3},
    {"RGBa8", 0x02200016, 8, 4},
    {"RGBa16", 0x02400064, 16, 4},
};

}  // namespace

const CameraPixelFormat* findPixelFormat(std::uint32_t code) noexcept
{
    const auto* const found = std::find_if(std::begin(formats), std::end(formats),
                                           [code](const auto& format) { return format.code == code; });
    return found != std::end(formats) ? found : nullptr;
}

}  // namespace ko
