// Row kernel of the background corrections for bytes with one gain, in whole numbers.
#pragma once

#include "tone/background_kernels.h"

namespace ko {

struct ByteQuotientKernels {
    /// For corrections with `quotients`; null where this processor has no use for it.
    CorrectRow row;
};

/// The kernels of the running processor.
const ByteQuotientKernels& byteQuotientKernels();

}  // namespace ko
