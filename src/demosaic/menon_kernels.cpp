#include "demosaic/menon_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <array>
#include <cstddef>
#include <cstring>

// Newer processors permute bytes.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "demosaic/menon_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
// Compiled per target as well, hence behind Highway.
#include "demosaic/pixel_pairs-inl.h"
#include "simd/truncated-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

using Floats = hn::ScalableTag<float>;
using V = hn::Vec<Floats>;
using Wide = hn::Rebind<std::int32_t, Floats>;

/// Whole numbers of bytes or words, as many as there are floats in a vector.
template <class T>
using Whole = hn::Rebind<typename MenonRowKernels<T>::Element, Floats>;

V At(const float* line, std::int64_t i)
{
    return hn::LoadU(Floats(), line + i);
}

V Times(float factor, V v)
{
    return hn::Mul(v, hn::Set(Floats(), factor));
}

template <class VW>
hn::Vec<Wide> Widened(VW whole)
{
    if constexpr (sizeof(hn::TFromV<VW>) == 4)
        return whole;
    else
        return hn::PromoteTo(Wide(), whole);
}

template <class VW>
V InFloats(VW whole)
{
    return hn::ConvertTo(Floats(), Widened(whole));
}

/// Where a row's greens lie beside its colour.
struct Beside {
    explicit Beside(bool colourFirst) : right(colourFirst ? 0 : 1), left(right - 1) {}

    std::int64_t right, left;
};

/// Lines have room for a whole vector behind their end. From pair 0 on, vectors start where cache lines do, which
/// takes a quarter of the time away; the last one before may work on pairs again.
template <class D, class Body>
HWY_INLINE void EachVector(D d, std::int64_t from, std::int64_t to, const Body& body)
{
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    for (std::int64_t i = from; i < 0; i += lanes)
        body(i);
    for (std::int64_t i = 0; i < to; i += lanes)
        body(i);
}

template <class VW>
VW Twice(VW whole)
{
    return hn::Add(whole, whole);
}

template <class E>
void Changes(const E* one, const E* other, E* changes, std::int64_t from, std::int64_t to) noexcept
{
    const hn::ScalableTag<E> d;
    EachVector(d, from, to, [&](std::int64_t i) HWY_ATTR {
        const auto change = hn::Abs(hn::Sub(hn::LoadU(d, one + i), hn::LoadU(d, other + i)));
        hn::StoreU(hn::ShiftRight<1>(change), d, changes + i);
    });
}

/// Samples of a line through a place, next to it and behind those.
template <class VW>
struct Through {
    VW greenBefore, greenBehind, farBefore, farBehind;
};

/// The difference to the green between two greens, in eighths. The bend of the colour corrects that green as far as
/// green changes with the colour from one side to the other: wholly, by half or not at all.
template <class D, class VW = hn::Vec<D>>
VW ToGreenBetween(D d, VW own, const Through<VW>& line, VW tolerance)
{
    const VW zero = hn::Zero(d);
    const VW greens = hn::Add(line.greenBefore, line.greenBehind);
    const VW bend = hn::Sub(Twice(own), hn::Add(line.farBefore, line.farBehind));
    // The colour's change is that of twice as many columns or rows.
    const VW green = Twice(hn::Sub(line.greenBehind, line.greenBefore));
    const VW colour = hn::Sub(line.farBehind, line.farBefore);
    const VW common = hn::Sub(hn::Max(hn::Min(green, colour), zero), hn::Min(hn::Max(green, colour), zero));
    // Whether (common + tolerance) / (size + tolerance) is less than 1/4, and less than 3/4.
    const VW size = hn::Abs(colour), fourTimes = hn::Add(hn::ShiftLeft<2>(common), tolerance);
    const auto isLittle = hn::Gt(size, hn::Add(fourTimes, Twice(tolerance)));
    const auto isPart = hn::Gt(hn::Add(Twice(size), size), fourTimes);
    const VW straight = hn::ShiftLeft<2>(hn::Sub(Twice(own), greens));
    return hn::Sub(hn::Sub(straight, hn::IfThenZeroElse(isLittle, bend)), hn::IfThenZeroElse(isPart, bend));
}

template <class T, class E = typename MenonRowKernels<T>::Element>
void Differences(const FiveLines<E>& own, const E* between, bool colourFirst, E tolerance,
                 const typename MenonRowKernels<T>::Differences& to, std::int64_t from,
                 std::int64_t end) noexcept
{
    const hn::ScalableTag<E> d;
    const auto at = [&](const E* line, std::int64_t i) HWY_ATTR { return hn::LoadU(d, line + i); };
    const Beside beside(colourFirst);
    const auto small = hn::Set(d, tolerance);
    EachVector(d, from, end, [&](std::int64_t i) HWY_ATTR {
        using VW = hn::Vec<decltype(d)>;
        const Through<VW> along{at(between, i + beside.left), at(between, i + beside.right),
                                at(own[2], i - 1), at(own[2], i + 1)};
        const Through<VW> across{at(own[1], i), at(own[3], i), at(own[0], i), at(own[4], i)};
        const VW here = at(own[2], i);
        hn::StoreU(ToGreenBetween(d, here, along, small), d, to.along + i);
        hn::StoreU(ToGreenBetween(d, here, across, small), d, to.across + i);
    });
    Changes(to.along, to.along + 1, to.alongChanges, from, end - 1);
}

