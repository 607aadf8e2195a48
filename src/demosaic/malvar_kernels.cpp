#include "demosaic/malvar_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <cstring>

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
template <class T>
class MalvarFilter {
public:
    using Element = typename MalvarRowKernels<T>::Element;
    using E = typename MalvarRowKernels<T>::Sum;
    using D = hn::ScalableTag<E>;
    using V = hn::Vec<D>;

    MalvarFilter(const MalvarLines<Element>& lines, RowKind kind, E top)
        : m_lines(lines), m_right(kind.colourFirst ? 0 : 1), m_top(hn::Set(m_d, top))
    {
    }

    RowColours<V> At(std::int64_t i) const
    {
        RowColours<V> colours;
        AtOwn(i, colours);
        AtGreen(i, colours);
        return colours;
    }

private:
    V Own(int row, std::int64_t i) const { return At(m_lines.own[row], i); }
    V Between(int row, std::int64_t i) const { return At(m_lines.between[row], i); }
    V At(const Element* line, std::int64_t i) const
    {
        if constexpr (sizeof(Element) == sizeof(E))
            return hn::LoadU(m_d, line + i);
        else
            return hn::PromoteTo(m_d, hn::LoadU(hn::Rebind<Element, D>(), line + i));
    }

    template <int Bits>
    V Scaled(V sum) const
    {
        const V rounded = hn::ShiftRight<Bits>(hn::Add(sum, hn::Set(m_d, E{1 << (Bits - 1)})));
        return Limited(rounded);
    }
    V Limited(V v) const { return hn::Min(hn::Max(v, hn::Zero(m_d)), m_top); }

    void AtOwn(std::int64_t i, RowColours<V>& colours) const
    {
        const std::int64_t left = i + m_right - 1, right = i + m_right;
        const V own = Own(2, i);
        const V far = hn::Add(hn::Add(Own(2, i - 1), Own(2, i + 1)), hn::Add(Own(0, i), Own(4, i)));
        const V near = hn::Add(hn::Add(Between(2, left), Between(2, right)), hn::Add(Own(1, i), Own(3, i)));
        const V corners = hn::Add(hn::Add(Between(1, left), Between(1, right)),
                                  hn::Add(Between(3, left), Between(3, right)));
        const V four = hn::ShiftLeft<2>(own);
        colours.ownRow = Limited(own);
        colours.ownGreen = Scaled<3>(hn::Sub(hn::Add(four, hn::ShiftLeft<1>(near)), far));
        // 12 own + 4 corners - 3 far
        const V quarters = hn::Add(hn::Add(own, hn::ShiftLeft<1>(own)), hn::Sub(corners, far));
        colours.ownOther = Scaled<4>(hn::Add(hn::ShiftLeft<2>(quarters), far));
    }

    void AtGreen(std::int64_t i, RowColours<V>& colours) const
    {
        const std::int64_t left = i - m_right, right = i + 1 - m_right;
        const V own = Between(2, i);
        const V beside = hn::Add(Own(2, left), Own(2, right)), above = hn::Add(Between(1, i), Between(3, i));
        const V corners = hn::Add(hn::Add(Own(1, left), Own(1, right)), hn::Add(Own(3, left), Own(3, right)));
        const V alongRow = hn::Add(Between(2, i - 1), Between(2, i + 1));
        const V alongColumn = hn::Add(Between(0, i), Between(4, i));
        // Common to both: 10 own - 2 corners.
        const V fives = hn::Add(hn::ShiftLeft<2>(own), own);
        const V common = hn::ShiftLeft<1>(hn::Sub(fives, corners));
        const auto filtered = [&](V near, V along, V across) HWY_ATTR {
            const V eights = hn::ShiftLeft<3>(near), twos = hn::ShiftLeft<1>(along);
            return Scaled<4>(hn::Add(hn::Add(common, eights), hn::Sub(across, twos)));
        };
        colours.betweenRow = filtered(beside, alongRow, alongColumn);
        colours.betweenGreen = Limited(own);
        colours.betweenOther = filtered(above, alongColumn, alongRow);
    }

    const MalvarLines<Element>& m_lines;
    std::int64_t m_right;  ///< of the greens beside a pair's own colour, the right one is this many pairs on
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
