// From a double to an integer, for every double.
//
// The language leaves a conversion undefined where the number does not fit; these give what x86 gives there,
// on every target.
#pragma once

#include <cstdint>
#include <limits>

namespace ko {

/// Truncates towards 0. NaN, infinities and what lies outside 32 bits give -2^31.
constexpr std::int32_t toInt32(double value) noexcept
{
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<std::int32_t>(value)
                                                         : std::numeric_limits<std::int32_t>::min();
}

/// Truncates towards 0. NaN, infinities and what lies outside 64 bits give -2^63.
constexpr std::int64_t toInt64(double value) noexcept
{
    return value >= -9223372036854775808.0 && value < 9223372036854775808.0
               ? static_cast<std::int64_t>(value)
               : std::numeric_limits<std::int64_t>::min();
}

}  // namespace ko
