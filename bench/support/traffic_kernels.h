// Moves memory as fast as this processor can, to find the floor under an operation.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ko::bench {

struct TrafficKernels {
    /// Reads every byte; the result depends on all of them.
    std::uint64_t (*read)(const std::uint8_t* from, std::size_t bytes);
    /// Writes every byte.
    void (*write)(std::uint8_t* to, std::size_t bytes);
    /// Reads every byte and writes another in its place.
    void (*rewrite)(std::uint8_t* memory, std::size_t bytes);
};

/// The kernels of this processor. Sizes are multiples of 64 bytes, addresses aligned to 64.
const TrafficKernels& trafficKernels();

}  // namespace ko::bench
