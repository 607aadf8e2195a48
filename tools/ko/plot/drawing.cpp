#include "plot/drawing.h"

#include "cli/transfer.h"
#include "io/image_file.h"
#include "io/picture_module.h"
#include "io/replace_file.h"

#include <QString>

#include <cstdio>

namespace ko::tool {
namespace {

std::string svgColour(const Colour& colour)
{
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", colour.red, colour.green, colour.blue);
    return text;
}

/// XML knows no control characters.
std::string escaped(const std::string& words)
{
    QString text = QString::fromStdString(words);
    for (QChar& c : text)
        if (c < QLatin1Char(' ') || c.isNonCharacter())
            c = QLatin1Char(' ');
    return text.toHtmlEscaped().toStdString();
}

}  // namespace

Drawing::Drawing(int width, int height) : m_width(width), m_height(height)
{
    m_svg << R"(<svg xmlns="http://www.w3.org/2000/svg" width=")" << width << "\" height=\"" << height
          << "\" font-family=\"monospace\" font-size=\"16\" shape-rendering=\"crispEdges\">\n"
          << "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
}

void Drawing::add(const Rectangle& shape)
{
    m_svg << "<rect x=\"" << shape.corner.x << "\" y=\"" << shape.corner.y << "\" width=\"" << shape.width
          << "\" height=\"" << shape.height << "\" fill=\"" << svgColour(shape.colour) << "\"/>\n";
}

void Drawing::add(const Line& shape)
{
    m_svg << "<polyline shape-rendering=\"auto\" stroke-linejoin=\"round\" fill=\"none\" stroke=\""
          << svgColour(shape.colour) << "\" stroke-width=\"" << shape.width << "\" points=\"";
    for (const Point& point : shape.points)
        m_svg << point.x << ',' << point.y << ' ';
    m_svg << "\"/>\n";
}

void Drawing::add(const Text& shape)
{
    constexpr const char* anchors[] = {"start", "middle", "end"};
    m_svg << "<text x=\"" << shape.baseline.x << "\" y=\"" << shape.baseline.y << "\" text-anchor=\""
          << anchors[static_cast<int>(shape.anchor)] << "\" fill=\"" << svgColour(shape.colour) << "\">"
          << escaped(shape.words) << "</text>\n";
}

void Drawing::write(const std::string& file) const
{
    const std::string svg = m_svg.str() + "</svg>\n";
    if (endingOfOutput(file) == ".svg")
        replaceFile(file, svg);
    else
        writeImage(pictureModule().rasterise(svg, m_width, m_height), file);
}

}  // namespace ko::tool
