// Naive twin of the active contour, by its textbook description: whole-list insertions and removals, no
// shortcuts.
#pragma once

#include "oracle/chamfer.h"
#include "oracle/sobel.h"
#include "support/test_image.h"

#include <ko/snake.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <vector>

namespace ko::oracle {

struct SnakePoint {
    int x, y;
    bool operator==(const SnakePoint&) const = default;
};
using Snake = std::vector<SnakePoint>;

inline Snake plain(const QList<_point_<int>>& points)
{
    Snake result;
    for (const auto& point : points)
        result.push_back({point.x, point.y});
    return result;
}

/// Image values by column and row.
struct SnakeField {
    int width, height;
    std::vector<int> gradient, distance;
    int g(SnakePoint p) const { return gradient[static_cast<std::size_t>(p.y * width + p.x)]; }
    int d(SnakePoint p) const { return distance[static_cast<std::size_t>(p.y * width + p.x)]; }
};

inline SnakePoint nth(const Snake& s, int i)
{
    const int n = static_cast<int>(s.size());
    return s[static_cast<std::size_t>(((i % n) + n) % n)];
}

inline double norm(SnakePoint a, SnakePoint b)
{
    const double dx = a.x - b.x, dy = a.y - b.y;
    return std::sqrt(dx * dx + dy * dy);
}

inline bool snakeStep(Snake& s, const SxSnakeParams& p, const SnakeField& f)
{
    const int n = static_cast<int>(s.size());
    double length = 0;
    for (int i = 0; i < n; ++i)
        length += norm(nth(s, i), nth(s, i + 1));
    const double mean = length / n;
    Snake next;
    for (int i = 0; i < n; ++i) {
        const SnakePoint prev = nth(s, i - 1), cur = nth(s, i), succ = nth(s, i + 1);
        double terms[4][9];
        SnakePoint q[9];
        int c = 0;
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx, ++c) {
                q[c] = {cur.x + dx, cur.y + dy};
                const double off = std::fabs(norm(q[c], prev) - mean);
                terms[0][c] = off * off;
                const double la = norm(q[c], prev), lb = norm(q[c], succ);
                terms[1][c] = 0;
                if (la != 0 && lb != 0) {
                    const double kx = ((q[c].x - prev.x) + (q[c].x - succ.x)) / (la * lb);
                    const double ky = ((q[c].y - prev.y) + (q[c].y - succ.y)) / (la * lb);
                    terms[1][c] = kx * kx + ky * ky;
                }
                terms[2][c] = f.d(q[c]) - f.d(cur);
                terms[3][c] = f.g(cur) * norm(q[c], cur);
            }
        for (auto& term : terms) {
            double sum = 0;
            for (const double value : term)
                sum += std::fabs(value);
            for (double& value : term)
                value = sum == 0 ? value : value / sum;
        }
        double best = DBL_MAX;
        SnakePoint chosen = cur;
        for (c = 0; c < 9; ++c) {
            const double energy = p.weightContinuity * terms[0][c] + p.weightCurvature * terms[1][c] +
                                  p.weightDistance * terms[2][c] + p.weightGradient * terms[3][c];
            if (energy < best)
                best = energy, chosen = q[c];
        }
        chosen.x = chosen.x < 1 ? 1 : chosen.x >= f.width - 1 ? f.width - 2 : chosen.x;
        chosen.y = chosen.y < 1 ? 1 : chosen.y >= f.height - 1 ? f.height - 2 : chosen.y;
        next.push_back(chosen);
    }
    const bool moved = next != s;
    s = next;
    return moved;
}

inline void snakeRemoveLoops(Snake& s, int distance)
{
    for (int i = 0; i < static_cast<int>(s.size()); ++i) {
        const int n = static_cast<int>(s.size());
        for (int offset = n / 2 + 1; offset >= 1; --offset) {
            if (offset % n == 0 || norm(nth(s, i + offset), nth(s, i)) > distance)
                continue;
            Snake kept;
            for (int k = 0; k < n; ++k) {
                const int ahead = (k - i + n) % n;
                if (ahead == 0 || ahead > offset)
                    kept.push_back(s[static_cast<std::size_t>(k)]);
            }
            s = kept;
            break;
        }
    }
}

