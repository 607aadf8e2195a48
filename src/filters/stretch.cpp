#include <ko/filters.h>

#include <ko/cpp/image.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "filters/stretch_average_kernels.h"
#include "filters/stretch_gather.h"
#include "filters/stretch_kernels.h"
#include "filters/stretch_table.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <span>
#include <vector>

namespace ko {

namespace {

constexpr auto stretched = static_cast<ResultCode>(1);

/// Samples of one destination row.
std::int64_t rowSamples(const SxImageBuf& src, const SxImageBuf& dst)
{
    return std::int64_t{dst.width} * src.channels;
}

/// Rows of the source's pixels, one after the other by dst's stride, stay inside dst's memory. They may be
/// longer than the stride where dst is planar: each row then overwrites the end of the one before.
bool rowsStayInside(const SxImageBuf& dst, const SxImageBuf& src)
{
    constexpr auto beyondAnyImage = std::size_t{1} << 62;
    const auto memory = static_cast<std::int64_t>(std::min(imageByteSize(dst), beyondAnyImage));
    const std::int64_t lastRow = (dst.height - std::int64_t{1}) * dst.stride;
    const int size = bytesPerSample(src.dataType);
    return size > 0 && dst.stride >= 0 && lastRow <= memory &&
           rowSamples(src, dst) <= (memory - lastRow) / size;
}

/// The rows between the two passes that one thread still needs. Row r takes the place of row r - `count`.
struct RowWindow {
    SxImageBuf& rows;
    std::int64_t first;
    std::int64_t count;

    std::uint8_t* row(std::int64_t y) const noexcept { return rowOf(rows, first + y % count); }
};

/// The windows of all threads that share out the rows.
class RowWindows {
public:
    RowWindows(const SxImageBuf& src, const SxImageBuf& dst, std::int64_t count, int windows) : m_count(count)
    {
        const std::int64_t bytes = rowSamples(src, dst) * bytesPerSample(src.dataType);
        const std::int64_t stride = (bytes + stretchRowSlack + 63) / 64 * 64;
        constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
        if (src.channels <= 0 || stride > most || count > most / windows)
            throw Error(ResultFailed);
        orThrow(AllocBuffer(m_rows, dst.width, static_cast<int>(count * windows), src.channels, src.dataType,
                            static_cast<int>(stride), src.bitsPerSample, Interleaved, false,
                            CompressionNone));
    }

