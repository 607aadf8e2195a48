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

void Decide(const FiveLines& along, const FiveLines& across, bool colourFirst, float* chosen, float* isAlong,
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
        const auto isSmoothAlong = hn::Le(alongSum, acrossSum);
        hn::StoreU(hn::IfThenElse(isSmoothAlong, At(along[2], i), At(across[2], i)), Floats(), chosen + i);
        hn::StoreU(hn::IfThenElseZero(isSmoothAlong, hn::Set(Floats(), 1)), Floats(), isAlong + i);
    });
}

/// The sum of the two differences of the same colour in the direction decided on.
V Ends(const FiveLines& lines, const float* isAlong, std::int64_t i)
{
    return hn::IfThenElse(hn::Ne(At(isAlong, i), hn::Zero(Floats())),
                          hn::Add(At(lines[2], i - 1), At(lines[2], i + 1)),
                          hn::Add(At(lines[0], i), At(lines[4], i)));
}

/// The sum of the four differences of the other colour around.
V Corners(const FiveLines& lines, std::int64_t left, std::int64_t right)
{
    return hn::Add(hn::Add(At(lines[1], left), At(lines[1], right)),
                   hn::Add(At(lines[3], left), At(lines[3], right)));
}

void Refine(const FiveLines& chosen, const float* isAlong, bool colourFirst, float* refined, float* other,
            std::int64_t from, std::int64_t to) noexcept
{
    const Beside beside(colourFirst);
    EachVector(from, to, [&](std::int64_t i) HWY_ATTR {
        const V here = At(chosen[2], i), ends = Ends(chosen, isAlong, i);
        const V corners = Corners(chosen, i + beside.left, i + beside.right);
        hn::StoreU(Times(1.0F / 6, hn::Add(ends, Times(4, here))), Floats(), refined + i);
        hn::StoreU(Times(0.25F, hn::Sub(corners, hn::Add(ends, hn::Add(here, here)))), Floats(), other + i);
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
        const V own = At(row.own, i), here = At(row.refined[2], i);
        const V ends = Ends(row.refined, row.isAlong, i);
        const V corners = Corners(row.refined, i + beside.left, i + beside.right);
        const V around = Times(0.5F, hn::Sub(corners, hn::Add(ends, hn::Add(here, here))));
        const V other = Times(1.0F / 3, hn::Add(At(row.other, i), around));
        const V green = At(row.between, i);
        const V betweenOwn =
            hn::Add(At(row.refined[2], i - beside.right), At(row.refined[2], i - beside.left));
        const V betweenOther = hn::Add(At(row.refined[1], i), At(row.refined[3], i));
        return RowColours<decltype(rounded(own))>{rounded(own),
                                                  rounded(hn::Sub(own, here)),
                                                  rounded(hn::Add(own, other)),
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
        &Decide,
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
