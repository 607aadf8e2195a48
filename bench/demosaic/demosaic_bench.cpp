#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/bayer.h>
#include <ko/demosaic.h>

#include <opencv2/imgproc.hpp>

#include <memory>

namespace ko::bench {
namespace {

constexpr int bitsOf(ExImageDataType type)
{
    return type == UInt16 ? 12 : 8;
}

BenchImage mosaic(int size, ExImageDataType type)
{
    return BenchImage({.size = size, .type = type, .bits = bitsOf(type), .bayerGrid = BayerRGGB},
                      Scene::Camera);
}

template <ExImageDataType Type, int Conversion>
Work demosaic(int size)
{
    const BenchImage src = mosaic(size, Type);
    const BenchImage dst({.size = size, .type = Type, .bits = bitsOf(Type), .channels = 3});
    const std::shared_ptr<void> buffer(DemosaicAllocBuffer(static_cast<SxImageBuf&>(src)),
                                       &DemosaicFreeBuffer);
    return {
        .ours = [=] { return Demosaic(src, dst, buffer.get()); },
        .peer = {Conversion == cv::COLOR_BayerBG2RGB ? "cvtColor Bayer" : "cvtColor Bayer_EA",
                 [=, in = src.mat(), out = dst.mat()] { cv::cvtColor(in, out, Conversion); }},
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

using Method = ResultCode (*)(const SxImageBuf&, SxImageBuf&, void*);

template <Method Ours, ExImageDataType Type, int Conversion>
Work centred(int size)
{
    const BenchImage src = mosaic(size, Type);
    const BenchImage dst({.size = size, .type = Type, .bits = bitsOf(Type), .channels = 3});
    const std::shared_ptr<void> buffer(DemosaicCentredAllocBuffer(size), &DemosaicCentredFreeBuffer);
    return {
        .ours = [=] { return Ours(src, dst, buffer.get()); },
        .peer = {Conversion == cv::COLOR_BayerBG2RGB ? "cvtColor Bayer" : "cvtColor Bayer_EA",
                 [=, in = src.mat(), out = dst.mat()] { cv::cvtColor(in, out, Conversion); }},
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

template <class T>
void halve(const cv::Mat& in, cv::Mat& out)
{
    for (int y = 0; y < out.rows; ++y) {
        const T* const upper = in.ptr<T>(2 * y);
        const T* const lower = in.ptr<T>(2 * y + 1);
        T* const pixels = out.ptr<T>(y);
        for (int x = 0; x < out.cols; ++x) {
            pixels[3 * x] = upper[2 * x];
            pixels[3 * x + 1] = static_cast<T>((upper[2 * x + 1] + lower[2 * x]) >> 1);
            pixels[3 * x + 2] = lower[2 * x + 1];
        }
    }
}

template <ExImageDataType Type>
Work simple(int size)
{
    using T = std::conditional_t<Type == UInt8, std::uint8_t, std::uint16_t>;
    const BenchImage src = mosaic(size, Type);
    const BenchImage dst({.size = size / 2, .type = Type, .bits = bitsOf(Type), .channels = 3});
    return {
        .ours = [=] { return DemosaicSimple(src, QRect(0, 0, size, size), dst, BayerRGGB); },
        .peer = {"loop", [=, in = src.mat(), out = dst.mat()]() mutable { halve<T>(in, out); }},
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

template <class T>
void split(const cv::Mat& in, cv::Mat (&planes)[4])
{
    for (int y = 0; y < in.rows; ++y) {
        const T* const row = in.ptr<T>(y);
        T* const even = planes[y % 2 == 0 ? 0 : 3].ptr<T>(y / 2);
        T* const odd = planes[y % 2 == 0 ? 1 : 2].ptr<T>(y / 2);
        for (int x = 0; x < in.cols / 2; ++x) {
            even[x] = row[2 * x];
            odd[x] = row[2 * x + 1];
        }
    }
}

template <ExImageDataType Type>
Work planes(int size)
{
    using T = std::conditional_t<Type == UInt8, std::uint8_t, std::uint16_t>;
    struct Peer {
        cv::Mat planes[4];
    };
    const BenchImage src = mosaic(size, Type);
    const BenchImage dst(
        {.size = size / 2, .type = Type, .bits = bitsOf(Type), .channels = 4, .packing = Planar});
    return {
        .ours = [=] { return ConvertRawToPlanarRaw(src, QRect(0, 0, size, size), BayerRGGB, dst); },
        .peer = {"loop",
                 [=, in = src.mat(), out = Peer{{dst.mat(0), dst.mat(1), dst.mat(2), dst.mat(3)}}]() mutable {
                     split<T>(in, out.planes);
                 }},
        .limit = {.read = src.pixelBytes(), .written = dst.pixelBytes()},
    };
}

const Rows rows{
    {"Demosaic", "U8", &demosaic<UInt8, cv::COLOR_BayerBG2RGB>},
    {"Demosaic", "12-bit", &demosaic<UInt16, cv::COLOR_BayerBG2RGB>},
    {"Demosaic against edge-aware", "U8", &demosaic<UInt8, cv::COLOR_BayerBG2RGB_EA>},
    {"Demosaic against edge-aware", "12-bit", &demosaic<UInt16, cv::COLOR_BayerBG2RGB_EA>},
    {"DemosaicMalvar", "U8", &centred<&DemosaicMalvar, UInt8, cv::COLOR_BayerBG2RGB>},
    {"DemosaicMalvar", "12-bit", &centred<&DemosaicMalvar, UInt16, cv::COLOR_BayerBG2RGB>},
    {"DemosaicMenon", "U8", &centred<&DemosaicMenon, UInt8, cv::COLOR_BayerBG2RGB_EA>},
    {"DemosaicMenon", "12-bit", &centred<&DemosaicMenon, UInt16, cv::COLOR_BayerBG2RGB_EA>},
    {"DemosaicSimple", "U8", &simple<UInt8>},
    {"DemosaicSimple", "12-bit", &simple<UInt16>},
    {"ConvertRawToPlanarRaw", "U8", &planes<UInt8>},
    {"ConvertRawToPlanarRaw", "12-bit", &planes<UInt16>},
    {"Demosaic", "U8", &demosaic<UInt8, cv::COLOR_BayerBG2RGB>, tinyImage},
    {"Demosaic", "U8", &demosaic<UInt8, cv::COLOR_BayerBG2RGB>, smallImage},
    {"Demosaic", "U8", &demosaic<UInt8, cv::COLOR_BayerBG2RGB>, hugeImage},
};

}  // namespace
}  // namespace ko::bench
