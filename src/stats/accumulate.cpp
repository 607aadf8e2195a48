#include <ko/stats/accumulate.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "stats/accumulate_kernels.h"
#include "stats/accumulator_planes.h"

#include <algorithm>
#include <cstring>

namespace ko {

namespace {

bool areAlike(const QVector<SxImageBuf>& frames, const SxImageBuf& first)
{
    return std::all_of(frames.begin(), frames.end(), [&](const SxImageBuf& frame) {
        return isPresent(frame) && sameGeometry(frame, first) && hasType(frame, first.dataType);
    });
}

bool areMasksOf(const QVector<SxImageBuf>& masks, const QVector<SxImageBuf>& frames, const SxImageInfo& first)
{
    return masks.isEmpty() ||
           (masks.size() == frames.size() &&
            std::all_of(masks.begin(), masks.end(), [&](const auto& mask) { return isMaskOf(mask, first); }));
}

bool allRowsFit(const QVector<SxImageBuf>& images)
{
    return std::all_of(images.begin(), images.end(), [](const auto& image) { return rowsFit(image); });
}

std::uint8_t* rowOfPlane(SxImageBuf& plane, std::int64_t y) noexcept
{
    return isWanted(plane) ? rowOf(plane, y) : nullptr;
}

AccumulatorRow rowOfAll(SxAccumulator& sums, std::int64_t y) noexcept
{
    return {rowOfPlane(sums.sum, y),
            rowOfPlane(sums.squares, y),
            rowOfPlane(sums.minimum, y),
            rowOfPlane(sums.maximum, y),
            rowOfPlane(sums.above, y),
            rowOfPlane(sums.counts, y),
            sums.level};
}

/// The work of a row that reads so many images and changes every plane.
RowWork workOnPlanes(const SxAccumulator& sums, std::int64_t bytesRead) noexcept
{
    std::int64_t bytes = bytesRead;
    for (const SxImageBuf* const plane : planesOf(sums))
        bytes += isWanted(*plane) ? 2 * rowBytes(*plane) : 0;
    return {sampleRows(anyPlane(sums)), bytes};
}

/// The rows y of the frames from `from` on, as many as are taken at once.
FrameRowGroup rowsFrom(const QVector<SxImageBuf>& frames, const QVector<SxImageBuf>& masks, int from,
                       std::int64_t y) noexcept
{
    FrameRowGroup group;
    group.count = std::min<std::int64_t>(frames.size() - from, accumulatedAtOnce);
    group.hasMasks = !masks.isEmpty();
    group.channels = isPlanar(frames[from]) ? 1 : frames[from].channels;
    for (int f = 0; f < group.count; ++f) {
        const auto slot = static_cast<std::size_t>(f);
        group.rows[slot] = rowOf(frames[from + f], y);
        if (group.hasMasks)
            group.masks[slot] = rowOf(masks[from + f], y % masks[from + f].height);
    }
    return group;
}

}  // namespace

ResultCode ClearAccumulator(SxAccumulator& sums)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, hasPlanes(sums)},
                {ResultUnsupportedType, hasLayout(anyPlane(sums))},
                {ResultBadArg1, planesFit(sums)},
            }))
            return rc;
        sums.frames = 0;
        for (SxImageBuf* const plane : planesOf(sums)) {
            if (!isWanted(*plane))
                continue;
            const int first = plane == &sums.minimum ? 0xFF : 0;
            for (std::int64_t y = 0; y < sampleRows(*plane); ++y)
                std::memset(rowOf(*plane, y), first, static_cast<std::size_t>(rowBytes(*plane)));
        }
        return ResultOk;
    });
}

ResultCode AccumulateFrames(const QVector<SxImageBuf>& frames, const QVector<SxImageBuf>& masks,
                            SxAccumulator& sums)
{
    return guarded([&] {
        const SxImageBuf none;
        const SxImageBuf& first = frames.isEmpty() ? none : frames.constFirst();
        const auto count = static_cast<std::uint64_t>(frames.size());
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, !frames.isEmpty() && areAlike(frames, first)},
                {ResultBadArg2, areMasksOf(masks, frames, first)},
                {ResultBadArg3, hasPlanesLike(sums, first, first.dataType) && hasFrames(sums)},
                {ResultBadArg3, masks.isEmpty() || isWanted(sums.counts)},
                {ResultOutOfRange, sums.frames + count <= mostAccumulatedFrames},
                {ResultUnsupportedType, hasLayout(first)},
            }))
            return rc;
        return dispatch(ByTypeOf<UInt8, UInt16>{}, first.dataType,
                        {{ResultBadArg1, allRowsFit(frames)},
                         {ResultBadArg2, allRowsFit(masks)},
                         {ResultBadArg3, planesFit(sums)}},
                        [&]<class T>(std::type_identity<T>) {
                            const AccumulateRow row = accumulateKernels().accumulate.of<T>();
                            const std::int64_t samples = samplesPerRow(first);
                            const std::int64_t read = frames.size() * rowBytes(first);
                            rowsDynamic(workOnPlanes(sums, read), [&](std::int64_t y) noexcept {
                                const AccumulatorRow planes = rowOfAll(sums, y);
                                for (int from = 0; from < frames.size(); from += accumulatedAtOnce)
                                    row(rowsFrom(frames, masks, from, y), samples, planes);
                            });
                            sums.frames += count;
                        });
    });
}

}  // namespace ko
