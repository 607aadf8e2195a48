// The letters of diagrams that are drawn in pixels.
#pragma once

#include <array>
#include <cstdint>

namespace ko::tool {

constexpr int glyphWidth = 5;
constexpr int glyphHeight = 9;
constexpr int glyphAscent = 7;  ///< rows above the baseline

/// The rows of a character from the top; bit 4 is the leftmost pixel. Characters that there is no glyph for
/// are a box.
using Glyph = std::array<std::uint8_t, glyphHeight>;
const Glyph& glyphOf(char character);

}  // namespace ko::tool
