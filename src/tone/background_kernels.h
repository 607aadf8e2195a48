// Row kernels of the background corrections.
#pragma once

#include "base/kernel_tables.h"
#include "base/repeat.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace ko {

/// Samples of a row after which the gains repeat: whole pixels of one, three or four channels, and long
/// enough for a block.
inline constexpr int correctionPeriod = 4 * static_cast<int>(repeatPeriod(3));

/// One gain for quotients of bytes: factor / parts, neither above 255.
struct ByteQuotients {
    std::uint16_t factor;
    std::uint16_t parts;
    /// Of background samples from 1 on, the low and the high bytes of 256 times their factor, without a fraction and at
    /// most 65535.
    std::uint8_t inverse[2][256];
};

/// What becomes of sample i over the background sample b: trunc(min(top, (sample / b) * ratio * gain[i %
/// correctionPeriod])) in its low bits, a product that is NaN counting as the top.
struct Correction {
    double ratio;
    double top;
    bool keep;  ///< a sample over a background of 0 stays what it is; false: it becomes 0
    const double* gain = nullptr;
    const float* scale = nullptr;  ///< ratio * gain[i]; null unless `singleServes` for all of them
    bool isExact = false;          ///< `exactServes` for all of them
    int highestShort = -1;         ///< as `highestShortSample` says
    const ByteQuotients* quotients = nullptr;  ///< null unless `isExact` with one gain for all
    const std::uint8_t* treated =
        nullptr;  ///< 0 for samples to leave alone, else 255; null: none are left alone
};

/// Whether single precision comes close enough to tell the result of almost all samples: the type holds the
/// top, and no product leaves the range in which its relative error is that of three roundings.
template <class T>
bool singleServes(const Correction& correction, double gain) noexcept
{
    constexpr double small = 0x1p-60, large = 0x1p60;
    const auto within = [](double value) { return value >= small && value <= large; };
    return within(correction.ratio) && (gain == 0 || within(correction.ratio * gain)) &&
           correction.top >= 0 && correction.top <= std::numeric_limits<T>::max();
}

/// Whether the whole parts of exact products are the results, where single precision comes close enough: nothing
/// but one gain is multiplied with, and it is a multiple of 1/2 that floats hold with the products they need.
///
/// A product that is not whole lies at least 2^-17 from the next whole number, far more than the roundings of
/// doubles move it. A whole one, n, is n / gain * gain whatever the sample and the background, and must not
/// be rounded down.
inline bool exactServes(const Correction& correction, double gain) noexcept
{
    if (correction.ratio != 1 || !(gain >= 0.5 && gain <= 65536) || 2 * gain != std::trunc(2 * gain))
        return false;
    const auto top = static_cast<int>(correction.top);
    int missed = 0;
    for (int n = 1; n <= top; ++n)
        missed += n / gain * gain < n ? 1 : 0;
    return missed == 0;
}

/// The highest words that a shorter way serves, which wants exact products, multiples of 1/2, in floats, and a
/// guess of the reciprocal to be close enough; -1 where nothing is served.
inline int highestShortSample(const Correction& correction, double gain) noexcept
{
    constexpr double mostTop = 4096;
    const double mostProduct = gain == std::trunc(gain) ? 0xFFFFFF : 0x7FFFFF;
    return correction.top <= mostTop ? static_cast<int>(mostProduct / gain) : -1;
}

/// Contiguous samples. dst may be the memory of src or of the background.
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

using BackgroundKernels = PerDepth<CorrectRows>;

/// The kernels of the running processor.
const BackgroundKernels& backgroundKernels();

}  // namespace ko
