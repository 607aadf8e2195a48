#include "plugin/flat_field.h"

#include <algorithm>
#include <cstring>

namespace ko::gst {

namespace {

/// The colour of a place in a mosaic: 0 red, 1 green, 2 blue; for other images 0 everywhere.
int colourAt(ExBayerGrid grid, std::size_t x, std::size_t y)
{
    constexpr int colours[][4] = {{2, 1, 1, 0}, {0, 1, 1, 2}, {1, 2, 0, 1}, {1, 0, 2, 1}, {0, 0, 0, 0}};
    return colours[grid][x % 2 + 2 * (y % 2)];
}

template <class T>
void correctRow(std::uint8_t* row, std::size_t width, const std::uint16_t* dark, const float* gains,
                float top)
{
    for (std::size_t x = 0; x < width; ++x) {
        T sample;
        std::memcpy(&sample, row + x * sizeof(T), sizeof(T));
        const int light = dark == nullptr ? sample : std::max(sample - dark[x], 0);
        const float level =
            gains == nullptr ? static_cast<float>(light) : static_cast<float>(light) * gains[x] + 0.5F;
        sample = static_cast<T>(static_cast<int>(std::min(level, top)));
        std::memcpy(row + x * sizeof(T), &sample, sizeof(T));
    }
}

}  // namespace

FlatField::FlatField(const Graymap& flat, const Graymap& dark, ExBayerGrid grid) : m_dark(dark.samples)
{
    const auto width = static_cast<std::size_t>(flat.width);
    std::vector<int> light(flat.samples.begin(), flat.samples.end());
    double sums[3] = {}, counts[3] = {};
    for (std::size_t i = 0; i < light.size(); ++i) {
        if (!m_dark.empty())
            light[i] = std::max(light[i] - m_dark[i], 0);
        const int colour = colourAt(grid, i % width, i / width);
        sums[colour] += light[i];
        counts[colour] += 1;
    }
    m_gains.reserve(light.size());
    for (std::size_t i = 0; i < light.size(); ++i) {
        const int colour = colourAt(grid, i % width, i / width);
        m_gains.push_back(light[i] == 0 ? 0.0F
                                        : static_cast<float>(sums[colour] / counts[colour] / light[i]));
    }
}

void FlatField::correct(SxImageBuf& frame) const
{
    const auto width = static_cast<std::size_t>(frame.width);
    const auto top = static_cast<float>((1 << frame.bitsPerSample) - 1);
    for (int y = 0; y < frame.height; ++y) {
        const std::size_t first = static_cast<std::size_t>(y) * width;
        std::uint8_t* const row = frame.data + static_cast<std::int64_t>(y) * frame.stride;
        const std::uint16_t* const dark = m_dark.empty() ? nullptr : m_dark.data() + first;
        const float* const gains = m_gains.empty() ? nullptr : m_gains.data() + first;
        if (frame.dataType == UInt8)
            correctRow<std::uint8_t>(row, width, dark, gains, top);
        else
            correctRow<std::uint16_t>(row, width, dark, gains, top);
    }
}

}  // namespace ko::gst
