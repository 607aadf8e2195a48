#include "snake/contour.h"

#include "base/conversions.h"
#include "snake/energy.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

namespace ko {

namespace {

std::int64_t squaredDistance(ContourPoint a, ContourPoint b)
{
    const std::int64_t dx = std::int64_t{a.x} - b.x, dy = std::int64_t{a.y} - b.y;
    return dx * dx + dy * dy;
}

double distanceBetween(ContourPoint a, ContourPoint b)
{
    return std::sqrt(static_cast<double>(squaredDistance(a, b)));
}

bool equal(ContourPoint a, ContourPoint b)
{
    return a.x == b.x && a.y == b.y;
}

/// Point at a position counted around the closed contour, from -1 to twice its size.
ContourPoint around(const Contour& contour, std::int64_t index)
{
    const auto count = static_cast<std::int64_t>(contour.size());
    return contour[static_cast<std::size_t>((index + count) % count)];
}

double perimeter(const Contour& contour)
{
    double length = 0;
    for (std::size_t i = 0; i < contour.size(); ++i)
        length += distanceBetween(contour[i], around(contour, static_cast<std::int64_t>(i) + 1));
    return length;
}

/// The contour while points are put into it: those passed already, and those to come with the next one last,
/// so that inserting costs the same anywhere.
class Insertion {
public:
    explicit Insertion(const Contour& contour)
        : m_passed{contour.front()}, m_ahead(contour.rbegin(), contour.rend() - 1)
    {
    }

    std::size_t size() const { return m_passed.size() + m_ahead.size(); }

    /// Point at an offset from the current one, around the closed contour.
    ContourPoint at(std::int64_t offset) const
    {
        const auto count = static_cast<std::int64_t>(size());
        const std::int64_t current = static_cast<std::int64_t>(m_passed.size()) - 1;
        const auto index = static_cast<std::size_t>((current + offset + count) % count);
        return index < m_passed.size() ? m_passed[index] : m_ahead[size() - 1 - index];
    }

    void insertNext(ContourPoint point) { m_ahead.push_back(point); }

    /// Goes on to the next point; false at the last one.
    bool advance()
    {
        if (m_ahead.empty())
            return false;
        m_passed.push_back(m_ahead.back());
        m_ahead.pop_back();
        return true;
    }

