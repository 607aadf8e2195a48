#include "plugin/focus.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace ko {

namespace {

/// Types that are wide enough, and no wider, so that a vector has as many as it can: of the Laplacian, of its magnitude
/// and of the sum of its squares over `block` samples.
template <class T>
struct Widths;
template <>
struct Widths<std::uint8_t> {
    using Bend = std::int16_t;
    using Magnitude = std::int16_t;
    using Squares = std::int32_t;
    static constexpr std::int64_t block = 2048;
};
template <>
struct Widths<std::uint16_t> {
    using Bend = std::int32_t;
    using Magnitude = std::uint32_t;
    using Squares = std::uint64_t;
    static constexpr std::int64_t block = 8192;
};

struct Sums {
    double bends = 0;
    double squares = 0;
};

/// A sample and those above and below, which may lie at any address.
struct Rows {
    const std::uint8_t* here;
    const std::uint8_t* above;
    const std::uint8_t* below;
};

template <class T>
int at(const std::uint8_t* row, std::int64_t index)
{
    T sample;
    std::memcpy(&sample, row + index * std::int64_t{sizeof(T)}, sizeof(T));
    return sample;
}

/// Adds `count` samples that lie `pitch` apart; neighbours lie `step` of them apart.
template <class T>
void add(const Rows& rows, std::int64_t count, std::int64_t pitch, std::int64_t step, Sums& sums)
{
    using Bend = typename Widths<T>::Bend;
    using Squares = typename Widths<T>::Squares;
    const auto [here, above, below] = rows;
    int bends = 0;
    Squares squares = 0;
    for (std::int64_t i = 0; i < count; ++i) {
        const std::int64_t x = i * pitch;
        const auto bend =
            static_cast<Bend>(4 * at<T>(here, x) - at<T>(here, x - step * pitch) -
                              at<T>(here, x + step * pitch) - at<T>(above, x) - at<T>(below, x));
        bends += bend;
        const auto size = static_cast<typename Widths<T>::Magnitude>(std::abs(bend));
        squares += Squares{size} * size;
    }
    sums.bends += bends;
    sums.squares += static_cast<double>(squares);
}

template <class T>
double laplacianVariance(const SxImageBuf& frame)
{
    const std::int64_t step = frame.bayerGrid != BayerNone ? 2 : 1;
    const std::int64_t pitch = frame.channels;
    const std::int64_t width = frame.width - 2 * step, height = frame.height - 2 * step;
    const std::int64_t first = (step * pitch + (pitch > 1 ? 1 : 0)) * std::int64_t{sizeof(T)};
    Sums sums;
    for (std::int64_t y = step; y < step + height; ++y)
        for (std::int64_t x = 0; x < width; x += Widths<T>::block) {
            const std::uint8_t* const here =
                frame.data + y * frame.stride + first + x * pitch * std::int64_t{sizeof(T)};
            const Rows rows{here, here - step * frame.stride, here + step * frame.stride};
            const std::int64_t count = std::min(Widths<T>::block, width - x);
            if (pitch == 1 && step == 1)
                add<T>(rows, count, 1, 1, sums);
            else if (pitch == 1)
                add<T>(rows, count, 1, 2, sums);
            else
                add<T>(rows, count, pitch, step, sums);
        }
    const double count = static_cast<double>(width) * static_cast<double>(height);
    const double mean = sums.bends / count;
    return sums.squares / count - mean * mean;
}

}  // namespace

double focusOf(const SxImageBuf& frame)
{
    const int least = frame.bayerGrid != BayerNone ? 5 : 3;
    if (frame.width < least || frame.height < least)
        return 0;
    return frame.dataType == UInt8 ? laplacianVariance<std::uint8_t>(frame)
                                   : laplacianVariance<std::uint16_t>(frame);
}

}  // namespace ko
