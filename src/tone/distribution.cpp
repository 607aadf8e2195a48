#include "tone/distribution.h"

#include "base/checks.h"

#include <ko/stats/histogram.h>

#include <cstdint>
#include <new>
#include <numeric>

namespace ko {

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

Distribution distributionOf(const SxImageBuf& image, int channel)
{
    SxImageBuf counted = image;
    counted.dataType = bytesPerSample(image.dataType) == 1 ? UInt8 : UInt16;
    if (isMono(image))
        counted.packing = Interleaved;
    CxImageHistogram hist;
    hist.resize(1, 1 << image.bitsPerSample, 0);
    // The image is countable, so this is a lack of memory.
    if (isFailure(Histogram(counted, channel, hist, 0)))
        throw std::bad_alloc();
    return distributionOf(hist, 0);
}

}  // namespace ko
