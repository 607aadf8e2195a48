// ko snake: active contours drawn over a picture.
#include "cli/arguments.h"
#include "cli/failure.h"
#include "commands/commands.h"
#include "commands/filtering.h"
#include "io/image_file.h"
#include "io/replace_file.h"
#include "io/source.h"

#include <QByteArray>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <numbers>
#include <sstream>

namespace ko::tool {
namespace {

using Points = QList<_point_<int>>;
using Colour = std::array<std::uint8_t, 3>;

struct Circle {
    int x, y, radius;
};

struct Options {
    std::string picture, output, pointsFile, paramsFile;
    std::vector<std::string> circles;
    std::optional<int> quality;
};

constexpr Colour startColour{80, 160, 255}, finalColour{255, 210, 0};

Circle parseCircle(const std::string& text)
{
    Circle circle{};
    char comma1 = 0, comma2 = 0;
    std::istringstream in(text);
    in >> circle.x >> comma1 >> circle.y >> comma2 >> circle.radius;
    if (!in || comma1 != ',' || comma2 != ',' || !in.eof() || circle.radius < 1 || circle.radius > 1 << 20)
        throw UsageError(text + " is not of the form x,y,radius");
    return circle;
}

/// Points about three pixels apart.
Points pointsOn(const Circle& circle)
{
    const int count = std::max(8, circle.radius * 2);
    Points points;
    for (int i = 0; i < count; ++i) {
        const double angle = 2 * std::numbers::pi * i / count;
        points.append({static_cast<int>(std::lround(circle.x + circle.radius * std::cos(angle))),
                       static_cast<int>(std::lround(circle.y + circle.radius * std::sin(angle)))});
    }
    return points;
}

/// The fields of the parameter record by their names; a name that is none of them is refused.
SxSnakeParams readParams(const std::string& file)
{
    SxSnakeParams params;
    const std::pair<const char*, double*> reals[] = {{"edgeFraction", &params.edgeFraction},
                                                     {"weightContinuity", &params.weightContinuity},
                                                     {"weightCurvature", &params.weightCurvature},
                                                     {"weightDistance", &params.weightDistance},
                                                     {"weightGradient", &params.weightGradient}};
    const std::pair<const char*, std::int32_t*> integers[] = {{"refine", &params.refine},
                                                              {"refineInterval", &params.refineInterval},
                                                              {"loopDistance", &params.loopDistance},
                                                              {"pointSpacing", &params.pointSpacing},
                                                              {"maxIterations", &params.maxIterations}};
    QFile in(QString::fromStdString(sourceOf(file).path));
    if (!in.open(QIODevice::ReadOnly))
        throw Failure(file, "cannot be read");
    const QJsonDocument document = QJsonDocument::fromJson(in.readAll());
    if (!document.isObject())
        throw Failure(file, "is not a JSON object");
    const QJsonObject object = document.object();
    for (const QString& name : object.keys()) {
        const QJsonValue value = object.value(name);
        bool known = false;
        for (const auto& [key, field] : reals)
            if (name == QLatin1String(key))
                *field = value.toDouble(), known = value.isDouble();
        for (const auto& [key, field] : integers)
            if (name == QLatin1String(key))
                *field = value.toInt(), known = value.isDouble();
        if (!known)
            throw Failure(file, "\"" + name.toStdString() + "\" is no parameter, or not a number");
    }
    return params;
}

/// A colour copy of a mono picture at 8 bits.
Image canvasOf(const Image& picture)
{
    Image canvas(makeFormat(picture->width, picture->height, 3, UInt8));
    const int shift = std::max(0, picture->bitsPerSample - 8);
    for (int y = 0; y < canvas->height; ++y) {
        std::uint8_t* const to = rowOf<std::uint8_t>(canvas, y);
        for (int x = 0; x < canvas->width; ++x) {
            const unsigned sample = picture->dataType == UInt8 ? rowOf<std::uint8_t>(picture, y)[x]
                                                               : rowOf<std::uint16_t>(picture, y)[x] >> shift;
            std::fill_n(to + 3 * x, 3, static_cast<std::uint8_t>(sample));
        }
    }
    return canvas;
}

void drawPixel(Image& canvas, int x, int y, const Colour& colour)
{
    if (x >= 0 && y >= 0 && x < canvas->width && y < canvas->height)
        std::copy(colour.begin(), colour.end(), rowOf<std::uint8_t>(canvas, y) + 3 * x);
}

void drawClosed(Image& canvas, const Points& points, const Colour& colour)
{
    for (int i = 0; i < points.size(); ++i) {
        const auto& from = points[i];
        const auto& to = points[(i + 1) % points.size()];
        const int steps = std::max({std::abs(to.x - from.x), std::abs(to.y - from.y), 1});
        for (int step = 0; step <= steps; ++step) {
            const double t = static_cast<double>(step) / steps;
            drawPixel(canvas, static_cast<int>(std::lround(from.x + t * (to.x - from.x))),
                      static_cast<int>(std::lround(from.y + t * (to.y - from.y))), colour);
        }
    }
}

void writePoints(const std::vector<Points>& contours, const std::string& file)
{
    std::ostringstream table;
    table << "contour,x,y\n";
    for (std::size_t i = 0; i < contours.size(); ++i)
        for (const auto& point : contours[i])
            table << i + 1 << ',' << point.x << ',' << point.y << '\n';
    replaceFile(file, table.str());
}

int run(const Options& options)
{
    const SxSnakeParams params =
        options.paramsFile.empty() ? SxSnakeParams{} : readParams(options.paramsFile);
    std::vector<Points> starts;
    for (const std::string& circle : options.circles)
        starts.push_back(pointsOn(parseCircle(circle)));
    const Image picture = readImage(options.picture);
    try {
        requireMonoUnsigned(*picture);
        if (picture->width < 3 || picture->height < 3)
            throw std::runtime_error("smaller than 3 x 3 pixels");
    } catch (const std::runtime_error& error) {
        throw Failure(options.picture, error.what());
    }
    Image canvas = canvasOf(picture);
    std::vector<Points> contours;
    for (const Points& start : starts) {
        Points contour;
        require(SnakeImage(*picture, params, start, contour), "SnakeImage");
        drawClosed(canvas, start, startColour);
        contours.push_back(contour);
    }
    for (const Points& contour : contours)
        drawClosed(canvas, contour, finalColour);
    writeImage(canvas, options.output, {}, options.quality);
    if (!options.pointsFile.empty())
        writePoints(contours, options.pointsFile);
    return ExitOk;
}

}  // namespace

const Command snakeCommand{
    "Active contour", "snake", "Let contours settle on edges; draws start (blue) and result (yellow)",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        declareArgument(command, "picture", options->picture, Need::Required, "mono picture");
        declareArgument(command, "--circle", options->circles, Need::Required,
                        "start of a contour, may be given several times", "x,y,radius ...");
        declareArgument(command, "--params", options->paramsFile, Need::Optional,
                        "JSON object with edgeFraction, weightContinuity, weightCurvature, weightDistance, "
                        "weightGradient, refine, refineInterval, loopDistance, pointSpacing, maxIterations");
        declareArgument(command, "-o,--output", options->output, Need::Required,
                        "the picture with the contours");
        declareQuality(command, options->quality);
        declareArgument(command, "--points", options->pointsFile, Need::Optional,
                        "table of the final points (CSV)");
        return [options] { return run(*options); };
    }};

}  // namespace ko::tool
