#include "stats/sum_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stats/sum_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// A sample as a summand.
template <class T>
SumOf<T> Summand(T sample) noexcept
{
    if constexpr (std::is_integral_v<T> && std::is_signed_v<T>)
        return static_cast<SumOf<T>>(static_cast<std::int64_t>(sample));
    else
        return sample;
}

template <class T>
std::int64_t PlainLaneCount(std::int64_t period) noexcept
{
    return period;
}

/// One lane per channel.
template <class T>
void PlainRow(const std::uint8_t* row, std::int64_t samples, SumOf<T>* lanes, std::int64_t laneCount) noexcept
{
    if (laneCount == 1) {
        SumOf<T> sum = lanes[0];
        for (std::int64_t i = 0; i < samples; ++i)
            sum += Summand(loadSample<T>(row, i));
        lanes[0] = sum;
        return;
    }
    for (std::int64_t pixel = 0; pixel < samples; pixel += laneCount) {
        for (std::int64_t lane = 0; lane < laneCount; ++lane)
            lanes[lane] += Summand(loadSample<T>(row, pixel + lane));
    }
}

template <class T>
void PlainRows(const std::uint8_t* first, std::int64_t pitch, std::int64_t count, std::int64_t samples,
               SumOf<T>* lanes, std::int64_t laneCount) noexcept
{
    for (std::int64_t y = 0; y < count; ++y)
        PlainRow<T>(first + y * pitch, samples, lanes, laneCount);
}

template <class T>
void PlainFold(const SumOf<T>* lanes, std::int64_t laneCount, SumOf<T>* sums, std::int64_t) noexcept
{
    for (std::int64_t lane = 0; lane < laneCount; ++lane)
        sums[lane] += lanes[lane];
}

template <class T>
constexpr SumRows<T> plainRows{&PlainLaneCount<T>, &PlainRows<T>, &PlainFold<T>};

#if HWY_TARGET == HWY_SCALAR

template <class T>
constexpr SumRows<T> narrowRows = plainRows<T>;

#else

template <class T>
using Tag = hn::ScalableTag<T>;
template <class T>
using Vector = hn::Vec<Tag<T>>;
template <class T>
using Wide = hwy::MakeWide<T>;
using Lane = hn::ScalableTag<std::uint32_t>;

template <class T>
constexpr std::int64_t samplesOf = static_cast<std::int64_t>(hn::MaxLanes(Tag<T>{}));

/// Samples of one 32-bit lane. A vector of samples takes as many vectors of lanes: vector q of them holds the
/// samples q, q + samplesPerLane and so on.
template <class T>
constexpr std::int64_t samplesPerLane = 4 / static_cast<std::int64_t>(sizeof(T));

/// Samples summed in lanes of twice their width.
template <class T>
struct Halves {
    Vector<Wide<T>> even;
    Vector<Wide<T>> odd;
};

template <class T>
Halves<T> Split(Vector<T> samples) noexcept
{
    constexpr int bits = 8 * sizeof(T);
    const Tag<Wide<T>> d;
    const Vector<Wide<T>> pairs = hn::BitCast(d, samples);
    if constexpr (std::is_signed_v<T>)
        return {hn::ShiftRight<bits>(hn::ShiftLeft<bits>(pairs)), hn::ShiftRight<bits>(pairs)};
    else
        return {hn::And(pairs, hn::Set(d, Wide<T>{(1U << bits) - 1U})), hn::ShiftRight<bits>(pairs)};
}

template <class V>
void AddTo(std::uint32_t* lanes, V sums) noexcept
{
    const Lane d;
    hn::StoreU(hn::Add(hn::LoadU(d, lanes), hn::BitCast(d, sums)), d, lanes);
}

/// Adds sums of the samples of one vector to its lanes.
template <class T>
void AddHalves(const Halves<T>& sums, std::uint32_t* lanes) noexcept
{
    constexpr std::int64_t step = samplesOf<std::uint32_t>;
    if constexpr (sizeof(T) == 2) {
        AddTo(lanes, sums.even);
        AddTo(lanes + step, sums.odd);
    } else {
        const Halves<Wide<T>> even = Split<Wide<T>>(sums.even), odd = Split<Wide<T>>(sums.odd);
        AddTo(lanes, even.even);
        AddTo(lanes + step, odd.even);
        AddTo(lanes + 2 * step, even.odd);
        AddTo(lanes + 3 * step, odd.odd);
    }
}

template <class T>
std::int64_t NarrowLaneCount(std::int64_t period) noexcept
{
    if (samplesOf<T> % period == 0)
        return samplesOf<T>;
    if (3 * samplesOf<T> % period == 0)
        return 3 * samplesOf<T>;
    return period;
}

