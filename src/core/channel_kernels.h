// Row kernels of CopyChannel.
#pragma once

#include <cstdint>

namespace ko {

/// Every third or fourth of the samples of src, from sample `channel` on, to `count` samples of dst one
/// behind the other. The rows must not overlap.
using PickChannelRow = void (*)(const std::uint8_t* src, int channel, std::uint8_t* dst,
                                std::int64_t count) noexcept;

struct PickChannelRows {
    PickChannelRow ofThree;
    PickChannelRow ofFour;
};

struct ChannelKernels {
    PickChannelRows u8;
    PickChannelRows u16;
    PickChannelRows u32;

    /// For pixels of `channels` samples of `size` bytes each; null where there is none.
    constexpr PickChannelRow of(int channels, int size) const noexcept
    {
        if ((channels != 3 && channels != 4) || size > 4)
            return nullptr;
        const PickChannelRows& rows = size == 1 ? u8 : size == 2 ? u16 : u32;
        return channels == 3 ? rows.ofThree : rows.ofFour;
    }
};

/// The kernels of the running processor.
const ChannelKernels& channelKernels();

}  // namespace ko
