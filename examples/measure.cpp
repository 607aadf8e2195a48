// Is a frame well exposed, and what lies in its middle? A histogram, a region and a mask.
#include <ko/koimproc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
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

/// A record over samples of the program's own; nothing is copied, and nothing is to be freed.
ko::SxImageBuf mosaicOver(std::vector<std::uint16_t>& samples)
{
    ko::SxImageBuf raw;
    raw.width = Width;
    raw.height = Height;
    raw.stride = Width * 2;
    raw.channels = 1;
    raw.dataType = ko::UInt16;
    raw.bitsPerSample = 12;
    raw.bayerGrid = ko::BayerRGGB;
    raw.data = reinterpret_cast<std::uint8_t*>(samples.data());
    return raw;
}

/// Ends the program when an operation has failed.
void require(ko::ResultCode rc, const char* operation)
{
    if (!ko::isFailure(rc))
        return;
    std::fprintf(stderr, "%s: status %08X\n", operation, static_cast<unsigned>(rc));
    std::exit(EXIT_FAILURE);
}

}  // namespace

int main()
{
    std::vector<std::uint16_t> samples = slope();
    const ko::SxImageBuf raw = mosaicOver(samples);

    // The four positions of the cell are counted apart: red, green, green, blue.
    ko::CxImageHistogram histogram;
    require(ko::HistogramEx(raw, histogram), "HistogramEx");
    for (int plane = 0; plane < histogram.planes; ++plane)
        std::printf("position %d: %u of %d pixels are white\n", plane,
                    histogram.bins[plane][histogram.levels - 1], Width * Height / 4);

    double mean = 0;
    require(ko::Mean(raw, QRect(100, 100, 200, 50), &mean), "Mean");
    std::printf("mean of a region: %.1f\n", mean);

    // A region is never cut to the image: the second argument is at fault.
    if (ko::Mean(raw, QRect(500, 100, 200, 50), &mean) == ko::ResultBadArg2)
        std::printf("a region that leaves the image is refused\n");

    // A mask is as large as the image, so the ellipse goes into the middle of one that is black.
    ko::SxImageBuf ellipse, mask;
    require(ko::EllipseMaskMono(ellipse, 120, 80, 0.0, 0, 255), "EllipseMaskMono");
    require(
        ko::AllocBuffer(mask, Width, Height, 1, ko::UInt8, 0, 8, ko::Interleaved, true, ko::CompressionNone),
        "AllocBuffer");
    const QPoint corner((Width - ellipse.width) / 2, (Height - ellipse.height) / 2);
    require(ko::CopyBuffer(ellipse, QRect(0, 0, ellipse.width, ellipse.height), mask, corner, false),
            "CopyBuffer");

    double deviation = 0;
    require(ko::MeanStdDevMasked(raw, mask, &mean, &deviation), "MeanStdDevMasked");
    std::printf("under the mask: %.1f, deviation %.1f\n", mean, deviation);
    ko::FreeBuffer(ellipse);
    ko::FreeBuffer(mask);
}
