#include "filters/resize_longer.h"

#include "base/image_view.h"
#include "filters/resize_longer_kernels.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <utility>
#include <vector>

namespace ko {

namespace {

/// Groups whose rows of results are made one below the other, so that they and their sums stay in the first-level cache.
constexpr std::size_t groupsPerStrip = 128;

/// The sums of two rows of the image, which take turns: those of neighbours.
struct StripSums {
    alignas(64) std::array<float, 16 * groupsPerStrip + longerSlack> rows[2];
};

/// Groups end where a window does, or a vector.
std::vector<ResizeLongerGroup> groupsOf(const ResizeAxis& axis, const SxImageBuf& src, std::int64_t results,
                                        std::int64_t lanes)
{
    const std::int64_t channels = src.channels, samples = src.width * channels;
    std::vector<ResizeLongerGroup> groups;
    std::array<std::int64_t, 16> firsts{}, seconds{};
    std::int64_t lowest = 0, highest = 0, count = 0;
    const auto finish = [&] {
        ResizeLongerGroup& group = groups.back();
        group.from = std::min(lowest, samples - longerWindow);
        for (std::size_t lane = 0; lane < static_cast<std::size_t>(count); ++lane) {
            group.taps[lane] = 0x80008000U | static_cast<std::uint32_t>(firsts[lane] - group.from) |
                               static_cast<std::uint32_t>(seconds[lane] - group.from) << 16U;
        }
    };
    for (std::int64_t pixel = 0; pixel < results; ++pixel) {
        const ResizeTaps taps = axis.taps(pixel);
        for (std::int64_t channel = 0; channel < channels; ++channel) {
            const std::int64_t first = taps.first * channels + channel,
                               second = first + (taps.count - 1) * channels;
            const std::int64_t low = std::min(lowest, first), high = std::max(highest, second);
            if (groups.empty() || count == lanes || high - low >= longerWindow) {
                if (!groups.empty())
                    finish();
                groups.push_back({});
                groups.back().to = pixel * channels + channel;
                count = 0;
                lowest = first;
                highest = second;
            } else {
                lowest = low;
                highest = high;
            }
            const auto lane = static_cast<std::size_t>(count++);
            firsts[lane] = first;
            seconds[lane] = second;
            groups.back().weights[lane] = static_cast<std::uint32_t>(taps.firstWeight) |
                                          static_cast<std::uint32_t>(taps.count > 1 ? taps.lastWeight : 0)
                                              << 16U;
        }
    }
    finish();
    return groups;
}

}  // namespace

bool isLonger(const SxImageBuf& src, const ResizeAxis& down, const ResizeAxis& across)
{
    constexpr std::int64_t mostAcross = std::numeric_limits<std::int16_t>::max(),
                           mostDown = std::int64_t{1} << std::numeric_limits<float>::digits;
    return !down.shrinks() && !across.shrinks() && across.divisor() <= mostAcross &&
           down.divisor() <= mostDown && std::int64_t{src.width} * src.channels >= longerWindow &&
           src.channels < longerWindow && resizeLongerKernels().lanes != 0;
}

void resizeLonger(const SxImageBuf& src, SxImageBuf& dst, const ResizeAxis& down, const ResizeAxis& across,
                  const ResizeScale& scale, bool isChecked, const RowWork& work)
{
    const ResizeLongerKernels& kernels = resizeLongerKernels();
    const auto makeResults = isChecked ? kernels.acrossChecked : kernels.across;
    const std::vector<ResizeLongerGroup> groups = groupsOf(across, src, dst.width, kernels.lanes);
    const std::int64_t bands = std::min<std::int64_t>(dst.height, threadsFor(work));
    std::vector<StripSums> sums(static_cast<std::size_t>(bands));
    // The results of some groups in rows begin...end - 1.
    const auto makeStrip = [&](std::span<const ResizeLongerGroup> strip, std::int64_t samples, StripSums& own,
                               std::int64_t begin, std::int64_t end) noexcept {
        std::array<std::int64_t, 2> made{-1, -1};
        const auto sumsOf = [&](std::int64_t y) {
            const auto place = static_cast<std::size_t>(y % 2);
            float* const row = own.rows[place].data();
            if (std::exchange(made[place], y) != y)
                kernels.along(rowOf(src, y), strip, row);
            return row;
        };
        for (std::int64_t y = begin; y < end; ++y) {
            const ResizeTaps taps = down.taps(y);
            const float* const first = sumsOf(taps.first);
            const float* const second = sumsOf(taps.first + taps.count - 1);
            makeResults(first, second, static_cast<float>(taps.firstWeight),
                        static_cast<float>(taps.count > 1 ? taps.lastWeight : 0), scale,
                        rowOf(dst, y) + strip.front().to, samples);
        }
    };
    rowsStatic({bands, work.bytes * dst.height / bands}, [&](std::int64_t band) noexcept {
        StripSums& own = sums[static_cast<std::size_t>(band)];
        std::span<const ResizeLongerGroup> left(groups);
        while (!left.empty()) {
            const auto strip = left.first(std::min(groupsPerStrip, left.size()));
            left = left.subspan(strip.size());
            const std::int64_t after =
                left.empty() ? std::int64_t{dst.width} * dst.channels : left.front().to;
            makeStrip(strip, after - strip.front().to, own, dst.height * band / bands,
                      dst.height * (band + 1) / bands);
        }
    });
}

}  // namespace ko
