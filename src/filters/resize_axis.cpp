#include "filters/resize_axis.h"

#include <algorithm>
#include <numeric>

namespace ko {

namespace {

/// With a sample `wanted` long, a result is `length` long.
ResizeTaps covered(std::int64_t result, std::int64_t length, std::int64_t wanted) noexcept
{
    const std::int64_t begin = result * length, end = begin + length;
    const std::int64_t first = begin / wanted, last = (end - 1) / wanted;
    return {first, last - first + 1, std::min(end, (first + 1) * wanted) - begin,
            end - std::max(begin, last * wanted)};
}

}  // namespace

ResizeAxis::ResizeAxis(std::int64_t length, std::int64_t wanted) noexcept
    : m_samples(length),
      m_length(length / std::gcd(length, wanted)),
      m_wanted(wanted / std::gcd(length, wanted))
{
}

ResizeTaps ResizeAxis::taps(std::int64_t result) const noexcept
{
    if (shrinks())
        return covered(result, m_length, m_wanted);
    // From the centre of the first sample to that of the result, with a sample `step` long.
    const std::int64_t step = 2 * m_wanted;
    const std::int64_t centre = (2 * result + 1) * m_length - m_wanted;
    if (centre < 0)
        return {0, 1, step, 0};
    const std::int64_t first = centre / step, part = centre % step;
    if (part == 0 || first == m_samples - 1)
        return {first, 1, step, 0};
    return {first, 2, step - part, part};
}

}  // namespace ko