    RowWindow of(int window) noexcept { return {m_rows, window * m_count, m_count}; }

private:
    Image m_rows;
    std::int64_t m_count;
};

ResultCode stretchToDouble(const SxImageBuf& src, SxImageBuf& dst, const StretchAverageRows& kernels)
{
    const int bands = bandsByConsent(workOn(src, dst, dst).times(2));
    RowWindows windows(src, dst, 2, bands);
    inBands(bands, src.height, [&](int band, std::int64_t begin, std::int64_t end) noexcept {
        const RowWindow window = windows.of(band);
        const auto doubleRow = [&](std::int64_t y) noexcept {
            kernels.doubleRow(rowOf(src, y), window.row(y), src.width, src.channels);
        };
        if (begin > 0)
            doubleRow(begin - 1);
        for (std::int64_t y = begin; y < end; ++y) {
            doubleRow(y);
            kernels.doubledRows(window.row(std::max<std::int64_t>(y - 1, 0)), window.row(y),
                                rowOf(dst, 2 * y), rowOf(dst, 2 * y + 1), rowSamples(src, dst));
        }
    });
    return stretched;
}

ResultCode stretchToHalf(const SxImageBuf& src, SxImageBuf& dst, const StretchAverageRows& kernels)
{
    const int bands = bandsByConsent(workOn(dst, src, src).times(2));
    RowWindows windows(src, dst, 3, bands);
    inBands(bands, dst.height, [&](int band, std::int64_t begin, std::int64_t end) noexcept {
        const RowWindow window = windows.of(band);
        std::int64_t next = 2 * begin;
        for (std::int64_t y = begin; y < end; ++y) {
            const std::int64_t below = std::min<std::int64_t>(2 * y + 2, src.height - 1);
            for (; next <= below; ++next)
                kernels.halveRow(rowOf(src, next), window.row(next), src.width, src.channels);
            kernels.halvedRow(window.row(2 * y), window.row(2 * y + 1), window.row(below), rowOf(dst, y),
                              rowSamples(src, dst));
        }
    });
    return stretched;
}

/// The first row of the source that a row of the destination needs. Source rows come in pairs.
std::int64_t firstOf(std::span<const StretchTap> taps) noexcept
{
    const auto byIndex = [](const StretchTap& a, const StretchTap& b) { return a.index < b.index; };
    return std::min_element(taps.begin(), taps.end(), byIndex)->index / 2 * std::int64_t{2};
}

/// `apart` tells that no row of the destination reaches into the next one.
ResultCode stretchByTaps(const SxImageBuf& src, SxImageBuf& dst, const StretchRows& kernels, bool apart)
{
    const StretchTable along(src.width, dst.width);
    const StretchTable across(src.height, dst.height);
    std::optional<StretchBetween> between;
    if (kernels.alongBetween != nullptr)
        between = arrangeBetween(along, src.width, src.channels, kernels.lanesBetween);
    std::optional<StretchGather> gather;
    if (!between && kernels.alongByGather != nullptr)
        gather = arrangeGather(along, src.width, src.channels, bytesPerSample(src.dataType));
    const int bands = apart ? bandsByConsent(workOn(dst, src).times(8)) : 1;
    const auto taps = static_cast<std::size_t>(across.mostTaps());
    std::vector<const std::uint8_t*> tapRows(taps * static_cast<std::size_t>(bands));
    RowWindows windows(src, dst, across.inputsKept() + 1, bands);
    const auto stretchBand = [&](int band, std::int64_t begin, std::int64_t end) noexcept {
        const RowWindow window = windows.of(band);
        const std::uint8_t** const rows = tapRows.data() + taps * static_cast<std::size_t>(band);
        const auto addPair = [&](std::int64_t first) noexcept {
            const std::int64_t second = std::min<std::int64_t>(first + 1, src.height - 1);
            const std::uint8_t *const src0 = rowOf(src, first), *const src1 = rowOf(src, second);
            std::uint8_t *const dst0 = window.row(first), *const dst1 = window.row(second);
            if (between) {
                kernels.alongBetween(src0, src1, dst0, dst1, *between);
            } else if (gather) {
                kernels.alongByGather(src0, src1, dst0, dst1, *gather);
            } else {
                kernels.alongByTable(src0, dst0, along, src.channels);
                kernels.alongByTable(src1, dst1, along, src.channels);
            }
        };
        std::int64_t next = begin == 0 ? 0 : firstOf(across.taps(begin));
        for (std::int64_t y = begin; y < end; ++y) {
            const std::span<const StretchTap> taken = across.taps(y);
            for (std::size_t i = 0; i < taken.size(); ++i) {
                for (; next <= taken[i].index; next += 2)
                    addPair(next);
                rows[i] = window.row(taken[i].index);
            }
            kernels.across(rows, taken, rowOf(dst, y), rowSamples(src, dst));
        }
    };
    inBands(bands, dst.height, stretchBand);
    return stretched;
}

bool isTwice(std::int64_t larger, std::int64_t smaller)
{
    return larger == 2 * smaller;
}

}  // namespace

ResultCode Stretch(const SxImageBuf& src, SxImageBuf& dst, Interpolation)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && src.width > 0 && src.height > 0},
                {ResultBadArg2, isPresent(dst) && dst.width > 0 && dst.height > 0},
            }))
            return rc;
        return dispatch(
            ByTypeOf<UInt8, UInt16>{}, src.dataType,
            {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsStayInside(dst, src)}},
            [&]<class T>(std::type_identity<T>) {
                // The fast ways write several rows at a time, or need whole pixels in a vector.
                const bool apart = rowSamples(src, dst) * std::int64_t{sizeof(T)} <= dst.stride;
                const bool plain = apart && src.channels <= stretchAverageChannels;
                if (plain && isTwice(dst.width, src.width) && isTwice(dst.height, src.height))
                    return stretchToDouble(src, dst, stretchAverageKernels().of<T>());
                if (plain && isTwice(src.width, dst.width) && isTwice(src.height, dst.height))
                    return stretchToHalf(src, dst, stretchAverageKernels().of<T>());
                return stretchByTaps(src, dst, stretchKernels().of<T>(), apart);
            },
            stretched);
    });
}

}  // namespace ko
