#include <ko/filters.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "filters/stretch_average_kernels.h"
#include "filters/stretch_gather.h"
#include "filters/stretch_kernels.h"
#include "filters/stretch_table.h"

#include <algorithm>
#include <limits>
#include <optional>
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

/// The rows between the two passes that are still needed. Row r takes the place of row r - `count`.
class RowBand {
public:
    RowBand(const SxImageBuf& src, const SxImageBuf& dst, std::int64_t count)
    {
        const std::int64_t bytes = rowSamples(src, dst) * bytesPerSample(src.dataType);
        const std::int64_t stride = (bytes + stretchRowSlack + 63) / 64 * 64;
        constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
        if (src.channels > 0 && stride <= most && count <= most)
            AllocBuffer(m_rows, dst.width, static_cast<int>(count), src.channels, src.dataType,
                        static_cast<int>(stride), src.bitsPerSample, Interleaved, false, CompressionNone);
    }
    ~RowBand() { FreeBuffer(m_rows); }
    RowBand(const RowBand&) = delete;
    RowBand& operator=(const RowBand&) = delete;

    bool exists() const noexcept { return m_rows.data != nullptr; }
    std::uint8_t* row(std::int64_t y) noexcept { return rowOf(m_rows, y % m_rows.height); }

private:
    SxImageBuf m_rows;
};

ResultCode stretchToDouble(const SxImageBuf& src, SxImageBuf& dst, const StretchAverageRows& kernels)
{
    RowBand band(src, dst, 2);
    if (!band.exists())
        return ResultFailed;
    for (std::int64_t y = 0; y < src.height; ++y) {
        kernels.doubleRow(rowOf(src, y), band.row(y), src.width, src.channels);
        kernels.doubledRows(band.row(std::max<std::int64_t>(y - 1, 0)), band.row(y), rowOf(dst, 2 * y),
                            rowOf(dst, 2 * y + 1), rowSamples(src, dst));
    }
    return stretched;
}

ResultCode stretchToHalf(const SxImageBuf& src, SxImageBuf& dst, const StretchAverageRows& kernels)
{
    RowBand band(src, dst, 3);
    if (!band.exists())
        return ResultFailed;
    std::int64_t next = 0;
    for (std::int64_t y = 0; y < dst.height; ++y) {
        const std::int64_t below = std::min<std::int64_t>(2 * y + 2, src.height - 1);
        for (; next <= below; ++next)
            kernels.halveRow(rowOf(src, next), band.row(next), src.width, src.channels);
        kernels.halvedRow(band.row(2 * y), band.row(2 * y + 1), band.row(below), rowOf(dst, y),
                          rowSamples(src, dst));
    }
    return stretched;
}

ResultCode stretchByTaps(const SxImageBuf& src, SxImageBuf& dst, const StretchRows& kernels)
{
    const StretchTable along(src.width, dst.width);
    const StretchTable across(src.height, dst.height);
    std::optional<StretchGather> gather;
    if (kernels.alongByGather != nullptr)
        gather = arrangeGather(along, src.width, src.channels, bytesPerSample(src.dataType));
    std::vector<const std::uint8_t*> rows(static_cast<std::size_t>(across.mostTaps()));
    RowBand band(src, dst, across.inputsKept() + 1);  // source rows come in pairs
    if (!band.exists())
        return ResultFailed;
    const auto addPair = [&](std::int64_t first) {
        const std::int64_t second = std::min<std::int64_t>(first + 1, src.height - 1);
        if (gather) {
            kernels.alongByGather(rowOf(src, first), rowOf(src, second), band.row(first), band.row(second),
                                  *gather);
        } else {
            for (const std::int64_t y : {first, second})
                kernels.alongByTable(rowOf(src, y), band.row(y), along, src.channels);
        }
    };
    std::int64_t next = 0;
    for (std::int64_t y = 0; y < dst.height; ++y) {
        const std::span<const StretchTap> taps = across.taps(y);
        for (std::size_t i = 0; i < taps.size(); ++i) {
            for (; next <= taps[i].index; next += 2)
                addPair(next);
            rows[i] = band.row(taps[i].index);
        }
        kernels.across(rows.data(), taps, rowOf(dst, y), rowSamples(src, dst));
    }
    return stretched;
}

bool isMultiple(std::int64_t larger, std::int64_t smaller, std::int64_t factor)
{
    return larger == factor * smaller;
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
                const bool plain = src.channels <= stretchAverageChannels &&
                                   rowSamples(src, dst) * std::int64_t{sizeof(T)} <= dst.stride;
                if (plain && isMultiple(dst.width, src.width, 2) && isMultiple(dst.height, src.height, 2))
                    return stretchToDouble(src, dst, stretchAverageKernels().of<T>());
                if (plain && isMultiple(src.width, dst.width, 2) && isMultiple(src.height, dst.height, 2))
                    return stretchToHalf(src, dst, stretchAverageKernels().of<T>());
                return stretchByTaps(src, dst, stretchKernels().of<T>());
            },
            stretched);
    });
}

}  // namespace ko