/// `part` of the way from one to the other.
V Between(V from, V to, V part)
{
    return hn::Add(from, hn::Mul(part, hn::Sub(to, from)));
}

template <class T>
void Mix(const typename MenonRowKernels<T>::Estimates& e, bool colourFirst, float* mixed, float* alongPart,
         std::int64_t from, std::int64_t to) noexcept
{
    const Whole<T> d;
    const auto at = [&](const auto* line, std::int64_t i) HWY_ATTR { return hn::LoadU(d, line + i); };
    const auto threeTimes = [](auto v) HWY_ATTR { return hn::Add(Twice(v), v); };
    const Beside beside(colourFirst);
    EachVector(Floats(), from, to, [&](std::int64_t i) HWY_ATTR {
        const std::int64_t left = i + beside.left, right = i + beside.right;
        const auto along = [&](const auto* line) HWY_ATTR { return hn::Add(at(line, i - 1), at(line, i)); };
        const auto across = [&](std::int64_t x) HWY_ATTR {
            return hn::Add(at(e.acrossChanges[0], x), at(e.acrossChanges[2], x));
        };
        const auto alongSum = hn::Add(hn::Add(threeTimes(along(e.alongChanges[2])),
                                              hn::Add(along(e.alongChanges[0]), along(e.alongChanges[4]))),
                                      hn::Add(at(e.alongChanges[1], left), at(e.alongChanges[3], left)));
        const auto acrossSum = hn::Add(hn::Add(threeTimes(across(i)), hn::Add(across(i - 1), across(i + 1))),
                                       hn::Add(at(e.acrossChanges[1], left), at(e.acrossChanges[1], right)));
        // The weights are the inverse squares of the sums; 1 is added where there may be no change at all.
        const auto squared = [&](auto sum) HWY_ATTR {
            const V atLeastOne = InFloats(hn::Add(sum, hn::Set(d, 4)));
            return hn::Mul(atLeastOne, atLeastOne);
        };
        const V alongSquared = squared(alongSum), acrossSquared = squared(acrossSum);
        const V part = hn::Div(acrossSquared, hn::Add(alongSquared, acrossSquared));
        const V eighths = Between(InFloats(at(e.across, i)), InFloats(at(e.along, i)), part);
        hn::StoreU(Times(1.0F / 8, eighths), Floats(), mixed + i);
        hn::StoreU(part, Floats(), alongPart + i);
    });
}

/// Sums over the changes to the nearest places of the same colour.
template <class T, class E = typename MenonRowKernels<T>::Element>
void Multiply(const std::array<const E*, 3>& own, const std::array<const float*, 3>& mixed,
              const typename MenonRowKernels<T>::Products& products, std::int64_t from,
              std::int64_t to) noexcept
{
    const Whole<T> d;
    EachVector(Floats(), from, to, [&](std::int64_t i) HWY_ATTR {
        const auto here = hn::LoadU(d, own[1] + i);
        const V difference = At(mixed[1], i);
        V colour[4], green[4];
        const auto change = [&](std::size_t k, std::size_t row, std::int64_t x) HWY_ATTR {
            colour[k] = InFloats(hn::Sub(here, hn::LoadU(d, own[row] + x)));
            green[k] = hn::Sub(colour[k], hn::Sub(difference, At(mixed[row], x)));
        };
        change(0, 1, i - 1);
        change(1, 1, i + 1);
        change(2, 0, i);
        change(3, 2, i);
        const auto sum = [](const V* a, const V* b) HWY_ATTR {
            return hn::Add(hn::Add(hn::Mul(a[0], b[0]), hn::Mul(a[1], b[1])),
                           hn::Add(hn::Mul(a[2], b[2]), hn::Mul(a[3], b[3])));
        };
        hn::StoreU(sum(green, colour), Floats(), products[0] + i);
        hn::StoreU(sum(green, green), Floats(), products[1] + i);
        hn::StoreU(sum(colour, colour), Floats(), products[2] + i);
    });
}

