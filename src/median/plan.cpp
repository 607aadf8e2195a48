#include "median/plan.h"

#include "base/checks.h"

#include <algorithm>

namespace ko {

namespace {

/// Columns that a strip's windows reach into, as far as the image has them.
std::int64_t sourceColumnsOf(const MedianStrip& strip, std::int64_t width, std::int64_t radius) noexcept
{
    const std::int64_t first = std::max<std::int64_t>(strip.firstColumn - radius, 0);
    const std::int64_t last = std::min<std::int64_t>(strip.lastColumn + radius, width - 1);
    return last - first + 1;
}

MedianStrip makeStrip(const SxImageInfo& info, std::int64_t radius, std::int64_t firstColumn,
                      std::int64_t columns)
{
    MedianStrip strip{.firstRow = 0,
                      .lastRow = info.height - 1,
                      .firstColumn = static_cast<std::int32_t>(firstColumn),
                      .lastColumn = static_cast<std::int32_t>(firstColumn + columns - 1),
                      .bins = std::int32_t{1} << info.bitsPerSample,
                      .channels = info.channels,
                      .sourceColumns = 0};
    strip.sourceColumns = static_cast<std::int32_t>(sourceColumnsOf(strip, info.width, radius));
    return strip;
}

}  // namespace

void MedianScratch::reserve(std::size_t parts, std::size_t bytes)
{
    const std::size_t linesPerPart = bytes / sizeof(CacheLine) + 1;
    const std::size_t size = parts * linesPerPart;
    if (size > m_size) {
        m_size = 0;
        m_lines.reset();
        m_lines = std::make_unique_for_overwrite<CacheLine[]>(size);
        m_size = size;
    }
    m_linesPerPart = linesPerPart;
}

bool medianWindowFits(std::int64_t radius, std::int64_t extent) noexcept
{
    return radius >= 0 && 2 * radius + 1 <= extent;
}

std::uint64_t medianCounterWidth(std::int64_t radius) noexcept
{
    const std::int64_t side = 2 * radius + 1;
    return side < 16 ? 1 : side < 256 ? 2 : 4;  // side * side below 2^8, below 2^16
}

std::vector<MedianStrip> cutIntoStrips(const SxImageInfo& info, std::int64_t radius, int threads)
{
    const std::int64_t width = info.width, window = 2 * radius + 1;
    const std::int64_t preferred = width / window > threads ? width / threads : window;
    std::vector<MedianStrip> strips;
    const auto single = [&] { strips.push_back(makeStrip(info, radius, 0, width)); };
    if (preferred >= width) {
        single();
        return strips;
    }

    // Outer strips have a border of the image on one side and so read fewer columns than inner ones; equal
    // shares of the reading make the inner ones narrower.
    const std::int64_t first = std::max(preferred - radius, window);
    const std::int64_t inner = std::max(preferred - 2 * radius, window);
    std::int64_t inners = (width - first) / inner;
    if (inners > 0 && width - inner * inners - first < preferred - radius)
        --inners;
    const std::int64_t last = width - inner * inners - first;
    if (last < window && inners == 0) {
        single();
        return strips;
    }
    strips.reserve(static_cast<std::size_t>(inners + 2));
    strips.push_back(makeStrip(info, radius, 0, first));
    for (std::int64_t i = 0; i < inners; ++i)
        strips.push_back(makeStrip(info, radius, first + i * inner, inner));
    strips.push_back(makeStrip(info, radius, width - last, last));
    return strips;
}

bool servesImage(const MedianWork& buffer, const SxImageInfo& src, std::int64_t radius) noexcept
{
    const SxImageInfo& info = buffer.plan->info;
    if (!sameSize(info, src) || !sameFormat(info, src))
        return false;
    if (buffer.counterWidth < medianCounterWidth(radius))
        return false;
    return std::all_of(buffer.plan->strips.begin(), buffer.plan->strips.end(), [&](const MedianStrip& strip) {
        return strip.sourceColumns >= sourceColumnsOf(strip, src.width, radius);
    });
}

}  // namespace ko
