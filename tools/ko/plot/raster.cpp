// Diagrams in pixels.
#include "plot/drawing.h"
#include "plot/font.h"

#include <algorithm>
#include <cmath>

namespace ko::tool {
namespace {

constexpr int textScale = 2;
constexpr int textAdvance = textScale * (glyphWidth + 1);

class Rasteriser {
public:
    explicit Rasteriser(const Drawing& drawing) : m_image(makeFormat(drawing.width, drawing.height, 3, UInt8))
    {
        fill(0, 0, drawing.width, drawing.height, {255, 255, 255});
    }
    void operator()(const Rectangle& shape)
    {
        const auto edge = [](double at) { return static_cast<int>(std::lround(at)); };
        fill(edge(shape.corner.x), edge(shape.corner.y), edge(shape.corner.x + shape.width),
             edge(shape.corner.y + shape.height), shape.colour);
    }
    void operator()(const Line& shape)
    {
        // The whole line first, so that its joints are not drawn twice.
        std::vector<float> coverage(static_cast<std::size_t>(pixelCount(*m_image)));
        for (std::size_t i = 1; i < shape.points.size(); ++i)
            cover(shape.points[i - 1], shape.points[i], shape.width, coverage);
        for (int y = 0; y < m_image->height; ++y)
            for (int x = 0; x < m_image->width; ++x)
                blend(x, y, shape.colour, coverage[indexOf(x, y)]);
    }
    void operator()(const Text& shape)
    {
        const int shift = static_cast<int>(shape.anchor) * textWidth(shape.words) / 2;
        int left = static_cast<int>(std::lround(shape.baseline.x)) - shift;
        const int top = static_cast<int>(std::lround(shape.baseline.y)) - textScale * glyphAscent;
        for (const char c : shape.words) {
            drawGlyph(glyphOf(c), left, top, shape.colour);
            left += textAdvance;
        }
    }
    Image finish() { return std::move(m_image); }

private:
    std::size_t indexOf(int x, int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(m_image->width) +
               static_cast<std::size_t>(x);
    }

    /// The part of a range that lies on the drawing.
    static int inside(double at, int size) { return static_cast<int>(std::clamp<double>(at, 0, size)); }

    void blend(int x, int y, const Colour& colour, double share)
    {
        std::uint8_t* pixel = rowOf<std::uint8_t>(m_image, y) + 3 * x;
        const std::uint8_t over[] = {colour.red, colour.green, colour.blue};
        for (int c = 0; c < 3; ++c)
            pixel[c] = static_cast<std::uint8_t>(std::lround(pixel[c] + share * (over[c] - pixel[c])));
    }

    void fill(int left, int top, int right, int bottom, const Colour& colour)
    {
        for (int y = inside(top, m_image->height); y < inside(bottom, m_image->height); ++y)
            for (int x = inside(left, m_image->width); x < inside(right, m_image->width); ++x)
                blend(x, y, colour, 1);
    }

    /// Marks how far the pixels lie under a segment, by the distance of their centres.
    void cover(const Point& a, const Point& b, double width, std::vector<float>& coverage) const
    {
        const double dx = b.x - a.x;
        const double dy = b.y - a.y;
        const double square = dx * dx + dy * dy;
        const int bottom = inside(std::max(a.y, b.y) + width + 1, m_image->height);
        const int right = inside(std::max(a.x, b.x) + width + 1, m_image->width);
        for (int y = inside(std::min(a.y, b.y) - width - 1, m_image->height); y < bottom; ++y)
            for (int x = inside(std::min(a.x, b.x) - width - 1, m_image->width); x < right; ++x) {
                const double px = x + 0.5 - a.x;
                const double py = y + 0.5 - a.y;
                const double along = square > 0 ? std::clamp((px * dx + py * dy) / square, 0.0, 1.0) : 0;
                const double distance = std::hypot(px - along * dx, py - along * dy);
                float& share = coverage[indexOf(x, y)];
                share = std::max(share, static_cast<float>(std::clamp(width / 2 + 0.5 - distance, 0.0, 1.0)));
            }
    }

    void drawGlyph(const Glyph& glyph, int left, int top, const Colour& colour)
    {
        for (int row = 0; row < glyphHeight; ++row)
            for (int column = 0; column < glyphWidth; ++column)
                if (glyph[static_cast<std::size_t>(row)] >> (glyphWidth - 1 - column) & 1) {
                    const int x = left + textScale * column;
                    const int y = top + textScale * row;
                    fill(x, y, x + textScale, y + textScale, colour);
                }
    }

    Image m_image;
};

}  // namespace

int textWidth(const std::string& words)
{
    return static_cast<int>(words.size()) * textAdvance;
}

Image toImage(const Drawing& drawing)
{
    Rasteriser rasteriser(drawing);
    for (const Drawing::Shape& shape : drawing.shapes)
        std::visit(rasteriser, shape);
    return rasteriser.finish();
}

}  // namespace ko::tool
