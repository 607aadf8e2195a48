#include <ko/median.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/rows.h"
#include "median/columns.h"
#include "median/levels.h"
#include "median/network.h"
#include "median/plan.h"
#include "median/tiles.h"

#include <algorithm>
#include <new>
#include <utility>

namespace ko {

namespace {

/// Samples, channels and depth that the median is made for.
bool isMedianFormat(const SxImageInfo& info) noexcept
{
    return hasType(info, UInt8, UInt16) && info.channels >= 1 && info.bitsPerSample >= 1 &&
           info.bitsPerSample <= 8 * bytesPerSample(info.dataType);
}

/// A destination of the median; its mosaic and pixel format do not matter.
bool isLike(const SxImageInfo& dst, const SxImageInfo& src) noexcept
{
    return sameSize(dst, src) && dst.channels == src.channels && dst.bitsPerSample == src.bitsPerSample &&
           dst.dataType == src.dataType && dst.packing == src.packing;
}

bool isCounterWidth(std::uint64_t width) noexcept
{
    return width == 1 || width == 2 || width == 4;
}

/// Makes the scratch memory large enough for the radius.
void prepareScratch(MedianWork& buffer, std::int64_t radius)
{
    const SxImageInfo& info = buffer.plan->info;
    const std::vector<MedianStrip>& strips = buffer.plan->strips;
    auto parts = static_cast<std::size_t>(omp_get_max_threads());
    std::size_t bytes = 0;
    if (radius <= largestNetworkRadius) {
        bytes = networkScratchBytes();
    } else if (hasTileMedians(info.dataType, radius)) {
        bytes = tileScratchBytes(info, radius);
    } else if (radius <= largestColumnRadius) {
        parts = std::max(parts, strips.size());
        bytes = columnScratchBytes(strips, info.dataType, radius);
    } else {
        throw std::bad_alloc();
    }
    if (hasLevelMedians(info, radius))
        bytes = std::max(bytes, levelScratchBytes(info, radius));
    buffer.scratch.reserve(parts, bytes);
    if (radius > largestNetworkRadius)
        buffer.patches.reset(info, levelPatchRows(radius));
}

ResultCode makeBuffer(const SxImageInfo& info, std::int64_t radius, std::unique_ptr<MedianWork>& buffer)
{
    if (const ResultCode rc = firstFailure({
            {ResultBadArg1, info.width > 0 && info.height > 0 && !hasChannels(info, 4)},
            {ResultUnsupportedType, isMedianFormat(info) && !isPlanar(info)},
            {ResultBadArg2, medianWindowFits(radius, info.width)},
        }))
        return rc;
    auto plan =
        std::make_unique<MedianPlan>(MedianPlan{info, cutIntoStrips(info, radius, omp_get_max_threads())});
    buffer = std::make_unique<MedianWork>(MedianWork{medianCounterWidth(radius), std::move(plan), {}, {}});
    if (medianWindowFits(radius, info.height))
        prepareScratch(*buffer, radius);
    return ResultOk;
}

void countMedians(const SxImageBuf& src, SxImageBuf& dst, const MedianWork& buffer, std::int64_t radius)
{
    const RowWork rows = workOn(src, dst).times(100);
    const std::vector<MedianStrip>& strips = buffer.plan->strips;
    const auto count = static_cast<std::int64_t>(strips.size());
    rowsDynamic({count, rows.bytes * rows.rows / count}, [&](std::int64_t i) noexcept {
        const auto index = static_cast<std::size_t>(i);
        columnMedians(src, dst, strips[index], radius, buffer.scratch.part(index), buffer.patches);
    });
}

void findMedians(const SxImageBuf& src, SxImageBuf& dst, MedianWork& buffer, std::int64_t radius)
{
    if (radius <= largestNetworkRadius)
        return sortMedians(src, dst, radius, buffer.scratch);
    if (hasLevelMedians(src, radius))
        levelMedians(src, dst, radius, buffer.scratch, buffer.patches);
    if (!buffer.patches.isAnyLeft())
        return;
    if (hasTileMedians(src.dataType, radius))
        tileMedians(src, dst, radius, buffer.scratch, buffer.patches);
    else
        countMedians(src, dst, buffer, radius);
}

}  // namespace

ResultCode Median(const SxImageBuf& src, SxImageBuf& dst, int radius, void* buffer)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src)},
                {ResultBadArg2, isPresent(dst) && isLike(dst, src)},
                {ResultBadArg3, medianWindowFits(radius, src.width) && medianWindowFits(radius, src.height)},
                {ResultUnsupportedType, isInterleaved(src) && isMedianFormat(src)},
            }))
            return rc;

        auto* work = static_cast<MedianWork*>(buffer);
        std::unique_ptr<MedianWork> own;
        if (work == nullptr) {
            if (isFailure(makeBuffer(src, radius, own)))
                return ResultFailed;
            work = own.get();
        } else if (isCounterWidth(work->counterWidth)) {
            if (!servesImage(*work, src, radius))
                return ResultIncompatible;
        } else if (work->counterWidth > 4) {
            return ResultUnsupportedType;
        }

        if (!hasChannels(src, 1, 3, 4))
            return ResultOk;
        if (const ResultCode rc = firstFailure({
                {ResultUnsupportedType, isCounterWidth(work->counterWidth)},
                {ResultBadArg1, rowsFit(src)},
                {ResultBadArg2, rowsFit(dst)},
            }))
            return rc;
        prepareScratch(*work, radius);
        findMedians(src, dst, *work, radius);
        return ResultOk;
    });
}

ResultCode MedianAllocBuffer(const SxImageInfo& info, int radius, void** buffer)
{
    return guarded([&] {
        std::unique_ptr<MedianWork> made;
        if (const ResultCode rc = makeBuffer(info, radius, made))
            return rc;
        if (buffer == nullptr)
            return ResultBadArg3;
        *buffer = made.release();
        return ResultOk;
    });
}

void MedianFreeBuffer(void* buffer)
{
    delete static_cast<MedianWork*>(buffer);
}

}  // namespace ko
