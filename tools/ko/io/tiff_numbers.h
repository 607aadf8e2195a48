// Numbers as TIFF files hold them.
#pragma once

#include <cstdint>

namespace ko::tool {

/// The unsigned number of so many bytes.
std::uint64_t wholeAt(const std::uint8_t* bytes, int size, bool isLittle);

/// Bytes of a number or letter of a TIFF tag; 0 for types that no tag has which is read here.
int sizeOf(int type);

double numberAt(const std::uint8_t* bytes, int type, bool isLittle);

}  // namespace ko::tool
