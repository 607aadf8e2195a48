#include "stats/moment_kernels.h"

#include "core/image_view.h"
#include "core/kernel_loops.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stats/moment_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

template <class T>
void AddSamples(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t from, std::int64_t width,
                Moments& moments) noexcept
{
    for (std::int64_t x = from; x < width; ++x) {
        if (mask[x] == 0)
            continue;
        const auto sample = static_cast<std::uint64_t>(loadSample<T>(row, x) + momentBias<T>);
        ++moments.count;
        moments.sum += sample;
        moments.squares += sample * sample;
    }
}

#if HWY_TARGET == HWY_SCALAR

template <class T>
void Row(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t width, Moments& moments) noexcept
{
    AddSamples<T>(row, mask, 0, width, moments);
}

#else

template <class T>
using Tag = hn::ScalableTag<std::make_unsigned_t<T>>;
using Factor = hn::ScalableTag<std::int16_t>;
using Product = hn::ScalableTag<std::int32_t>;
using Total = hn::ScalableTag<std::uint64_t>;

/// Sum of products of bytes held in 16-bit lanes; `vectorsPerTotal` vectors cannot overflow it.
class ByteProducts {
public:
    static constexpr std::int64_t vectorsPerTotal = 8192;

    // Written out, here and below: constructors that the compiler makes are built for the wrong processor.
    ByteProducts() noexcept : m_even(hn::Zero(Product{})), m_odd(hn::Zero(Product{})) {}

    void add(hn::Vec<Factor> a, hn::Vec<Factor> b) noexcept
    {
        m_even = hn::ReorderWidenMulAccumulate(Product{}, a, b, m_even, m_odd);
    }
    std::uint64_t total() const noexcept
    {
        const Total d;
        const auto products = hn::BitCast(d, hn::Add(m_even, m_odd));
        const auto halves = hn::Add(hn::And(products, hn::Set(d, 0xFFFFFFFFU)), hn::ShiftRight<32>(products));
        return hn::GetLane(hn::SumOfLanes(d, halves));
    }

private:
    hn::Vec<Product> m_even, m_odd;
};

/// The low and the high bytes of 16-bit units.
struct Bytes {
    hn::Vec<Factor> low;
    hn::Vec<Factor> high;
};

template <class V>
Bytes BytesOf(V samples) noexcept
{
    const hn::ScalableTag<std::uint16_t> d;
    const Factor factor;
    const auto units = hn::BitCast(d, samples);
    return {hn::BitCast(factor, hn::And(units, hn::Set(d, 0xFF))),
            hn::BitCast(factor, hn::ShiftRight<8>(units))};
}

/// Sums over vectors of bytes.
class ByteSums {
public:
    ByteSums() noexcept : m_sum(hn::Zero(Total{})) {}

    void add(hn::Vec<hn::ScalableTag<std::uint8_t>> samples) noexcept
    {
        const Bytes bytes = BytesOf(samples);
        m_squares.add(bytes.low, bytes.low);
        m_squares.add(bytes.high, bytes.high);
        m_sum = hn::Add(m_sum, hn::SumsOf8(samples));
    }
    void addTo(Moments& moments) const noexcept
    {
        moments.sum += hn::GetLane(hn::SumOfLanes(Total{}, m_sum));
        moments.squares += m_squares.total();
    }

private:
    ByteProducts m_squares;
    hn::Vec<Total> m_sum;
};

/// Sums over vectors of words, which are taken as 256 * high + low.
class WordSums {
public:
    WordSums() noexcept {}

    void add(hn::Vec<hn::ScalableTag<std::uint16_t>> samples) noexcept
    {
        const Bytes bytes = BytesOf(samples);
        const auto one = hn::Set(Factor{}, 1);
        m_low.add(bytes.low, one);
        m_high.add(bytes.high, one);
        m_lowLow.add(bytes.low, bytes.low);
        m_lowHigh.add(bytes.low, bytes.high);
        m_highHigh.add(bytes.high, bytes.high);
    }
    void addTo(Moments& moments) const noexcept
    {
        moments.sum += (m_high.total() << 8) + m_low.total();
        moments.squares += (m_highHigh.total() << 16) + (m_lowHigh.total() << 9) + m_lowLow.total();
    }

private:
    ByteProducts m_low, m_high, m_lowLow, m_lowHigh, m_highHigh;
};

/// The samples with a non-zero mask byte, zero for the others.
template <class T>
auto Selected(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t at,
              std::uint64_t& count) noexcept
{
    using U = std::make_unsigned_t<T>;
    const Tag<T> d;
    const hn::Rebind<std::uint8_t, Tag<T>> bytes;
    const auto marks = hn::LoadU(bytes, mask + at);
    const auto selected = [&] {
        if constexpr (sizeof(T) == 1)
            return hn::Ne(marks, hn::Zero(d));
        else
            return hn::Ne(hn::PromoteTo(d, marks), hn::Zero(d));
    }();
    count += hn::CountTrue(d, selected);
    const auto samples = hn::LoadU(d, reinterpret_cast<const U*>(row) + at);
    return hn::IfThenElseZero(selected, hn::Xor(samples, hn::Set(d, static_cast<U>(momentBias<T>))));
}

template <class T>
void Row(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t width, Moments& moments) noexcept
{
    constexpr auto step = static_cast<std::int64_t>(hn::MaxLanes(Tag<T>{}));
    std::int64_t at = 0;
    while (at + step <= width) {
        std::conditional_t<sizeof(T) == 1, ByteSums, WordSums> sums;
        const std::int64_t vectors = std::min((width - at) / step, ByteProducts::vectorsPerTotal);
        for (const std::int64_t end = at + vectors * step; at < end; at += step) {
            fetchAhead<T, false>(row + at * std::int64_t{sizeof(T)}, step);
            fetchAhead<std::uint8_t, false>(mask + at, step);
            sums.add(Selected<T>(row, mask, at, moments.count));
        }
        sums.addTo(moments);
    }
    AddSamples<T>(row, mask, at, width, moments);
}

#endif

const MomentKernels& Kernels()
{
    static constexpr MomentKernels kernels{&Row<std::int8_t>, &Row<std::uint8_t>, &Row<std::int16_t>,
                                           &Row<std::uint16_t>};
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
const MomentKernels& momentKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
