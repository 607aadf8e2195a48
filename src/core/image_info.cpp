#include <ko/image.h>

#include <bit>
#include <limits>

// Addresses and sizes are words of 64 bits, and samples are cut from such words, lowest first.
static_assert(sizeof(void*) == 8 && std::endian::native == std::endian::little,
              "koimproc supports 64-bit little-endian systems only");

namespace ko {

int bytesPerSample(int dataType)
{
    switch (dataType) {
    case Int8:
    case UInt8:
        return 1;
    case Int16:
    case UInt16:
        return 2;
    case Int32:
    case UInt32:
    case Float32:
        return 4;
    case Float64:
    case Int64:
    case UInt64:
        return 8;
    case Sample128:
        return 16;
    default:
        return 0;
    }
}

std::size_t imageByteSize(const SxImageInfo& info)
{
    if (info.stride <= 0 || info.height <= 0)
        return 0;
    const std::size_t plane = static_cast<std::size_t>(info.stride) * static_cast<std::size_t>(info.height);
    if (info.packing == Interleaved)
        return plane;
    if (info.channels <= 0)
        return 0;
    const auto planes = static_cast<std::size_t>(info.channels);
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
    return plane > most / planes ? most : plane * planes;
}

int ChannelIndexLogicalToPhysical(int channel, const SxImageBuf&)
{
    return channel;
}

}  // namespace ko
