#include "plugin/frame_stats.h"

#include <ko/cpp/error.h>
#include <ko/stats.h>

#include <numeric>

namespace ko::gst {

namespace {

const char* colourName(int colours, int colour)
{
    constexpr const char* ofMosaics[] = {"red", "green-even", "green-odd", "blue"};
    constexpr const char* ofPictures[] = {"red", "green", "blue"};
    return colours == 1 ? "gray" : colours == 4 ? ofMosaics[colour] : ofPictures[colour];
}

}  // namespace

std::uint32_t levelsOf(const SxImageBuf& frame)
{
    return std::uint32_t{1} << frame.bitsPerSample;
}

void countLevels(const SxImageBuf& frame, CxImageHistogram& histogram)
{
    // `HistogramEx` leaves samples above the depth out, so it is told a depth that none is above.
    SxImageBuf whole = frame;
    whole.bitsPerSample = 8 * bytesPerSample(frame.dataType);
    orThrow(HistogramEx(whole, histogram));
    const std::uint32_t top = levelsOf(frame) - 1;
    for (int colour = 0; colour < histogram.planes; ++colour) {
        std::uint32_t* const counts = histogram.bins[colour];
        counts[top] = std::accumulate(counts + top, counts + histogram.levels, std::uint32_t{0});
    }
}

std::vector<ColourStats> colourStats(const SxImageBuf& frame, const CxImageHistogram& histogram)
{
    std::vector<ColourStats> all;
    const std::uint32_t top = levelsOf(frame) - 1;
    for (int colour = 0; colour < histogram.planes; ++colour) {
        ColourStats stats;
        stats.name = colourName(histogram.planes, colour);
        double count = 0, sum = 0;
        for (std::uint32_t level = 0; level <= top; ++level) {
            const std::uint32_t samples = histogram.bins[colour][level];
            if (samples == 0)
                continue;
            if (count == 0)
                stats.minimum = level;
            stats.maximum = level;
            count += samples;
            sum += static_cast<double>(samples) * level;
        }
        if (count > 0) {
            stats.mean = sum / count;
            stats.clipped = histogram.bins[colour][top] / count;
        }
        all.push_back(stats);
    }
    return all;
}

}  // namespace ko::gst
