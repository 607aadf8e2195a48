#include <ko/koimproc.h>

#include <cstdio>
#include <vector>

int main()
{
    // A raw frame as a camera delivers it: 12 bits in 16-bit samples, in memory of the program's own.
    std::vector<std::uint16_t> frame(480 * 640, 1000);
    ko::SxImageBuf raw;
    raw.width = 640, raw.height = 480, raw.stride = 640 * 2, raw.channels = 1;
    raw.dataType = ko::UInt16, raw.bitsPerSample = 12, raw.bayerGrid = ko::BayerRGGB;
    raw.data = reinterpret_cast<std::uint8_t*>(frame.data());

    ko::SxImageBuf colour;
    ko::AllocBuffer(colour, 640, 480, 3, ko::UInt16, 0, 12, ko::Interleaved, false, ko::CompressionNone);
    if (ko::isFailure(ko::Demosaic(raw, colour, nullptr)))
        return 1;
    const auto* pixel = reinterpret_cast<const std::uint16_t*>(colour.data);
    std::printf("red %d, green %d, blue %d\n", pixel[0], pixel[1], pixel[2]);
    ko::FreeBuffer(colour);
}
