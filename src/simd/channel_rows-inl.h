// Rows of single channels out of interleaved pixels and back, for kernels. Include after <hwy/highway.h>; compiled once per
// processor target.
#if defined(KO_SIMD_CHANNEL_ROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KO_SIMD_CHANNEL_ROWS_INL_H
#undef KO_SIMD_CHANNEL_ROWS_INL_H
#else
#define KO_SIMD_CHANNEL_ROWS_INL_H
#endif

#include "simd/two_vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3

/// For each lane of a vector its place among samples that lie `step` apart.
template <class T, std::int64_t step>
struct PlacesApart {
    static constexpr std::int64_t lanes = 64 / sizeof(T);
    alignas(64) T at[lanes];

    constexpr PlacesApart() : at()
    {
        for (std::int64_t i = 0; i < lanes; ++i)
            at[i] = static_cast<T>(i * step);
    }
};

/// The last vector reads and writes no sample but those asked for.
template <class T, std::int64_t step>
void GatherFromTwo(const std::uint8_t* row, std::int64_t samples, std::uint8_t* out) noexcept
{
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::ScalableTag<T> d;
    constexpr auto lanes = static_cast<std::int64_t>(hn::MaxLanes(d));
    const T* const from = reinterpret_cast<const T*>(row);
    T* const to = reinterpret_cast<T*>(out);
    static constexpr PlacesApart<T, step> places;
    const auto at = hn::Load(d, places.at);
    // From here on samples come from the third vector or the fourth.
    const auto isEarly = hn::FirstN(d, static_cast<std::size_t>((2 * lanes + step - 1) / step));
    const auto gather = [&](const auto& load) HWY_ATTR {
        const auto first = FromTwo<T>(load(0), load(1), at);
        if constexpr (step == 2)
            return first;
        const auto third = load(2);
        return hn::IfThenElse(isEarly, first, FromTwo<T>(third, step > 3 ? load(3) : third, at));
    };
    std::int64_t i = 0;
    const auto whole = [&](std::int64_t k) HWY_ATTR { return hn::LoadU(d, from + i * step + k * lanes); };
    for (; i + lanes < samples; i += lanes)
        hn::StoreU(gather(whole), d, to + i);
    const auto rest = [&](std::int64_t k) HWY_ATTR {
        const std::int64_t present = (samples - 1 - i) * step + 1 - k * lanes;
        const auto some =
            hn::FirstN(d, static_cast<std::size_t>(std::clamp<std::int64_t>(present, 0, lanes)));
        return hn::MaskedLoad(some, d, from + i * step + k * lanes);
    };
    hn::BlendedStore(gather(rest), hn::FirstN(d, static_cast<std::size_t>(samples - i)), d, to + i);
}

/// For the vectors of pixels that a vector of samples goes to, which of its lanes go where.
template <class T, std::int64_t step>
struct SpreadLanes {
    static constexpr std::int64_t lanes = 64 / sizeof(T);
    alignas(64) T from[step][lanes];
    std::uint64_t isPut[step];  ///< a bit for each lane

    constexpr SpreadLanes() : from(), isPut()
    {
        for (std::int64_t i = 0; i < step * lanes; ++i) {
            from[i / lanes][i % lanes] = static_cast<T>(i / step);
            isPut[i / lanes] |= std::uint64_t{i % step == 0} << i % lanes;
        }
    }
};

/// Whole vectors of samples; returns how many samples they are. Nothing else is written.
template <class T, std::int64_t step>
std::int64_t ScatterFromTwo(const std::uint8_t* samples, std::uint8_t* row, std::int64_t count) noexcept
{
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::ScalableTag<T> d;
    using Lanes = hn::Mask<decltype(d)>;
    constexpr auto lanes = static_cast<std::int64_t>(hn::MaxLanes(d));
    static constexpr SpreadLanes<T, step> spread;
    T* const to = reinterpret_cast<T*>(row);
    std::int64_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto own = hn::LoadU(d, reinterpret_cast<const T*>(samples) + i);
        for (std::int64_t k = 0; k < step; ++k) {
            const Lanes isPut{static_cast<decltype(Lanes::raw)>(spread.isPut[k])};
            hn::BlendedStore(FromTwo<T>(own, own, hn::Load(d, spread.from[k])), isPut, d,
                             to + i * step + k * lanes);
        }
    }
    return i;
}

#endif

/// Samples that lie `step` apart, brought together. With a step that is known when it is compiled, the compiler finds
/// vectors for it.
template <class T, std::int64_t step>
void Gather(const std::uint8_t* row, std::int64_t samples, std::uint8_t* out) noexcept
{
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
    if constexpr (takesFromTwo<T>)
        return GatherFromTwo<T, step>(row, samples, out);
#endif
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i)
        storeSample<T>(out, i, loadSample<T>(row, i * step));
}

/// The same with any step.
template <class T>
void GatherRowOf(const std::uint8_t* row, std::int64_t step, std::int64_t samples, std::uint8_t* out) noexcept
{
    switch (step) {
    case 1:
        std::copy_n(row, samples * static_cast<std::int64_t>(sizeof(T)), out);
        return;
    case 2:
        return Gather<T, 2>(row, samples, out);
    case 3:
        return Gather<T, 3>(row, samples, out);
    case 4:
        return Gather<T, 4>(row, samples, out);
    default:
        for (std::int64_t i = 0; i < samples; ++i)
            storeSample<T>(out, i, loadSample<T>(row, i * step));
    }
}

/// Samples put `step` apart.
template <class T>
void ScatterRowOf(const std::uint8_t* samples, std::uint8_t* row, std::int64_t step,
                  std::int64_t count) noexcept
{
    if (step == 1) {
        std::copy_n(samples, count * static_cast<std::int64_t>(sizeof(T)), row);
        return;
    }
    std::int64_t i = 0;
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
    if constexpr (takesFromTwo<T>) {
        if (step == 3)
            i = ScatterFromTwo<T, 3>(samples, row, count);
        else if (step == 4)
            i = ScatterFromTwo<T, 4>(samples, row, count);
    }
#endif
    for (; i < count; ++i)
        storeSample<T>(row, i * step, loadSample<T>(samples, i));
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#endif
