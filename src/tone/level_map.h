// From a band of levels to what becomes of every sample.
#pragma once

#include "tone/contrast_kernels.h"
#include "tone/contrast_levels.h"
#include "tone/fill_channel.h"
#include "tone/level_quotient.h"
#include "tone/lookup_kernels.h"

#include <cstdint>
#include <optional>

namespace ko {

inline ContrastBand bandOf(const SxImageInfo& image, int low, int high) noexcept
{
    const double top = wrappedTop(image);
    const auto width =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(high) - static_cast<std::uint32_t>(low));
    return {low, high, top / width, top + 1.0};
}

/// The row kernel that spreads levels in doubles.
template <class T>
auto spreadingRow(Spreading spreading) noexcept
{
    const ContrastRows<T>& rows = contrastKernels().of<T>();
    return spreading == Spreading::Stretch ? rows.stretch : rows.compress;
}

/// What becomes of the samples of a row: of bytes by a table, of words by whole numbers or else in doubles.
template <class T>
class LevelMap;

template <>
class LevelMap<std::uint16_t> {
public:
    LevelMap(Spreading spreading, const ContrastBand& band) noexcept
        : m_row(spreadingRow<std::uint16_t>(spreading)),
          m_band(band),
          m_quotient(quotientOf(spreading, band)),
          m_quotients(m_quotient && m_quotient->fits16Bits ? contrastKernels().quotients16
                                                           : contrastKernels().quotients32)
    {
    }

    void operator()(const std::uint8_t* src, std::uint8_t* dst, std::int64_t samples) const noexcept
    {
        if (m_quotient)
            m_quotients(src, dst, samples, *m_quotient);
        else
            m_row(src, dst, samples, m_band);
    }

private:
    const decltype(ContrastRows<std::uint16_t>::stretch) m_row;
    const ContrastBand m_band;
    const std::optional<LevelQuotient> m_quotient;
    const QuotientRow m_quotients;
};

template <>
class LevelMap<std::uint8_t> {
public:
    LevelMap(Spreading spreading, const ContrastBand& band) noexcept
    {
        for (int level = 0; level < 256; ++level)
            m_table[level] = static_cast<std::uint8_t>(level);
        spreadingRow<std::uint8_t>(spreading)(m_table, m_table, 256, band);
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
                const Selection& selection, const LevelMap<T>& map)
{
    if (src.first == nullptr)
        return;
    const auto gatherRow = contrastKernels().of<T>().gather;
    fillChannel<T>(dst, selection,
                   [&](std::int64_t x, std::int64_t y, std::int64_t count, std::uint8_t* out) {
                       if (src.step == 1) {
                           map(src.at<T>(x, y), out, count);
                           return;
                       }
                       gatherRow(src.at<T>(x, y), src.step, count, out);
                       map(out, out, count);
                   });
}

}  // namespace ko
