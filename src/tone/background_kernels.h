// Row kernels of the background corrections.
#pragma once

#include <cstdint>
#include <type_traits>

namespace ko {

/// What becomes of sample i over the background sample b: trunc(min(top, (sample / b) * ratio * gain[i %
/// period])) in its low bits, a product that is NaN counting as the top.
///
/// Rows are fastest where the period is a multiple of 64; one value may be repeated to get there.
struct Correction {
    double ratio;
    double top;
    const double* gain;
    std::int64_t period;
    bool keep;  ///< a sample over a background of 0 stays what it is; false: it becomes 0
};

/// Contiguous samples. dst may be the memory of src.
using CorrectRow = void (*)(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst,
                            std::int64_t samples, const Correction& correction) noexcept;

struct ChannelSteps {
    std::int64_t src;
    std::int64_t background;
    std::int64_t dst;
};

/// One channel of interleaved pixels, by `gain[0]`; the steps count samples.
using CorrectChannel = void (*)(const std::uint8_t* src, const std::uint8_t* background, std::uint8_t* dst,
                                std::int64_t pixels, const ChannelSteps& steps,
                                const Correction& correction) noexcept;

struct CorrectRows {
    CorrectRow row;
    CorrectChannel channel;
};

struct BackgroundKernels {
    CorrectRows u8;
    CorrectRows u16;

    template <class T>
    constexpr const CorrectRows& of() const noexcept
    {
        return std::is_same_v<T, std::uint8_t> ? u8 : u16;
    }
};

/// The kernels of the running processor.
const BackgroundKernels& backgroundKernels();

}  // namespace ko
