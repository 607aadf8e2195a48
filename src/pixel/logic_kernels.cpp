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

/// One row. Kept out of line: rows of small images would wait for the registers that it saves.
template <class T, class Combine>
HWY_NOINLINE void CombineFetching(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                                  Combine combine) noexcept
{
    for (std::int64_t first = 0; first < samples; first += samplesPerFetch) {
        const std::int64_t count = std::min(samplesPerFetch, samples - first),
                           bytes = first * std::int64_t{sizeof(T)};
        fetchAhead<T, false>(src + bytes, count);
        fetchAhead<T, true>(dst + bytes, count);
        CombineSamples<T>(src + bytes, dst + bytes, count, combine);
    }
}

template <class T, class Combine>
void CombineRows(const RowPairs& given, Combine combine) noexcept
{
    const RowPairs pairs = given;  // which the samples that are stored cannot change
    if (pairs.isWorthFetching()) {
        for (std::int64_t y = 0; y < pairs.rows; ++y)
            CombineFetching<T>(pairs.srcRow(y), pairs.dstRow(y), pairs.samples, combine);
        return;
    }
    for (std::int64_t y = 0; y < pairs.rows; ++y)
        CombineSamples<T>(pairs.srcRow(y), pairs.dstRow(y), pairs.samples, combine);
}

template <class T, class Holds>
void LogicRowsOf(const RowPairs& pairs, const std::uint8_t* value) noexcept
{
    CombineRows<T>(pairs, Choose<T, Holds>{loadSample<T>(value, 0)});
}

template <class T>
void PassOneRowsOf(const RowPairs& pairs) noexcept
{
    CombineRows<T>(pairs, PassOne<T>{});
}

template <class Holds>
constexpr PerIntegerSize<LogicRows> OfIntegers()
{
    return {&LogicRowsOf<std::uint8_t, Holds>, &LogicRowsOf<std::uint16_t, Holds>,
            &LogicRowsOf<std::uint32_t, Holds>, &LogicRowsOf<std::uint64_t, Holds>};
}

const LogicKernels& Kernels()
{
    static constexpr LogicKernels kernels{
        OfIntegers<Both>(),
        OfIntegers<Any>(),
        {OfIntegers<One>(), &LogicRowsOf<float, One>, &LogicRowsOf<double, One>},
        perSize<LogicPassRows>([]<class T>(std::type_identity<T>) { return &PassOneRowsOf<T>; })};
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
