#include "fuzz/core/families.h"
#include "fuzz/support/refusal.h"

#include <ko/image.h>

#include <algorithm>
#include <cstdint>

namespace ko::fuzz {

namespace {

/// Whether the image is larger than a fuzzer has memory for.
bool isLarge(const SxImageInfo& info)
{
    double bytes = 1;
    for (const int factor : {std::max(info.stride / 16, info.width), info.height, info.channels})
        bytes *= std::max(factor, 1);
    return bytes > 1e5;
}

SxImageInfo anyInfo(ByteReader& in)
{
    SxImageInfo info;
    info.width = in.oneIn(8) ? in.integer() : in.below(70);
    info.height = in.oneIn(8) ? in.integer() : in.below(20);
    info.channels = in.oneIn(8) ? in.integer() : in.pick(everyChannels);
    info.dataType = in.code(everyType);
    info.packing = in.code({Interleaved, Planar});
    info.stride = in.flag() ? 0 : in.flag() ? in.integer() : in.below(700);
    info.bitsPerSample = in.integer();
    return info;
}

/// The promises of a new image; frees it, twice.
void useAndFree(SxImageBuf& image, ResultCode rc, bool cleared)
{
    require((rc == ResultOk) == (image.data != nullptr), "status and data contradict each other");
    require(toString(rc) == toString(image.data != nullptr ? ResultOk : ResultFailed), "an odd status");
    require(image.data != nullptr || image.allocation == 0, "a failure has left bookkeeping");
    if (image.data != nullptr) {
        const std::size_t size = imageByteSize(image);
        require(reinterpret_cast<std::uintptr_t>(image.data) % 64 == 0, "the memory is not aligned");
        const auto isZero = [](std::uint8_t byte) { return byte == 0; };
        require(std::all_of(image.data + size, image.data + size + 64, isZero), "no zeros behind the image");
        require(!cleared || std::all_of(image.data, image.data + size, isZero), "the image is not cleared");
        std::fill_n(image.data, size, std::uint8_t{0xA5});
        SxImageBuf moved = image;
        moved.data += 1;
        FreeBuffer(moved);
        require(std::count(image.data, image.data + size, 0xA5) == static_cast<std::ptrdiff_t>(size),
                "a view took the memory along");
    }
    FreeBuffer(image);
    require(image.data == nullptr && image.allocation == 0, "a freed image has data");
    FreeBuffer(image);
}

void allocByWords(ByteReader& in, Outcome& out)
{
    const SxImageInfo info = anyInfo(in);
    const bool cleared = in.flag();
    const auto compression = in.code({CompressionNone});
    const Refusal refusal(isLarge(info));
    SxImageBuf image;
    const ResultCode rc = AllocBuffer(image, info.width, info.height, info.channels, info.dataType,
                                      info.stride, info.bitsPerSample, info.packing, cleared, compression);
    out.add(rc);
    out.add(static_cast<const SxImageInfo&>(image));
    useAndFree(image, rc, cleared);
}

void allocByInfo(ByteReader& in, Outcome& out)
{
    SxImageBuf image;
    static_cast<SxImageInfo&>(image) = anyInfo(in);
    const bool cleared = in.flag();
    const Refusal refusal(isLarge(image));
    const ResultCode rc = AllocBuffer(image, image, cleared);
    out.add(rc);
    out.add(static_cast<const SxImageInfo&>(image));
    useAndFree(image, rc, cleared);
}

void freeForeign(ByteReader& in, Outcome& out)
{
    FuzzImage image(in, anyLayout(in, {everyType, everyChannels}));
    image->allocation = in.flag() ? reinterpret_cast<std::uintptr_t>(image->data) : in.raw<std::uint64_t>();
    image->memoryTag = in.raw<std::uint64_t>();
    image->bookkeeping[0] = in.raw<std::uint64_t>();
    image->bookkeeping[1] = in.flag() ? image->allocation : in.raw<std::uint64_t>();
    FreeBuffer(image);
    require(image.isUntouched(), "foreign memory was touched");
    out.add(image->data == nullptr);
}

void sizes(ByteReader& in, Outcome& out)
{
    const SxImageInfo info = anyInfo(in);
    out.add(bytesPerSample(in.integer()));
    out.add(imageByteSize(info));
    out.add(L2CacheSize());
    const FuzzImage image(in, anyLayout(in, {everyType, everyChannels}));
    const int channel = in.integer();
    require(ChannelIndexLogicalToPhysical(channel, image) == channel, "channels change places");
}

}  // namespace

Cases bufferCases()
{
    return {{"buffer: allocByWords", &allocByWords},
            {"buffer: allocByInfo", &allocByInfo},
            {"buffer: freeForeign", &freeForeign},
            {"buffer: sizes", &sizes}};
}

}  // namespace ko::fuzz