inline void snakeInsert(Snake& s, int spacing, int most)
{
    for (int i = 0; spacing >= 1 && i < static_cast<int>(s.size()) && static_cast<int>(s.size()) < most;) {
        const SnakePoint a = nth(s, i - 1), b = nth(s, i), c = nth(s, i + 1), d = nth(s, i + 2);
        const SnakePoint n{
            static_cast<int>(a.x / 48.0 + 23.0 * b.x / 48.0 + 23.0 * c.x / 48.0 + d.x / 48.0 + 0.5),
            static_cast<int>(a.y / 48.0 + 23.0 * b.y / 48.0 + 23.0 * c.y / 48.0 + d.y / 48.0 + 0.5)};
        if (norm(c, b) > spacing && !(n == c && n == d))
            s.insert(s.begin() + i + 1, n);
        else
            ++i;
    }
}

inline void snakeResample(Snake& s, int spacing)
{
    if (spacing < 1)
        return;
    std::vector<double> l{0};
    for (int k = 0; k < static_cast<int>(s.size()); ++k)
        l.push_back(l.back() + norm(nth(s, k), nth(s, k + 1)));
    const int count = static_cast<int>(l.back() / spacing + 0.5);
    if (count <= 0)
        return;
    Snake even;
    for (int m = 0; m < count; ++m) {
        const double a = m * l.back() / count;
        int k = 0;
        while (!(l[static_cast<std::size_t>(k)] <= a && a < l[static_cast<std::size_t>(k) + 1]))
            ++k;
        const double t = (a - l[static_cast<std::size_t>(k)]) /
                         (l[static_cast<std::size_t>(k) + 1] - l[static_cast<std::size_t>(k)]);
        // Powers first: half way between two points the order of rounding decides which pixel it is.
        const double t2 = t * t, t3 = t2 * t;
        const double w[4] = {(1 - t) * (1 - t) * (1 - t), 3 * t3 - 6 * t2 + 4, -3 * t3 + 3 * t2 + 3 * t + 1,
                             t3};
        double x = 0, y = 0;
        for (int j = 0; j < 4; ++j) {
            x += w[j] * nth(s, k - 1 + j).x;
            y += w[j] * nth(s, k - 1 + j).y;
        }
        even.push_back({static_cast<int>(x / 6 + 0.5), static_cast<int>(y / 6 + 0.5)});
    }
    s = even;
}

inline void snakeIterate(Snake& s, const SxSnakeParams& p, const SnakeField& f)
{
    bool moved = snakeStep(s, p, f);
    int k = 0;
    while (moved) {
        if (k >= p.maxIterations)
            break;
        if (p.refine != 0 && k % std::max(1, p.refineInterval) == 0) {
            snakeRemoveLoops(s, p.loopDistance);
            snakeInsert(s, p.pointSpacing, std::max(65536, f.width * f.height));
        }
        ++k;
        moved = snakeStep(s, p, f);
    }
    if (p.refine != 0)
        snakeResample(s, p.pointSpacing);
}

/// Gradient and distance as the contour sees them.
template <class T>
SnakeField fieldOf(const test::TestImage& src, double edgeFraction)
{
    const int w = src.buf().width, h = src.buf().height;
    test::TestImage gradient(test::Layout{.width = w, .height = h, .type = Int32});
    sobel<T>(src, gradient);
    auto values = gradient.all<std::int32_t>();
    const int largest = *std::max_element(values.begin(), values.end());
    const int threshold = static_cast<int>(largest * std::min(1.0, std::max(0.0, edgeFraction)));
    test::TestImage edges(test::Layout{.width = w, .height = h}),
        distance(test::Layout{.width = w, .height = h, .type = Float64});
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            auto& g = values[static_cast<std::size_t>(y * w + x)];
            edges.set<std::uint8_t>(x, y, g > threshold ? std::uint8_t{255} : std::uint8_t{0});
            g = g > threshold ? g : 0;
        }
    chamferDistance(edges, distance, 2);
    std::vector<int> scaled;
    for (const double d : distance.all<double>())
        scaled.push_back(static_cast<int>(5.0 * d));
    return {w, h, values, scaled};
}

template <class T>
Snake snakeImage(const test::TestImage& src, const SxSnakeParams& params, const QList<_point_<int>>& input)
{
    const SnakeField field = fieldOf<T>(src, params.edgeFraction);
    Snake snake = plain(input);
    for (auto& point : snake) {
        point.x = std::min(std::max(point.x, 1), field.width - 2);
        point.y = std::min(std::max(point.y, 1), field.height - 2);
    }
    snakeIterate(snake, params, field);
    return snake;
}

}  // namespace ko::oracle
