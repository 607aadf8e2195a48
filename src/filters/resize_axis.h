// One axis of Resize: which samples a result is made of, and by how much.
#pragma once

#include <cstdint>

namespace ko {

/// The neighbouring samples behind one result. Those between the first and the last weigh `ResizeAxis::inner()`.
struct ResizeTaps {
    std::int64_t first;        ///< index of the first sample
    std::int64_t count;        ///< 1 or more, all inside the axis
    std::int64_t firstWeight;  ///< the only one where count is 1
    std::int64_t lastWeight;
};

/// Weights are whole numbers whose sum is the same for every result. The ratio of the lengths is taken in its lowest
/// terms, so that they are small.
class ResizeAxis {
public:
    ResizeAxis(std::int64_t length, std::int64_t wanted) noexcept;

    bool shrinks() const noexcept { return m_wanted < m_length; }
    bool isHalving() const noexcept { return m_length == 2 && m_wanted == 1; }
    /// Weights of one result together.
    std::int64_t divisor() const noexcept { return shrinks() ? m_length : 2 * m_wanted; }
    /// Weight of a sample that one result covers whole.
    std::int64_t inner() const noexcept { return m_wanted; }
    /// In every result this many samples behind the first one weigh `inner()`.
    std::int64_t innerCount() const noexcept { return shrinks() ? m_length / m_wanted - 1 : 0; }
    /// So many further samples may be part of a result.
    std::int64_t endCount() const noexcept { return !shrinks() ? 1 : m_length % m_wanted == 0 ? 0 : 2; }

    ResizeTaps taps(std::int64_t result) const noexcept;

private:
    std::int64_t m_samples;
    std::int64_t m_length, m_wanted;  ///< without common factors
};

}  // namespace ko
