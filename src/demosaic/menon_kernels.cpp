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

/// How much two estimates differ, in quarters.
template <class VW>
VW Change(VW one, VW other)
{
    return hn::ShiftRight<1>(hn::Abs(hn::Sub(one, other)));
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
        const VW toAcross = ToGreenBetween(d, here, across, small);
        hn::StoreU(toAcross, d, to.across + i);
        hn::StoreU(Change(at(to.acrossBefore, i), toAcross), d, to.acrossChanges + i);
    });
    EachVector(d, from, end - 1, [&](std::int64_t i) HWY_ATTR {
        hn::StoreU(Change(at(to.along, i), at(to.along, i + 1)), d, to.alongChanges + i);
    });
}

/// `part` of the way from one to the other.
V Between(V from, V to, V part)
{
    return hn::Add(from, hn::Mul(part, hn::Sub(to, from)));
}

template <class T>
void Mix(const typename MenonRowKernels<T>::Estimates& e, bool colourFirst, float tolerance,
         const Mixture& mixture, std::int64_t from, std::int64_t to) noexcept
{
    const Whole<T> d;
    const auto at = [&](const auto* line, std::int64_t i) HWY_ATTR { return hn::LoadU(d, line + i); };
    const auto threeTimes = [](auto v) HWY_ATTR { return hn::Add(Twice(v), v); };
    const Beside beside(colourFirst);
    const V mostNoise = hn::Set(Floats(), 81 * tolerance * tolerance);
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
        const auto atLeastOne = [&](auto sum) HWY_ATTR { return InFloats(hn::Add(sum, hn::Set(d, 4))); };
        const V alongVariation = atLeastOne(alongSum), acrossVariation = atLeastOne(acrossSum);
        const V alongSquared = hn::Mul(alongVariation, alongVariation);
        const V acrossSquared = hn::Mul(acrossVariation, acrossVariation);
        const V part = hn::Div(acrossSquared, hn::Add(alongSquared, acrossSquared));
        const V eighths = Between(InFloats(at(e.across, i)), InFloats(at(e.along, i)), part);
        hn::StoreU(InFloats(at(e.own, i)), Floats(), mixture.colours + i);
        hn::StoreU(Times(1.0F / 8, eighths), Floats(), mixture.differences + i);
        hn::StoreU(part, Floats(), mixture.alongPart + i);
        // The harmonic mean of both squares.
        const V noise = Times(1.0F / 8, hn::Mul(part, alongSquared));
        hn::StoreU(hn::Min(noise, mostNoise), Floats(), mixture.noise + i);
    });
}

