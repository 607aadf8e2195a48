#include "pixel/logic_kernels.h"

#include "core/image_view.h"
#include "core/kernel_loops.h"

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
void LogicRowOf(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width,
                const std::uint8_t* value) noexcept
{
    const T set = loadSample<T>(value, 0);
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t x = 0; x < width; ++x) {
        const bool holds = Holds{}(loadSample<T>(src, x) != T{0}, loadSample<T>(dst, x) != T{0});
        storeSample(dst, x, holds ? set : T{0});
    }
}

template <class T>
void PassOneRowOf(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width) noexcept
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t x = 0; x < width; ++x) {
        const T s = loadSample<T>(src, x), d = loadSample<T>(dst, x);
        const T passed = s != T{0} ? s : d;
        storeSample(dst, x, (s != T{0}) != (d != T{0}) ? passed : T{0});
    }
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
        {&LogicRowOf<std::uint8_t, One>, &LogicRowOf<std::uint16_t, One>, &LogicRowOf<std::uint32_t, One>,
         &LogicRowOf<std::uint64_t, One>, &LogicRowOf<float, One>, &LogicRowOf<double, One>},
        {&PassOneRowOf<std::uint8_t>, &PassOneRowOf<std::uint16_t>, &PassOneRowOf<std::uint32_t>,
         &PassOneRowOf<std::uint64_t>, &PassOneRowOf<float>, &PassOneRowOf<double>}};
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
