#include "demosaic/menon_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "demosaic/menon_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
// Compiled per target as well, hence behind Highway.
#include "demosaic/pixel_pairs-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

using Floats = hn::ScalableTag<float>;
using V = hn::Vec<Floats>;

V At(const float* line, std::int64_t i)
{
    return hn::LoadU(Floats(), line + i);
}

V Times(float factor, V v)
{
    return hn::Mul(v, hn::Set(Floats(), factor));
}

/// Where a row's greens lie beside its colour.
struct Beside {
    explicit Beside(bool colourFirst) : right(colourFirst ? 0 : 1), left(right - 1) {}

    std::int64_t right, left;
};

/// Lines have room for a whole vector behind their end.
template <class Body>
HWY_INLINE void EachVector(std::int64_t from, std::int64_t to, const Body& body)
{
    for (std::int64_t i = from; i < to; i += static_cast<std::int64_t>(hn::Lanes(Floats())))
        body(i);
}

/// The green between two greens, corrected by the bend of the colour.
V GreenBetween(V greens, V own, V far)
{
    return hn::Add(Times(0.5F, greens), Times(0.25F, hn::Sub(hn::Add(own, own), far)));
}

void Differences(const FiveLines& own, const float* between, bool colourFirst, float* along, float* across,
                 std::int64_t from, std::int64_t to) noexcept
{
    const Beside beside(colourFirst);
    EachVector(from, to, [&](std::int64_t i) HWY_ATTR {
        const V here = At(own[2], i);
        const V alongRow = GreenBetween(hn::Add(At(between, i + beside.left), At(between, i + beside.right)),
                                        here, hn::Add(At(own[2], i - 1), At(own[2], i + 1)));
        const V alongColumn =
            GreenBetween(hn::Add(At(own[1], i), At(own[3], i)), here, hn::Add(At(own[0], i), At(own[4], i)));
        hn::StoreU(hn::Sub(here, alongRow), Floats(), along + i);
        hn::StoreU(hn::Sub(here, alongColumn), Floats(), across + i);
    });
}

/// `part` of the way from one to the other.
V Between(V from, V to, V part)
{
    return hn::Add(from, hn::Mul(part, hn::Sub(to, from)));
}

/// Changes of a difference from place to place along its row.
V ChangesAlong(const float* line, std::int64_t i)
{
    const V here = At(line, i);
    return hn::Add(hn::AbsDiff(At(line, i - 1), here), hn::AbsDiff(here, At(line, i + 1)));
}

V ChangesAcross(const FiveLines& lines, std::int64_t i)
{
    const V here = At(lines[2], i);
    return hn::Add(hn::AbsDiff(At(lines[0], i), here), hn::AbsDiff(here, At(lines[4], i)));
}

void Mix(const FiveLines& along, const FiveLines& across, bool colourFirst, float* mixed, float* alongPart,
         std::int64_t from, std::int64_t to) noexcept
{
    const Beside beside(colourFirst);
    EachVector(from, to, [&](std::int64_t i) HWY_ATTR {
        const std::int64_t left = i + beside.left, right = i + beside.right;
        const auto changeAlong = [&](const float* line)
                                     HWY_ATTR { return hn::AbsDiff(At(line, left), At(line, right)); };
        const auto changeAcross = [&](std::int64_t at)
                                      HWY_ATTR { return hn::AbsDiff(At(across[1], at), At(across[3], at)); };
        const V alongSum = hn::Add(hn::Add(Times(3, ChangesAlong(along[2], i)),
                                           hn::Add(ChangesAlong(along[0], i), ChangesAlong(along[4], i))),
                                   hn::Add(changeAlong(along[1]), changeAlong(along[3])));
        const V acrossSum =
            hn::Add(hn::Add(Times(3, ChangesAcross(across, i)),
                            hn::Add(ChangesAcross(across, i - 1), ChangesAcross(across, i + 1))),
                    hn::Add(changeAcross(left), changeAcross(right)));
        // The weights are the inverse squares of the sums; 1 is added where there may be no change at all.
        const auto squared = [](V sum) HWY_ATTR {
            const V atLeastOne = hn::Add(sum, hn::Set(Floats(), 1));
            return hn::Mul(atLeastOne, atLeastOne);
        };
        const V alongSquared = squared(alongSum), acrossSquared = squared(acrossSum);
        const V part = hn::Div(acrossSquared, hn::Add(alongSquared, acrossSquared));
        hn::StoreU(Between(At(across[2], i), At(along[2], i), part), Floats(), mixed + i);
        hn::StoreU(part, Floats(), alongPart + i);
    });
}

void Refine(const FiveLines& mixed, const float* alongPart, float* refined, std::int64_t from,
            std::int64_t to) noexcept
{
    EachVector(from, to, [&](std::int64_t i) HWY_ATTR {
        const V beside = hn::Add(At(mixed[2], i - 1), At(mixed[2], i + 1));
        const V above = hn::Add(At(mixed[0], i), At(mixed[4], i));
        const V ends = Between(above, beside, At(alongPart, i));
        hn::StoreU(Times(1.0F / 6, hn::Add(ends, Times(4, At(mixed[2], i)))), Floats(), refined + i);
    });
}

/// Colours limited and rounded to whole numbers, halves up.
struct Rounded {
    hn::Rebind<std::int32_t, Floats> d;
    V top;

    explicit Rounded(float highest) : top(hn::Set(Floats(), highest)) {}
    hn::Vec<hn::Rebind<std::int32_t, Floats>> operator()(V v) const
    {
        const V limited = hn::Min(hn::Max(v, hn::Zero(Floats())), top);
        return hn::ConvertTo(d, hn::Add(limited, hn::Set(Floats(), 0.5F)));
    }
};

template <class T>
void Make(const MenonKernels::Row& row, RowKind kind, const PixelRow& dst, std::int64_t width,
          float top) noexcept
{
    const Beside beside(kind.colourFirst);
    const Rounded rounded(top);
    const auto colours = [&](std::int64_t i) HWY_ATTR {
        const std::int64_t left = i + beside.left, right = i + beside.right;
        const auto& above = row.refined[0];
        const auto& below = row.refined[2];
        const V ownGreen = hn::Sub(At(row.own, i), At(row.refined[1], i));
        const V corners =
            hn::Add(hn::Add(At(above, left), At(above, right)), hn::Add(At(below, left), At(below, right)));
        const V green = At(row.between, i);
        const V betweenOwn =
            hn::Add(At(row.refined[1], i - beside.right), At(row.refined[1], i - beside.left));
        const V betweenOther = hn::Add(At(above, i), At(below, i));
        return RowColours<decltype(rounded(green))>{rounded(At(row.own, i)),
                                                    rounded(ownGreen),
                                                    rounded(hn::Add(ownGreen, Times(0.25F, corners))),
                                                    rounded(hn::Add(green, Times(0.5F, betweenOwn))),
                                                    rounded(green),
                                                    rounded(hn::Add(green, Times(0.5F, betweenOther)))};
    };
    StoreRow<T>(rounded.d, dst, width, [&](std::int64_t i) HWY_ATTR { return Arranged(colours(i), kind); });
}

const MenonKernels& Kernels()
{
    static constexpr MenonKernels kernels{
        {&SplitPairs<std::uint8_t, float>, &SplitPairs<std::uint16_t, float>},
        &Differences,
        &Mix,
        &Refine,
        {&Make<std::uint8_t>, &Make<std::uint16_t>}};
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
