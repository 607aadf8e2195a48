// What headers claim of the files that they stand in.
#pragma once

#include "io/source.h"

#include <cstdint>
#include <string>

namespace ko::tool {

/// Bytes that a header claims, and how many of them one byte of the file holds at best.
struct Claim {
    double bytes;
    double ratio = 1;
};

// A byte of deflated data makes 1032 bytes at best; what else a codec does is left some room.
constexpr double deflateRatio = 1100;
constexpr double anyRatio = 1 << 15;  ///< of codecs that make runs of any length from a few bytes

/// What keeps a file from holding what its header claims, to follow its name and "is"; empty where nothing
/// does. A damaged header may claim any size: this is asked before memory is.
std::string shortfallOf(const Source& source, const Claim& claim);

/// Throws `Failure` where there is a shortfall.
void requireRoom(const Source& source, const Claim& claim);

}  // namespace ko::tool
