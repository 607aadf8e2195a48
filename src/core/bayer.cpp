#include <ko/bayer.h>

#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "core/bayer_cell.h"
#include "core/bayer_kernels.h"

namespace ko {

namespace {

using MosaicTypes = ByTypeOf<UInt8, UInt16>;

/// Plane of a position in the cell. Each row of a cell has one green, so the first in raster order is the
/// upper one.
int planeOf(BayerCell cell, int column, int row) noexcept
{
    if (column == cell.redColumn && row == cell.redRow)
        return 0;
    if (column != cell.redColumn && row != cell.redRow)
        return 2;
    return row == 0 ? 1 : 3;
}

template <class T>
void splitCells(const SxImageBuf& src, const QRect& roi, BayerCell cell, SxImageBuf& planar)
{
    const auto split = bayerKernels().of<T>().split;
    rowsByConsent({planar.height, 8 * rowBytes(planar)}, [&](std::int64_t y) noexcept {
        for (const int row : {0, 1})
            split(rowOf(src, roi.top() + 2 * y + row) + roi.left() * std::int64_t{sizeof(T)},
                  planeRowOf(planar, planeOf(cell, 0, row), y), planeRowOf(planar, planeOf(cell, 1, row), y),
                  planar.width);
    });
}

template <class T>
void combineCells(const SxImageBuf& src, const QRect& rect, BayerCell cell, SxImageBuf& dst)
{
    const auto combine = bayerKernels().of<T>().fromMosaic;
    const std::int64_t left = rect.left() * std::int64_t{sizeof(T)};
    rowsByConsent(workOn(dst).times(2), [&](std::int64_t y) noexcept {
        const std::int64_t top = rect.top() + 2 * y;
        combine({rowOf(src, top + cell.redRow) + left, rowOf(src, top + 1 - cell.redRow) + left,
                 cell.redColumn == 0},
                {rowOf(dst, y), dst.channels, saturatedTop<T>(src.bitsPerSample)}, dst.width);
    });
}

template <class T>
void combinePlanes(const SxImageBuf& src, const QRect& rect, SxImageBuf& dst)
{
    const auto combine = bayerKernels().of<T>().fromPlanes;
    rowsByConsent(workOn(dst).times(2), [&](std::int64_t y) noexcept {
        const auto row = [&](int plane) {
            return planeRowOf(src, plane, rect.top() + y) + rect.left() * std::int64_t{sizeof(T)};
        };
        combine({row(0), row(1), row(2), row(3)},
                {rowOf(dst, y), dst.channels, saturatedTop<T>(src.bitsPerSample)}, dst.width);
    });
}

}  // namespace

ResultCode ConvertRawToPlanarRaw(const SxImageBuf& src, const QRect& roi, ExBayerGrid grid,
                                 SxImageBuf& planar)
{
    if (const ResultCode rc = firstFailure({
            {ResultBadArg1, isPresent(src) && isMono(src)},
            {ResultBadArg2, isInside(roi, src) && hasEvenSize(roi)},
            {ResultBadArg3, isBayerGrid(grid)},
            {ResultBadArg4, isPresent(planar) && isFourPlanes(planar) && hasType(planar, src.dataType)},
            {ResultBadArg4, hasSize(planar, widthOf(roi) / 2, heightOf(roi) / 2)},
        }))
        return rc;
    return dispatch(MosaicTypes{}, src.dataType,
                    {{ResultBadArg1, rowsFit(src)}, {ResultBadArg4, rowsFit(planar)}},
                    [&]<class T>(std::type_identity<T>) {
                        splitCells<T>(src, roi, cellFrom(grid, roi.left(), roi.top()), planar);
                    });
}

ResultCode DemosaicSimple(const SxImageBuf& src, const QRect& rect, SxImageBuf& dst, ExBayerGrid grid)
{
    const bool fromMosaic = isMono(src);
    const int pixelSide = fromMosaic ? 2 : 1;
    if (const ResultCode rc = firstFailure({
            {ResultBadArg1, isPresent(src) && (fromMosaic || isFourPlanes(src))},
            {ResultBadArg2, isInside(rect, src) && (!fromMosaic || hasEvenSize(rect))},
            {ResultBadArg3, isPresent(dst) && hasChannels(dst, 3, 4) && isInterleaved(dst)},
            {ResultBadArg3, hasType(dst, src.dataType)},
            {ResultBadArg3, hasSize(dst, widthOf(rect) / pixelSide, heightOf(rect) / pixelSide)},
            {ResultBadArg4, isBayerGrid(grid)},
        }))
        return rc;
    return dispatch(MosaicTypes{}, src.dataType,
                    {{ResultBadArg1, rowsFit(src)}, {ResultBadArg3, rowsFit(dst)}},
                    [&]<class T>(std::type_identity<T>) {
                        if (fromMosaic)
                            combineCells<T>(src, rect, cellFrom(grid, rect.left(), rect.top()), dst);
                        else
                            combinePlanes<T>(src, rect, dst);
                    });
}

}  // namespace ko
