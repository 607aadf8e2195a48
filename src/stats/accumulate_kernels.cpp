#include "stats/accumulate_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <utility>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stats/accumulate_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

/// Samples whose numbers stay in the first-level cache while one plane after another is worked on. Few of them, so that
/// memory for several planes is asked for at any time.
constexpr std::int64_t blockSamples = 256;

using Rows = std::array<const std::uint8_t*, accumulatedAtOnce>;

template <class T>
HWY_INLINE void Increase(std::uint8_t* plane, std::int64_t i, T by) noexcept
{
    storeSample(plane, i, static_cast<T>(loadSample<T>(plane, i) + by));
}

// What the samples of up to eight frames at one place do to one plane.

struct Sum {
    template <class... T>
    HWY_INLINE void operator()(std::uint8_t* plane, std::int64_t i, T... samples) const noexcept
    {
        Increase<std::uint64_t>(plane, i, (std::uint32_t{samples} + ...));
    }
};

struct Squares {
    template <class... T>
    HWY_INLINE void operator()(std::uint8_t* plane, std::int64_t i, T... samples) const noexcept
    {
        if constexpr ((sizeof(T) + ...) == sizeof...(T)) {
            Increase<std::uint64_t>(plane, i, ((std::uint32_t{samples} * samples) + ...));
        } else {
            // Eight squares of two bytes do not fit into 32 bits, eight halves of them do.
            const std::uint32_t low = (((std::uint32_t{samples} * samples) & 0xFFFFU) + ...);
            const std::uint32_t high = (((std::uint32_t{samples} * samples) >> 16) + ...);
            Increase<std::uint64_t>(plane, i, low + (std::uint64_t{high} << 16));
        }
    }
};

struct Minimum {
    template <class T, class... More>
    HWY_INLINE void operator()(std::uint8_t* plane, std::int64_t i, T first, More... more) const noexcept
    {
        T least = std::min(first, loadSample<T>(plane, i));
        ((least = std::min(least, more)), ...);
        storeSample(plane, i, least);
    }
};

struct Maximum {
    template <class T, class... More>
    HWY_INLINE void operator()(std::uint8_t* plane, std::int64_t i, T first, More... more) const noexcept
    {
        T most = std::max(first, loadSample<T>(plane, i));
        ((most = std::max(most, more)), ...);
        storeSample(plane, i, most);
    }
};

template <class Level>
struct Above {
    Level level;

    template <class... T>
    HWY_INLINE void operator()(std::uint8_t* plane, std::int64_t i, T... samples) const noexcept
    {
        Increase<std::uint32_t>(plane, i, (std::uint32_t{samples > level} + ...));
    }
};

/// Counts the frames whose mask bytes are set.
struct Marks {
    template <class... T>
    HWY_INLINE void operator()(std::uint8_t* plane, std::int64_t i, T... marks) const noexcept
    {
        Increase<std::uint32_t>(plane, i, (std::uint32_t{marks != 0} + ...));
    }
};

template <class T, class Step, std::size_t... Frame>
HWY_INLINE void StepRow(std::index_sequence<Frame...>, const std::uint8_t* const* first, std::int64_t samples,
                        std::uint8_t* plane, Step step) noexcept
{
    const std::array<const std::uint8_t*, sizeof...(Frame)> rows{first[Frame]...};
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i)
        step(plane, i, loadSample<T>(rows[Frame], i)...);
}

/// Takes the frames into a plane: `AtOnce` of them in one go, then half as many, and so on. A plane is loaded and stored
/// once for each go.
template <class T, std::size_t AtOnce = accumulatedAtOnce, class Step>
void Take(const std::uint8_t* const* rows, std::int64_t count, std::int64_t samples, std::uint8_t* plane,
          Step step) noexcept
{
    constexpr std::int64_t together = AtOnce;
    for (; count >= together; count -= together, rows += together)
        StepRow<T>(std::make_index_sequence<AtOnce>{}, rows, samples, plane, step);
    if constexpr (AtOnce > 1)
        Take<T, AtOnce / 2>(rows, count, samples, plane, step);
}

