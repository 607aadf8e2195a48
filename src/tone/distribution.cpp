#include "tone/distribution.h"

#include "stats/tally.h"

#include <array>
#include <cstdint>
#include <numeric>
#include <span>

namespace ko {

namespace {

template <class T>
void countInto(CxImageHistogram& hist, const SxImageBuf& image)
{
    std::array<int, 4> planes{-1, -1, -1, -1};
    for (int channel = 0; channel < hist.planes; ++channel)
        planes[static_cast<std::size_t>(ChannelIndexLogicalToPhysical(channel, image))] = channel;
    const std::span<const int> pixel(planes.data(), static_cast<std::size_t>(image.channels));
    const SampleRows rows{image.data, image.stride, std::int64_t{image.width} * image.channels, image.height};
    countRowsInBands<T>(rows, TallyTarget(hist), pixel);
}

}  // namespace

Distribution distributionOf(const CxImageHistogram& hist, int plane)
{
    const std::uint32_t* const counts = hist.bins[plane];
    const auto total = static_cast<double>(std::accumulate(counts, counts + hist.levels, std::uint64_t{0}));
    if (total == 0.0)
        return {};
    Distribution sums(static_cast<std::size_t>(hist.levels));
    double sum = 0.0;
    for (std::size_t level = 0; level < sums.size(); ++level)
        sums[level] = sum += counts[level] / total;
    return sums;
}

CxImageHistogram countLevels(const SxImageBuf& image, int channels)
{
    CxImageHistogram hist;
    hist.resize(channels, 1 << image.bitsPerSample, 0);
    if (bytesPerSample(image.dataType) == 1)
        countInto<std::uint8_t>(hist, image);
    else
        countInto<std::uint16_t>(hist, image);
    return hist;
}

}  // namespace ko
