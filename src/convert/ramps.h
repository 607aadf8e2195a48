// The values of a ramp in the order of the samples of a row.
#pragma once

#include "convert/convert_kernels.h"

#include <cstddef>
#include <numeric>
#include <vector>

namespace ko {

/// Lowest values and scales of `count` channels, repeated until whole vectors of a kernel fit.
template <class Low, class Scale>
class RampValues {
public:
    RampValues(const Low* low, const Scale* scale, std::size_t count)
        : m_low(period(count)), m_scale(period(count))
    {
        for (std::size_t i = 0; i < m_low.size(); ++i) {
            m_low[i] = low[i % count];
            m_scale[i] = scale[i % count];
        }
    }

    Ramp<Low, Scale> ramp() const noexcept
    {
        return {m_low.data(), m_scale.data(), static_cast<std::int64_t>(m_low.size())};
    }

private:
    static std::size_t period(std::size_t count)
    {
        constexpr std::size_t vectors = 64;
        return count > vectors ? count : std::lcm(count, vectors);
    }

    std::vector<Low> m_low;
    std::vector<Scale> m_scale;
};

}  // namespace ko
