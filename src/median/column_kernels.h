// Kernels of the median by histograms of columns: what a row of samples changes in them, and the medians of a
// row of windows.
//
// The histograms count codes, which have the order of the samples. A code has a high and a low digit, each
// below the number of bins. Counts are running sums: that of bin i holds the samples of the bins before it as
// well. So a sample that comes or goes changes the counts of its bin and of all behind it, by one vector that
// is known beforehand, and the bin of a rank is found by counting the bins below that rank.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ko {

/// Bytes are their own codes; codes of 12 bits stand for deeper samples.
template <class Sample>
inline constexpr bool medianIsCoded = sizeof(Sample) > 1;

/// Bins of a digit.
template <class Code>
inline constexpr std::int64_t medianBins = medianIsCoded<Code> ? 64 : 16;

/// The number type of sums over the columns of a window. `Count` is that of the samples of one column: bytes
/// where a window has up to 127 rows, so that differences of two counts are bytes, too.
template <class Count>
struct MedianSum {
    using Type = std::int16_t;
};
template <>
struct MedianSum<std::uint16_t> {
    using Type = std::uint32_t;
};
template <class Count>
using MedianSumOf = typename MedianSum<Count>::Type;

/// Histograms of the columns of a block. Slots are columns; the first one stays empty and stands for the
/// column before the first window. A block's column i has the slot i + 1.
template <class Code, class Count>
struct MedianHistograms {
    Count* high;         ///< for each slot, the samples with a high digit below that of the bin
    Count* low;          ///< for each high digit and slot, those of that digit with a low one up to the bin
    std::int64_t slots;  ///< from one high digit to the next
};

/// For each high digit, the counts of the low ones in the window of the pixel that asked for them last. One
/// more digit stands for none.
template <class Code, class Count>
struct MedianLowSums {
    alignas(64) std::array<std::array<MedianSumOf<Count>, medianBins<Code>>, medianBins<Code> + 1> sums;
    std::array<std::int64_t, medianBins<Code> + 1> pixels;
};

template <class Code, class Count>
struct MedianWindowRow {
    MedianHistograms<Code, Count> histograms;
    std::int64_t pixels;
    std::int64_t window;                ///< columns
    const MedianSumOf<Count>* wanted;   ///< the rank (from 1) of the median in the window of each pixel
    MedianLowSums<Code, Count>* known;  ///< scratch memory
    Code* medians;
    MedianSumOf<Count>* ranks;  ///< the rank of the median among the samples of its code; null: not asked for
};

template <class Code, class Count>
struct MedianColumnKernels {
    /// Changes the counts of `samples` slots from `slot` on by one sample each. Those of a row are `step`
    /// codes apart.
    using Change = void (*)(const Code* entering, const Code* leaving, std::int64_t step,
                            std::int64_t samples, std::int64_t slot,
                            const MedianHistograms<Code, Count>& histograms) noexcept;
    Change add;     ///< looks at nothing that leaves
    Change remove;  ///< looks at nothing that enters
    Change replace;

    /// The codes of the medians of a row.
    void (*find)(const MedianWindowRow<Code, Count>& row) noexcept;
};

/// The kernels of the running processor.
template <class Code, class Count>
const MedianColumnKernels<Code, Count>& medianColumnKernels();

}  // namespace ko
