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
        hn::StoreU(hn::Abs(hn::Sub(hn::LoadU(d, one + i), hn::LoadU(d, other + i))), d, changes + i);
    });
}

/// The difference to the green between two greens, which the bend of the colour corrects, in quarters.
template <class VW>
VW ToGreenBetween(VW greens, VW own, VW far)
{
    return hn::Add(Twice(hn::Sub(own, greens)), far);
}

template <class T, class E = typename MenonRowKernels<T>::Element>
void Differences(const FiveLines<E>& own, const E* between, bool colourFirst,
                 const typename MenonRowKernels<T>::Differences& to, std::int64_t from,
                 std::int64_t end) noexcept
{
    const hn::ScalableTag<E> d;
    const auto at = [&](const E* line, std::int64_t i) HWY_ATTR { return hn::LoadU(d, line + i); };
    const Beside beside(colourFirst);
    EachVector(d, from, end, [&](std::int64_t i) HWY_ATTR {
        const auto here = at(own[2], i);
        const auto rowGreens = hn::Add(at(between, i + beside.left), at(between, i + beside.right));
        const auto columnGreens = hn::Add(at(own[1], i), at(own[3], i));
        hn::StoreU(ToGreenBetween(rowGreens, here, hn::Add(at(own[2], i - 1), at(own[2], i + 1))), d,
                   to.along + i);
        hn::StoreU(ToGreenBetween(columnGreens, here, hn::Add(at(own[0], i), at(own[4], i))), d,
                   to.across + i);
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
        hn::StoreU(Between(InFloats(at(e.across, i)), InFloats(at(e.along, i)), part), Floats(), mixed + i);
        hn::StoreU(part, Floats(), alongPart + i);
    });
}

void Refine(const FiveLines<float>& mixed, const float* alongPart, float* refined, std::int64_t from,
            std::int64_t to) noexcept
{
    EachVector(Floats(), from, to, [&](std::int64_t i) HWY_ATTR {
        const V beside = hn::Add(At(mixed[2], i - 1), At(mixed[2], i + 1));
        const V above = hn::Add(At(mixed[0], i), At(mixed[4], i));
        const V ends = Between(above, beside, At(alongPart, i));
        // A sixth of what is in quarters.
        hn::StoreU(Times(1.0F / 24, hn::Add(ends, Times(4, At(mixed[2], i)))), Floats(), refined + i);
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

template <class T>
void Make(const typename MenonRowKernels<T>::Row& row, RowKind kind, const PixelRow& dst, std::int64_t width,
          T top) noexcept
{
    const Beside beside(kind.colourFirst);
    const Rounded rounded(top);
    const auto highest = hn::Set(Wide(), top);
    const auto colours = [&](std::int64_t i) HWY_ATTR {
        const std::int64_t left = i + beside.left, right = i + beside.right;
        const auto& above = row.refined[0];
        const auto& below = row.refined[2];
        const auto own = Widened(hn::LoadU(Whole<T>(), row.own + i));
        const auto between = Widened(hn::LoadU(Whole<T>(), row.between + i));
        const V ownGreen = hn::Sub(InFloats(own), At(row.refined[1], i));
        const V corners =
            hn::Add(hn::Add(At(above, left), At(above, right)), hn::Add(At(below, left), At(below, right)));
        const V green = InFloats(between);
        const V betweenOwn =
            hn::Add(At(row.refined[1], i - beside.right), At(row.refined[1], i - beside.left));
        const V betweenOther = hn::Add(At(above, i), At(below, i));
        return RowColours<hn::Vec<Wide>>{hn::Min(own, highest),
                                         rounded(ownGreen),
                                         rounded(hn::Add(ownGreen, Times(0.25F, corners))),
                                         rounded(hn::Add(green, Times(0.5F, betweenOwn))),
                                         hn::Min(between, highest),
                                         rounded(hn::Add(green, Times(0.5F, betweenOther)))};
    };
    StoreRow<T>(Wide(), dst, width, [&](std::int64_t i) HWY_ATTR { return Arranged(colours(i), kind); });
}

template <class T, class E = typename MenonRowKernels<T>::Element>
constexpr MenonRowKernels<T> rows{&SplitPairs<T, E>, &Differences<T>, &Changes<E>,
                                  &Mix<T>,           &Refine,         &Make<T>};

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