/// The same for each plane that there is, `minimum` apart.
template <class T>
void TakeAll(const Rows& rows, std::int64_t count, std::int64_t samples, const AccumulatorRow& sums) noexcept
{
    if (sums.sum != nullptr)
        Take<T>(rows.data(), count, samples, sums.sum, Sum{});
    if (sums.squares != nullptr)
        Take<T>(rows.data(), count, samples, sums.squares, Squares{});
    if (sums.maximum != nullptr)
        Take<T>(rows.data(), count, samples, sums.maximum, Maximum{});
    if (sums.above != nullptr) {
        constexpr std::uint32_t top = std::numeric_limits<T>::max();
        Take<T>(rows.data(), count, samples, sums.above, Above<T>{static_cast<T>(std::min(sums.level, top))});
    }
}

/// The mask bytes of `samples` samples from sample `from` of the row on: those of the row, where pixels have one
/// sample, or a copy for each.
const std::uint8_t* MarksOf(const std::uint8_t* mask, std::int64_t channels, std::int64_t from,
                            std::int64_t samples, std::uint8_t* spread) noexcept
{
    if (channels == 1)
        return mask + from;
    std::int64_t pixel = from / channels, channel = from % channels;
    for (std::int64_t i = 0; i < samples; ++i) {
        spread[i] = mask[pixel];
        if (++channel == channels) {
            channel = 0;
            ++pixel;
        }
    }
    return spread;
}

/// A block of a frame in which samples that do not count are 0, which changes nothing but a minimum.
template <class T>
void Select(const std::uint8_t* row, const std::uint8_t* mask, std::int64_t samples,
            std::uint8_t* block) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i)
        storeSample<T>(block, i, mask[i] != 0 ? loadSample<T>(row, i) : T{0});
}

/// Turns the samples that do not count into the largest number there is, which does not change a minimum.
template <class T>
void Raise(const std::uint8_t* mask, std::int64_t samples, std::uint8_t* block) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i)
        storeSample<T>(block, i, mask[i] != 0 ? loadSample<T>(block, i) : std::numeric_limits<T>::max());
}

/// A block of frames with masks, from sample `from` of their rows on.
template <class T>
void TakeSelected(const FrameRowGroup& frames, const Rows& rows, std::int64_t from, std::int64_t samples,
                  const AccumulatorRow& sums) noexcept
{
    alignas(64) std::uint8_t spread[accumulatedAtOnce][blockSamples];
    alignas(64) std::uint8_t blocks[accumulatedAtOnce][blockSamples * sizeof(T)];
    Rows masks{}, selected{};
    for (std::size_t f = 0; f < static_cast<std::size_t>(frames.count); ++f) {
        masks[f] = MarksOf(frames.masks[f], frames.channels, from, samples, spread[f]);
        Select<T>(rows[f], masks[f], samples, blocks[f]);
        selected[f] = blocks[f];
    }
    Take<std::uint8_t>(masks.data(), frames.count, samples, sums.counts, Marks{});
    TakeAll<T>(selected, frames.count, samples, sums);
    if (sums.minimum == nullptr)
        return;
    for (std::size_t f = 0; f < static_cast<std::size_t>(frames.count); ++f)
        Raise<T>(masks[f], samples, blocks[f]);
    Take<T>(selected.data(), frames.count, samples, sums.minimum, Minimum{});
}

std::uint8_t* Advanced(std::uint8_t* row, std::int64_t bytes) noexcept
{
    return row != nullptr ? row + bytes : nullptr;
}

/// Asks for the sums 4096 bytes behind those of a block, whatever a trial of copying says. They are changed in place, and
/// the processor's own prefetching ends with each page, of which these wide numbers fill one after 512 samples.
void FetchSums(const std::uint8_t* sums, std::int64_t samples) noexcept
{
    if (sums != nullptr)
        fetchLines<true>(reinterpret_cast<std::uintptr_t>(sums) + 4096,
                         static_cast<std::uintptr_t>(samples) * 8);
}

