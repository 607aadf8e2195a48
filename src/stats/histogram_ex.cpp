#include <ko/stats/histogram.h>

#include "base/boundary.h"
#include "core/bayer_cell.h"
#include "stats/counting.h"
#include "stats/histogram_checks.h"

#include <limits>

namespace ko {

namespace {

/// Plane of (x even, y even), (x odd, y even), (x even, y odd), (x odd, y odd), by `bayerGrid`. The grids are
/// not permutations of each other: colour order is the caller's to know.
constexpr std::array<std::array<int, 4>, 4> cellPlanes{{
    {3, 1, 2, 0},
    {0, 1, 2, 3},
    {1, 3, 0, 2},
    {1, 0, 3, 2},
}};

bool isBayerMosaic(const SxImageInfo& src) noexcept
{
    return isMono(src) && isBayerGrid(src.bayerGrid);
}

bool isPlainMono(const SxImageInfo& src) noexcept
{
    return isMono(src) && src.bayerGrid == BayerNone;
}

int planesFor(const SxImageInfo& src) noexcept
{
    if (isMono(src))
        return isBayerMosaic(src) ? 4 : 1;
    return 3;
}

/// Counts the rows from `begin` to `end`.
template <class T>
void countMosaic(const SxImageBuf& src, std::int64_t begin, std::int64_t end, const TallyTarget& target,
                 TallyTables& tables) noexcept
{
    const auto& cell = cellPlanes[static_cast<std::size_t>(src.bayerGrid)];
    for (const std::int64_t first : {begin, begin + 1}) {
        Tally<T> tally(target, {cell.data() + 2 * (first % 2), 2}, tables);
        for (std::int64_t y = first; y < end; y += 2)
            tally.add(rowOf(src, y), src.width);
        tally.finish();
    }
}

template <class T>
void countImage(const SxImageBuf& src, CxImageHistogram& hist)
{
    // Samples are read without sign, which puts negative ones into the upper half of the type.
    using Unsigned = std::make_unsigned_t<T>;
    constexpr std::uint64_t negatives =
        std::is_signed_v<T> ? std::uint64_t{1} << (8 * sizeof(T) - 1) : ~std::uint64_t{0};
    const TallyTarget target(hist, negatives);
    const Selection whole(wholeOf(src));
    const ChannelPlanes planes = allChannels(src, hist);
    if (whole.pixels() == 0)
        return;
    countInBands(
        whole.height, whole.pixels() * src.channels, sizeof(T) <= 2 ? tablesForChannels : 0, target,
        [&](std::int64_t begin, std::int64_t end, const TallyTarget& to, TallyTables& tables) noexcept {
            if (isBayerMosaic(src))
                countMosaic<Unsigned>(src, begin, end, to, tables);
            else
                countRows<Unsigned>(rowsOf<Unsigned>(src, whole.band(begin, end)), to, planes, tables);
        });
}

}  // namespace

ResultCode HistogramEx(const SxImageBuf& src, CxImageHistogram& hist)
{
    return guarded([&] {
        const std::int64_t levels = levelsOf(src.bitsPerSample);
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src)},
                {ResultUnsupportedType, isInterleaved(src)},
                {ResultBadArg1, levels > 0 && levels <= std::numeric_limits<std::int32_t>::max()},
                {ResultUnsupportedType, isPlainMono(src) || isBayerMosaic(src) || hasChannels(src, 3, 4)},
            }))
            return rc;
        const auto resize = [&] { hist.resize(planesFor(src), static_cast<std::int32_t>(levels), 0); };
        const ResultCode rc = dispatch(IntegersByType{}, src.dataType, {{ResultBadArg1, rowsFit(src)}},
                                       [&]<class T>(std::type_identity<T>) {
                                           resize();
                                           countImage<T>(src, hist);
                                       });
        if (rc == ResultUnsupportedType)
            resize();
        return rc;
    });
}

}  // namespace ko
