// Small diagrams, made as vector graphics.
#pragma once

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace ko::tool {

struct Colour {
    std::uint8_t red;
    std::uint8_t green;
    std::uint8_t blue;
};

/// In pixels from the top left corner.
struct Point {
    double x;
    double y;
};

/// Its edges are sharp.
struct Rectangle {
    Point corner;
    double width;
    double height;
    Colour colour;
};

struct Line {
    std::vector<Point> points;
    double width;
    Colour colour;
};

/// Which part of a text stands at its position.
enum class Anchor { Start, Middle, End };

struct Text {
    Point baseline;
    std::string words;
    Anchor anchor;
    Colour colour;
};

/// A place for a letter that every font of equal widths keeps to, in pixels.
constexpr int letterWidth = 10;

/// Shapes on white, later ones above earlier ones.
class Drawing {
public:
    Drawing(int width, int height);

    void add(const Rectangle& shape);
    void add(const Line& shape);
    void add(const Text& shape);

    /// Writes SVG where the file's name ends in .svg, else a picture. Throws `Failure`.
    void write(const std::string& file) const;

private:
    int m_width;
    int m_height;
    std::ostringstream m_svg;
};

}  // namespace ko::tool