/// Sums over the changes to the nearest places of the same colour.
void Multiply(const std::array<Mixture, 3>& mixtures, const Products& products, std::int64_t from,
              std::int64_t to) noexcept
{
    EachVector(Floats(), from, to, [&](std::int64_t i) HWY_ATTR {
        const V here = At(mixtures[1].colours, i), difference = At(mixtures[1].differences, i);
        V colour[4], green[4];
        const auto change = [&](std::size_t k, std::size_t row, std::int64_t x) HWY_ATTR {
            colour[k] = hn::Sub(here, At(mixtures[row].colours, x));
            green[k] = hn::Sub(colour[k], hn::Sub(difference, At(mixtures[row].differences, x)));
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

/// Least squares, with the smaller a slope the more of the changes may be noise. Where nothing changes, the colour
/// follows green.
void FitLine(const std::array<Mixture, 3>& mixtures, float tolerance, const Products& scratch, const Fit& to,
             std::int64_t from, std::int64_t end) noexcept
{
    Multiply(mixtures, scratch, from - 1, end + 1);
    const V zero = hn::Zero(Floats()), one = hn::Set(Floats(), 1);
    const V some = hn::Set(Floats(), tolerance * tolerance);
    EachVector(Floats(), from, end, [&](std::int64_t i) HWY_ATTR {
        const auto ofThree = [&](const float* line) HWY_ATTR {
            return hn::Add(hn::Add(hn::Add(At(line, i - 1), At(line, i + 1)), At(line, i)), some);
        };
        const V together = ofThree(scratch[0]), onGreen = ofThree(scratch[1]);
        const V changes = hn::Add(hn::Add(together, onGreen), ofThree(scratch[2]));
        const V noise = At(mixtures[1].noise, i), noiseSquared = hn::Mul(noise, noise);
        const V changesSquared = hn::Mul(changes, changes), both = hn::Add(changesSquared, noiseSquared);
        const V inverse = hn::Div(one, hn::Mul(onGreen, both)), inverseOfBoth = hn::Mul(onGreen, inverse);
        const V upwards = hn::Max(together, zero);
        // The part of the changes that is not noise, for every unit of those of green.
        const V share = hn::Mul(changesSquared, inverse);
        // What the estimates miss of the changes makes slopes of least squares too small.
        const V slope = hn::Mul(hn::Min(Times(1.2F, upwards), onGreen), share);
        const V sixth = hn::Mul(Times(1.5F, hn::Mul(upwards, upwards)), inverseOfBoth);
        const V third = hn::Mul(Times(1.0F / 3, noiseSquared), inverseOfBoth);

        const Mixture& row = mixtures[1];
        const auto beside = [&](const float* line)
                                HWY_ATTR { return hn::Add(At(line, i - 1), At(line, i + 1)); };
        const V colour = At(row.colours, i), difference = At(row.differences, i);
        const V along = beside(row.differences), twice = hn::Add(difference, difference);
        const V across = hn::Add(At(mixtures[0].differences, i), At(mixtures[2].differences, i));
        const V smoother = hn::Sub(Between(across, along, At(row.alongPart, i)), twice);
        const V green = hn::Sub(colour, hn::Add(difference, hn::Mul(sixth, smoother)));
        // Three times what the colour and green differ from their means over three places of the row.
        const V apart = hn::Sub(hn::Add(colour, colour), beside(row.colours));
        const V greenApart = hn::Sub(apart, hn::Sub(twice, along));
        const auto smoothed = [&](V value, V away) HWY_ATTR { return hn::Sub(value, hn::Mul(third, away)); };
        hn::StoreU(green, Floats(), to.greens + i);
        hn::StoreU(slope, Floats(), to.slopes + i);
        const V onLine = hn::Mul(slope, smoothed(green, greenApart));
        hn::StoreU(hn::Sub(smoothed(colour, apart), onLine), Floats(), to.offsets + i);
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
    // To the other of the nearest places of the rows above and below; in the row itself it lies on the other side.
    const std::int64_t side = kind.colourFirst ? -1 : 1;
    const Rounded rounded(top);
    const auto highest = hn::Set(Wide(), top);
    const auto colours = [&](std::int64_t i) HWY_ATTR {
        const auto& [above, at, below] = row.fits;
        const auto own = Widened(hn::LoadU(Whole<T>(), row.own + i));
        const auto between = Widened(hn::LoadU(Whole<T>(), row.between + i));
        const V ownGreen = At(at.greens, i), betweenGreen = InFloats(between);
        // The mean of 1 / part lines at a green.
        const auto colour = [](float part, V slopes, V offsets, V green)
                                HWY_ATTR { return Times(part, hn::Add(hn::Mul(slopes, green), offsets)); };
        const auto inRow = [&](const float* line)
                               HWY_ATTR { return hn::Add(At(line, i), At(line, i - side)); };
        const auto inColumn = [](const float* a, const float* b, std::int64_t x)
                                  HWY_ATTR { return hn::Add(At(a, x), At(b, x)); };
        const V slopes = inColumn(above.slopes, below.slopes, i);
        const V offsets = inColumn(above.offsets, below.offsets, i);
        const V fourSlopes = hn::Add(slopes, inColumn(above.slopes, below.slopes, i + side));
        const V fourOffsets = hn::Add(offsets, inColumn(above.offsets, below.offsets, i + side));
        return RowColours<hn::Vec<Wide>>{
            hn::Min(own, highest),
            rounded(ownGreen),
            rounded(colour(0.25F, fourSlopes, fourOffsets, ownGreen)),
            rounded(colour(0.5F, inRow(at.slopes), inRow(at.offsets), betweenGreen)),
            hn::Min(between, highest),
            rounded(colour(0.5F, slopes, offsets, betweenGreen))};
    };
    StoreRow<T>(Wide(), dst, width, [&](std::int64_t i) HWY_ATTR { return Arranged(colours(i), kind); });
}

template <class T, class E = typename MenonRowKernels<T>::Element>
constexpr MenonRowKernels<T> rows{&SplitPairs<T, E>, &Differences<T>, &Mix<T>, &FitLine, &Make<T>};

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
