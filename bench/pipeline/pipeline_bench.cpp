// What the pipeline adds to the work it carries: frames through source, convertor and sink against a loop
// over the same conversion.
#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/bayer.h>
#include <ko/cpp.h>
#include <ko/demosaic.h>

#include <memory>

namespace ko::bench {
namespace {

struct Pipe {
    CxFrameSource source;
    CxDemosaicConvertor convertor;
    CxFrameSink sink{[](CxImageData&) {}};

    Pipe()
    {
        source.addSuccessor(&convertor);
        convertor.addSuccessor(&sink);
        StartPipe(source);
    }
};

ResultCode sendThrough(Pipe& pipe, const SxImageBuf& mosaic, int frames)
{
    const std::uint64_t before = pipe.sink.statistics().processed;
    for (int i = 0; i < frames; ++i)
        pipe.source.push(mosaic);
    DrainPipe(pipe.source);
    const std::uint64_t carried = pipe.sink.statistics().processed - before;
    return carried == static_cast<std::uint64_t>(frames) ? ResultOk : ResultFailed;
}

void convert(const SxImageBuf& mosaic)
{
    Image colour(mosaic.width / 2, mosaic.height / 2, 3, mosaic.dataType, mosaic.bitsPerSample);
    orThrow(DemosaicSimple(mosaic, QRect(0, 0, mosaic.width, mosaic.height), colour, mosaic.bayerGrid));
}

/// Images are `Numerator` / 4 as high as wide.
template <ExImageDataType Type, int Frames, int Numerator>
Work pipeline(int size)
{
    const BenchImage mosaic({.size = size,
                             .height = size * Numerator / 4,
                             .type = Type,
                             .bits = Type == UInt16 ? 12 : 8,
                             .bayerGrid = BayerRGGB},
                            Scene::Camera);
    const auto pipe = std::make_shared<Pipe>();
    return {
        .ours = [=] { return sendThrough(*pipe, mosaic, Frames); },
        .peer = {"loop",
                 [=] {
                     for (int i = 0; i < Frames; ++i)
                         convert(mosaic);
                 }},
        .hasOwnThreads = true,
    };
}

const Rows rows{
    {"Pipeline", "U8 32 frames", &pipeline<UInt8, 32, 4>},
    {"Pipeline", "12-bit 32 frames", &pipeline<UInt16, 32, 4>},
    {"Pipeline", "U8 one frame", &pipeline<UInt8, 1, 4>},
    {"Pipeline", "12-bit one frame", &pipeline<UInt16, 1, 4>},
    {"Pipeline 4:3", "U8 32 frames", &pipeline<UInt8, 32, 3>, 640},
    {"Pipeline 4:3", "12-bit 32 frames", &pipeline<UInt16, 32, 3>, 640},
    {"Pipeline 4:3", "U8 one frame", &pipeline<UInt8, 1, 3>, 640},
    {"Pipeline 4:3", "12-bit one frame", &pipeline<UInt16, 1, 3>, 640},
};

}  // namespace
}  // namespace ko::bench
