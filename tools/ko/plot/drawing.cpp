#include "plot/drawing.h"

#include "cli/transfer.h"
#include "io/image_file.h"
#include "io/replace_file.h"

#include <QString>

#include <cstdio>
#include <sstream>

namespace ko::tool {
namespace {

std::string svgColour(const Colour& colour)
{
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", colour.red, colour.green, colour.blue);
    return text;
}

std::string escaped(const std::string& words)
{
    std::string text = QString::fromStdString(words).toHtmlEscaped().toStdString();
    for (char& c : text)
        if (static_cast<unsigned char>(c) < ' ')
            c = ' ';
    return text;
}

class SvgWriter {
public:
    explicit SvgWriter(const Drawing& drawing)
    {
        m_text << R"(<svg xmlns="http://www.w3.org/2000/svg" width=")" << drawing.width << "\" height=\""
               << drawing.height << "\" font-family=\"monospace\" font-size=\"16\">\n"
               << "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
    }
    void operator()(const Rectangle& shape)
    {
        m_text << "<rect x=\"" << shape.corner.x << "\" y=\"" << shape.corner.y << "\" width=\""
               << shape.width << "\" height=\"" << shape.height << "\" fill=\"" << svgColour(shape.colour)
               << "\"/>\n";
    }
    void operator()(const Line& shape)
    {
        m_text << "<polyline fill=\"none\" stroke=\"" << svgColour(shape.colour) << "\" stroke-width=\""
               << shape.width << "\" points=\"";
        for (const Point& point : shape.points)
            m_text << point.x << ',' << point.y << ' ';
        m_text << "\"/>\n";
    }
    void operator()(const Text& shape)
    {
        constexpr const char* anchors[] = {"start", "middle", "end"};
        m_text << "<text x=\"" << shape.baseline.x << "\" y=\"" << shape.baseline.y << "\" text-anchor=\""
               << anchors[static_cast<int>(shape.anchor)] << "\" fill=\"" << svgColour(shape.colour) << "\">"
               << escaped(shape.words) << "</text>\n";
    }
    std::string finish()
    {
        m_text << "</svg>\n";
        return m_text.str();
    }

private:
    std::ostringstream m_text;
};

}  // namespace

void Drawing::add(Shape shape)
{
    shapes.push_back(std::move(shape));
}

std::string toSvg(const Drawing& drawing)
{
    SvgWriter writer(drawing);
    for (const Drawing::Shape& shape : drawing.shapes)
        std::visit(writer, shape);
    return writer.finish();
}

void writeDrawing(const Drawing& drawing, const std::string& file)
{
    if (endingOfOutput(file) == ".svg")
        replaceFile(file, toSvg(drawing));
    else
        writeImage(toImage(drawing), file);
}

}  // namespace ko::tool