/// The whole blocks of `vectors` vectors of each row. Rows share their 16-bit sums, so that short ones do not wait for
/// the lanes.
template <class T, int vectors>
void AddBlocks(const std::uint8_t* first, std::int64_t pitch, std::int64_t count, std::int64_t samples,
               std::uint32_t* lanes) noexcept
{
    const Tag<T> d;
    constexpr std::int64_t block = vectors * samplesOf<T>;
    // As many bytes as their 16-bit sums can hold.
    constexpr std::int64_t blocksPerFlush = 256;
    // To ask for every block whether to fetch takes a sixth of the time.
    constexpr std::int64_t blocksPerFetch = 8;
    std::int64_t y = 0, at = 0;
    while (y < count) {
        // Not an array of Halves, whose constructors GCC would write without the instruction set of the target.
        Vector<Wide<T>> even[vectors], odd[vectors];
        for (int v = 0; v < vectors; ++v)
            even[v] = odd[v] = hn::Zero(Tag<Wide<T>>{});
        for (std::int64_t room = blocksPerFlush; room > 0 && y < count;) {
            const T* const row = reinterpret_cast<const T*>(first + y * pitch);
            const std::int64_t blocks = std::min((samples - at) / block, room);
            for (const std::int64_t end = at + blocks * block; at < end;) {
                const std::int64_t fetched = std::min(end, at + blocksPerFetch * block);
                fetchAhead<T, false>(reinterpret_cast<const std::uint8_t*>(row + at), fetched - at);
                for (; at < fetched; at += block) {
                    for (int v = 0; v < vectors; ++v) {
                        const Halves<T> halves = Split<T>(hn::LoadU(d, row + at + v * samplesOf<T>));
                        even[v] = hn::Add(even[v], halves.even);
                        odd[v] = hn::Add(odd[v], halves.odd);
                    }
                }
            }
            room -= blocks;
            if (at + block > samples) {
                at = 0;
                ++y;
            }
        }
        for (int v = 0; v < vectors; ++v)
            AddHalves<T>({even[v], odd[v]}, lanes + v * samplesOf<T>);
    }
}

/// The samples of a row behind its whole blocks, from `at` on.
template <class T, int vectors>
void AddRest(const std::uint8_t* bytes, std::int64_t at, std::int64_t samples, std::uint32_t* lanes) noexcept
{
    const Tag<T> d;
    const T* const row = reinterpret_cast<const T*>(bytes);
    for (std::int64_t lane = 0; at + samplesOf<T> <= samples; at += samplesOf<T>, lane += samplesOf<T>)
        AddHalves<T>(Split<T>(hn::LoadU(d, row + at)), lanes + lane);
    const std::int64_t last = samples - samplesOf<T>;
    if (at < samples && last >= 0) {
        // The row's last vector, without what it holds of samples added before. The row ends where a block
        // could end, so this vector's channels are those of a block's last one.
        const auto added = static_cast<std::size_t>(at - last);
        const Vector<T> rest = hn::IfThenZeroElse(hn::FirstN(d, added), hn::LoadU(d, row + last));
        AddHalves<T>(Split<T>(rest), lanes + (vectors - 1) * samplesOf<T>);
        return;
    }
    for (; at < samples; ++at) {
        const std::int64_t lane = at % samplesPerLane<T> * samplesOf<std::uint32_t> + at / samplesPerLane<T>;
        lanes[lane] += Summand(loadSample<T>(bytes, at));
    }
}

template <class T, int vectors>
void AddRows(const std::uint8_t* first, std::int64_t pitch, std::int64_t count, std::int64_t samples,
             std::uint32_t* lanes) noexcept
{
    AddBlocks<T, vectors>(first, pitch, count, samples, lanes);
    const std::int64_t taken = samples - samples % (vectors * samplesOf<T>);
    for (std::int64_t y = 0; y < count && taken < samples; ++y)
        AddRest<T, vectors>(first + y * pitch, taken, samples, lanes);
}

template <class T>
void NarrowRows(const std::uint8_t* first, std::int64_t pitch, std::int64_t count, std::int64_t samples,
                std::uint32_t* lanes, std::int64_t laneCount) noexcept
{
    if (laneCount == samplesOf<T>)
        AddRows<T, 1>(first, pitch, count, samples, lanes);
    else if (laneCount == 3 * samplesOf<T>)
        AddRows<T, 3>(first, pitch, count, samples, lanes);
    else
        PlainRows<T>(first, pitch, count, samples, lanes, laneCount);
}

template <class T>
void NarrowFold(const std::uint32_t* lanes, std::int64_t laneCount, std::uint32_t* sums,
                std::int64_t period) noexcept
{
    if (laneCount != samplesOf<T> && laneCount != 3 * samplesOf<T>)
        return PlainFold<T>(lanes, laneCount, sums, period);
    if (period == 1) {
        for (std::int64_t lane = 0; lane < laneCount; ++lane)
            sums[0] += lanes[lane];
        return;
    }
    for (std::int64_t lane = 0; lane < laneCount; ++lane) {
        const std::int64_t inVector = lane % samplesOf<T>;
        const std::int64_t sample =
            inVector % samplesOf<std::uint32_t> * samplesPerLane<T> + inVector / samplesOf<std::uint32_t>;
        sums[(lane - inVector + sample) % period] += lanes[lane];
    }
}

template <class T>
constexpr SumRows<T> narrowRows{&NarrowLaneCount<T>, &NarrowRows<T>, &NarrowFold<T>};

#endif

const SumKernels& Kernels()
{
    static constexpr auto kernels = perType<SumRows>([]<class T>(std::type_identity<T>) {
        if constexpr (std::is_integral_v<T> && sizeof(T) <= 2)
            return narrowRows<T>;
        else
            return plainRows<T>;
    });
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
const SumKernels& sumKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
