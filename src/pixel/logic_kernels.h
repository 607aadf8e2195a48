// Row kernels of And, Or and Xor.
#pragma once

#include "base/kernel_tables.h"

#include <cstdint>

namespace ko {

/// One row: `width` samples of src combined into those of dst, which may be the same memory. `value` is one
/// sample.
using LogicRow = void (*)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width,
                          const std::uint8_t* value) noexcept;

/// The same, the set samples keeping their own values.
using LogicPassRow = void (*)(const std::uint8_t* src, std::uint8_t* dst, std::int64_t width) noexcept;

struct LogicKernels {
    PerIntegerSize<LogicRow> both;
    PerIntegerSize<LogicRow> any;
    PerSize<LogicRow> one;
    PerSize<LogicPassRow> passOne;
};

/// The kernels of the running processor.
const LogicKernels& logicKernels();

}  // namespace ko
