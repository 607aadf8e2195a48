#include "base/checks.h"
#include "fuzz/core/families.h"
#include "oracle/bayer.h"

#include <ko/bayer.h>

namespace ko::fuzz {

namespace {

constexpr std::initializer_list<ExImageDataType> mosaicTypes = {UInt8, UInt16, UInt8, UInt16, Int16};
constexpr std::initializer_list<ExBayerGrid> grids = {BayerBGGR, BayerRGGB, BayerGBRG, BayerGRBG};

/// Even mostly, as whole cells are wanted.
QRect anyCells(ByteReader& in, const Layout& layout)
{
    QRect rect = anyRect(in, layout);
    const bool isSmall = rect.left() >= 0 && rect.left() < 1000 && rect.top() >= 0 && rect.top() < 1000 &&
                         rect.right() < 1000 && rect.bottom() < 1000 && rect.right() >= -1 &&
                         rect.bottom() >= -1;
    if (isSmall && !in.oneIn(8))
        rect = QRect(rect.x(), rect.y(), rect.width() / 2 * 2, rect.height() / 2 * 2);
    return rect;
}

/// The layout of what a region becomes, or of nothing where the region is far from the image.
Layout regionOf(ByteReader& in, const Layout& layout, const QRect& rect, int divisor, int channels)
{
    const auto kept = [&](std::int64_t extent) {
        return extent < 0 || extent > 400 ? 0 : static_cast<int>(extent) / divisor;
    };
    Layout region = like(in, layout, layout.type, channels, layout.bits);
    region.width = kept(widthOf(rect));
    region.height = kept(heightOf(rect));
    return region;
}

template <class Body>
void forSampleOf(const Layout& layout, const Body& body)
{
    if (layout.type == UInt8)
        body(std::uint8_t{});
    else
        body(std::uint16_t{});
}

void rawToPlanes(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {mosaicTypes});
    const FuzzImage src(in, layout);
    const QRect roi = anyCells(in, layout);
    Layout planes = regionOf(in, layout, roi, 2, in.oneIn(16) ? 3 : 4);
    planes.packing = in.oneIn(16) ? Interleaved : Planar;
    FuzzImage planar(in, planes);
    const ExBayerGrid grid = in.code(grids);
    const ResultCode rc = ConvertRawToPlanarRaw(src, roi, grid, planar);
    addCall(out, rc, planar, src);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, planar))
        return;
    Twin expected(planar);
    forSampleOf(layout, [&]<class T>(T) { oracle::rawToPlanes<T>(Twin(src), roi, grid, expected); });
    expected.requireEqual(planar);
}

void demosaicSimple(ByteReader& in, Outcome& out)
{
    const bool isMosaic = in.flag();
    Layout layout = anyLayout(in, {mosaicTypes, {isMosaic ? 1 : 4}});
    layout.packing = in.oneIn(16) ? Interleaved : Planar;
    const FuzzImage src(in, layout);
    const QRect rect = anyCells(in, layout);
    Layout colour = regionOf(in, layout, rect, isMosaic ? 2 : 1, in.pick({3, 4, 3, 4, 2}));
    colour.packing = in.oneIn(16) ? Planar : Interleaved;
    FuzzImage dst(in, colour);
    const ExBayerGrid grid = in.code(grids);
    const ResultCode rc = DemosaicSimple(src, rect, dst, grid);
    addCall(out, rc, dst, src);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, dst))
        return;
    Twin expected(dst);
    forSampleOf(layout, [&]<class T>(T) {
        if (isMosaic)
            oracle::simpleFromMosaic<T>(Twin(src), rect, expected, grid);
        else
            oracle::simpleFromPlanes<T>(Twin(src), rect, expected);
    });
    expected.requireEqual(dst);
}

}  // namespace

Cases bayerCases()
{
    return {{"bayer: rawToPlanes", &rawToPlanes}, {"bayer: demosaicSimple", &demosaicSimple}};
}

}  // namespace ko::fuzz
