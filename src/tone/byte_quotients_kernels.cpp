#include "tone/byte_quotients_kernels.h"

#include "base/kernel_loops.h"

#include <algorithm>

// Newer processors look up bytes in registers.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/byte_quotients_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "simd/vectors-inl.h"
// It uses the above.
#include "simd/byte_table-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3_DL

namespace hn = hwy::HWY_NAMESPACE;

/// The lesser of 255 and the whole part of sample * factor / divisor, with the three and an `inverse` in words:
/// `sample` and `factor` in the upper bytes.
///
/// sample * inverse / 256 is never above the quotient and at most 1 below it, where the inverse is not 65535; there the
/// quotient is 255 or more for any sample but 0. The rest, of products below 2^16, tells whether 1 is missing.
template <class D, class V = VecOf<D>>
HWY_INLINE V ByteQuotient(D words, V sample, V divisor, V inverse, V factor)
{
    const auto most = hn::Set(words, 255);
    const auto guess = hn::Min(hn::MulHigh(sample, inverse), most);
    const auto rest = hn::Sub(hn::MulHigh(sample, factor), hn::Mul(guess, divisor));
    const auto next = hn::Min(hn::Add(guess, hn::Set(words, 1)), most);
    return hn::IfThenElse(hn::Lt(rest, divisor), guess, next);
}

void RowByQuotients(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst,
                    std::int64_t samples, const Correction& correction) noexcept
{
    const hn::ScalableTag<std::uint8_t> bytes;
    const hn::ScalableTag<std::uint16_t> words;
    constexpr auto step = static_cast<std::int64_t>(hn::MaxLanes(bytes));
    const ByteQuotients& quotients = *correction.quotients;
    const ByteTable lowInverses(quotients.inverse[0]), highInverses(quotients.inverse[1]);
    const auto factor = hn::Set(words, static_cast<std::uint16_t>(quotients.factor << 8));
    const auto doubled = hn::Set(words, static_cast<std::uint16_t>(quotients.parts == 2 ? 0xFFFF : 0));
    const auto lower = hn::Set(words, 0xFF);
    const auto top = hn::Set(bytes, static_cast<std::uint8_t>(correction.top));
    const bool keep = correction.keep;
    const auto corrected = [&](VecOf<decltype(bytes)> sample, VecOf<decltype(bytes)> below) HWY_ATTR {
        const auto a = hn::BitCast(words, sample), b = hn::BitCast(words, below);
        const auto low = hn::BitCast(words, lowInverses.At(below));
        const auto high = hn::BitCast(words, highInverses.At(below));
        const auto evenBelow = hn::And(b, lower), oddBelow = hn::ShiftRight<8>(b);
        const auto even =
            ByteQuotient(words, hn::ShiftLeft<8>(a), hn::Add(evenBelow, hn::And(evenBelow, doubled)),
                         hn::OrAnd(hn::ShiftLeft<8>(high), low, lower), factor);
        const auto odd =
            ByteQuotient(words, hn::AndNot(lower, a), hn::Add(oddBelow, hn::And(oddBelow, doubled)),
                         hn::Or(hn::ShiftRight<8>(low), hn::AndNot(lower, high)), factor);
        const auto quotient = hn::Min(hn::BitCast(bytes, hn::Or(even, hn::ShiftLeft<8>(odd))), top);
        return hn::IfThenElse(hn::Eq(below, hn::Zero(bytes)), keep ? sample : hn::Zero(bytes), quotient);
    };
    std::int64_t x = 0;
    for (; x + step <= samples; x += step) {
        fetchAhead<std::uint8_t, false>(src + x, step);
        fetchAhead<std::uint8_t, false>(background + x, step);
        fetchAhead<std::uint8_t, true>(dst + x, step);
        StoreAt(bytes, corrected(LoadAt(bytes, src + x), LoadAt(bytes, background + x)), dst + x);
    }
    const auto rest = hn::FirstN(bytes, static_cast<std::size_t>(samples - x));
    hn::BlendedStore(
        corrected(hn::MaskedLoad(rest, bytes, src + x), hn::MaskedLoad(rest, bytes, background + x)), rest,
        bytes, dst + x);
}

constexpr ByteQuotientKernels kernels{&RowByQuotients};

#else

constexpr ByteQuotientKernels kernels{nullptr};

#endif

const ByteQuotientKernels& Kernels()
{
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
const ByteQuotientKernels& byteQuotientKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
