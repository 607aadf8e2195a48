// Small diagrams: what is on them, and their two forms, vector graphics and pixels.
#pragma once

#include "io/image.h"

#include <cstdint>
#include <string>
#include <variant>
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

/// Shapes on white, later ones above earlier ones.
struct Drawing {
    using Shape = std::variant<Rectangle, Line, Text>;

    int width;
    int height;
    std::vector<Shape> shapes;

    void add(Shape shape);
};

/// Width of a text in pixels, as `toImage` draws it.
int textWidth(const std::string& words);

std::string toSvg(const Drawing& drawing);

/// A picture of three channels of 8 bits.
Image toImage(const Drawing& drawing);

/// Writes SVG where the file's name ends in .svg, else a picture. Throws `Failure`.
void writeDrawing(const Drawing& drawing, const std::string& file);

}  // namespace ko::tool
