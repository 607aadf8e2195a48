// Is a frame well exposed, and what lies in its middle? A histogram, a region and a mask.
#include <ko/cpp.h>
#include <ko/koimproc.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

constexpr int Width = 640;
constexpr int Height = 480;

/// What the camera has delivered: brighter and brighter to the right, and white at the end.
std::vector<std::uint16_t> slope()
{
    std::vector<std::uint16_t> samples(Width * Height);
    for (int y = 0; y < Height; ++y)
        for (int x = 0; x < Width; ++x)
            samples[y * Width + x] = static_cast<std::uint16_t>(std::min(8 * x, 4095));
    return samples;
}

}  // namespace

int main()
try {
    std::vector<std::uint16_t> samples = slope();
    ko::ImageView<std::uint16_t> raw(samples.data(), Width, Height);
    raw->bitsPerSample = 12;
    raw->bayerGrid = ko::BayerRGGB;

    // The four positions of the cell are counted apart: red, green, green, blue.
    ko::CxImageHistogram histogram;
    ko::orThrow(ko::HistogramEx(raw, histogram));
    for (int plane = 0; plane < histogram.planes; ++plane)
        std::printf("position %d: %u of %d pixels are white\n", plane,
                    histogram.bins[plane][histogram.levels - 1], Width * Height / 4);

    double mean = 0;
    ko::orThrow(ko::Mean(raw, QRect(100, 100, 200, 50), &mean));
    std::printf("mean of a region: %.1f\n", mean);

    // A region is never cut to the image: the second argument is at fault.
    if (ko::Mean(raw, QRect(500, 100, 200, 50), &mean) == ko::ResultBadArg2)
        std::printf("a region that leaves the image is refused\n");

    // A mask is as large as the image, so the ellipse goes into the middle of one that is black.
    ko::Image ellipse;
    ko::orThrow(ko::EllipseMaskMono(ellipse, 120, 80, 0.0, 0, 255));
    ko::Image mask = ko::Image::zeros(Width, Height, 1, ko::UInt8);
    const QPoint corner((Width - ellipse->width) / 2, (Height - ellipse->height) / 2);
    ko::orThrow(ko::CopyBuffer(ellipse, QRect(0, 0, ellipse->width, ellipse->height), mask, corner, false));

    double deviation = 0;
    ko::orThrow(ko::MeanStdDevMasked(raw, mask, &mean, &deviation));
    std::printf("under the mask: %.1f, deviation %.1f\n", mean, deviation);
} catch (const ko::Error& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
