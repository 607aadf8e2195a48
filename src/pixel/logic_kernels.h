// Row kernels of And, Or and Xor.
#pragma once

#include "base/kernel_tables.h"
#include "base/row_pairs.h"

#include <cstdint>

namespace ko {

/// The samples of src combined into those of dst. `value` is one sample.
using LogicRows = void (*)(const RowPairs& pairs, const std::uint8_t* value) noexcept;

/// The same, the set samples keeping their own values.
using LogicPassRows = void (*)(const RowPairs& pairs) noexcept;

struct LogicKernels {
    PerIntegerSize<LogicRows> both;
    PerIntegerSize<LogicRows> any;
    PerSize<LogicRows> one;
    PerSize<LogicPassRows> passOne;
};

/// The kernels of the running processor.
const LogicKernels& logicKernels();

}  // namespace ko
