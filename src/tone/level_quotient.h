// Bands of levels in whole numbers: what the doubles that define the results give, at a third of their cost.
#pragma once

#include "tone/contrast_kernels.h"

#include <optional>

namespace ko {

enum class Spreading {
    Stretch,   ///< distance * scale
    Compress,  ///< distance / scale
};

/// Nothing for bands that reach beyond the range of levels, and for the few whose results whole numbers
/// cannot tell.
std::optional<LevelQuotient> quotientOf(Spreading spreading, const ContrastBand& band) noexcept;

}  // namespace ko
