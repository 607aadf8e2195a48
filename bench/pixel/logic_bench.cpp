#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/pixel.h>

#include <opencv2/core.hpp>

namespace ko::bench {
namespace {

using Operation = ResultCode (*)(const SxImageBuf&, SxImageBuf&, QVariant*);
using PeerOperation = void (*)(cv::InputArray, cv::InputArray, cv::OutputArray, cv::InputArray);

template <Operation Ours, PeerOperation Theirs, ExImageDataType Type>
Work logic(const char* peer, int size)
{
    const Format format{.size = size, .type = Type};
    const BenchImage src(format, Scene::Random), dst(format, Scene::Disc), theirs(format, Scene::Disc);
    return {
        .ours =
            [=] {
                QVariant value(1);
                return Ours(src, dst, &value);
            },
        .peer = {peer, [=] { Theirs(src.mat(), theirs.mat(), theirs.mat(), cv::noArray()); }},
        .limit = {.read = src.pixelBytes(), .rewritten = dst.pixelBytes()},
    };
}

template <ExImageDataType Type>
Work both(int size)
{
    return logic<&And, &cv::bitwise_and, Type>("bitwise_and", size);
}

Work any(int size)
{
    return logic<&Or, &cv::bitwise_or, UInt8>("bitwise_or", size);
}

Work one(int size)
{
    return logic<&Xor, &cv::bitwise_xor, UInt8>("bitwise_xor", size);
}

const Rows rows{
    {"And", "U8", &both<UInt8>},
    {"And", "U16", &both<UInt16>},
    {"Or", "U8", &any},
    {"Xor", "U8", &one},
    {"And", "U8", &both<UInt8>, tinyImage},
    {"And", "U8", &both<UInt8>, smallImage},
    {"And", "U8", &both<UInt8>, hugeImage},
};

}  // namespace
}  // namespace ko::bench
