// Row kernels of the conversions to unsigned samples.
#pragma once

#include "base/kernel_tables.h"

#include <cstdint>

namespace ko {

/// What maps the samples of a row: sample i becomes (sample - low[i % period]) * scale[i % period]. `Low`
/// says how the difference is formed: in its own floating-point type, or in 32-bit integers that wrap.
///
/// Rows are fastest where the period is a multiple of 64; one value may be repeated to get there.
template <class Low, class Scale>
struct Ramp {
    const Low* low;
    const Scale* scale;
    std::int64_t period;
    bool isUniform = false;  ///< the period repeats one value
};

using DoubleRamp = Ramp<double, double>;
using SingleRamp = Ramp<float, float>;
using IntegerRamp = Ramp<std::int32_t, double>;

/// Cuts the ramp to 0...top, NaN to 0, and truncates. `top` is whole and fits the destination.
template <class AnyRamp>
using ClampedRow = void (*)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                            const AnyRamp& ramp, double top) noexcept;
/// Truncates the ramp to 64 bits (-2^63 for what does not fit) and stores the low bits.
template <class AnyRamp>
using WrappedRow = void (*)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples,
                            const AnyRamp& ramp) noexcept;

/// Rows that clamp and may be asked for any of the three destination types. Floats are widened to double
/// before they are mapped, or mapped in single precision.
struct ClampedRows {
    ClampedRow<DoubleRamp> f64;
    ClampedRow<DoubleRamp> f32;
    ClampedRow<SingleRamp> single;
};

struct WrappedRows {
    WrappedRow<DoubleRamp> f64;
    WrappedRow<DoubleRamp> f32;
};

struct ConvertKernels {
    PerUnsigned<ClampedRows> clamped;
    PerUnsigned<WrappedRows> wrapped;
    PerDepth<WrappedRow<IntegerRamp>> integers;
    /// Floats to bytes in single precision.
    WrappedRow<SingleRamp> display;
    /// The same for pixels of three samples, which are stored in reverse order; `samples` counts all three.
    WrappedRow<SingleRamp> displayReversed;
};

/// The kernels of the running processor.
const ConvertKernels& convertKernels();

}  // namespace ko
