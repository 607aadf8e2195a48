#include "demosaic/malvar_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <array>
#include <cstddef>
#include <cstring>

// Newer processors permute bytes.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "demosaic/malvar_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
// Compiled per target as well, hence behind Highway.
#include "demosaic/pixel_pairs-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

/// The filters in eighths or sixteenths, rounded and limited.
///
/// Sums of bytes fit 16 bits. In sixteenths, the positive weights of a filter add up to 28 at the most (10 + 8 +
/// 8 + 1 + 1 beside green, 12 + 4 x 4 at the other colour) and the negative ones to -12 at the least (4 x -3), and
/// no part of a sum lies further from 0 than the whole may: all are between -12 * 255 and 28 * 255 = 7140. In the
/// same way sums of words fit 32 bits.
template <class T>
class MalvarFilter {
public:
    using Element = typename MalvarRowKernels<T>::Element;
    using E = typename MalvarRowKernels<T>::Sum;
    using D = hn::ScalableTag<E>;
    using V = hn::Vec<D>;

    MalvarFilter(const MalvarLines<Element>& lines, RowKind kind, E top)
        : m_lines(lines), m_side(kind.colourFirst ? -1 : 1), m_top(hn::Set(m_d, top))
    {
    }

    /// The pair's own colour lies between its green and the one `m_side` pairs on, its green between its own
    /// colour and the one as far in the other direction.
    HWY_INLINE RowColours<V> At(std::int64_t i) const
    {
        const V own = Own(2, i), green = Between(2, i);
        const V nextOwn = Own(2, i - m_side), nextGreen = Between(2, i + m_side);
        const V owns = hn::Add(own, nextOwn), greens = hn::Add(green, nextGreen);
        // Rows above and below: greens where this row has its own colour, the other colour where it has green.
        const V nearGreens = Near(m_lines.own, i), nearOthers = Near(m_lines.between, i);
        RowColours<V> colours;
        colours.ownRow = hn::Min(own, m_top);
        colours.betweenGreen = hn::Min(green, m_top);

        const V far = hn::Add(hn::Add(nextOwn, Own(2, i + m_side)), Far(m_lines.own, i));
        const V corners = hn::Add(nearOthers, Near(m_lines.between, i + m_side));
        const V bend = hn::Sub(hn::ShiftLeft<2>(own), far);
        colours.ownGreen = Scaled<3>(hn::Add(bend, Twice(hn::Add(greens, nearGreens))));
        colours.ownOther = Scaled<4>(hn::Add(bend, Twice(hn::Add(bend, Twice(corners)))));

        const V along = hn::Add(nextGreen, Between(2, i - m_side)), across = Far(m_lines.between, i);
        const V diagonal = hn::Add(nearGreens, Near(m_lines.own, i - m_side));
        const V common = hn::Sub(hn::Add(hn::ShiftLeft<2>(green), green), diagonal);
        colours.betweenRow = BesideGreen(common, owns, along, across);
        colours.betweenOther = BesideGreen(common, nearOthers, across, along);
        return colours;
    }

private:
    using Line = const Element*;

    V Own(int row, std::int64_t i) const { return Loaded(m_lines.own[row], i); }
    V Between(int row, std::int64_t i) const { return Loaded(m_lines.between[row], i); }
    V Near(const Line (&lines)[5], std::int64_t i) const
    {
        return hn::Add(Loaded(lines[1], i), Loaded(lines[3], i));
    }
    V Far(const Line (&lines)[5], std::int64_t i) const
    {
        return hn::Add(Loaded(lines[0], i), Loaded(lines[4], i));
    }
    V Loaded(Line line, std::int64_t i) const
    {
        if constexpr (sizeof(Element) == sizeof(E))
            return hn::LoadU(m_d, line + i);
        else
            return hn::PromoteTo(m_d, hn::LoadU(hn::Rebind<Element, D>(), line + i));
    }

    static V Twice(V v) { return hn::Add(v, v); }

    /// In sixteenths: 8 of each of the two samples of the colour beside, -2 of each of the greens further on in
    /// their direction, 1 of those in the other, and twice what is common to both colours.
    V BesideGreen(V common, V near, V further, V other) const
    {
        const V half = hn::Sub(hn::Add(common, hn::ShiftLeft<2>(near)), further);
        return Scaled<4>(hn::Add(Twice(half), other));
    }

    template <int Bits>
    V Scaled(V sum) const
    {
        return hn::Min(hn::Max(Rounded<Bits>(sum), hn::Zero(m_d)), m_top);
    }
    template <int Bits>
    V Rounded(V sum) const
    {
        if constexpr (sizeof(E) == 2)
            return hn::MulFixedPoint15(sum, hn::Set(m_d, E{1 << (15 - Bits)}));
        else
            return hn::ShiftRight<Bits>(hn::Add(sum, hn::Set(m_d, E{1 << (Bits - 1)})));
    }

    const MalvarLines<Element>& m_lines;
    std::int64_t m_side;
    D m_d;
    V m_top;
};

template <class T>
void Row(const MalvarLines<typename MalvarRowKernels<T>::Element>& lines, RowKind kind, const PixelRow& dst,
         std::int64_t width, typename MalvarRowKernels<T>::Sum top) noexcept
{
    const MalvarFilter<T> filter(lines, kind, top);
    StoreRow<T>(typename MalvarFilter<T>::D(), dst, width,
                [&](std::int64_t i) HWY_ATTR { return Arranged(filter.At(i), kind); });
}

template <class T>
constexpr MalvarRowKernels<T> rows{&SplitPairs<T, typename MalvarRowKernels<T>::Element>, &Row<T>};

const MalvarKernels& Kernels()
{
    static constexpr MalvarKernels kernels{rows<std::uint8_t>, rows<std::uint16_t>};
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
const MalvarKernels& malvarKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
