// Bringing the samples of one of several interleaved channels together.
#pragma once

#include "base/channels.h"
#include "stats/square_kernels.h"

#include <cstdint>

namespace ko {

/// Samples that lie `step` apart: camera depths by vectors, others one by one.
template <class T>
void gatherChannel(const std::uint8_t* samples, std::int64_t step, std::int64_t count,
                   std::uint8_t* out) noexcept
{
    if constexpr (sizeof(T) <= 2)
        squareKernels().gather.of<T>()(samples, step, count, out);
    else
        gather<T>(samples, step, count, out);
}

}  // namespace ko
