#include "snake/energy.h"

#include "base/conversions.h"
#include "base/image_view.h"
#include "base/kernel_loops.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace ko {

namespace {

std::int32_t gradientAt(const ContourField& field, ContourPoint point)
{
    return loadSample<std::int32_t>(rowOf(field.gradient, point.y), point.x);
}

/// In fifths of a pixel, as the steps of the distance's mask count them.
std::int32_t distanceAt(const ContourField& field, ContourPoint point)
{
    return toInt32(5.0 * loadSample<double>(rowOf(field.distance, point.y), point.x));
}

/// One number per candidate. They are computed in loops of their own, which the compiler takes two at a time.
constexpr int candidateCount = 9;
using Term = std::array<double, candidateCount>;

/// Candidates in raster order around the current position.
ContourPoint candidateOf(ContourPoint current, int index)
{
    return {current.x + index % 3 - 1, current.y + index / 3 - 1};
}

/// How far the candidates around `current` are from a point.
Term distancesFrom(ContourPoint point, ContourPoint current)
{
    std::array<std::int64_t, 3> squaresX, squaresY;
    for (int k = 0; k < 3; ++k) {
        const std::int64_t dx = current.x + std::int64_t{k - 1} - point.x;
        const std::int64_t dy = current.y + std::int64_t{k - 1} - point.y;
        squaresX[static_cast<std::size_t>(k)] = dx * dx;
        squaresY[static_cast<std::size_t>(k)] = dy * dy;
    }
    Term squares, distances;
    for (std::size_t i = 0; i < squares.size(); ++i)
        squares[i] = static_cast<double>(squaresX[i % 3] + squaresY[i / 3]);
    for (std::size_t i = 0; i < squares.size(); ++i)
        distances[i] = std::sqrt(squares[i]);
    return distances;
}

Term continuityOf(const Term& fromPrevious, double meanGap)
{
    Term continuity;
    for (std::size_t i = 0; i < continuity.size(); ++i) {
        const double deviation = std::abs(fromPrevious[i] - meanGap);
        continuity[i] = deviation * deviation;
    }
    return continuity;
}

/// 0 for a candidate at the place of one of its neighbours.
Term curvatureOf(ContourPoint previous, ContourPoint current, ContourPoint next, const Term& fromPrevious,
                 const Term& fromNext)
{
    Term dx, dy, curvature;
    for (std::size_t i = 0; i < curvature.size(); ++i) {
        const ContourPoint at = candidateOf(current, static_cast<int>(i));
        dx[i] = static_cast<double>(2 * std::int64_t{at.x} - previous.x - next.x);
        dy[i] = static_cast<double>(2 * std::int64_t{at.y} - previous.y - next.y);
    }
    for (std::size_t i = 0; i < curvature.size(); ++i) {
        const double product = fromPrevious[i] * fromNext[i], divisor = product == 0 ? 1.0 : product;
        const double kx = dx[i] / divisor, ky = dy[i] / divisor;
        curvature[i] = product == 0 ? 0.0 : kx * kx + ky * ky;
    }
    return curvature;
}

Term distanceOf(const ContourField& field, ContourPoint current)
{
    Term distance;
    const std::int64_t here = distanceAt(field, current);
    for (std::size_t i = 0; i < distance.size(); ++i)
        distance[i] =
            static_cast<double>(distanceAt(field, candidateOf(current, static_cast<int>(i))) - here);
    return distance;
}

/// Moving away from where the gradient is.
Term gradientOf(const ContourField& field, ContourPoint current)
{
    const double diagonal = std::sqrt(2.0);
    Term gradient{diagonal, 1, diagonal, 1, 0, 1, diagonal, 1, diagonal};
    const std::int32_t here = gradientAt(field, current);
    for (double& value : gradient)
        value *= here;
    return gradient;
}

void normalize(Term& term)
{
    double sum = 0;
    for (const double value : term)
        sum += std::abs(value);
    const double divisor = sum == 0 ? 1 : sum;
    for (double& value : term)
        value /= divisor;
}

}  // namespace

void fetchAround(const ContourField& field, ContourPoint point)
{
    const auto fetch = [](const SxImageBuf& image, ContourPoint at) {
        fetchLines<false>(reinterpret_cast<std::uintptr_t>(
                              rowOf(image, at.y) + at.x * std::int64_t{bytesPerSample(image.dataType)}),
                          1);
    };
    fetch(field.gradient, point);
    for (const int dy : {-1, 0, 1})
        fetch(field.distance, {point.x, point.y + dy});
}

ContourPoint bestPosition(ContourPoint previous, ContourPoint current, ContourPoint next, double meanGap,
                          const SxSnakeParams& params, const ContourField& field)
{
    const Term fromPrevious = distancesFrom(previous, current), fromNext = distancesFrom(next, current);
    Term continuity = continuityOf(fromPrevious, meanGap);
    Term curvature = curvatureOf(previous, current, next, fromPrevious, fromNext);
    Term distance = distanceOf(field, current), gradient = gradientOf(field, current), energy;
    for (Term* const term : {&continuity, &curvature, &distance, &gradient})
        normalize(*term);
    for (std::size_t i = 0; i < energy.size(); ++i)
        energy[i] = params.weightContinuity * continuity[i] + params.weightCurvature * curvature[i] +
                    params.weightDistance * distance[i] + params.weightGradient * gradient[i];
    ContourPoint best = current;
    double least = std::numeric_limits<double>::max();
    for (std::size_t i = 0; i < energy.size(); ++i) {
        if (energy[i] < least) {
            least = energy[i];
            best = candidateOf(current, static_cast<int>(i));
        }
    }
    return best;
}

}  // namespace ko
