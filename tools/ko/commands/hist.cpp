// ko hist: histograms as diagrams, tables and sparklines.
#include "cli/arguments.h"
#include "cli/jobs.h"
#include "cli/reports.h"
#include "cli/transfer.h"
#include "commands/commands.h"
#include "commands/level_counts.h"
#include "io/replace_file.h"
#include "plot/diagram.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>

namespace ko::tool {
namespace {

struct Options {
    FileSeries files;
    Counting counting;
    bool isLogarithmic = false;
    Settings settings;
};

/// Counts of `groups` groups of neighbouring levels.
std::vector<double> grouped(const ChannelCounts& curve, int groups)
{
    std::vector<double> sums(static_cast<std::size_t>(groups));
    const std::size_t size = curve.counts.size() / sums.size();
    for (std::size_t level = 0; level < curve.counts.size(); ++level)
        sums[level / size] += curve.counts[level];
    return sums;
}

double highest(const std::vector<std::vector<double>>& curves)
{
    double top = 1;
    for (const std::vector<double>& curve : curves)
        top = std::max(top, *std::max_element(curve.begin(), curve.end()));
    return top;
}

std::string perGroup(const Histograms& histograms, int groups)
{
    const int size = histograms.levels() / groups;
    return size == 1 ? "pixels per level" : "pixels per " + std::to_string(size) + " levels";
}

// ------------------------------------------------------------------------------------------- diagram

Colour colourOf(const std::string& name, std::size_t index)
{
    constexpr Colour others[] = {{120, 60, 160}, {200, 120, 0}, {0, 140, 150}, {110, 110, 110}};
    if (name == "red")
        return {205, 35, 45};
    if (name == "green" || name == "green 1")
        return {20, 140, 50};
    if (name == "green 2")
        return {130, 190, 60};
    if (name == "blue")
        return {40, 80, 215};
    return name == "gray" ? inkColour : others[index % std::size(others)];
}

Line curveLine(const std::vector<double>& counts, double top, bool isLogarithmic, const PlotArea& area)
{
    Line line{{}, 1.6, inkColour};
    const double step = area.width / static_cast<double>(counts.size());
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const double height = isLogarithmic ? logPosition(counts[i], top) : counts[i] / top;
        line.points.push_back(
            {area.left + (static_cast<double>(i) + 0.5) * step, area.top + (1 - height) * area.height});
    }
    return line;
}

Drawing draw(const Histograms& histograms, bool isLogarithmic)
{
    const PlotArea area{90, 108, 512, 288};
    const int groups = std::min(histograms.levels(), 256);
    std::vector<std::vector<double>> curves;
    for (const ChannelCounts& curve : histograms.curves)
        curves.push_back(grouped(curve, groups));
    const double top = highest(curves) * (isLogarithmic ? 1.5 : 1.05);
    const Axis across{"level, of " + std::to_string(histograms.bits) + " bits",
                      levelTicks(histograms.levels())};
    const Axis up{perGroup(histograms, groups), isLogarithmic ? decadeTicks(top) : countTicks(top)};

    Drawing drawing(660, 474);
    const std::string name = std::filesystem::path(histograms.file).filename().string();
    drawing.add(Text{{12, 28}, name.substr(0, 50), Anchor::Start, inkColour});
    addGrid(drawing, area, across, up);
    double x = 12;
    for (std::size_t i = 0; i < curves.size(); ++i) {
        const ChannelCounts& curve = histograms.curves[i];
        Line line = curveLine(curves[i], top, isLogarithmic, area);
        line.colour = colourOf(curve.name, i);
        drawing.add(Rectangle{{x, 45}, 12, 12, line.colour});
        drawing.add(Text{{x + 18, 58}, curve.name, Anchor::Start, inkColour});
        x += static_cast<double>(curve.name.size() * letterWidth) + 42;
        drawing.add(line);
    }
    addAxes(drawing, area, across, up);
    return drawing;
}

// --------------------------------------------------------------------------------------------- tables

std::string csv(const Histograms& histograms)
{
    std::ostringstream text;
    text << "level";
    for (const ChannelCounts& curve : histograms.curves)
        text << ',' << curve.name;
    text << '\n';
    for (std::size_t level = 0; level < static_cast<std::size_t>(histograms.levels()); ++level) {
        text << level;
        for (const ChannelCounts& curve : histograms.curves)
            text << ',' << curve.counts[level];
        text << '\n';
    }
    return text.str();
}

std::string json(const Histograms& histograms)
{
    QJsonArray channels;
    for (const ChannelCounts& curve : histograms.curves) {
        QJsonArray counts;
        for (const std::uint32_t count : curve.counts)
            counts.append(static_cast<qint64>(count));
        channels.append(QJsonObject{{"name", QString::fromStdString(curve.name)}, {"counts", counts}});
    }
    const QJsonObject all{
        {"file", QString::fromStdString(histograms.file)}, {"bits", histograms.bits}, {"channels", channels}};
    return QJsonDocument(all).toJson().toStdString();
}

void printSparklines(const Histograms& histograms, bool isLogarithmic)
{
    constexpr const char* blocks[] = {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
    const int groups = std::min(histograms.levels(), 64);
    std::vector<std::vector<double>> curves;
    for (const ChannelCounts& curve : histograms.curves)
        curves.push_back(grouped(curve, groups));
    const double top = highest(curves);
    std::cout << histograms.file << ": " << histograms.bits << " bits, " << perGroup(histograms, groups)
              << ", at most " << std::fixed << std::setprecision(0) << top << '\n';
    for (std::size_t i = 0; i < curves.size(); ++i) {
        std::cout << std::left << std::setw(10) << histograms.curves[i].name << '|';
        for (const double count : curves[i]) {
            // Rounded up, so that only empty groups are blank.
            const double height = isLogarithmic && count > 0 ? logPosition(count, top) : count / top;
            std::cout << blocks[static_cast<std::size_t>(std::ceil(8 * height))];
        }
        std::cout << "|\n";
    }
}

void write(const Histograms& histograms, const Options& options, const std::string& output)
{
    const std::string ending = endingOfOutput(output);
    if (ending == ".csv")
        replaceFile(output, csv(histograms));
    else if (ending == ".json")
        replaceFile(output, json(histograms));
    else
        draw(histograms, options.isLogarithmic).write(output);
}

int run(const Options& options)
{
    options.settings.verify();
    if (options.files.output.empty())
        return forEachFile(options.files.inputs, [&](const std::string& file) {
            printSparklines(countFile(file, options.counting), options.isLogarithmic);
        });
    int code = ExitOk;
    for (const Job& job : planJobs(options.files, ".png"))
        code = std::max(code, forEachFile({job.input}, [&](const std::string& file) {
                            write(countFile(file, options.counting), options, job.output);
                        }));
    return code;
}

}  // namespace

const Command histCommand{
    "Statistics", "hist", "Histogram of every channel, of a mosaic for the four positions of its cell",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        declareArgument(command, "file", options->files.inputs, Need::Required, "pictures or camera raws");
        declareArgument(command, "-o,--output", options->files.output, Need::Optional,
                        "diagram (.svg, .png ...) or table (.csv, .json), for several files a directory or a "
                        "name with {}; printed small if not given");
        addCounting(options->settings, options->counting);
        options->settings.flag("log", options->isLogarithmic, "logarithmic heights, not in tables");
        options->settings.declare(command);
        return [options] { return run(*options); };
    }};

}  // namespace ko::tool
