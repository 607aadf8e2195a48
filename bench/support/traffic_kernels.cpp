#include "support/traffic_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "support/traffic_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko::bench {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Words = hn::CappedTag<std::uint64_t, 8>;
constexpr std::size_t lineWords = 8;
/// Far enough to have the line when it is needed, near enough for it still to be in the cache then.
constexpr std::uintptr_t aheadBytes = 64 * 64;

/// The address may lie behind the buffer, where no pointer may point.
template <int ForWriting>
void fetchAhead(const std::uint64_t* line)
{
    __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(line) + aheadBytes),
                       ForWriting);
}

std::uint64_t* words(std::uint8_t* bytes)
{
    return reinterpret_cast<std::uint64_t*>(bytes);
}

const std::uint64_t* words(const std::uint8_t* bytes)
{
    return reinterpret_cast<const std::uint64_t*>(bytes);
}

std::uint64_t Read(const std::uint8_t* from, std::size_t bytes)
{
    const Words d;
    auto sum = hn::Zero(d);
    const std::uint64_t* const in = words(from);
    for (std::size_t line = 0; line < bytes / 8; line += lineWords) {
        fetchAhead<0>(in + line);
        for (std::size_t i = line; i < line + lineWords; i += hn::Lanes(d))
            sum = hn::Xor(sum, hn::Load(d, in + i));
    }
    return hn::GetLane(hn::SumOfLanes(d, sum));
}

void Write(std::uint8_t* to, std::size_t bytes)
{
    const Words d;
    const auto value = hn::Set(d, std::uint64_t{0x0101010101010101});
    std::uint64_t* const out = words(to);
    for (std::size_t line = 0; line < bytes / 8; line += lineWords) {
        fetchAhead<1>(out + line);
        for (std::size_t i = line; i < line + lineWords; i += hn::Lanes(d))
            hn::Store(value, d, out + i);
    }
}

void Rewrite(std::uint8_t* memory, std::size_t bytes)
{
    const Words d;
    const auto one = hn::Set(d, std::uint64_t{1});
    std::uint64_t* const out = words(memory);
    for (std::size_t line = 0; line < bytes / 8; line += lineWords) {
        fetchAhead<1>(out + line);
        for (std::size_t i = line; i < line + lineWords; i += hn::Lanes(d))
            hn::Store(hn::Add(hn::Load(d, out + i), one), d, out + i);
    }
}

const TrafficKernels& Kernels()
{
    static constexpr TrafficKernels kernels{&Read, &Write, &Rewrite};
    return kernels;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko::bench
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ko::bench {

namespace {
HWY_EXPORT(Kernels);
}

const TrafficKernels& trafficKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}

}  // namespace ko::bench
#endif
