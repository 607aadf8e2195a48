#include "frames/formats.h"

#include <gst/video/video.h>

#include <limits>
#include <string_view>

namespace ko::gst {

namespace {

struct RawFormat {
    std::string_view name;
    int channels;
    ExImageDataType type;
};

constexpr RawFormat rawFormats[] = {{"GRAY8", 1, UInt8}, {"GRAY16_LE", 1, UInt16}, {"RGB", 3, UInt8},
                                    {"RGBx", 4, UInt8},  {"RGBA", 4, UInt8},       {"RGBA64_LE", 4, UInt16}};

struct Order {
    std::string_view name;
    ExBayerGrid grid;
};

constexpr Order orders[] = {
    {"bggr", BayerBGGR}, {"rggb", BayerRGGB}, {"gbrg", BayerGBRG}, {"grbg", BayerGRBG}};

struct Depth {
    std::string_view ending;
    int bits;
    bool isBigEndian;
};

constexpr Depth depths[] = {{"", 8, false},      {"10le", 10, false}, {"12le", 12, false},
                            {"14le", 14, false}, {"16le", 16, false}, {"10be", 10, true},
                            {"12be", 12, true},  {"14be", 14, true},  {"16be", 16, true}};

std::optional<FrameFormat> rawFormat(std::string_view name)
{
    for (const RawFormat& known : rawFormats)
        if (name == known.name) {
            FrameFormat format;
            format.info.channels = known.channels;
            format.info.dataType = known.type;
            format.info.bitsPerSample = 8 * bytesPerSample(known.type);
            return format;
        }
    return std::nullopt;
}

std::optional<FrameFormat> bayerFormat(std::string_view name)
{
    for (const Order& order : orders)
        for (const Depth& depth : depths)
            if (name.substr(0, 4) == order.name && name.substr(4) == depth.ending) {
                FrameFormat format;
                format.info.channels = 1;
                format.info.dataType = depth.bits > 8 ? UInt16 : UInt8;
                format.info.bitsPerSample = depth.bits;
                format.info.bayerGrid = order.grid;
                format.isBigEndian = depth.isBigEndian;
                return format;
            }
    return std::nullopt;
}

bool fits(const SxImageInfo& info, std::int64_t stride, std::size_t offset, std::size_t bytes)
{
    if (stride < rowBytesOf(info) || stride > std::numeric_limits<std::int32_t>::max() || offset > bytes)
        return false;
    const auto rowsBefore = static_cast<std::uint64_t>(info.height - 1);
    return rowsBefore * static_cast<std::uint64_t>(stride) + static_cast<std::uint64_t>(rowBytesOf(info)) <=
           bytes - offset;
}

}  // namespace

std::optional<FrameFormat> frameFormat(const GstCaps* caps)
{
    const GstStructure* const structure = gst_caps_get_structure(caps, 0);
    const char* const name = gst_structure_get_string(structure, "format");
    if (name == nullptr)
        return std::nullopt;
    std::optional<FrameFormat> format =
        gst_structure_has_name(structure, "video/x-bayer") ? bayerFormat(name) : rawFormat(name);
    if (!format || !gst_structure_get_int(structure, "width", &format->info.width) ||
        !gst_structure_get_int(structure, "height", &format->info.height) || format->info.width < 1 ||
        format->info.height < 1)
        return std::nullopt;
    const std::int64_t stride = (rowBytesOf(format->info) + 3) / 4 * 4;
    if (stride > std::numeric_limits<std::int32_t>::max())
        return std::nullopt;
    format->info.stride = static_cast<std::int32_t>(stride);
    return format;
}

std::int64_t rowBytesOf(const SxImageInfo& info)
{
    return std::int64_t{info.width} * info.channels * bytesPerSample(info.dataType);
}

std::optional<FramePlace> placeOf(GstBuffer* buffer, const SxImageInfo& info, std::size_t bytes)
{
    if (const GstVideoMeta* const meta = gst_buffer_get_video_meta(buffer);
        meta != nullptr && meta->n_planes > 0) {
        const gint stride = meta->stride[0];
        std::size_t offset = meta->offset[0];
        if (const GstVideoCropMeta* const crop = gst_buffer_get_video_crop_meta(buffer);
            crop != nullptr && stride > 0 && offset <= bytes)
            offset += std::size_t{crop->y} * static_cast<std::size_t>(stride) +
                      std::size_t{crop->x} * static_cast<std::size_t>(info.channels) *
                          static_cast<std::size_t>(bytesPerSample(info.dataType));
        if (!fits(info, stride, offset, bytes))
            return std::nullopt;
        return FramePlace{offset, stride};
    }
    for (const std::int64_t stride : {std::int64_t{info.stride}, rowBytesOf(info)})
        if (fits(info, stride, 0, bytes))
            return FramePlace{0, static_cast<std::int32_t>(stride)};
    return std::nullopt;
}

}  // namespace ko::gst
