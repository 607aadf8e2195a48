#include "live/figures.h"

#include "io/bayer.h"

#include <algorithm>

namespace ko::tool {
namespace {

/// More than this between two colours is no light that a camera is used in.
constexpr double greatestGain = 16;

template <class T>
const T* rowOf(const SxImageBuf& frame, int y)
{
    return reinterpret_cast<const T*>(frame.data + std::int64_t{y} * frame.stride);
}

/// Counts the samples `from`, `from + step` ... of a row.
template <class T>
void count(const T* from, int samples, int step, int bits, ColourFigures& figures)
{
    const int shift = std::max(0, bits - 8);
    const std::uint32_t top = (1U << bits) - 1;
    // Two tables, as adding to one number twice in a row waits for the memory.
    std::array<std::array<std::uint32_t, ColourFigures::bins>, 2> counts{};
    std::uint64_t sum = 0;
    std::uint32_t clipped = 0;
    for (int i = 0; i < samples; ++i, from += step) {
        const std::uint32_t level = *from;
        ++counts[i & 1][std::min<std::uint32_t>(level >> shift, ColourFigures::bins - 1)];
        clipped += level >= top;
        sum += level >= top ? 0 : level;
    }
    for (std::size_t i = 0; i < ColourFigures::bins; ++i)
        figures.histogram[i] += counts[0][i] + counts[1][i];
    figures.samples += static_cast<std::uint64_t>(samples);
    figures.clipped += clipped;
    figures.sum += sum;
}

/// Sum of the squared differences of samples that lie `distance` apart.
template <class T>
std::uint64_t squaresOf(const T* row, int samples, int distance)
{
    std::uint64_t sum = 0;
    for (int i = distance; i < samples; ++i) {
        const std::int64_t difference = std::int64_t{row[i]} - row[i - distance];
        sum += static_cast<std::uint64_t>(difference * difference);
    }
    return sum;
}

template <class T>
void measure(const SxImageBuf& frame, Figures& figures)
{
    const bool isMosaic = frame.bayerGrid != BayerNone;
    const int samples = frame.width * frame.channels;
    const int bits = std::clamp(frame.bitsPerSample, 1, 16);
    double squares = 0;
    for (int y = 0; y < frame.height; ++y) {
        const T* const row = rowOf<T>(frame, y);
        for (int i = 0; isMosaic && i < 2; ++i)
            count(row + i, (frame.width + 1 - i) / 2, 2, bits,
                  figures.of[static_cast<std::size_t>(colourAt(frame.bayerGrid, i, y))]);
        for (int i = 0; !isMosaic && i < figures.colours; ++i)
            count(row + i, frame.width, frame.channels, bits, figures.of[static_cast<std::size_t>(i)]);
        squares += static_cast<double>(squaresOf(row, samples, 2 * frame.channels));
    }
    double sum = 0;
    double counted = 0;
    for (const ColourFigures& colour : figures.of) {
        sum += static_cast<double>(colour.sum) +
               static_cast<double>(colour.clipped) * static_cast<double>((1U << bits) - 1);
        counted += static_cast<double>(colour.samples);
    }
    if (sum > 0)
        figures.focus = 1000 * squares * counted / (sum * sum);
}

}  // namespace

Figures figuresOf(const SxImageBuf& frame)
{
    Figures figures;
    figures.format = frame;
    figures.colours = frame.bayerGrid != BayerNone || frame.channels >= 3 ? 3 : 1;
    if (frame.dataType == UInt8)
        measure<std::uint8_t>(frame, figures);
    else
        measure<std::uint16_t>(frame, figures);
    return figures;
}

std::array<double, 3> grayWorldGains(const Figures& figures)
{
    std::array<double, 3> means{};
    for (std::size_t i = 0; i < means.size(); ++i)
        if (const std::uint64_t counted = figures.of[i].samples - figures.of[i].clipped)
            means[i] = static_cast<double>(figures.of[i].sum) / static_cast<double>(counted);
    std::array<double, 3> gains{1, 1, 1};
    if (std::ranges::min(means) > 0)
        for (std::size_t i = 0; i < gains.size(); ++i)
            gains[i] = std::clamp(means[1] / means[i], 1 / greatestGain, greatestGain);
    return gains;
}

}  // namespace ko::tool
