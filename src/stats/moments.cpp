#include <ko/stats/moments.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/joined_rows.h"
#include "stats/square_kernels.h"

#include <algorithm>
#include <array>
#include <functional>
#include <vector>

namespace ko {

namespace {

/// Numbers of one channel in a thread's slot: those of `SxMoments`, in its order.
constexpr std::size_t numbers = 3;

/// The samples of one channel in neighbouring pixels.
struct ChannelRun {
    const std::uint8_t* first;
    std::int64_t step;         ///< samples from pixel to pixel
    const std::uint8_t* mask;  ///< null: all pixels
    std::int64_t pixels;
};

/// Samples that lie apart or are not all selected are brought together first, some at a time.
template <class T>
void addRun(const ChannelRun& run, std::uint64_t* moments) noexcept
{
    constexpr std::int64_t longestPiece = 4096;
    const SquareKernels& kernels = squareKernels();
    std::array<std::uint8_t, longestPiece * sizeof(T)> piece;
    for (std::int64_t x = 0; x < run.pixels; x += longestPiece) {
        const std::int64_t count = std::min(longestPiece, run.pixels - x);
        const std::uint8_t* samples = run.first + x * run.step * std::int64_t{sizeof(T)};
        std::int64_t selected = count;
        if (run.step != 1) {
            kernels.gather.of<T>()(samples, run.step, count, piece.data());
            samples = piece.data();
        }
        if (run.mask != nullptr) {
            selected = kernels.select.of<T>()(samples, run.mask + x, count, piece.data());
            samples = piece.data();
        }
        moments[0] += static_cast<std::uint64_t>(selected);
        kernels.add.of<T>()({samples, 0, 1, count}, moments + 1);
    }
}

/// Of all channels of an interleaved image, or of one plane.
template <class T>
void sumUp(const SxImageBuf& src, const SxImageBuf* mask, SxMoments* moments)
{
    const auto channels = static_cast<std::size_t>(std::max(src.channels, 0));
    const RowRuns runs(workOn(src), true, rowBytes(src));
    const bool areJoined = isGapless(src) && (mask == nullptr || isGapless(*mask));
    std::vector<std::uint64_t> total(numbers * channels);
    const auto addRows = [&](std::uint64_t* partial, std::int64_t y, std::int64_t rows,
                             std::int64_t pixels) noexcept {
        if (channels == 1 && mask == nullptr) {
            partial[0] += static_cast<std::uint64_t>(rows * pixels);
            squareKernels().add.of<T>()({rowOf(src, y), src.stride, rows, pixels}, partial + 1);
            return;
        }
        for (const std::int64_t end = y + rows; y < end; ++y) {
            for (std::size_t c = 0; c < channels; ++c) {
                addRun<T>({rowOf(src, y) + c * sizeof(T), src.channels,
                           mask != nullptr ? rowOf(*mask, y) : nullptr, pixels},
                          partial + numbers * c);
            }
        }
    };
    reducePerThread<std::uint64_t>(
        runs.work(), total.size(),
        [&](std::uint64_t* partial, std::int64_t run) noexcept {
            const std::int64_t rows = runs.rowsOf(run);
            addRows(partial, runs.firstRow(run), areJoined ? 1 : rows,
                    areJoined ? rows * src.width : src.width);
        },
        [&](const std::uint64_t* partial) {
            std::transform(total.begin(), total.end(), partial, total.begin(), std::plus<>{});
        });
    for (std::size_t c = 0; c < channels; ++c)
        moments[c] = {total[numbers * c], total[numbers * c + 1], total[numbers * c + 2]};
}

template <class T>
void sumUpChannels(const SxImageBuf& src, const SxImageBuf* mask, SxMoments* moments)
{
    if (isMono(src) || isInterleaved(src))
        return sumUp<T>(src, mask, moments);
    for (int plane = 0; plane < src.channels; ++plane)
        sumUp<T>(planeView(src, plane), mask, moments + plane);
}

bool hasFewPixels(const SxImageInfo& info)
{
    return std::int64_t{info.width} * info.height <= mostMomentPixels;
}

}  // namespace

ResultCode Moments(const SxImageBuf& src, SxMoments* moments)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src)},
                {ResultBadArg2, moments != nullptr},
                {ResultOutOfRange, hasFewPixels(src)},
                {ResultUnsupportedType, hasLayout(src)},
            }))
            return rc;
        return dispatch(ByTypeOf<UInt8, UInt16>{}, src.dataType, {{ResultBadArg1, rowsFit(src)}},
                        [&]<class T>(std::type_identity<T>) { sumUpChannels<T>(src, nullptr, moments); });
    });
}

ResultCode MomentsMasked(const SxImageBuf& src, const SxImageBuf& mask, SxMoments* moments)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src)},
                {ResultBadArg2, isMaskOf(mask, src)},
                {ResultBadArg3, moments != nullptr},
                {ResultOutOfRange, hasFewPixels(src)},
                {ResultUnsupportedType, hasLayout(src)},
            }))
            return rc;
        return dispatch(ByTypeOf<UInt8, UInt16>{}, src.dataType,
                        {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(mask)}},
                        [&]<class T>(std::type_identity<T>) { sumUpChannels<T>(src, &mask, moments); });
    });
}

}  // namespace ko
