// Packed samples and the white balance.
#include "threads/call.h"

namespace ko::test {

Operations rawOperations()
{
    return {
        {"UnpackSamples",
         [](Call& c) {
             const TestImage& packed = c.image({.width = 40, .height = 9});
             TestImage& words = c.image({.width = 26, .height = 9, .type = UInt16, .bits = 12});
             const auto pitch = static_cast<std::size_t>(packed.buf().stride);
             c.status(UnpackSamples(packed.buf().data, imageByteSize(packed.buf()), pitch, Mono12p, words));
         }},
        {"PackSamples",
         [](Call& c) {
             const TestImage& words = c.image({.width = 26, .height = 9, .type = UInt16, .bits = 10});
             std::vector<std::uint8_t> packed(9 * packedRowBytes(Csi2Raw10, 26));
             c.status(PackSamples(words, Csi2Raw10, packed.data(), packed.size(), 0));
             c.bytes(packed.data(), packed.size());
             c.value(packedBitsPerSample(Csi2Raw10));
         }},
        {"WhiteBalance",
         [](Call& c) {
             const TestImage& from = c.mosaic(UInt16);
             const double gains[] = {2, 1, 1, 1.5};
             const int blackLevels[] = {64, 64, 64, 64};
             c.status(WhiteBalance(from, c.image(UInt16), gains, blackLevels));
         }},
    };
}

}  // namespace ko::test
