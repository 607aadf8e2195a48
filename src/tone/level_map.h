// From a band of levels to what becomes of every sample.
#pragma once

#include "tone/channel_blocks.h"
#include "tone/contrast_kernels.h"
#include "tone/contrast_levels.h"
#include "tone/lookup_kernels.h"

#include <cstdint>

namespace ko {

/// Bytes take the low 8 bits of the levels.
template <class T>
ContrastBand bandOf(const SxImageInfo& image, int low, int high) noexcept
{
    if constexpr (sizeof(T) == 1) {
        low = static_cast<std::uint8_t>(low);
        high = static_cast<std::uint8_t>(high);
    }
    const double top = topOf(image);
    const auto width =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(high) - static_cast<std::uint32_t>(low));
    return {low, high, top / width, top + 1.0};
}

/// What becomes of the samples of a row: of bytes by a table, of wider samples by a kernel.
template <class T>
class LevelMap {
public:
    using Row = decltype(ContrastRows<T>::stretch);

    LevelMap(Row row, const ContrastBand& band) noexcept : m_row(row), m_band(band) {}

    void operator()(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples) const noexcept
    {
        m_row(src, dst, samples, m_band);
    }

private:
    const Row m_row;
    const ContrastBand m_band;
};

template <>
class LevelMap<std::uint8_t> {
public:
    LevelMap(decltype(ContrastRows<std::uint8_t>::stretch) row, const ContrastBand& band) noexcept
    {
        for (int level = 0; level < 256; ++level)
            m_table[level] = static_cast<std::uint8_t>(level);
        row(m_table, m_table, 256, band);
    }

    void operator()(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples) const noexcept
    {
        m_lookUp(src, dst, samples, m_table);
    }

private:
    const LookUpRow<std::uint8_t> m_lookUp = lookUpKernels().of<std::uint8_t>().row;
    std::uint8_t m_table[256];
};

/// Maps a channel into one of another image or of the same.
template <class T>
void mapChannel(const ChannelSamples<const std::uint8_t>& src, const ChannelSamples<std::uint8_t>& dst,
                const SelectedPixels& pixels, const LevelMap<T>& map)
{
    if (src.first == nullptr)
        return;
    fillChannel<T>(dst, pixels, [&](std::int64_t x, std::int64_t y, std::int64_t count, std::uint8_t* out) {
        if (src.step == 1) {
            map(src.at<T>(x, y), out, count);
            return;
        }
        gather<T>(src.at<T>(x, y), src.step, count, out);
        map(out, out, count);
    });
}

}  // namespace ko
