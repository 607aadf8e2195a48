// Which input positions make up each output position of one pass of Stretch.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ko {

/// A share of one input position, in 1/65536. Shares above 32767 are split, so that each fits a signed 16-bit
/// factor.
struct StretchTap {
    std::int32_t index;
    std::int32_t weight;
};

/// Two input positions that an output position lies between, by the places of their taps.
struct StretchTwo {
    std::size_t nearer, farther;
    /// What the farther one weighs, 0...32768, with a minus sign. It is 0 only where both are the same.
    std::int16_t minusShare;
};

/// Taps as two input positions; nothing where they name more.
std::optional<StretchTwo> twoOf(std::span<const StretchTap> taps) noexcept;

/// The taps of every output position of one pass. The number of taps of a position is even, their weights sum
/// to 65536, the first one weighs something, and their indices lie inside the input.
class StretchTable {
public:
    StretchTable(std::int64_t inputs, std::int64_t outputs);

    std::span<const StretchTap> taps(std::int64_t output) const noexcept
    {
        const auto at = static_cast<std::size_t>(output);
        return {m_taps.data() + m_first[at], m_first[at + 1] - m_first[at]};
    }
    std::int64_t outputs() const noexcept { return static_cast<std::int64_t>(m_first.size()) - 1; }
    /// Most taps of any output position.
    std::int64_t mostTaps() const noexcept { return m_mostTaps; }
    /// Inputs that must be kept at once by a pass that goes through inputs and outputs in ascending order.
    std::int64_t inputsKept() const noexcept { return m_inputsKept; }

private:
    void addTap(std::int64_t index, std::uint32_t weight);
    void endOutput();

    std::vector<StretchTap> m_taps;
    std::vector<std::size_t> m_first{0};
    std::int64_t m_mostTaps = 0;
    std::int64_t m_inputsKept = 0;
    std::int64_t m_inputsSeen = 0;
};

}  // namespace ko
