#include "stats/gray_kernels.h"

#include "base/image_view.h"
#include "base/kernel_loops.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stats/gray_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

template <class T>
HWY_INLINE void MeanOfThreeSteps(const std::uint8_t* const (&rows)[3], std::int64_t step, std::int64_t count,
                                 std::uint8_t* out) noexcept
{
    const std::uint8_t *first = rows[0], *second = rows[1], *third = rows[2];
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t x = 0; x < count; ++x) {
        const std::uint32_t sum = std::uint32_t{loadSample<T>(first, x * step)} +
                                  loadSample<T>(second, x * step) + loadSample<T>(third, x * step);
        storeSample<T>(out, x, static_cast<T>(sum / 3));
    }
}

template <class T>
void MeanOfThree(const std::uint8_t* const (&rows)[3], std::int64_t step, std::int64_t count,
                 std::uint8_t* out) noexcept
{
    // Known steps give the compiler loads that it can vectorise.
    if (step == 1)
        MeanOfThreeSteps<T>(rows, 1, count, out);
    else if (step == 3)
        MeanOfThreeSteps<T>(rows, 3, count, out);
    else
        MeanOfThreeSteps<T>(rows, step, count, out);
}

template <class T>
void MeanOfFour(const std::uint8_t* const (&rows)[4], std::int64_t count, std::uint8_t* out) noexcept
{
    const std::uint8_t *first = rows[0], *second = rows[1], *third = rows[2], *fourth = rows[3];
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t x = 0; x < count; ++x) {
        const std::uint32_t sum = std::uint32_t{loadSample<T>(first, x)} + loadSample<T>(second, x) +
                                  loadSample<T>(third, x) + loadSample<T>(fourth, x);
        storeSample<T>(out, x, static_cast<T>(sum >> 2));
    }
}

/// Without a branch on any sample, of which the compiler would make no vectors.
template <class T>
HWY_INLINE void MeanOfSelectedSteps(const std::uint8_t* const (&rows)[3], std::int64_t step,
                                    const std::uint8_t* const (&masks)[3], std::int64_t count,
                                    std::uint8_t* out, std::uint8_t* any) noexcept
{
    const std::uint8_t *first = rows[0], *second = rows[1], *third = rows[2];
    const std::uint8_t *firstMask = masks[0], *secondMask = masks[1], *thirdMask = masks[2];
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t x = 0; x < count; ++x) {
        const std::uint32_t a = loadSample<T>(first, x * step), b = loadSample<T>(second, x * step),
                            c = loadSample<T>(third, x * step);
        const bool isA = firstMask[x] != 0, isB = secondMask[x] != 0, isC = thirdMask[x] != 0;
        const std::uint32_t sum = (isA ? a : 0U) + (isB ? b : 0U) + (isC ? c : 0U);
        const std::uint32_t selected = std::uint32_t{isA} + isB + isC;
        any[x] = static_cast<std::uint8_t>(selected);
        storeSample<T>(out, x, static_cast<T>(selected == 3 ? sum / 3 : selected == 2 ? sum / 2 : sum));
    }
}

template <class T>
void MeanOfSelected(const std::uint8_t* const (&rows)[3], std::int64_t step,
                    const std::uint8_t* const (&masks)[3], std::int64_t count, std::uint8_t* out,
                    std::uint8_t* any) noexcept
{
    if (step == 1)
        MeanOfSelectedSteps<T>(rows, 1, masks, count, out, any);
    else if (step == 3)
        MeanOfSelectedSteps<T>(rows, 3, masks, count, out, any);
    else
        MeanOfSelectedSteps<T>(rows, step, masks, count, out, any);
}

template <class T>
constexpr GrayRows rowsOf{&MeanOfThree<T>, &MeanOfFour<T>, &MeanOfSelected<T>};

const GrayKernels& Kernels()
{
    static constexpr GrayKernels kernels{rowsOf<std::uint8_t>, rowsOf<std::uint16_t>};
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
const GrayKernels& grayKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
