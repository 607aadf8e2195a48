#include "commands/demosaicer.h"

#include "cli/failure.h"
#include "io/mosaic.h"
#include "io/parts.h"

#include <new>

namespace ko::tool {
namespace {

void* orOutOfMemory(void* buffer)
{
    if (!buffer)
        throw std::bad_alloc();
    return buffer;
}

}  // namespace

Settings::Words methodWords()
{
    return {{"menon", Menon}, {"malvar", Malvar}, {"linear", Linear}, {"half", Half}};
}

Image Demosaicer::run(const SxImageBuf& mosaic, const QRect& region, const std::string& advice, Frame& frame)
{
    if (m_method == Linear || m_method == Half)
        requireEven(region.size(), advice);
    const int scale = m_method == Half ? 2 : 1;
    Image result(resized(mosaic, region.width() / scale, region.height() / scale, 3));
    if (m_method == Half)
        timed(frame,
              [&] { require(DemosaicSimple(mosaic, region, *result, mosaic.bayerGrid), "DemosaicSimple"); });
    else if (m_method == Linear)
        runLinear(mosaic, region, result, frame);
    else
        runCentred(mosaic, region, result, frame);
    return result;
}

void Demosaicer::runLinear(const SxImageBuf& mosaic, const QRect& region, Image& result, Frame& frame)
{
    m_linearBuffers.lend(
        {mosaic.dataType, mosaic.bitsPerSample, mosaic.bayerGrid, region.width(), region.height()},
        [&] { return orOutOfMemory(DemosaicAllocBuffer(mosaic, region)); },
        [&](void* buffer) {
            timed(frame, [&] { require(Demosaic(mosaic, region, *result, buffer), "Demosaic"); });
        });
}

void Demosaicer::runCentred(const SxImageBuf& mosaic, const QRect& region, Image& result, Frame& frame)
{
    m_centredBuffers.lend(
        {region.width()}, [&] { return orOutOfMemory(DemosaicCentredAllocBuffer(region.width())); },
        [&](void* buffer) {
            timed(frame, [&] {
                if (m_method == Malvar)
                    require(DemosaicMalvar(mosaic, region, *result, buffer), "DemosaicMalvar");
                else
                    require(DemosaicMenon(mosaic, region, *result, buffer), "DemosaicMenon");
            });
        });
}

}  // namespace ko::tool
