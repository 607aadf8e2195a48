#include "demosaic/demosaic_kernels.h"

#include "base/image_view.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "demosaic/demosaic_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
// Compiled per target as well, hence behind Highway.
#include "simd/averages-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

template <class T>
void EnlargeCells(const std::uint8_t* mosaic, std::uint8_t* even, std::uint8_t* odd, std::int64_t from,
                  std::int64_t to) noexcept
{
    for (std::int64_t x = from; x < to; x += 2) {
        for (const int column : {0, 1}) {
            std::uint8_t* const dst = column == 0 ? even : odd;
            const T before = loadSample<T>(mosaic, std::max<std::int64_t>(x - 2, 0) + column);
            const T own = loadSample<T>(mosaic, x + column);
            storeSample(dst, x, Complement(Nearer(before, own)));
            storeSample(dst, x + 1, Complement(Nearer(own, before)));
        }
    }
}

/// One colour of one pixel of the upper and of the lower row.
template <class T>
struct Column {
    T upper;
    T lower;
};

template <class T>
Column<T> ColumnAt(const std::uint8_t* above, const std::uint8_t* below, std::int64_t x,
                   SampleRange range) noexcept
{
    const T a = Complement(loadSample<T>(above, x)), b = Complement(loadSample<T>(below, x));
    const T lowest = static_cast<T>(range.lowest), highest = static_cast<T>(range.highest);
    return {std::clamp(Nearer(a, b), lowest, highest), std::clamp(Nearer(b, a), lowest, highest)};
}

template <class T>
void StorePixel(const PixelRow& row, std::int64_t x, T red, unsigned greens, T blue) noexcept
{
    storeSample(row.first, x * row.channels, red);
    storeSample(row.first, x * row.channels + 1, static_cast<T>(greens >> 1));
    storeSample(row.first, x * row.channels + 2, blue);
    if (row.channels == 4)
        storeSample(row.first, x * row.channels + 3, static_cast<T>(row.fourth));
}

template <class T>
void CombinePixels(const PlaneRows& above, const PlaneRows& below, SampleRange range, const PixelRow& upper,
                   const PixelRow& lower, std::int64_t width) noexcept
{
    for (std::int64_t x = 0; x < width; ++x) {
        const Column<T> red = ColumnAt<T>(above.red, below.red, x, range);
        const Column<T> green1 = ColumnAt<T>(above.green1, below.green1, x, range);
        const Column<T> blue = ColumnAt<T>(above.blue, below.blue, x, range);
        const Column<T> green2 = ColumnAt<T>(above.green2, below.green2, x, range);
        StorePixel(upper, x, red.upper, 0U + green1.upper + green2.upper, blue.upper);
        StorePixel(lower, x, red.lower, 0U + green1.lower + green2.lower, blue.lower);
    }
}

#if HWY_TARGET == HWY_SCALAR

template <class T>
void Enlarge(const std::uint8_t* mosaic, std::uint8_t* even, std::uint8_t* odd, std::int64_t width) noexcept
{
    EnlargeCells<T>(mosaic, even, odd, 0, width);
}

