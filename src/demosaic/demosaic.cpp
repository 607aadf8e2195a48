#include <ko/demosaic.h>

#include <ko/cpp/image.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/depth.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/log.h"
#include "base/rows.h"
#include "core/bayer_cell.h"
#include "demosaic/demosaic_kernels.h"

#include <QString>

#include <array>
#include <limits>
#include <memory>

namespace ko {

namespace {

/// What callers hold as `void*`: the colour planes of the mosaic and the same planes enlarged. Only rows of
/// the enlarged planes are in use at any time.
///
/// Two pointers to image records and nothing else: programs look into the block.
struct WorkBuffer {
    std::unique_ptr<Image> planar;
    std::unique_ptr<Image> full;
};

bool isRegionOfCells(const QRect& roi, const SxImageInfo& info)
{
    return isInside(roi, info) && hasEvenSize(roi) && widthOf(roi) > 0 && heightOf(roi) > 0;
}

std::unique_ptr<Image> allocPlanes(const SxImageInfo& info, std::int64_t width, std::int64_t height)
{
    SxImageInfo planes;
    planes.width = static_cast<int>(width);
    planes.height = static_cast<int>(height);
    planes.channels = 4;
    planes.packing = Planar;
    planes.dataType = info.dataType;
    planes.bitsPerSample = info.bitsPerSample;
    planes.bayerGrid = info.bayerGrid;
    return std::make_unique<Image>(planes);
}

std::unique_ptr<WorkBuffer> allocBuffer(const SxImageInfo& info, const QRect& roi)
{
    const std::int64_t width = widthOf(roi), height = heightOf(roi);
    auto buffer = std::make_unique<WorkBuffer>();
    buffer->planar = allocPlanes(info, width / 2, height / 2);
    buffer->full = allocPlanes(info, width, height);
    return buffer;
}

/// Four planes of the given size and of src's sample type.
bool arePlanesFor(const std::unique_ptr<Image>& image, const SxImageBuf& src, std::int64_t width,
                  std::int64_t height)
{
    if (image == nullptr)
        return false;
    const SxImageBuf& planes = *image;
    return isPresent(planes) && isFourPlanes(planes) && hasType(planes, src.dataType) &&
           hasSize(planes, width, height) && rowsFit(planes);
}

/// A caller's buffer may have been made for other images.
bool fits(const WorkBuffer& buffer, const SxImageBuf& src, const QRect& roi)
{
    const std::int64_t width = widthOf(roi), height = heightOf(roi);
    return arePlanesFor(buffer.planar, src, width / 2, height / 2) &&
           arePlanesFor(buffer.full, src, width, height);
}

/// The range that `ClampToColorDepth` brings samples into: a limit of 0 or less replaces them all.
template <class T>
SampleRange depthRange(const SxImageInfo& image)
{
    const std::int64_t limit = colorDepthLimit(image);
    if (limit > std::numeric_limits<T>::max())
        return {0, std::numeric_limits<T>::max()};
    const auto top = static_cast<T>(limit - 1);
    return {limit > 0 ? T{0} : top, top};
}

/// The rows of one row of cells, one per position in the cell: left and right of the upper mosaic row, then
/// of the lower one.
class CellRows {
public:
    /// Four rows of `full` from `first` on; its planes are used as one block of rows.
    CellRows(SxImageBuf& full, int first)
    {
        for (int i = 0; i < 4; ++i)
            m_rows[static_cast<std::size_t>(i)] = rowOf(full, first + i);
    }

    std::uint8_t* at(int row, int column) const
    {
        return m_rows[2 * static_cast<std::size_t>(row) + static_cast<std::size_t>(column)];
    }

