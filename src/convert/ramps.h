// The values of a ramp in the order of the samples of a row.
#pragma once

#include "base/repeat.h"
#include "base/rows.h"
#include "convert/convert_kernels.h"

#include <cstddef>
#include <vector>

namespace ko {

/// Of rows whose samples are mapped from one range to another.
inline RowWork mappingWork(const SxImageInfo& src, const SxImageInfo& dst) noexcept
{
    return workOn(src, dst).times(2);
}

/// Lowest values and scales of `count` channels, repeated for whole vectors.
template <class Low, class Scale>
class RampValues {
public:
    RampValues(const Low* low, const Scale* scale, std::size_t count)
        : m_low(repeated<Low>({low, count})),
          m_scale(repeated<Scale>({scale, count})),
          m_isUniform(count == 1)
    {
    }

    Ramp<Low, Scale> ramp() const noexcept
    {
        return {m_low.data(), m_scale.data(), static_cast<std::int64_t>(m_low.size()), m_isUniform};
    }

private:
    std::vector<Low> m_low;
    std::vector<Scale> m_scale;
    bool m_isUniform;
};

}  // namespace ko
