// Row kernels of the mask operations.
#pragma once

#include "base/kernel_tables.h"

#include <cstdint>

namespace ko {

/// Clears the pixels of `channels` samples whose mask byte is 0.
using ClearUnmaskedRow = void (*)(std::uint8_t* row, const std::uint8_t* mask, std::int64_t width,
                                  std::int64_t channels) noexcept;
/// Writes the sample at `value` where the mask byte is not 0.
using SetMaskedRow = void (*)(std::uint8_t* row, const std::uint8_t* mask, std::int64_t width,
                              const void* value) noexcept;
/// Sets the mask byte to 1 where the sample is not `value`; other mask bytes are left alone.
using MarkDifferentRow = void (*)(const std::uint8_t* row, std::uint8_t* mask, std::int64_t width,
                                  std::uint32_t value) noexcept;
/// Sets the mask byte of a mono pixel to 1 where the word of 16 bits at its first byte is not `value`, to 0
/// elsewhere. Behind 8-bit samples the word takes in the next pixel, the one behind the last included.
using MarkUnlikeRow = void (*)(const std::uint8_t* row, std::uint8_t* mask, std::int64_t width,
                               std::uint16_t value) noexcept;

struct MaskKernels {
    PerSize<ClearUnmaskedRow> clearUnmasked;
    PerSize<SetMaskedRow> setMasked;
    PerSize<MarkDifferentRow> markDifferent;
    PerIntegerSize<MarkUnlikeRow> markUnlike;
};

/// The kernels of the running processor.
const MaskKernels& maskKernels();

}  // namespace ko
