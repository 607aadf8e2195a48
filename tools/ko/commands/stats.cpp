// ko stats: figures of every channel.
#include "cli/arguments.h"
#include "cli/failure.h"
#include "cli/reports.h"
#include "cli/table.h"
#include "commands/channels.h"
#include "commands/commands.h"
#include "commands/spread.h"
#include "io/image_file.h"
#include "io/levels.h"
#include "io/masks.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QVariant>

#include <charconv>
#include <iomanip>
#include <iostream>
#include <memory>
#include <optional>

namespace ko::tool {
namespace {

struct Options {
    std::vector<std::string> files;
    Selection selection;
    bool asJson = false;
    std::optional<double> renyiOrder;
    QPoint cell, tiles;  ///< null: not wanted
    Settings settings;
};

/// Of the samples that are numbers; none where there are no such.
struct Figures {
    std::string name;
    std::int64_t nan = 0;  ///< how many samples are no numbers
    QVariant minimum;
    QVariant maximum;
    std::optional<double> mean;
    std::optional<double> deviation;
    // Of samples that have levels only.
    std::optional<double> entropy;
    std::optional<double> renyi;  ///< where wanted
    std::optional<unsigned> otsu;
};

/// All that is told of a file.
struct Measured {
    std::string file;
    int bits;
    bool areFloats;
    std::vector<Figures> figures;
    std::vector<TileMeans> tiles;  ///< of every channel, where wanted
    std::vector<CellExtremes> cells;
};

Figures measure(Channel& channel, const Options& options)
{
    const SxImageBuf& samples = *channel.samples;
    Figures figures;
    figures.name = channel.name;
    figures.nan = leaveOutNaN(channel);
    if (isEmpty(channel))
        return figures;
    if (channel.mask)
        require(MinMaxMasked(samples, **channel.mask, &figures.minimum, &figures.maximum), "MinMaxMasked");
    else
        require(MinMax(samples, &figures.minimum, &figures.maximum), "MinMax");
    require(MeanStdDevMasked(samples, channel.mask ? **channel.mask : *maskOfOnes(samples),
                             &figures.mean.emplace(), &figures.deviation.emplace()),
            "MeanStdDevMasked");
    if (hasLevels(samples)) {
        const Image selected = gather(channel);
        require(EntropyShannon(*selected, figures.entropy.emplace(), 2), "EntropyShannon");
        if (options.renyiOrder)
            require(EntropyRenyi(*selected, *options.renyiOrder, figures.renyi.emplace(), 2), "EntropyRenyi");
        figures.otsu = otsuThreshold(countLevels(channel));
    }
    return figures;
}

// --------------------------------------------------------------------------------------------- JSON

QJsonValue toJson(const std::optional<double>& number)
{
    return number ? QJsonValue(*number) : QJsonValue();
}

QJsonObject toJson(const Figures& figures, const Options& options)
{
    QJsonObject object{
        {"name", QString::fromStdString(figures.name)},
        {"nan", static_cast<qint64>(figures.nan)},
        {"minimum", QJsonValue::fromVariant(figures.minimum)},
        {"maximum", QJsonValue::fromVariant(figures.maximum)},
        {"mean", toJson(figures.mean)},
        {"deviation", toJson(figures.deviation)},
        {"entropy", toJson(figures.entropy)},
        {"otsu", figures.otsu ? QJsonValue(static_cast<qint64>(*figures.otsu)) : QJsonValue()}};
    if (options.renyiOrder)
        object.insert("renyi", toJson(figures.renyi));
    return object;
}

QJsonArray toJson(const QPoint& point)
{
    return {point.x(), point.y()};
}

QJsonArray toJson(const std::vector<CellExtremes>& cells)
{
    QJsonArray array;
    for (const CellExtremes& cell : cells)
        array.append(QJsonObject{{"position", toJson(cell.position)},
                                 {"minimum", QJsonValue::fromVariant(cell.minimum)},
                                 {"minimumAt", toJson(cell.minimumAt)},
                                 {"maximum", QJsonValue::fromVariant(cell.maximum)},
                                 {"maximumAt", toJson(cell.maximumAt)}});
    return array;
}

QJsonArray toJson(const TileMeans& tiles)
{
    QJsonArray rows;
    for (int row = 0; row < tiles.rows; ++row) {
        QJsonArray means;
        for (int column = 0; column < tiles.columns; ++column)
            means.append(tiles.at(column, row));
        rows.append(means);
    }
    return rows;
}

QJsonObject toJson(const Measured& measured, const Options& options)
{
    QJsonArray channels;
    for (std::size_t i = 0; i < measured.figures.size(); ++i) {
        QJsonObject channel = toJson(measured.figures[i], options);
        if (!measured.tiles.empty())
            channel.insert("tiles", toJson(measured.tiles[i]));
        channels.append(channel);
    }
    QJsonObject object{
        {"file", QString::fromStdString(measured.file)}, {"bits", measured.bits}, {"channels", channels}};
    if (!measured.cells.empty())
        object.insert("cells", toJson(measured.cells));
    return object;
}

// -------------------------------------------------------------------------------------------- tables

/// As few digits as tell the sample from its neighbours.
std::string sampleText(const QVariant& sample, int bits)
{
    if (!sample.isValid())
        return "-";
    if (sample.userType() != QMetaType::Double && sample.userType() != QMetaType::Float)
        return sample.toString().toStdString();
    char text[32];
    const auto [end, error] = bits == 32 ? std::to_chars(std::begin(text), std::end(text), sample.toFloat())
                                         : std::to_chars(std::begin(text), std::end(text), sample.toDouble());
    return {text, end};
}

void printTable(const Options& options, const Measured& measured)
{
    std::vector<std::string> titles{"channel", "min", "max", "mean", "deviation", "entropy", "Otsu"};
    if (options.renyiOrder)
        titles.emplace_back("Renyi");
    if (measured.areFloats)
        titles.emplace_back("NaN");
    Table table(titles);
    const auto figure = [](const std::optional<double>& number) { return number ? shown(*number) : "-"; };
    for (const Figures& figures : measured.figures) {
        std::vector<std::string> row{figures.name,
                                     sampleText(figures.minimum, measured.bits),
                                     sampleText(figures.maximum, measured.bits),
                                     figure(figures.mean),
                                     figure(figures.deviation),
                                     figure(figures.entropy),
                                     figures.otsu ? std::to_string(*figures.otsu) : "-"};
        if (options.renyiOrder)
            row.push_back(figure(figures.renyi));
        if (measured.areFloats)
            row.push_back(std::to_string(figures.nan));
        table.add(row);
    }
    std::cout << measured.file << ": " << measured.bits << " bits\n" << table.text();
}

void printCells(const std::vector<CellExtremes>& cells)
{
    const auto place = [](const QPoint& at) {
        return " at " + std::to_string(at.x()) + ',' + std::to_string(at.y());
    };
    for (const CellExtremes& cell : cells)
        std::cout << "cell " << cell.position.x() << ',' << cell.position.y() << ": min "
                  << cell.minimum.toString().toStdString() << place(cell.minimumAt) << ", max "
                  << cell.maximum.toString().toStdString() << place(cell.maximumAt) << '\n';
}

void printTiles(const std::string& channel, const TileMeans& tiles)
{
    std::cout << "mean of tiles, " << channel << '\n';
    for (int row = 0; row < tiles.rows; ++row) {
        for (int column = 0; column < tiles.columns; ++column)
            std::cout << std::setw(column == 0 ? 12 : 13) << ' ' + shown(tiles.at(column, row));
        std::cout << '\n';
    }
}

void print(const Options& options, const Measured& measured)
{
    printTable(options, measured);
    for (std::size_t i = 0; i < measured.tiles.size(); ++i)
        printTiles(measured.figures[i].name, measured.tiles[i]);
    printCells(measured.cells);
}

// --------------------------------------------------------------------------------------------------

Measured measureFile(const std::string& file, const Options& options)
{
    const Image picture = readImage(file);
    Measured measured{file, picture->bitsPerSample, isFloating(*picture), {}, {}, {}};
    for (Channel& channel : selectChannels(picture, options.selection)) {
        measured.figures.push_back(measure(channel, options));
        if (!options.tiles.isNull())
            measured.tiles.push_back(meansOfTiles(channel.samples, options.tiles.x(), options.tiles.y()));
    }
    if (!options.cell.isNull())
        measured.cells = extremesOfCells(picture, selectedRegion(*picture, options.selection),
                                         options.cell.x(), options.cell.y());
    return measured;
}

int run(const Options& options)
{
    options.settings.verify();
    JsonReports reports;
    const int code = forEachFile(options.files, [&](const std::string& file) {
        const Measured measured = measureFile(file, options);
        if (options.asJson)
            reports.add(toJson(measured, options));
        else
            print(options, measured);
    });
    if (options.asJson)
        reports.print(options.files.size());
    return code;
}

}  // namespace

const Command statsCommand{
    "Statistics", "stats", "Extremes, mean, deviation, entropy in bits and Otsu threshold of every channel",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        declareArgument(command, "file", options->files, Need::Required, "pictures or camera raws");
        Settings& settings = options->settings;
        addSelection(settings, options->selection);
        settings.number("renyi", options->renyiOrder, positiveNumbers,
                        "also the Rényi entropy of this order");
        settings.point("cell", options->cell,
                       "extremes of every position in cells of so many columns and rows, and where they are");
        settings.point("tiles", options->tiles, "means of so many tiles across and down");
        settings.flag("json", options->asJson, "JSON instead of a table, a list for several files");
        const Options* const o = options.get();
        settings.rule([o] { return o->renyiOrder != 1.0; }, "--renyi: of order 1 is the entropy itself");
        settings.rule([o] { return o->cell.isNull() || (o->cell.x() > 0 && o->cell.y() > 0); },
                      "--cell: both numbers must be above 0");
        settings.rule([o] { return o->tiles.isNull() || (o->tiles.x() > 0 && o->tiles.y() > 0); },
                      "--tiles: both numbers must be above 0");
        settings.rule([o] { return o->selection.mask.empty() || (o->cell.isNull() && o->tiles.isNull()); },
                      "--mask goes neither with --cell nor with --tiles");
        settings.declare(command);
        return [options] { return run(*options); };
    }};

}  // namespace ko::tool
