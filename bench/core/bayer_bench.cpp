#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/bayer.h>

#include <cstdint>

namespace ko::bench {
namespace {

template <ExImageDataType Type>
using Sample = std::conditional_t<Type == UInt8, std::uint8_t, std::uint16_t>;

constexpr int depthOf(ExImageDataType type)
{
    return type == UInt8 ? 8 : 12;
}

template <class T>
T* rowAt(const SxImageBuf& image, std::int64_t row)
{
    return reinterpret_cast<T*>(image.data + row * image.stride);
}

/// What a program without the helper writes: RGGB, one cell at a time.
template <class T>
void splitByHand(const SxImageBuf& src, const SxImageBuf& planar)
{
    const std::int64_t height = planar.height;
    for (std::int64_t y = 0; y < height; ++y) {
        const T* const upper = rowAt<const T>(src, 2 * y);
        const T* const lower = rowAt<const T>(src, 2 * y + 1);
        T* const planes[] = {rowAt<T>(planar, y), rowAt<T>(planar, height + y),
                             rowAt<T>(planar, 2 * height + y), rowAt<T>(planar, 3 * height + y)};
        for (int x = 0; x < planar.width; ++x) {
            planes[0][x] = upper[2 * x];
            planes[1][x] = upper[2 * x + 1];
            planes[2][x] = lower[2 * x + 1];
            planes[3][x] = lower[2 * x];
        }
    }
}

template <class T>
void combineByHand(const SxImageBuf& src, const SxImageBuf& dst)
{
    for (std::int64_t y = 0; y < dst.height; ++y) {
        const T* const upper = rowAt<const T>(src, 2 * y);
        const T* const lower = rowAt<const T>(src, 2 * y + 1);
        T* const out = rowAt<T>(dst, y);
        for (int x = 0; x < dst.width; ++x) {
            out[3 * x] = upper[2 * x];
            out[3 * x + 1] = static_cast<T>((upper[2 * x + 1] + lower[2 * x]) >> 1);
            out[3 * x + 2] = lower[2 * x + 1];
        }
    }
}

template <class T>
void interleaveByHand(const SxImageBuf& src, const SxImageBuf& dst)
{
    const std::int64_t height = src.height;
    for (std::int64_t y = 0; y < height; ++y) {
        const T* const planes[] = {rowAt<const T>(src, y), rowAt<const T>(src, height + y),
                                   rowAt<const T>(src, 2 * height + y), rowAt<const T>(src, 3 * height + y)};
        T* const out = rowAt<T>(dst, y);
        for (int x = 0; x < dst.width; ++x) {
            out[3 * x] = planes[0][x];
            out[3 * x + 1] = static_cast<T>((planes[1][x] + planes[3][x]) >> 1);
            out[3 * x + 2] = planes[2][x];
        }
    }
}

template <ExImageDataType Type>
Work split(int size)
{
    const BenchImage src({.size = size, .type = Type, .bits = depthOf(Type)}, Scene::Camera);
    const BenchImage planar({.size = size / 2, .type = Type, .channels = 4, .packing = Planar});
    return {
        .ours = [=] { return ConvertRawToPlanarRaw(src, QRect(0, 0, size, size), BayerRGGB, planar); },
        .peer = {"loop", [=] { splitByHand<Sample<Type>>(src, planar); }},
        .limit = {.read = src.pixelBytes(), .written = planar.pixelBytes()},
    };
}

template <ExImageDataType Type>
Work halfSize(int size)
{
    const BenchImage src({.size = size, .type = Type, .bits = depthOf(Type)}, Scene::Camera);
    const BenchImage dst({.size = size / 2, .type = Type, .channels = 3});
    return {
        .ours = [=] { return DemosaicSimple(src, QRect(0, 0, size, size), dst, BayerRGGB); },
        .peer = {"loop", [=] { combineByHand<Sample<Type>>(src, dst); }},
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

template <ExImageDataType Type>
Work fromPlanes(int size)
{
    const BenchImage src(
        {.size = size, .type = Type, .bits = depthOf(Type), .channels = 4, .packing = Planar}, Scene::Camera);
    const BenchImage dst({.size = size, .type = Type, .channels = 3});
    return {
        .ours = [=] { return DemosaicSimple(src, QRect(0, 0, size, size), dst, BayerRGGB); },
        .peer = {"loop", [=] { interleaveByHand<Sample<Type>>(src, dst); }},
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

const Rows rows{
    {"ConvertRawToPlanarRaw", "U8", &split<UInt8>},
    {"ConvertRawToPlanarRaw", "12-bit", &split<UInt16>},
    {"DemosaicSimple half size", "U8", &halfSize<UInt8>},
    {"DemosaicSimple half size", "12-bit", &halfSize<UInt16>},
    {"DemosaicSimple planes", "U8", &fromPlanes<UInt8>},
    {"DemosaicSimple planes", "12-bit", &fromPlanes<UInt16>},
};

}  // namespace
}  // namespace ko::bench
