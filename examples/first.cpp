#include <ko/cpp.h>
#include <ko/koimproc.h>

#include <cstdio>
#include <vector>

int main()
{
    // A raw frame as a camera delivers it: 12 bits in 16-bit samples, in memory of the program's own.
    std::vector<std::uint16_t> frame(480 * 640, 1000);
    ko::ImageView<std::uint16_t> raw(frame.data(), 640, 480);
    raw->bitsPerSample = 12;
    raw->bayerGrid = ko::BayerRGGB;

    ko::Image colour(640, 480, 3, ko::UInt16, 12);
    ko::orThrow(ko::Demosaic(raw, colour, nullptr));

    const auto pixels = colour.view<std::uint16_t>();
    std::printf("red %d, green %d, blue %d\n", pixels(0, 0, 0), pixels(0, 0, 1), pixels(0, 0, 2));
}
