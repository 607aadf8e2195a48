#include "pixel/logic_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixel/logic_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

struct Both {
    bool operator()(bool s, bool d) const noexcept { return s & d; }
};
struct Any {
    bool operator()(bool s, bool d) const noexcept { return s | d; }
};
struct One {
    bool operator()(bool s, bool d) const noexcept { return s != d; }
};

template <class T, class Holds>
struct Choose {
    T set;

    T operator()(T s, T d) const noexcept { return Holds{}(s != T{0}, d != T{0}) ? set : T{0}; }
};

template <class T>
struct PassOne {
    T operator()(T s, T d) const noexcept
    {
        const T passed = s != T{0} ? s : d;
        return One{}(s != T{0}, d != T{0}) ? passed : T{0};
    }
};

template <class T, class Combine>
void CombineSamples(const std::uint8_t* src, std::uint8_t* dst, std::int64_t count, Combine combine) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t x = 0; x < count; ++x)
        storeSample(dst, x, combine(loadSample<T>(src, x), loadSample<T>(dst, x)));
}

/// Kept out of line: rows of small images would wait for the registers that it saves.
template <class T, class Combine>
HWY_NOINLINE void CombineFetching(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width,
                                  Combine combine) noexcept
{
    for (std::int64_t first = 0; first < width; first += samplesPerFetch) {
        const std::int64_t count = std::min(samplesPerFetch, width - first),
                           bytes = first * std::int64_t{sizeof(T)};
        fetchAhead<T, false>(src + bytes, count);
        fetchAhead<T, true>(dst + bytes, count);
        CombineSamples<T>(src + bytes, dst + bytes, count, combine);
    }
}

template <class T, class Combine>
void CombineRow(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width, Combine combine) noexcept
{
    if (fetchingPays.load(std::memory_order_relaxed))
        CombineFetching<T>(src, dst, width, combine);
    else
        CombineSamples<T>(src, dst, width, combine);
}

template <class T, class Holds>
void LogicRowOf(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width,
                const std::uint8_t* value) noexcept
{
    CombineRow<T>(src, dst, width, Choose<T, Holds>{loadSample<T>(value, 0)});
}

template <class T>
void PassOneRowOf(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width) noexcept
{
    CombineRow<T>(src, dst, width, PassOne<T>{});
}

template <class Holds>
constexpr PerIntegerSize<LogicRow> OfIntegers()
{
    return {&LogicRowOf<std::uint8_t, Holds>, &LogicRowOf<std::uint16_t, Holds>,
            &LogicRowOf<std::uint32_t, Holds>, &LogicRowOf<std::uint64_t, Holds>};
}

const LogicKernels& Kernels()
{
    static constexpr LogicKernels kernels{
        OfIntegers<Both>(),
        OfIntegers<Any>(),
        {OfIntegers<One>(), &LogicRowOf<float, One>, &LogicRowOf<double, One>},
        perSize<LogicPassRow>([]<class T>(std::type_identity<T>) { return &PassOneRowOf<T>; })};
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
const LogicKernels& logicKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
