// Streams of frames: items that work on threads of their own and hand frames from one to the next.
//
// A pipe is a graph of items (`IxPipeItem`) without cycles. Each has a bounded queue, a worker thread and
// successors. A frame arrives in the queue by `onDataAvailable`, is worked on by `processData` on the worker,
// and what comes out arrives at every successor. A frame belongs to exactly one item at a time.
//
//     CxFrameSource source;
//     CxDemosaicConvertor convertor;
//     CxFrameSink sink([](CxImageData& frame) { show(frame.image()); });
//     source.addSuccessor(&convertor);
//     convertor.addSuccessor(&sink);
//     StartPipe(source);
//     source.push(image);
//     DrainPipe(source);
//     StopPipe(source);
#pragma once

#include <ko/pipeline/data.h>
#include <ko/pipeline/endpoints.h>
#include <ko/pipeline/item.h>
#include <ko/pipeline/metadata.h>
#include <ko/pipeline/pipe.h>
#include <ko/pipeline/processor.h>