    PlaneRows colours(BayerCell cell) const
    {
        const int x = cell.redColumn, y = cell.redRow;
        return {at(y, x), at(y, 1 - x), at(1 - y, 1 - x), at(1 - y, x)};
    }

private:
    std::array<std::uint8_t*, 4> m_rows;
};

/// Gives the bytes of splitting the mosaic, doubling each plane with `Stretch`, `ClampToColorDepth` and
/// `DemosaicSimple`, with the rows of two rows of cells at a time.
template <class T>
void interpolate(const SxImageBuf& src, const QRect& roi, SxImageBuf& full, SxImageBuf& dst)
{
    const DemosaicRowKernels& kernels = demosaicKernels().of<T>();
    const BayerCell cell = cellFrom(src.bayerGrid, roi.left(), roi.top());
    const std::int64_t left = roi.left() * std::int64_t{sizeof(T)};
    const SampleRange range = depthRange<T>(full);
    const auto top = saturatedTop<T>(full.bitsPerSample);
    // Eight rows for every band: there are four planes, and no more bands than rows of cells.
    const RowWork work{dst.height / 2, 4 * rowBytes(dst)};
    inBands(bandsByConsent(work), work.rows, [&](int band, std::int64_t begin, std::int64_t end) noexcept {
        CellRows above(full, 8 * band), below(full, 8 * band + 4);
        const auto enlarge = [&](std::int64_t y, const CellRows& rows) noexcept {
            for (const int row : {0, 1})
                kernels.enlarge(rowOf(src, roi.top() + 2 * y + row) + left, rows.at(row, 0), rows.at(row, 1),
                                dst.width);
        };
        if (begin > 0)
            enlarge(begin - 1, below);
        for (std::int64_t y = begin; y < end; ++y) {
            std::swap(above, below);
            enlarge(y, below);
            kernels.combine((y == 0 ? below : above).colours(cell), below.colours(cell), range,
                            {rowOf(dst, 2 * y), dst.channels, top},
                            {rowOf(dst, 2 * y + 1), dst.channels, top}, dst.width);
        }
    });
}

}  // namespace

ResultCode Demosaic(const SxImageBuf& src, SxImageBuf& dst, void* buffer)
{
    return Demosaic(src, wholeOf(src), dst, buffer);
}

ResultCode Demosaic(const SxImageBuf& src, const QRect& roi, SxImageBuf& dst, void* buffer)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && isMosaic(src) && isInterleaved(src)},
                {ResultBadArg2, isRegionOfCells(roi, src)},
                {ResultBadArg3, isPresent(dst) && hasChannels(dst, 3, 4) && isInterleaved(dst)},
                {ResultBadArg3, hasType(dst, src.dataType)},
                {ResultBadArg3, hasSize(dst, widthOf(roi), heightOf(roi))},
                {ResultFailed, isBayerGrid(src.bayerGrid)},
            }))
            return rc;
        return dispatch(
            ByTypeOf<UInt8, UInt16>{}, src.dataType,
            {{ResultBadArg1, rowsFit(src)}, {ResultBadArg3, rowsFit(dst)}},
            [&]<class T>(std::type_identity<T>) {
                std::unique_ptr<WorkBuffer> own;
                if (buffer == nullptr)
                    own = allocBuffer(src, roi);
                auto* const used = buffer == nullptr ? own.get() : static_cast<WorkBuffer*>(buffer);
                if (!fits(*used, src, roi))
                    return ResultFailed;
                interpolate<T>(src, roi, *used->full, dst);
                return ResultOk;
            },
            ResultFailed);
    });
}

void* DemosaicAllocBuffer(const SxImageInfo& info)
{
    return DemosaicAllocBuffer(info, wholeOf(info));
}

void* DemosaicAllocBuffer(const SxImageInfo& info, const QRect& roi)
{
    void* buffer = nullptr;
    // What a failure leaves is a null buffer.
    (void)guarded([&] {
        if (!isMosaic(info))
            logError(QStringLiteral("Input image must be mono image."));
        else if (!isRegionOfCells(roi, info))
            logError(QStringLiteral("Invalid ROI."));
        else
            buffer = allocBuffer(info, roi).release();
        return ResultOk;
    });
    return buffer;
}

void DemosaicFreeBuffer(void* buffer)
{
    delete static_cast<WorkBuffer*>(buffer);
}

}  // namespace ko
