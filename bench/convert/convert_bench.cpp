#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/convert.h>

#include <opencv2/core.hpp>

namespace ko::bench {
namespace {

/// A measured conversion of one channel against the peer's.
template <ExImageDataType From, ExImageDataType To, int Bits, class Convert>
Work measured(int size, Convert convert)
{
    const BenchImage src({.size = size, .type = From}, Scene::Camera);
    const BenchImage dst({.size = size, .type = To, .bits = Bits});
    return {
        .ours = [=] { return convert(src, dst); },
        .peer = {"normalize MINMAX",
                 [=, in = src.mat(), out = dst.mat()] {
                     cv::normalize(in, out, 0, (1 << Bits) - 1, cv::NORM_MINMAX, out.depth());
                 }},
        .limit = {.read = 2 * src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

template <ExImageDataType To, int Bits>
Work fromDouble(int size)
{
    return measured<Float64, To, Bits>(size, [](const SxImageBuf& src, SxImageBuf& dst) {
        return ConvertDoubleToU(src, dst, NormalizeSeparate, nullptr, nullptr, false);
    });
}

Work fromFloat(int size)
{
    return measured<Float32, UInt16, 12>(size, [](const SxImageBuf& src, SxImageBuf& dst) {
        return ConvertFloatToU(src, dst, NormalizeSeparate, nullptr, nullptr, false);
    });
}

Work forDisplay(int size)
{
    return measured<Float32, UInt8, 8>(size, [](const SxImageBuf& src, SxImageBuf& dst) {
        return ConvertFloatToU8(src, dst, NormalizeSeparate, nullptr, nullptr);
    });
}

Work fromIntegers(int size)
{
    return measured<Int32, UInt8, 8>(size, [](const SxImageBuf& src, SxImageBuf& dst) {
        return ConvertI32ToU(src, dst, NormalizeSeparate, nullptr, nullptr);
    });
}

template <ExImageDataType From, ExImageDataType To, int Bits>
Work scale(int size)
{
    const BenchImage src({.size = size, .type = From}, Scene::Camera);
    const BenchImage dst({.size = size, .type = To, .bits = Bits});
    return {
        .ours = [=] { return ScaleDoubleFloatToU(src, dst, 0, 1); },
        .peer = {"convertTo", [=, in = src.mat(),
                               out = dst.mat()]() mutable { in.convertTo(out, out.type(), 1 << Bits); }},
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

const Rows rows{
    {"ConvertDoubleToU", "F64 to U8", &fromDouble<UInt8, 8>},
    {"ConvertDoubleToU", "F64 to 12-bit", &fromDouble<UInt16, 12>},
    {"ConvertFloatToU", "F32 to 12-bit", &fromFloat},
    {"ConvertFloatToU8", "F32", &forDisplay},
    {"ConvertI32ToU", "I32 to U8", &fromIntegers},
    {"ScaleDoubleFloatToU", "F64 to 12-bit", &scale<Float64, UInt16, 12>},
    {"ScaleDoubleFloatToU", "F32 to U8", &scale<Float32, UInt8, 8>},
};

}  // namespace
}  // namespace ko::bench
