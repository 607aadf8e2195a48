#include <ko/tone.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "tone/average_kernels.h"

#include <algorithm>
#include <vector>

namespace ko {

namespace {

using AverageTypes = ByTypeOf<UInt8, UInt16, UInt32>;

/// The rectangle has a size that an image can have.
bool isSize(const QRect& roi, const SxImageInfo& dst)
{
    return widthOf(roi) >= 0 && heightOf(roi) >= 0 && dst.channels >= 1;
}

bool hasRoomFor(const QRect& roi, const SxImageInfo& dst)
{
    return widthOf(roi) <= dst.width && heightOf(roi) <= dst.height;
}

/// The status at which a pass over the frames, one after another, would stop.
ResultCode checkFrames(const QVector<SxImageBuf>& frames, const QRect& roi, const SxImageInfo& dst)
{
    for (const SxImageBuf& frame : frames) {
        if (!isPresent(frame) || !sameFormat(frame, dst) || !isInside(roi, frame))
            return ResultBadArg1;
        if (!hasType(frame, UInt8, UInt16, UInt32) || !hasLayout(frame))
            return ResultUnsupportedType;
    }
    const bool allFit =
        std::all_of(frames.begin(), frames.end(), [](const auto& frame) { return rowsFit(frame); });
    return firstFailure({{ResultBadArg1, allFit}, {ResultBadArg2, rowsFit(dst)}});
}

/// Averages the region of one plane, or of all of an interleaved image; `rows` has room for every frame.
template <class T>
void averagePlane(const QVector<SxImageBuf>& frames, const QRect& roi, SxImageBuf& dst, int plane,
                  std::vector<FrameRows>& rows)
{
    const std::int64_t channels = isInterleaved(dst) ? dst.channels : 1;
    const std::int64_t left = roi.left() * channels * std::int64_t{sizeof(T)};
    std::transform(frames.begin(), frames.end(), rows.begin(), [&](const SxImageBuf& frame) {
        return FrameRows{planeRowOf(frame, plane, roi.top()) + left, frame.stride};
    });
    const AverageRow row = averageKernels().of<T>();
    const auto count = static_cast<std::int64_t>(rows.size());
    const std::int64_t samples = widthOf(roi) * channels;
    const RowWork frameRows{heightOf(roi), (count + 1) * samples * std::int64_t{sizeof(T)}};
    rowsDynamic(frameRows.times(2), [&](std::int64_t y) noexcept {
        row(rows.data(), count, y, planeRowOf(dst, plane, y), samples);
    });
}

}  // namespace

ResultCode AverageImage(QVector<SxImageBuf> frames, SxImageBuf& dst)
{
    if (frames.isEmpty())
        return ResultBadArg1;
    const QRect whole = wholeOf(frames.constFirst());
    return isFailure(AverageImage(std::move(frames), whole, dst)) ? ResultFailed : ResultOk;
}

ResultCode AverageImage(QVector<SxImageBuf> frames, const QRect& roi, SxImageBuf& dst)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, !frames.isEmpty()},
                {ResultBadArg2, isPresent(dst) && hasRoomFor(roi, dst)},
                {ResultFailed, isSize(roi, dst)},
            }))
            return rc;
        const QVector<SxImageBuf>& list = frames;
        std::vector<FrameRows> rows(static_cast<std::size_t>(list.size()));
        if (const ResultCode rc = checkFrames(list, roi, dst))
            return rc;
        return dispatch(AverageTypes{}, dst.dataType, {}, [&]<class T>(std::type_identity<T>) {
            const int planes = isInterleaved(dst) ? 1 : dst.channels;
            for (int plane = 0; plane < planes && !roi.isEmpty(); ++plane)
                averagePlane<T>(list, roi, dst, plane, rows);
        });
    });
}

}  // namespace ko
