#include <ko/filters.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "filters/resize_half_kernels.h"
#include "filters/resize_kernels.h"
#include "filters/resize_longer.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace ko {

namespace {

/// The largest sum of weights behind one result up to which results of samples of so many bits are exact when they
/// are computed in F.
///
/// Sums of weighted samples are whole numbers, so sum / weight + 1/2 is a whole number or at least 1 / (2 * weight)
/// below the next one. A quarter of a weight more, it stays 1 / (4 * weight) away from whole numbers on either side.
/// With p digits, sum + weight / 2 + 1/4 is exact: it is less than 2^bits * weight, and has two digits behind the
/// point. The quotient is at most 2^bits - 1/4; the rounded reciprocal and the rounded product change it by less than
/// 2^(bits + 1 - p), which is no more than 1 / (4 * weight).
template <class F>
constexpr double mostWeight(int bits)
{
    return static_cast<double>(std::int64_t{1} << (std::numeric_limits<F>::digits - 3 - bits));
}

/// How far a product of sum and reciprocal in floats may be from a whole number that it tells as the result, for bytes.
///
/// The sums of columns are whole numbers that floats hold. A sum along a row is at most 255 * weight, and its terms are
/// rounded up to innerCount + 4 times; the reciprocal, the product and the distance are rounded once each. So the
/// distance is wrong by less than (innerCount + 7) * 255 * 2^-24, and less than this bound stays below 1/2. Where rows
/// are summed first, the same holds with rows and columns exchanged.
double certainDistance(const ResizeAxis& across)
{
    return 0.5 - static_cast<double>(across.innerCount() + 8) / 65536;
}

/// Floats tell nearly all results of bytes.
bool tellMostBytes(const ResizeAxis& down, const ResizeAxis& across)
{
    constexpr std::int64_t whole = std::int64_t{1} << std::numeric_limits<float>::digits, mostInner = 24;
    return 255 * down.divisor() <= whole && across.divisor() <= whole && across.innerCount() <= mostInner;
}

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
    constexpr auto most = static_cast<std::int64_t>(mostWeight<double>(16));
    return across <= 0 || along <= most / across;
}

/// The weights behind one result together.
double weightOf(const ResizeAxis& down, const ResizeAxis& across)
{
    return static_cast<double>(down.divisor()) * static_cast<double>(across.divisor());
}

ResizeScale scaleOf(const ResizeAxis& down, const ResizeAxis& across)
{
    const double weight = weightOf(down, across);
    return {weight / 2 + 0.25, 1 / weight, certainDistance(across)};
}

RowWork workOf(const SxImageBuf& src, const SxImageBuf& dst)
{
    constexpr std::int64_t enough = std::int64_t{1} << 27;  // for any number of threads
    const std::int64_t rows = std::max(src.height / dst.height, 2);
    const std::int64_t read = std::min(rowBytes(src), enough / rows) * rows;
    return RowWork{dst.height, read + std::min(rowBytes(dst), enough)}.times(8);
}

/// Rows of results that are made together.
constexpr std::int64_t rowsTogether = 4;

template <class F>
void resizeIn(const SxImageBuf& src, SxImageBuf& dst, const ResizePasses<F>& passes, const ResizeAxis& down,
              const ResizeAxis& across)
{
    const ResizePlan<F> plan(across, dst.width, dst.channels, passes.lanes);
    const ResizeScale scale = scaleOf(down, across);
    const std::int64_t samples = std::int64_t{src.width} * src.channels;
    const std::int64_t pitch = samples + plan.slack();
    const RowWork work = workOf(src, dst);
    const std::int64_t bands = std::min<std::int64_t>(dst.height, threadsFor(work));
    std::vector<F> sums(static_cast<std::size_t>(bands * rowsTogether * pitch));
    rowsStatic({bands, work.bytes * dst.height / bands}, [&](std::int64_t band) noexcept {
        F* const own = sums.data() + band * rowsTogether * pitch;
        const std::int64_t end = dst.height * (band + 1) / bands;
        for (std::int64_t y = dst.height * band / bands; y < end; y += rowsTogether) {
            const std::int64_t rows = std::min(rowsTogether, end - y);
            for (std::int64_t row = 0; row < rows; ++row) {
                const ResizeTaps taps = down.taps(y + row);
                passes.across({rowOf(src, taps.first), src.stride, taps.count,
                               static_cast<F>(taps.firstWeight), static_cast<F>(down.inner()),
                               static_cast<F>(taps.lastWeight)},
                              own + row * pitch, samples);
            }
            passes.along({own, pitch, rowOf(dst, y), dst.stride, rows}, plan, scale);
        }
    });
}

template <class T>
void resize(const SxImageBuf& src, SxImageBuf& dst)
{
    const ResizeAxis down(src.height, dst.height);
    const ResizeAxis across(src.width, dst.width);
    if (down.isHalving() && across.isHalving() && src.channels <= resizeHalfChannels) {
        const ResizeHalfRow row = resizeHalfKernels().of<T>();
        rowsStatic(workOn(dst, src, src), [&](std::int64_t y) noexcept {
            row(rowOf(src, 2 * y), rowOf(src, 2 * y + 1), rowOf(dst, y), dst.width, dst.channels);
        });
        return;
    }
    const auto& kernels = resizeKernels().of<T>();
    if constexpr (sizeof(T) == 1) {
        if (isLonger(src, down, across)) {
            const bool isChecked = weightOf(down, across) > mostWeight<float>(8);
            return resizeLonger(src, dst, down, across, scaleOf(down, across), isChecked, workOf(src, dst));
        }
    }
    if (weightOf(down, across) <= mostWeight<float>(8 * sizeof(T)))
        return resizeIn(src, dst, kernels.floats, down, across);
    if constexpr (sizeof(T) == 1) {
        if (tellMostBytes(down, across))
            return resizeIn(src, dst, kernels.checkedFloats, down, across);
    }
    resizeIn(src, dst, kernels.doubles, down, across);
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
                                resize<T>(src, dst);
                        });
    });
}

}  // namespace ko