    /// The contour, at the end.
    Contour take()
    {
        while (advance()) {
        }
        return std::move(m_passed);
    }

private:
    Contour m_passed, m_ahead;
};

/// Between the second and third of four points, on a flat spline through them.
int between(double a, double b, double c, double d)
{
    return toInt32(a / 48 + 23 * b / 48 + 23 * c / 48 + d / 48 + 0.5);
}

/// Position on a uniform cubic B-spline, t = 0...1 from the second to the third of its control points.
int onSpline(double a, double b, double c, double d, double t)
{
    const double u = 1 - t, t2 = t * t, t3 = t * t * t;
    const double b0 = u * u * u, b1 = 3 * t3 - 6 * t2 + 4, b2 = -3 * t3 + 3 * t2 + 3 * t + 1;
    return toInt32((b0 * a + b1 * b + b2 * c + t3 * d) / 6 + 0.5);
}

}  // namespace

ContourPoint intoBand(ContourPoint point, const SxImageInfo& image)
{
    return {std::clamp(point.x, 1, image.width - 2), std::clamp(point.y, 1, image.height - 2)};
}

bool stepContour(Contour& contour, const SxSnakeParams& params, const ContourField& field)
{
    const double meanGap = perimeter(contour) / static_cast<double>(contour.size());
    Contour moved(contour.size());
    bool any = false;
    for (std::size_t i = 0; i < contour.size(); ++i) {
        const auto index = static_cast<std::int64_t>(i);
        constexpr std::size_t ahead = 8;
        if (i + ahead < contour.size())
            fetchAround(field, contour[i + ahead]);
        const ContourPoint best = bestPosition(around(contour, index - 1), contour[i],
                                               around(contour, index + 1), meanGap, params, field);
        moved[i] = intoBand(best, field.gradient);
        any = any || !equal(moved[i], contour[i]);
    }
    contour.swap(moved);
    return any;
}

void removeLoops(Contour& contour, std::int64_t distance)
{
    if (distance < 0)
        return;
    for (std::size_t i = 0; i < contour.size(); ++i) {
        const std::size_t count = contour.size();
        // A contour of one or two points reaches itself half way round.
        for (std::size_t offset = std::min(count / 2 + 1, count - 1); offset >= 1; --offset) {
            if (squaredDistance(contour[(i + offset) % count], contour[i]) > distance * distance)
                continue;
            const std::size_t behind = std::min(offset, count - 1 - i);
            const auto next = contour.begin() + static_cast<std::ptrdiff_t>(i + 1);
            contour.erase(next, next + static_cast<std::ptrdiff_t>(behind));
            contour.erase(contour.begin(), contour.begin() + static_cast<std::ptrdiff_t>(offset - behind));
            break;
        }
    }
}

void insertPoints(Contour& contour, std::int64_t spacing, std::size_t mostPoints)
{
    if (spacing < 1)
        return;
    Insertion points(contour);
    do {
        while (points.size() < mostPoints &&
               squaredDistance(points.at(0), points.at(1)) > spacing * spacing) {
            const ContourPoint a = points.at(-1), b = points.at(0), c = points.at(1), d = points.at(2);
            const ContourPoint inserted{between(a.x, b.x, c.x, d.x), between(a.y, b.y, c.y, d.y)};
            // The gap would be found again, unchanged, for ever.
            if (equal(inserted, c) && equal(inserted, d))
                break;
            points.insertNext(inserted);
        }
    } while (points.size() < mostPoints && points.advance());
    contour = points.take();
}

void resampleContour(Contour& contour, std::int64_t spacing)
{
    if (spacing < 1)
        return;
    const auto count = static_cast<std::int64_t>(contour.size());
    std::vector<double> lengths(contour.size() + 1);
    for (std::int64_t k = 0; k < count; ++k) {
        const auto slot = static_cast<std::size_t>(k);
        lengths[slot + 1] = lengths[slot] + distanceBetween(contour[slot], around(contour, k + 1));
    }
    const double total = lengths.back();
    const std::int64_t samples = toInt64(total / static_cast<double>(spacing) + 0.5);
    if (samples <= 0)
        return;
    if (samples > std::numeric_limits<int>::max())
        throw std::bad_alloc();
    Contour even;
    even.reserve(static_cast<std::size_t>(samples));
    std::size_t segment = 0;
    for (std::int64_t m = 0; m < samples; ++m) {
        const double position = static_cast<double>(m) * total / static_cast<double>(samples);
        while (segment + 1 < contour.size() && position >= lengths[segment + 1])
            ++segment;
        const double t = (position - lengths[segment]) / (lengths[segment + 1] - lengths[segment]);
        const auto k = static_cast<std::int64_t>(segment);
        const ContourPoint a = around(contour, k - 1), b = contour[segment];
        const ContourPoint c = around(contour, k + 1), d = around(contour, k + 2);
        even.push_back({onSpline(a.x, b.x, c.x, d.x, t), onSpline(a.y, b.y, c.y, d.y, t)});
    }
    contour.swap(even);
}

void iterateContour(Contour& contour, const SxSnakeParams& params, const ContourField& field)
{
    constexpr std::int64_t fewestLimit = 65536;
    const std::int64_t pixels = std::int64_t{field.gradient.width} * field.gradient.height;
    const auto mostPoints = static_cast<std::size_t>(std::max(fewestLimit, pixels));
    const bool refine = params.refine != 0;
    const std::int32_t interval = std::max(params.refineInterval, 1);
    bool moved = stepContour(contour, params, field);
    for (std::int32_t k = 0; moved && k < params.maxIterations; ++k) {
        if (refine && k % interval == 0) {
            removeLoops(contour, params.loopDistance);
            insertPoints(contour, params.pointSpacing, mostPoints);
        }
        moved = stepContour(contour, params, field);
    }
    if (refine)
        resampleContour(contour, params.pointSpacing);
}

}  // namespace ko
