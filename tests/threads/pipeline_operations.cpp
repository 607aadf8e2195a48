// A pipe: its functions make sense together alone.
#include "threads/call.h"

#include <ko/cpp/image.h>

namespace ko::test {

namespace {

SxImageBuf copyOf(const SxImageBuf& image)
{
    Image copy = Image::zeros(image);
    orThrow(CopyBuffer(image, QRect(0, 0, image.width, image.height), copy, QPoint(0, 0), false));
    return copy.release();
}

/// Frames through a pipe whose worker threads are the call's own.
void runPipe(Call& call)
{
    CxFrameSource source;
    CxDemosaicConvertor convertor;
    CxFrameSink sink([&](CxImageData& frame) {
        call.value(frame.frameNo());
        call.release(frame.image());
    });
    convertor.setBayerGridSource(CxDemosaicConvertor::GridFromSettings);
    convertor.setBayerGrid(BayerGBRG);
    source.addSuccessor(&convertor);
    convertor.addSuccessor(&sink);
    call.value(StartPipe(source));
    // Until the pipe is drained, the record is the sink's.
    bool pushed = true;
    for (int i = 0; i < 5; ++i)
        pushed = source.push(copyOf(call.mosaic())) && pushed;
    call.value(DrainPipe(source));
    call.value(pushed);
    call.value(StopPipe(source));
    call.value(sink.statistics().processed);
}

}  // namespace

Operations pipelineOperations()
{
    return {{"a pipe", &runPipe}};
}

}  // namespace ko::test
