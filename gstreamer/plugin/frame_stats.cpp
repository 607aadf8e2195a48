#include "plugin/frame_stats.h"

#include <cstring>

namespace ko::gst {

namespace {

const char* colourName(int colours, int colour)
{
    constexpr const char* ofMosaics[] = {"red", "green-even", "green-odd", "blue"};
    constexpr const char* ofPictures[] = {"red", "green", "blue"};
    return colours == 1 ? "gray" : colours == 4 ? ofMosaics[colour] : ofPictures[colour];
}

template <class T>
double laplacianVariance(const SxImageBuf& frame)
{
    const int step = frame.bayerGrid != BayerNone ? 2 : 1;
    const int channel = frame.channels > 1 ? 1 : 0;
    const auto at = [&](const std::uint8_t* row, std::int64_t x) {
        T sample;
        std::memcpy(&sample, row + (x * frame.channels + channel) * std::int64_t{sizeof(T)}, sizeof(T));
        return std::int64_t{sample};
    };
    double sum = 0, squares = 0;
    for (std::int64_t y = step; y < frame.height - step; ++y) {
        const std::uint8_t* const here = frame.data + y * frame.stride;
        const std::uint8_t* const above = here - std::int64_t{step} * frame.stride;
        const std::uint8_t* const below = here + std::int64_t{step} * frame.stride;
        std::int64_t rowSum = 0, rowSquares = 0;
        for (std::int64_t x = step; x < frame.width - step; ++x) {
            const std::int64_t bend =
                4 * at(here, x) - at(here, x - step) - at(here, x + step) - at(above, x) - at(below, x);
            rowSum += bend;
            rowSquares += bend * bend;
        }
        sum += static_cast<double>(rowSum);
        squares += static_cast<double>(rowSquares);
    }
    const double count = static_cast<double>(frame.width - 2 * step) * (frame.height - 2 * step);
    const double mean = sum / count;
    return squares / count - mean * mean;
}

}  // namespace

std::vector<ColourStats> colourStats(const SxImageBuf& frame, const CxImageHistogram& histogram)
{
    std::vector<ColourStats> all;
    const auto top = static_cast<std::uint32_t>((1 << frame.bitsPerSample) - 1);
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

double focusOf(const SxImageBuf& frame)
{
    const int least = frame.bayerGrid != BayerNone ? 5 : 3;
    if (frame.width < least || frame.height < least)
        return 0;
    return frame.dataType == UInt8 ? laplacianVariance<std::uint8_t>(frame)
                                   : laplacianVariance<std::uint16_t>(frame);
}

}  // namespace ko::gst
