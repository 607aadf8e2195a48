// Eight bytes of a mask at once: runs of equal bytes are common, and masks of noise defeat branches for single ones.
#pragma once

#include "base/image_view.h"

#include <cstdint>

namespace ko {

inline constexpr std::int64_t maskGroupSize = 8;

/// How many of the bytes in a group are not 0.
enum class MaskGroup { None, Some, All };

inline MaskGroup maskGroupAt(const std::uint8_t* mask) noexcept
{
    constexpr std::uint64_t ones = 0x0101010101010101U, tops = 0x8080808080808080U;
    const auto bytes = loadSample<std::uint64_t>(mask, 0);
    if (bytes == 0)
        return MaskGroup::None;
    // A byte borrows the top bit that it has not had only if it is 0 or stands above one that is.
    return ((bytes - ones) & ~bytes & tops) == 0 ? MaskGroup::All : MaskGroup::Some;
}

}  // namespace ko