/// Least squares. Where nothing changes, the colour follows green.
template <class T, class E = typename MenonRowKernels<T>::Element>
void FitLine(const std::array<const E*, 3>& own, const std::array<const float*, 3>& mixed,
             const float* alongPart, E tolerance, const typename MenonRowKernels<T>::Products& scratch,
             const typename MenonRowKernels<T>::Fit& to, std::int64_t from, std::int64_t end) noexcept
{
    Multiply<T>(own, mixed, scratch, from - 1, end + 1);
    const V zero = hn::Zero(Floats()), one = hn::Set(Floats(), 1);
    const V some = hn::Set(Floats(), static_cast<float>(tolerance) * static_cast<float>(tolerance));
    EachVector(Floats(), from, end, [&](std::int64_t i) HWY_ATTR {
        const auto ofThree = [&](const float* line) HWY_ATTR {
            return hn::Add(hn::Add(hn::Add(At(line, i - 1), At(line, i + 1)), At(line, i)), some);
        };
        const V together = ofThree(scratch[0]);
        const auto slopeOn = [&](const float* squares) HWY_ATTR {
            // What the estimates miss of the changes makes slopes of least squares too small.
            const V quotient = Times(1.25F, hn::Div(together, ofThree(squares)));
            return hn::Min(hn::Max(quotient, zero), one);
        };
        const V slope = slopeOn(scratch[1]);
        const V onLine = hn::Mul(slope, slopeOn(scratch[2]));

        const V difference = At(mixed[1], i);
        const V ends = Between(hn::Add(At(mixed[0], i), At(mixed[2], i)),
                               hn::Add(At(mixed[1], i - 1), At(mixed[1], i + 1)), At(alongPart, i));
        const V smoother = hn::Sub(ends, hn::Add(difference, difference));
        const V refined = hn::Add(difference, hn::Mul(Times(1.0F / 6, onLine), smoother));
        const V colour = InFloats(hn::LoadU(Whole<T>(), own[1] + i));
        const V green = hn::Sub(colour, refined);
        hn::StoreU(green, Floats(), to.greens + i);
        hn::StoreU(slope, Floats(), to.slopes + i);
        hn::StoreU(hn::Sub(colour, hn::Mul(slope, green)), Floats(), to.offsets + i);
    });
}

/// Colours limited and rounded to whole numbers, halves up.
struct Rounded {
    V top;

    explicit Rounded(float highest) : top(hn::Set(Floats(), highest)) {}
    hn::Vec<Wide> operator()(V v) const
    {
        const V limited = hn::Min(hn::Max(v, hn::Zero(Floats())), top);
        return Truncated(hn::Add(limited, hn::Set(Floats(), 0.5F)));
    }
};

/// All inlined: the colours would go through memory otherwise.
template <class T>
HWY_FLATTEN void Make(const typename MenonRowKernels<T>::Row& row, RowKind kind, const PixelRow& dst,
                      std::int64_t width, T top) noexcept
{
    const Beside beside(kind.colourFirst);
    const Rounded rounded(top);
    const auto highest = hn::Set(Wide(), top);
    const auto colours = [&](std::int64_t i) HWY_ATTR {
        const std::int64_t left = i + beside.left, right = i + beside.right;
        const std::int64_t before = i - beside.right, behind = i - beside.left;
        const auto& [above, at, below] = row.fits;
        const auto own = Widened(hn::LoadU(Whole<T>(), row.own + i));
        const auto between = Widened(hn::LoadU(Whole<T>(), row.between + i));
        const V ownGreen = At(at.greens, i), betweenGreen = InFloats(between);
        // The mean of 1 / part lines at a green.
        const auto colour = [](float part, V slopes, V offsets, V green)
                                HWY_ATTR { return Times(part, hn::Add(hn::Mul(slopes, green), offsets)); };
        const auto two = [](const float* one, std::int64_t x, const float* other, std::int64_t z)
                             HWY_ATTR { return hn::Add(At(one, x), At(other, z)); };
        const auto corners = [&](const float* a, const float* b)
                                 HWY_ATTR { return hn::Add(two(a, left, a, right), two(b, left, b, right)); };
        return RowColours<hn::Vec<Wide>>{
            hn::Min(own, highest),
            rounded(ownGreen),
            rounded(colour(0.25F, corners(above.slopes, below.slopes), corners(above.offsets, below.offsets),
                           ownGreen)),
            rounded(colour(0.5F, two(at.slopes, before, at.slopes, behind),
                           two(at.offsets, before, at.offsets, behind), betweenGreen)),
            hn::Min(between, highest),
            rounded(colour(0.5F, two(above.slopes, i, below.slopes, i),
                           two(above.offsets, i, below.offsets, i), betweenGreen))};
    };
    StoreRow<T>(Wide(), dst, width, [&](std::int64_t i) HWY_ATTR { return Arranged(colours(i), kind); });
}

template <class T, class E = typename MenonRowKernels<T>::Element>
constexpr MenonRowKernels<T> rows{&SplitPairs<T, E>, &Differences<T>, &Changes<E>,
                                  &Mix<T>,           &FitLine<T>,     &Make<T>};

const MenonKernels& Kernels()
{
    static constexpr MenonKernels kernels{rows<std::uint8_t>, rows<std::uint16_t>};
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
const MenonKernels& menonKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
