// Row kernels of UnpackSamples and PackSamples.
#pragma once

#include "raw/packed_layout.h"

#include <cstdint>

namespace ko {

/// Samples are words of 2 bytes at any address. No output overlaps an input.
struct PackedKernels {
    /// `width` samples from a row of `rowBytes` packed bytes, of which none behind is read.
    void (*unpack)(const std::uint8_t* packed, std::int64_t rowBytes, std::uint8_t* samples,
                   std::int64_t width, const UnpackTable& table) noexcept;
    /// A row of `rowBytes` packed bytes, behind which nothing is written, from `width` samples limited to
    /// `top`.
    void (*pack)(const std::uint8_t* samples, std::int64_t width, std::uint8_t* packed, std::int64_t rowBytes,
                 const PackTable& table, std::uint16_t top) noexcept;
    /// Samples limited to `top` with their bytes swapped.
    void (*swapBytes)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width,
                      std::uint16_t top) noexcept;
    void (*shiftDown)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width, int bits) noexcept;
    /// Samples limited to `top`, shifted left.
    void (*shiftUp)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width, int bits,
                    std::uint16_t top) noexcept;
};

/// The kernels of the running processor.
const PackedKernels& packedKernels();

}  // namespace ko
