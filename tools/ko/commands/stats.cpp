// ko stats: figures of every channel.
#include "cli/arguments.h"
#include "cli/failure.h"
#include "commands/channels.h"
#include "commands/commands.h"
#include "commands/spread.h"
#include "io/image_file.h"
#include "io/levels.h"
#include "io/masks.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QVariant>

#include <iomanip>
#include <iostream>
#include <memory>
#include <optional>

namespace ko::tool {
namespace {

struct Options {
    std::string file;
    Selection selection;
    bool asJson = false;
    std::optional<double> renyiOrder;
    QPoint cell, tiles;  ///< null: not wanted
    Settings settings;
};

struct Figures {
    std::string name;
    QVariant minimum;
    QVariant maximum;
    double mean = 0;
    double deviation = 0;
    // Of samples that have levels only.
    std::optional<double> entropy;
    std::optional<double> renyi;  ///< where wanted
    std::optional<unsigned> otsu;
};

Figures measure(const Channel& channel, const Options& options)
{
    const SxImageBuf& samples = *channel.samples;
    Figures figures;
    figures.name = channel.name;
    if (channel.mask)
        require(MinMaxMasked(samples, **channel.mask, &figures.minimum, &figures.maximum), "MinMaxMasked");
    else
        require(MinMax(samples, &figures.minimum, &figures.maximum), "MinMax");
    require(MeanStdDevMasked(samples, channel.mask ? **channel.mask : *maskOfOnes(samples), &figures.mean,
                             &figures.deviation),
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

QJsonObject toJson(const Figures& figures, const Options& options)
{
    QJsonObject object{
        {"name", QString::fromStdString(figures.name)},
        {"minimum", QJsonValue::fromVariant(figures.minimum)},
        {"maximum", QJsonValue::fromVariant(figures.maximum)},
        {"mean", figures.mean},
        {"deviation", figures.deviation},
        {"entropy", figures.entropy ? QJsonValue(*figures.entropy) : QJsonValue()},
        {"otsu", figures.otsu ? QJsonValue(static_cast<qint64>(*figures.otsu)) : QJsonValue()}};
    if (options.renyiOrder)
        object.insert("renyi", figures.renyi ? QJsonValue(*figures.renyi) : QJsonValue());
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

// -------------------------------------------------------------------------------------------- tables

void printFigure(const std::optional<double>& figure)
{
    std::cout << std::setw(13);
    if (figure)
        std::cout << *figure + 0.0;  // no minus before zero
    else
        std::cout << '-';
}

void printTable(const Options& options, int bits, const std::vector<Figures>& all)
{
    std::cout << options.file << ": " << bits << " bits\n"
              << std::left << std::setw(12) << "channel" << std::right;
    for (const char* title : {"min", "max", "mean", "deviation", "entropy", "Otsu"})
        std::cout << std::setw(13) << title;
    if (options.renyiOrder)
        std::cout << std::setw(13) << "Renyi";
    std::cout << '\n' << std::fixed << std::setprecision(3);
    for (const Figures& figures : all) {
        std::cout << std::left << std::setw(12) << figures.name << std::right << std::setw(13)
                  << figures.minimum.toString().toStdString() << std::setw(13)
                  << figures.maximum.toString().toStdString() << std::setw(13) << figures.mean
                  << std::setw(13) << figures.deviation;
        printFigure(figures.entropy);
        std::cout << std::setw(13) << (figures.otsu ? std::to_string(*figures.otsu) : "-");
        if (options.renyiOrder)
            printFigure(figures.renyi);
        std::cout << '\n';
    }
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
            std::cout << std::setw(column == 0 ? 12 : 13) << tiles.at(column, row);
        std::cout << '\n';
    }
}

int run(const Options& options)
try {
    options.settings.verify();
    const Image picture = readImage(options.file);
    const std::vector<Channel> channels = selectChannels(picture, options.selection);
    std::vector<Figures> all;
    std::vector<TileMeans> tiles;
    for (const Channel& channel : channels) {
        all.push_back(measure(channel, options));
        if (!options.tiles.isNull())
            tiles.push_back(meansOfTiles(channel.samples, options.tiles.x(), options.tiles.y()));
    }
    std::vector<CellExtremes> cells;
    if (!options.cell.isNull())
        cells = extremesOfCells(picture, selectedRegion(*picture, options.selection), options.cell.x(),
                                options.cell.y());
    if (options.asJson) {
        QJsonArray array;
        for (std::size_t i = 0; i < all.size(); ++i) {
            QJsonObject channel = toJson(all[i], options);
            if (!tiles.empty())
                channel.insert("tiles", toJson(tiles[i]));
            array.append(channel);
        }
        QJsonObject object{{"file", QString::fromStdString(options.file)},
                           {"bits", picture->bitsPerSample},
                           {"channels", array}};
        if (!cells.empty())
            object.insert("cells", toJson(cells));
        std::cout << QJsonDocument(object).toJson().constData();
        return ExitOk;
    }
    printTable(options, picture->bitsPerSample, all);
    for (std::size_t i = 0; i < tiles.size(); ++i)
        printTiles(all[i].name, tiles[i]);
    printCells(cells);
    return ExitOk;
} catch (const Failure&) {
    throw;
} catch (const UsageError&) {
    throw;
} catch (const std::runtime_error& error) {
    throw Failure(options.file, error.what());
}

}  // namespace

const Command statsCommand{
    "Statistics", "stats", "Extremes, mean, deviation, entropy in bits and Otsu threshold of every channel",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        declareArgument(command, "file", options->file, Need::Required, "picture or camera raw");
        Settings& settings = options->settings;
        addSelection(settings, options->selection);
        settings.number("renyi", options->renyiOrder, positiveNumbers,
                        "also the Rényi entropy of this order");
        settings.point("cell", options->cell,
                       "extremes of every position in cells of so many columns and rows, and where they are");
        settings.point("tiles", options->tiles, "means of so many tiles across and down");
        settings.flag("json", options->asJson, "JSON instead of a table");
        const Options* const o = options.get();
        settings.rule([o] { return o->renyiOrder != 1.0; }, "renyi: of order 1 is the entropy itself");
        settings.rule([o] { return o->cell.isNull() || (o->cell.x() > 0 && o->cell.y() > 0); },
                      "cell: both numbers must be above 0");
        settings.rule([o] { return o->tiles.isNull() || (o->tiles.x() > 0 && o->tiles.y() > 0); },
                      "tiles: both numbers must be above 0");
        settings.rule([o] { return o->selection.mask.empty() || (o->cell.isNull() && o->tiles.isNull()); },
                      "mask goes neither with cell nor with tiles");
        settings.declare(command);
        return [options] { return run(*options); };
    }};

}  // namespace ko::tool
