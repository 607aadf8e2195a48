// Naive twins of DemosaicMalvar and DemosaicMenon: every sample of the result on its own, from a mosaic that
// is mirrored without end.
#pragma once

#include "oracle/bayer.h"

#include <cmath>
#include <functional>
#include <map>

namespace ko::oracle {

inline int inMirror(int index, int count)
{
    while (index < 0 || index >= count)
        index = count == 1 ? 0 : index < 0 ? -index : 2 * (count - 1) - index;
    return index;
}

/// The mosaic and the colour of each of its places, beyond the edges too.
template <class T>
class EndlessMosaic {
public:
    EndlessMosaic(const test::TestImage& src, ExBayerGrid grid) : m_src(src), m_grid(grid) {}

    int at(int x, int y) const
    {
        return m_src.get<T>(inMirror(x, m_src.buf().width), inMirror(y, m_src.buf().height));
    }
    char colour(int x, int y) const { return bayerColour(m_grid, x & 1, y & 1); }
    /// The colour that the row has besides green.
    char rowColour(int x, int y) const { return colour(x, y) != 'G' ? colour(x, y) : colour(x + 1, y); }

private:
    const test::TestImage& m_src;
    ExBayerGrid m_grid;
};

inline int channelOf(char colour)
{
    return colour == 'R' ? 0 : colour == 'G' ? 1 : 2;
}

inline char opposite(char colour)
{
    return colour == 'R' ? 'B' : 'R';
}

template <class T>
void storeLimited(test::TestImage& dst, int x, int y, char colour, double value, int bits)
{
    const double top = std::pow(2.0, std::clamp(bits, 0, 8 * int(sizeof(T)))) - 1;
    dst.set(x, y, channelOf(colour), static_cast<T>(std::clamp(std::floor(value + 0.5), 0.0, top)));
    if (dst.buf().channels == 4)
        dst.set(x, y, 3, static_cast<T>(top));
}

using Filter = int[5][5];

template <class T>
double filtered(const EndlessMosaic<T>& mosaic, int x, int y, const Filter& sixteenths, bool isTransposed)
{
    double sum = 0;
    for (int dy = -2; dy <= 2; ++dy)
        for (int dx = -2; dx <= 2; ++dx)
            sum += mosaic.at(x + dx, y + dy) *
                   (isTransposed ? sixteenths[dx + 2][dy + 2] : sixteenths[dy + 2][dx + 2]);
    return sum / 16;
}

template <class T>
void malvar(const test::TestImage& src, const QRect& roi, ExBayerGrid grid, test::TestImage& dst)
{
    static constexpr Filter green = {
        {0, 0, -2, 0, 0}, {0, 0, 4, 0, 0}, {-2, 4, 8, 4, -2}, {0, 0, 4, 0, 0}, {0, 0, -2, 0, 0}};
    static constexpr Filter besideGreen = {
        {0, 0, 1, 0, 0}, {0, -2, 0, -2, 0}, {-2, 8, 10, 8, -2}, {0, -2, 0, -2, 0}, {0, 0, 1, 0, 0}};
    static constexpr Filter across = {
        {0, 0, -3, 0, 0}, {0, 4, 0, 4, 0}, {-3, 0, 12, 0, -3}, {0, 4, 0, 4, 0}, {0, 0, -3, 0, 0}};
    const EndlessMosaic<T> mosaic(src, grid);
    const int bits = src.buf().bitsPerSample;
    for (int y = 0; y < roi.height(); ++y)
        for (int x = 0; x < roi.width(); ++x) {
            const int mx = roi.x() + x, my = roi.y() + y;
            const char own = mosaic.colour(mx, my), inRow = mosaic.rowColour(mx, my);
            storeLimited<T>(dst, x, y, own, mosaic.at(mx, my), bits);
            if (own == 'G') {
                storeLimited<T>(dst, x, y, inRow, filtered(mosaic, mx, my, besideGreen, false), bits);
                storeLimited<T>(dst, x, y, opposite(inRow), filtered(mosaic, mx, my, besideGreen, true),
                                bits);
            } else {
                storeLimited<T>(dst, x, y, 'G', filtered(mosaic, mx, my, green, false), bits);
                storeLimited<T>(dst, x, y, opposite(own), filtered(mosaic, mx, my, across, false), bits);
            }
        }
}

/// A number per place of red and blue, worked out when it is first asked for.
class Places {
public:
    explicit Places(std::function<float(int x, int y)> at) : m_at(std::move(at)) {}
    float operator()(int x, int y) const
    {
        const auto [known, isNew] = m_known.try_emplace({x, y});
        if (isNew)
            known->second = m_at(x, y);
        return known->second;
    }

private:
    std::function<float(int, int)> m_at;
    mutable std::map<std::pair<int, int>, float> m_known;
};

/// `along` asks for values with the row, `!along` with rows and columns exchanged.
struct Turned {
    const Places& places;
    int x, y;
    bool along;
    float operator()(int dx, int dy) const { return along ? places(x + dx, y + dy) : places(x + dy, y + dx); }
};

/// How much a difference varies around a place in its direction. Each change counts in whole quarters.
inline float variation(const Turned& d)
{
    const auto change = [&](int dx, int dy) {
        return std::floor(4 * std::abs(d(dx, dy) - d(dx + 2, dy))) / 4;
    };
    const auto changes = [&](int dy) { return change(-2, dy) + change(0, dy); };
    return (3 * changes(0) + (changes(-2) + changes(2))) + (change(-1, -1) + change(-1, 1));
}

/// How far green changes with the colour from one side of a place to the other: 1, a half or 0.
inline float shareOfBend(float green, float colour, float tolerance)
{
    const float common = green * colour > 0 ? std::min(std::abs(green), std::abs(colour)) : 0;
    const float quotient = (common + tolerance) / (std::abs(colour) + tolerance);
    return quotient >= 0.75F ? 1 : quotient >= 0.25F ? 0.5F : 0;
}

template <class T>
void menon(const test::TestImage& src, const QRect& roi, ExBayerGrid grid, test::TestImage& dst)
{
    const EndlessMosaic<T> mosaic(src, grid);
    const Places sample([&](int x, int y) { return static_cast<float>(mosaic.at(x, y)); });
    const int bits = src.buf().bitsPerSample;
    const float tolerance = static_cast<float>(((1 << std::clamp(bits, 0, 8 * int(sizeof(T)))) - 1) / 64 + 1);
    const auto difference = [&](int x, int y, bool along) {
        const Turned m{sample, x, y, along};
        const float bend = (m(0, 0) + m(0, 0)) - (m(-2, 0) + m(2, 0));
        const float share = shareOfBend(2 * (m(1, 0) - m(-1, 0)), m(2, 0) - m(-2, 0), tolerance);
        return m(0, 0) - ((m(-1, 0) + m(1, 0)) * 0.5F + share * bend * 0.25F);
    };
    const Places alongRow([&](int x, int y) { return difference(x, y, true); });
    const Places alongColumn([&](int x, int y) { return difference(x, y, false); });
    const auto squared = [](float v) { return v * v; };
    const Places rowVariation([&](int x, int y) { return squared(variation({alongRow, x, y, true}) + 1); });
    const Places columnVariation([&](int x, int y) {
        return squared(variation({alongColumn, x, y, false}) + 1);
    });
    const Places alongPart(
        [&](int x, int y) { return columnVariation(x, y) / (rowVariation(x, y) + columnVariation(x, y)); });
    const auto mixture = [&](int x, int y, float row, float column) {
        return column + alongPart(x, y) * (row - column);
    };
    const Places mixed([&](int x, int y) { return mixture(x, y, alongRow(x, y), alongColumn(x, y)); });
    // Products of changes, of green or of a colour, summed over the four nearest places of that colour ...
    const auto nearest = [&](int x, int y, bool firstIsGreen, bool secondIsGreen) {
        const auto product = [&](int dx, int dy) {
            const float colour = sample(x, y) - sample(x + dx, y + dy);
            const float green = colour - (mixed(x, y) - mixed(x + dx, y + dy));
            return (firstIsGreen ? green : colour) * (secondIsGreen ? green : colour);
        };
        return (product(-2, 0) + product(2, 0)) + (product(0, -2) + product(0, 2));
    };
    // ... and those over three places in the row.
    const auto products = [&](int x, int y, bool firstIsGreen, bool secondIsGreen) {
        const auto at = [&](int dx) { return nearest(x + dx, y, firstIsGreen, secondIsGreen); };
        return ((at(-2) + at(2)) + at(0)) + tolerance * tolerance;
    };
    const Places onGreen([&](int x, int y) { return products(x, y, true, true); });
    const Places upwards([&](int x, int y) { return std::max(products(x, y, true, false), 0.0F); });
    const Places changes([&](int x, int y) {
        return products(x, y, true, false) + onGreen(x, y) + products(x, y, false, false);
    });
    const Places noise([&](int x, int y) {
        return std::min(2 * (alongPart(x, y) * rowVariation(x, y)), squared(9 * tolerance));
    });
    const Places inverse(
        [&](int x, int y) { return 1 / (onGreen(x, y) * (squared(changes(x, y)) + squared(noise(x, y)))); });
    const Places share([&](int x, int y) { return squared(changes(x, y)) * inverse(x, y); });
    const Places slope(
        [&](int x, int y) { return std::min(1.2F * upwards(x, y), onGreen(x, y)) * share(x, y); });
    const auto around = [&](const Places& of, int x, int y, bool along) {
        return along ? of(x - 2, y) + of(x + 2, y) : of(x, y - 2) + of(x, y + 2);
    };
    const Places green([&](int x, int y) {
        const float smoother =
            mixture(x, y, around(mixed, x, y, true), around(mixed, x, y, false)) - 2 * mixed(x, y);
        const float sixth = squared(upwards(x, y)) * 1.5F * (onGreen(x, y) * inverse(x, y));
        return sample(x, y) - (mixed(x, y) + sixth * smoother);
    });
    const Places offset([&](int x, int y) {
        const float third = squared(noise(x, y)) * (1.0F / 3) * (onGreen(x, y) * inverse(x, y));
        const auto apart = [&](const Places& of) { return 2 * of(x, y) - around(of, x, y, true); };
        const float colour = sample(x, y) - third * apart(sample);
        return colour - slope(x, y) * (green(x, y) - third * (apart(sample) - apart(mixed)));
    });
    const auto two = [](const Places& of, int x, int y, int dx, int dy) {
        return of(x - dx, y - dy) + of(x + dx, y + dy);
    };
    const auto corners = [&](const Places& of, int x, int y) {
        return two(of, x - 1, y, 0, 1) + two(of, x + 1, y, 0, 1);
    };
    for (int y = 0; y < roi.height(); ++y)
        for (int x = 0; x < roi.width(); ++x) {
            const int mx = roi.x() + x, my = roi.y() + y;
            const float own = sample(mx, my);
            const char inRow = mosaic.rowColour(mx, my);
            float rowColour = own, ownGreen = own, other = own;
            if (mosaic.colour(mx, my) == 'G') {
                const auto beside = [&](int dx, int dy) {
                    return (two(slope, mx, my, dx, dy) * own + two(offset, mx, my, dx, dy)) * 0.5F;
                };
                rowColour = beside(1, 0);
                other = beside(0, 1);
            } else {
                ownGreen = green(mx, my);
                other = (corners(slope, mx, my) * ownGreen + corners(offset, mx, my)) * 0.25F;
            }
            // The half is added in the precision of the rest.
            const auto store = [&](char colour, float value) {
                const double rounded = std::floor(double{std::max(value, 0.0F) + 0.5F});
                storeLimited<T>(dst, x, y, colour, rounded, bits);
            };
            store(inRow, rowColour);
            store('G', ownGreen);
            store(opposite(inRow), other);
        }
}

}  // namespace ko::oracle
