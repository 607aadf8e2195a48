#include <ko/filters.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "filters/resize_kernels.h"

#include <algorithm>
#include <vector>

namespace ko {

namespace {

/// Sums of weighted samples stay below 2^50 up to this product, so doubles hold them and their quarters.
constexpr std::int64_t mostWeight = std::int64_t{1} << 34;

/// An upper bound of the weights behind one result, along one axis.
std::int64_t weightBound(std::int64_t length, std::int64_t wanted)
{
    return std::max(length, 2 * wanted);
}

bool isExact(const SxImageInfo& src, const SxImageInfo& dst)
{
    // Both are below 2^32, so no product overflows once one is known to be small.
    const std::int64_t across = weightBound(src.height, dst.height),
                       along = weightBound(src.width, dst.width);
    return across <= 0 || along <= mostWeight / across;
}

RowWork workOf(const SxImageBuf& src, const SxImageBuf& dst)
{
    constexpr std::int64_t enough = std::int64_t{1} << 30;  // for any number of threads
    const std::int64_t rows = std::max(src.height / dst.height, 2);
    return {dst.height, std::min(rowBytes(src), enough / rows) * rows + std::min(rowBytes(dst), enough)};
}

void resize(const SxImageBuf& src, SxImageBuf& dst, const ResizePasses& passes)
{
    const ResizeAxis down(src.height, dst.height);
    const ResizeAxis across(src.width, dst.width);
    const ResizePlan plan(across, dst.width, dst.channels, passes.lanes);
    const double weight = static_cast<double>(down.divisor()) * static_cast<double>(across.divisor());
    // Sums and weight are whole numbers below 2^50 and up to 2^34, so sum / weight + 1/2 is a whole number or at
    // least 1 / (2 * weight) below the next one. A quarter of the weights' unit more, it stays 1 / (4 * weight) away
    // from whole numbers on both sides. The quotient is below 2^16 - 1/4, the rounded reciprocal and the rounded
    // product change it by less than 2^-52 of itself, so by less than 2^-36, which is 1 / (4 * 2^34).
    const double half = weight / 2 + 0.25;
    const std::int64_t samples = std::int64_t{src.width} * src.channels;
    const auto pitch =
        static_cast<std::size_t>(samples + (plan.innerCount + plan.endCount + 1) * dst.channels) +
        ResizeGroup::mostLanes;
    const RowWork work = workOf(src, dst);
    const std::int64_t bands = std::min<std::int64_t>(dst.height, threadsFor(work));
    std::vector<double> sums(pitch * static_cast<std::size_t>(bands));
    rowsStatic({bands, work.bytes * dst.height / bands}, [&](std::int64_t band) noexcept {
        double* const own = sums.data() + pitch * static_cast<std::size_t>(band);
        for (std::int64_t y = dst.height * band / bands; y < dst.height * (band + 1) / bands; ++y) {
            const ResizeTaps taps = down.taps(y);
            passes.across({rowOf(src, taps.first), src.stride, taps.count,
                           static_cast<double>(taps.firstWeight), static_cast<double>(down.inner()),
                           static_cast<double>(taps.lastWeight)},
                          own, samples);
            passes.along(own, plan, rowOf(dst, y), half, 1 / weight);
        }
    });
}

}  // namespace

ResultCode Resize(const SxImageBuf& src, SxImageBuf& dst)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && hasPixels(src)},
                {ResultBadArg1, isInterleaved(src) && src.bayerGrid == BayerNone},
                {ResultBadArg2, isPresent(dst) && isInterleaved(dst) && dst.bayerGrid == BayerNone},
                {ResultBadArg2, dst.channels == src.channels && hasType(dst, src.dataType)},
                {ResultBadArg2, dst.bitsPerSample == src.bitsPerSample},
                {ResultBadArg2, isExact(src, dst)},
            }))
            return rc;
        return dispatch(ByTypeOf<UInt8, UInt16>{}, src.dataType,
                        {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(dst)}},
                        [&]<class T>(std::type_identity<T>) {
                            if (hasPixels(dst))
                                resize(src, dst, resizeKernels().of<T>());
                        });
    });
}

}  // namespace ko