template <class T>
void RowAccumulate(const FrameRowGroup& frames, std::int64_t samples, const AccumulatorRow& sums) noexcept
{
    for (std::int64_t from = 0; from < samples; from += blockSamples) {
        const std::int64_t block = std::min(blockSamples, samples - from);
        const std::int64_t bytes = from * std::int64_t{sizeof(T)};
        const AccumulatorRow at{Advanced(sums.sum, from * 8),
                                Advanced(sums.squares, from * 8),
                                Advanced(sums.minimum, bytes),
                                Advanced(sums.maximum, bytes),
                                Advanced(sums.above, from * 4),
                                Advanced(sums.counts, from * 4),
                                sums.level};
        FetchSums(at.sum, block);
        FetchSums(at.squares, block);
        Rows rows{};
        for (std::size_t f = 0; f < static_cast<std::size_t>(frames.count); ++f)
            rows[f] = frames.rows[f] + bytes;
        if (frames.hasMasks) {
            TakeSelected<T>(frames, rows, from, block, at);
            continue;
        }
        TakeAll<T>(rows, frames.count, block, at);
        if (at.minimum != nullptr)
            Take<T>(rows.data(), frames.count, block, at.minimum, Minimum{});
        if (at.counts != nullptr) {
            KO_INDEPENDENT_ITERATIONS
            for (std::int64_t i = 0; i < block; ++i)
                Increase<std::uint32_t>(at.counts, i, static_cast<std::uint32_t>(frames.count));
        }
    }
}

template <class T>
void RowAdd(const std::uint8_t* from, std::uint8_t* into, std::int64_t samples) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t i = 0; i < samples; ++i)
        Increase<T>(into, i, loadSample<T>(from, i));
}

/// A whole number below 2^52 as a double, which every target's vectors can do.
HWY_INLINE double AsDouble(std::uint64_t number) noexcept
{
    return std::bit_cast<double>(number | 0x4330000000000000U) - 0x1p52;
}

/// Up to 2^11 frames, sums below 2^26 and squares below 2^42: then frames * squares is below 2^53, sum * sum
/// below 2^52, so doubles hold them, their difference and the divisor exactly, and the quotient is rounded once.
template <bool Counted>
bool Variances(const VarianceBlock& block, std::int64_t samples, double* variances) noexcept
{
    const auto frames = [&](std::int64_t i) {
        return Counted ? loadSample<std::uint32_t>(block.counts, i) : block.frames;
    };
    std::uint64_t tooLarge = 0;
    for (std::int64_t i = 0; i < samples; ++i) {
        tooLarge |= loadSample<std::uint64_t>(block.sum, i) >> 26 |
                    loadSample<std::uint64_t>(block.squares, i) >> 42 | std::uint64_t{frames(i)} >> 11;
    }
    if (tooLarge != 0)
        return false;
    for (std::int64_t i = 0; i < samples; ++i) {
        const double n = AsDouble(frames(i)), sum = AsDouble(loadSample<std::uint64_t>(block.sum, i));
        const double squares = AsDouble(loadSample<std::uint64_t>(block.squares, i));
        const double dividend = n * squares - sum * sum, left = n - block.ddof;
        const double quotient = dividend / (n * left);
        variances[i] = left > 0 && dividend >= 0 ? quotient : std::numeric_limits<double>::quiet_NaN();
    }
    return true;
}

bool BlockVariances(const VarianceBlock& block, std::int64_t samples, double* variances) noexcept
{
    return block.counts != nullptr ? Variances<true>(block, samples, variances)
                                   : Variances<false>(block, samples, variances);
}

template <class T, class Step>
void RowTake(const std::uint8_t* from, std::uint8_t* into, std::int64_t samples) noexcept
{
    StepRow<T>(std::index_sequence<0>{}, &from, samples, into, Step{});
}

const AccumulateKernels& Kernels()
{
    static constexpr AccumulateKernels kernels{
        {&RowAccumulate<std::uint8_t>, &RowAccumulate<std::uint16_t>},
        &RowAdd<std::uint32_t>,
        &RowAdd<std::uint64_t>,
        {&RowTake<std::uint8_t, Minimum>, &RowTake<std::uint16_t, Minimum>},
        {&RowTake<std::uint8_t, Maximum>, &RowTake<std::uint16_t, Maximum>},
        &BlockVariances};
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
const AccumulateKernels& accumulateKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
