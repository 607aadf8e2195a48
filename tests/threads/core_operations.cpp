// Images and their memory, the Bayer helpers.
#include "threads/call.h"

#include <cstring>

namespace ko::test {

Operations coreOperations()
{
    return {
        {"AllocBuffer",
         [](Call& c) {
             SxImageBuf image;
             c.status(AllocBuffer(image, c.width, c.height, 3, UInt16, 0, 12, Planar, true, CompressionNone));
             c.release(image);
         }},
        {"AllocBuffer of a format",
         [](Call& c) {
             SxImageBuf image;
             c.status(AllocBuffer(c.image().buf(), image, true));
             c.value(imageByteSize(image));
             c.value(bytesPerSample(image.dataType));
             c.release(image);
         }},
        {"CopyBuffer",
         [](Call& c) {
             const TestImage& from = c.image(UInt16, 3);
             c.status(CopyBuffer(from, c.region, c.image(UInt16, 3), QPoint(1, 3), false));
         }},
        {"CopyChannel",
         [](Call& c) {
             const TestImage& from = c.image(UInt16, 3);
             c.status(CopyChannel(from, 2, c.image(UInt16, 4, Planar), 1));
         }},
        {"MemCpy",
         [](Call& c) {
             const std::array<std::uint64_t, 4> from{1, 2, 3, 4};
             std::array<std::uint64_t, 4> to{};
             c.status(MemCpy(to.data(), from.data(), sizeof(from), 0, 0));
             c.value(to);
         }},
        {"ChannelIndexLogicalToPhysical",
         [](Call& c) { c.value(ChannelIndexLogicalToPhysical(2, c.image(UInt8, 3))); }},
        {"L2CacheSize", [](Call& c) { c.value(L2CacheSize()); }},
        {"toString",
         [](Call& c) {
             const auto code = static_cast<ResultCode>(ResultBadArg1 + c.width % 3);
             c.bytes(toString(code), std::strlen(toString(code)));
         }},
        {"ConvertRawToPlanarRaw",
         [](Call& c) {
             c.status(ConvertRawToPlanarRaw(c.mosaic(), c.region, BayerGBRG,
                                            c.image({.width = c.region.width() / 2,
                                                     .height = c.region.height() / 2,
                                                     .channels = 4,
                                                     .packing = Planar})));
         }},
        {"DemosaicSimple",
         [](Call& c) {
             c.status(DemosaicSimple(c.mosaic(UInt16), c.region,
                                     c.image({.width = c.region.width() / 2,
                                              .height = c.region.height() / 2,
                                              .channels = 3,
                                              .type = UInt16}),
                                     BayerGRBG));
         }},
    };
}

}  // namespace ko::test
