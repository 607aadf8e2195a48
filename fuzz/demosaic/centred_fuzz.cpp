// Demosaicing of regions and whole images by the methods that leave the colours where they are.
#include "base/checks.h"
#include "fuzz/demosaic/families.h"
#include "oracle/centred.h"

#include <ko/demosaic.h>

#include <memory>

namespace ko::fuzz {

namespace {

using Whole = ResultCode (*)(const SxImageBuf&, SxImageBuf&, void*);
using Part = ResultCode (*)(const SxImageBuf&, const QRect&, SxImageBuf&, void*);
using TwinOf = void (*)(const test::TestImage&, const QRect&, ExBayerGrid, test::TestImage&);

struct FreeBuffer {
    void operator()(void* buffer) const { DemosaicCentredFreeBuffer(buffer); }
};

int keptExtent(std::int64_t extent)
{
    return extent >= 0 && extent <= 200 ? static_cast<int>(extent) : 0;
}

template <Whole OfAll, Part OfPart, TwinOf Bytes, TwinOf Words>
void centred(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {{UInt8, UInt16, UInt8, UInt16, Int16}});
    const bool isWhole = in.flag();
    FuzzImage src(in, layout);
    if (src.isSound())
        src->bayerGrid = in.code({BayerBGGR, BayerRGGB, BayerGBRG, BayerGRBG});
    const QRect roi = isWhole ? QRect(0, 0, layout.width, layout.height) : anyRect(in, layout);
    Layout colour = like(in, layout, layout.type, in.pick({3, 4, 3, 4, 2}), layout.bits);
    colour.width = keptExtent(widthOf(roi));
    colour.height = keptExtent(heightOf(roi));
    colour.packing = in.oneIn(16) ? Planar : Interleaved;
    FuzzImage dst(in, colour);
    const std::unique_ptr<void, FreeBuffer> buffer(in.flag() ? DemosaicCentredAllocBuffer(in.between(-1, 200))
                                                             : nullptr);
    const ResultCode rc = isWhole ? OfAll(src, dst, buffer.get()) : OfPart(src, roi, dst, buffer.get());
    addCall(out, rc, dst, src);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, dst))
        return;
    const Twin mosaic(src);
    Twin expected(dst);
    (layout.type == UInt8 ? Bytes : Words)(mosaic, roi, src->bayerGrid, expected);
    expected.requireEqual(dst);
}

}  // namespace

Cases centredCases()
{
    return {{"demosaic: Malvar", &centred<&DemosaicMalvar, &DemosaicMalvar, &oracle::malvar<std::uint8_t>,
                                          &oracle::malvar<std::uint16_t>>},
            {"demosaic: Menon", &centred<&DemosaicMenon, &DemosaicMenon, &oracle::menon<std::uint8_t>,
                                         &oracle::menon<std::uint16_t>>}};
}

}  // namespace ko::fuzz
