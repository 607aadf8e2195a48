// What tests of mosaics have in common.
#pragma once

#include <ko/image.h>

namespace ko::test {

inline constexpr ExBayerGrid grids[] = {BayerBGGR, BayerRGGB, BayerGBRG, BayerGRBG};

/// A code that may be none of them.
constexpr ExBayerGrid gridCode(int code)
{
    return static_cast<ExBayerGrid>(code);
}

}  // namespace ko::test