template <class T>
void Combine(const PlaneRows& above, const PlaneRows& below, SampleRange range, const PixelRow& upper,
             const PixelRow& lower, std::int64_t width) noexcept
{
    CombinePixels<T>(above, below, range, upper, lower, width);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

template <class D>
bool EnlargeInBlocks(D d, const std::uint8_t* mosaic, std::uint8_t* even, std::uint8_t* odd,
                     std::int64_t width) noexcept
{
    const hn::RepartitionToWide<D> cells;
    constexpr std::int64_t size = sizeof(SampleIn<D>);
    constexpr int bits = 8 * size;
    // Columns of one colour are two apart, so both colours are enlarged as they lie. A column then has two
    // results, which go side by side into the columns of its cell.
    return InBlocks(2, width, static_cast<std::int64_t>(hn::Lanes(d)), [&](std::int64_t x) HWY_ATTR {
        const auto both =
            Between(d, LoadComplement(d, mosaic + (x - 2) * size), LoadComplement(d, mosaic + x * size));
        const auto firstUp = hn::BitCast(d, hn::ShiftRight<bits>(hn::BitCast(cells, both.first)));
        const auto secondDown = hn::BitCast(d, hn::ShiftLeft<bits>(hn::BitCast(cells, both.second)));
        StoreAt(d, hn::OddEven(secondDown, both.first), even + x * size);
        StoreAt(d, hn::OddEven(both.second, firstUp), odd + x * size);
    });
}

template <class T>
void Enlarge(const std::uint8_t* mosaic, std::uint8_t* even, std::uint8_t* odd, std::int64_t width) noexcept
{
    // A row of 64 bytes has 62 after the first cell, which do not fill the longest vector.
    const bool done = EnlargeInBlocks(hn::ScalableTag<T>{}, mosaic, even, odd, width) ||
                      EnlargeInBlocks(hn::CappedTag<T, 16 / sizeof(T)>{}, mosaic, even, odd, width);
    EnlargeCells<T>(mosaic, even, odd, 0, done ? 2 : width);
}

/// The bounds of complemented samples, which change places.
template <class D>
struct VecRange {
    VecOf<D> lowest;
    VecOf<D> highest;

    VecRange(D d, SampleRange range)
        : lowest(hn::Set(d, Complement(static_cast<SampleIn<D>>(range.highest)))),
          highest(hn::Set(d, Complement(static_cast<SampleIn<D>>(range.lowest))))
    {
    }
    VecOf<D> Clamp(VecOf<D> v) const { return hn::Max(hn::Min(v, highest), lowest); }
};

template <class D>
TwoVecs<D> ColumnsAt(D d, const std::uint8_t* above, const std::uint8_t* below, const VecRange<D>& range)
{
    const auto both = Between(d, LoadAt(d, above), LoadAt(d, below));
    return {range.Clamp(both.first), range.Clamp(both.second)};
}

/// Pixels from complemented colours.
///
/// Inlined, because GCC does not clear the upper halves of the registers at the end of a kernel that has passed
/// vectors to a function. The next instruction without them then costs some processors 400 cycles.
template <int Channels, class D>
HWY_INLINE void StorePixels(D d, const PixelRow& row, std::int64_t x, VecOf<D> red, VecOf<D> green1,
                            VecOf<D> green2, VecOf<D> blue)
{
    using T = SampleIn<D>;
    T* const dst = reinterpret_cast<T*>(row.first) + x * Channels;
    const auto green = hn::Not(hn::AverageRound(green1, green2));
    if constexpr (Channels == 3)
        hn::StoreInterleaved3(hn::Not(red), green, hn::Not(blue), d, dst);
    else
        hn::StoreInterleaved4(hn::Not(red), green, hn::Not(blue), hn::Set(d, static_cast<T>(row.fourth)), d,
                              dst);
}

template <class T, int Channels>
bool CombineInBlocks(const PlaneRows& above, const PlaneRows& below, SampleRange range, const PixelRow& upper,
                     const PixelRow& lower, std::int64_t width) noexcept
{
    const hn::ScalableTag<T> d;
    const VecRange<hn::ScalableTag<T>> bounds(d, range);
    return InBlocks(0, width, static_cast<std::int64_t>(hn::Lanes(d)), [&](std::int64_t x) HWY_ATTR {
        const std::int64_t at = x * static_cast<std::int64_t>(sizeof(T));
        const auto red = ColumnsAt(d, above.red + at, below.red + at, bounds);
        const auto green1 = ColumnsAt(d, above.green1 + at, below.green1 + at, bounds);
        const auto blue = ColumnsAt(d, above.blue + at, below.blue + at, bounds);
        const auto green2 = ColumnsAt(d, above.green2 + at, below.green2 + at, bounds);
        StorePixels<Channels>(d, upper, x, red.first, green1.first, green2.first, blue.first);
        StorePixels<Channels>(d, lower, x, red.second, green1.second, green2.second, blue.second);
    });
}

template <class T>
void Combine(const PlaneRows& above, const PlaneRows& below, SampleRange range, const PixelRow& upper,
             const PixelRow& lower, std::int64_t width) noexcept
{
    const bool done = upper.channels == 3 ? CombineInBlocks<T, 3>(above, below, range, upper, lower, width)
                                          : CombineInBlocks<T, 4>(above, below, range, upper, lower, width);
    if (!done)
        CombinePixels<T>(above, below, range, upper, lower, width);
}

#endif

template <class T>
constexpr DemosaicRowKernels rows{&Enlarge<T>, &Combine<T>};

const DemosaicKernels& Kernels()
{
    static constexpr DemosaicKernels kernels{rows<std::uint8_t>, rows<std::uint16_t>};
    return kernels;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ko {
namespace {
HWY_EXPORT(Kernels);
}
const DemosaicKernels& demosaicKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
