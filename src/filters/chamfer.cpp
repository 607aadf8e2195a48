#include <ko/filters.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/image_view.h"
#include "base/kernel_loops.h"
#include "filters/chamfer_kernels.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <vector>

namespace ko {

namespace {

/// A step of `dx` columns and `dy` rows; its mirror images and its transpose cost the same.
struct Step {
    std::int32_t dx, dy, weight;
};

constexpr Step chessboard[] = {{1, 0, 1}, {1, 1, 1}};
constexpr Step steps3x3[] = {{1, 0, 3}, {1, 1, 4}};
constexpr Step steps5x5[] = {{1, 0, 5}, {1, 1, 7}, {2, 1, 11}};
constexpr Step steps7x7[] = {{1, 0, 14}, {1, 1, 20}, {2, 1, 31}, {3, 1, 44}};
constexpr Step steps13x13[] = {{1, 0, 68},  {1, 1, 96},  {2, 1, 152}, {3, 1, 215}, {3, 2, 245},
                               {4, 1, 280}, {4, 3, 340}, {5, 1, 346}, {6, 1, 413}};

/// By `ExChamferMask`.
constexpr std::span<const Step> stepsOf[] = {chessboard, steps3x3, steps5x5, steps7x7, steps13x13};

bool isKnown(ExChamferMask mask)
{
    return mask >= 0 && mask < std::ssize(stepsOf);
}

/// Rows of distances: the one being settled and those before it that its steps reach.
template <class T>
class RecentRows {
public:
    /// The last step of every mask reaches farthest.
    RecentRows(std::int64_t width, std::span<const Step> steps, T far)
        : m_steps(steps),
          m_width(width),
          m_far(far),
          m_count(steps.back().dx + 1),
          m_pitch(width + 2 * chamferMargin),
          m_samples(static_cast<std::size_t>(m_count * m_pitch), far)
    {
        m_taps.reserve(4 * steps.size());
    }

    /// Pixels of the row that is `back` rows before the newest.
    T* row(std::int64_t back)
    {
        const std::int64_t slot = (m_newest - back + m_count) % m_count;
        return m_samples.data() + slot * m_pitch + chamferMargin;
    }

    /// Makes room for the next row in place of the oldest.
    T* next()
    {
        m_newest = (m_newest + 1) % m_count;
        return row(0);
    }

    /// Settles the newest row from those before it.
    void settle(const ChamferRows<T>& kernels)
    {
        m_taps.clear();
        for (const Step& step : m_steps) {
            if (step.dy != 0) {
                tap(step.dy, -step.dx, step.weight);
                tap(step.dy, step.dx, step.weight);
            }
            if (step.dx != step.dy) {
                tap(step.dx, -step.dy, step.weight);
                if (step.dy != 0)
                    tap(step.dx, step.dy, step.weight);
            }
        }
        T* const newest = row(0);
        kernels.settle(newest, m_width, m_taps.data(), static_cast<std::int64_t>(m_taps.size()),
                       static_cast<T>(m_steps.front().weight), m_far);
        std::fill_n(newest + m_width, chamferMargin, m_far);
    }

private:
    void tap(std::int64_t back, std::int64_t dx, std::int32_t weight)
    {
        m_taps.push_back({row(back) + dx, static_cast<T>(weight)});
    }

    std::span<const Step> m_steps;
    std::int64_t m_width;
    T m_far;
    std::int64_t m_count, m_pitch;
    std::int64_t m_newest = 0;
    std::vector<T> m_samples;
    std::vector<ChamferTap<T>> m_taps;
};

/// Objects are at distance 0, everything else is far.
template <class T>
void startRow(const std::uint8_t* src, T* row, std::int64_t width, T far)
{
    KO_INDEPENDENT_ITERATIONS
    for (std::int64_t x = 0; x < width; ++x)
        row[x] = src[x] != 0 ? T{0} : far;
}

/// The destination's rows hold the results of the first pass, as whole numbers, until the second has used
/// them. The second pass runs from the last pixel to the first: its rows are kept mirrored, so that it is the
/// first pass once more.
template <class T>
void transform(const SxImageBuf& src, SxImageBuf& dst, std::span<const Step> steps, T far,
               const ChamferRows<T>& kernels)
{
    const std::int64_t width = src.width, height = src.height;
    RecentRows<T> down(width, steps, far), up(width, steps, far);
    for (std::int64_t y = 0; y < height; ++y) {
        startRow(rowOf(src, y), down.next(), width, far);
        down.settle(kernels);
        kernels.storeMirrored(down.row(0), width, rowOf(dst, y));
    }
    const auto rowBytes = static_cast<std::size_t>(width) * sizeof(T);
    for (std::int64_t y = height - 1; y >= 0; --y) {
        std::memcpy(up.next(), rowOf(dst, y), rowBytes);
        up.settle(kernels);
        kernels.storeDistances(up.row(0), width, static_cast<T>(steps.front().weight), far, rowOf(dst, y));
    }
}

}  // namespace

ResultCode ChamferDistance(const SxImageBuf& src, SxImageBuf& dst, ExChamferMask mask)
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src) && isMono(src) && hasType(src, UInt8)},
                {ResultBadArg2, isPresent(dst) && isMono(dst) && hasType(dst, Float64)},
                {ResultBadArg2, sameSize(dst, src)},
                {ResultBadArg3, isKnown(mask)},
                {ResultBadArg1, rowsFit(src)},
                {ResultBadArg2, rowsFit(dst)},
            }))
            return rc;
        const std::span<const Step> steps = stepsOf[mask];
        // No path is longer than straight along both sides.
        const std::int64_t longest = (std::int64_t{src.width} + src.height) * steps.front().weight;
        constexpr std::int32_t far32 = std::int32_t{1} << 30;
        constexpr std::int64_t far64 = std::int64_t{1} << 60;
        if (longest < far32)
            transform(src, dst, steps, far32, chamferKernels().i32);
        else
            transform(src, dst, steps, far64, chamferKernels().i64);
        return ResultOk;
    });
}

}  // namespace ko
