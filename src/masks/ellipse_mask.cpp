#include <ko/masks.h>

#include "base/boundary.h"
#include "base/checks.h"
#include "base/image_view.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace ko {

namespace {

constexpr double pi = 3.14159265358979323846;

double normalizedAngle(double angle)
{
    double t = std::isfinite(angle) ? angle : 0.0;
    if (std::abs(t) > pi)
        t -= std::floor(t / pi) * pi;
    if (t < 0)
        t += pi;
    return t;
}

struct Extent {
    double x;
    double y;
};

/// Half the size of the rectangle around the ellipse; near the axes the exact semi-axes, without rounding.
Extent halfExtent(double a, double b, double t)
{
    const double nearAxis = std::atan(1.0 / a);
    if (nearAxis > t || nearAxis > std::abs(t - pi))
        return {a, b};
    if (nearAxis > std::abs(t - pi / 2))
        return {b, a};
    const double s = std::sin(t), c = std::cos(t);
    const double t1 = std::atan(-(s * b) / (c * a));
    const double t2 = std::atan((c * b) / (s * a));
    return {std::abs(std::cos(t1) * a * c - std::sin(t1) * b * s),
            std::abs(std::sin(t2) * b * c + std::cos(t2) * a * s)};
}

std::int64_t rounded(double extent)
{
    const double whole = std::floor(extent);
    return static_cast<std::int64_t>(whole) + (extent - whole >= 0.5 ? 1 : 0);
}

/// The ellipse as the set of points where P x^2 + R y^2 + 2 S x y + K is not positive.
class Quadratic {
public:
    Quadratic(double a, double b, double t)
    {
        const double f = a == b ? 0.0 : std::sqrt(a * a - b * b);
        const double fc = std::cos(t) * f, fs = std::sin(t) * f;
        m_p = a * a - fc * fc;
        m_r = a * a - fs * fs;
        m_s = fs == 0.0 ? 0.0 : -fs * fc;
        m_k = -(a * a) * (b * b);
    }

    /// A pixel belongs to the ellipse when its centre does, or else when the point half way to the neighbour
    /// on the inner side does.
    bool covers(std::int64_t x, std::int64_t y) const
    {
        const auto px = static_cast<double>(x), py = static_cast<double>(y);
        if (at(px, py) <= 0)
            return true;
        // Flatter than the diagonal: the horizontal neighbour; y is never negative.
        if (0 < y && y < x)
            return at(px - 0.5, py) < 0;
        if (0 < y && y < -x)
            return at(px + 0.5, py) < 0;
        return at(px, py - 0.5) < 0;
    }

private:
    double at(double x, double y) const { return m_p * (x * x) + m_r * (y * y) + 2 * m_s * x * y + m_k; }

    double m_p, m_r, m_s, m_k;
};

/// Calls `paint(column, row, inside)` for the lower half, centre row included, and for its point reflection.
template <class Paint>
void paintEllipse(const SxImageBuf& image, const Quadratic& ellipse, const Paint& paint)
{
    const std::int64_t w = image.width, h = image.height;
    for (std::int64_t y = 0; y <= h / 2; ++y) {
        for (std::int64_t x = -(w / 2); x <= w / 2; ++x) {
            const bool inside = ellipse.covers(x, y);
            const std::int64_t column = x + w / 2, row = y + h / 2;
            paint(column, row, inside);
            if (y > 0)
                paint(w - 1 - column, h - 1 - row, inside);
        }
    }
}

ResultCode checkEllipse(const SxImageBuf& out, int a, int b)
{
    return firstFailure({
        {ResultBadArg1, out.data == nullptr},
        {ResultBadArg2, a >= 1},
        {ResultBadArg3, b >= 1 && b <= a},
    });
}

ResultCode allocateEllipse(SxImageBuf& out, double a, double b, double t, int channels)
{
    const Extent half = halfExtent(a, b, t);
    const std::int64_t width = 2 * rounded(half.x) + 1, height = 2 * rounded(half.y) + 1;
    const std::int64_t stride = (width * channels + 3) & ~std::int64_t{3};
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
    out = SxImageBuf{};
    if (stride > most || height > most)
        return ResultFailed;
    const ResultCode rc = AllocBuffer(out, static_cast<int>(width), static_cast<int>(height), channels, UInt8,
                                      static_cast<int>(stride), 8, Interleaved, false, CompressionNone);
    return isFailure(rc) ? ResultFailed : rc;
}

}  // namespace

ResultCode EllipseMaskMono(SxImageBuf& out, int a, int b, double angle, unsigned char background,
                           unsigned char foreground)
{
    return guarded([&] {
        if (const ResultCode rc = checkEllipse(out, a, b))
            return rc;
        const double t = normalizedAngle(angle);
        const ResultCode allocated = allocateEllipse(out, a, b, t, 1);
        if (isFailure(allocated))
            return allocated;
        std::fill_n(out.data, imageByteSize(out), background);
        paintEllipse(out, Quadratic(a, b, t), [&](std::int64_t column, std::int64_t row, bool inside) {
            if (inside)
                rowOf(out, row)[column] = foreground;
        });
        return allocated;
    });
}

ResultCode EllipseMaskRgb(SxImageBuf& out, int a, int b, double angle, const unsigned char* background,
                          const unsigned char* foreground)
{
    return guarded([&] {
        if (const ResultCode rc = checkEllipse(out, a, b))
            return rc;
        if (const ResultCode rc = firstFailure({
                {ResultBadArg5, background != nullptr},
                {ResultBadArg6, foreground != nullptr},
            }))
            return rc;
        const double t = normalizedAngle(angle);
        const ResultCode allocated = allocateEllipse(out, a, b, t, 3);
        if (isFailure(allocated))
            return allocated;
        paintEllipse(out, Quadratic(a, b, t), [&](std::int64_t column, std::int64_t row, bool inside) {
            std::copy_n(inside ? foreground : background, 3, rowOf(out, row) + 3 * column);
        });
        return allocated;
    });
}

}  // namespace ko
