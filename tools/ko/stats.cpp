// ko stats: figures of every channel.
#include "channels.h"
#include "commands.h"
#include "failure.h"
#include "image_file.h"

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
};

struct Figures {
    std::string name;
    QVariant minimum;
    QVariant maximum;
    double mean = 0;
    double deviation = 0;
    // Of samples that have levels only.
    std::optional<double> entropy;
    std::optional<unsigned> otsu;
};

Figures measure(const Channel& channel)
{
    const SxImageBuf& samples = *channel.samples;
    Figures figures;
    figures.name = channel.name;
    require(MinMax(samples, &figures.minimum, &figures.maximum), "MinMax");
    require(MeanStdDevMasked(samples, *maskOfOnes(samples), &figures.mean, &figures.deviation),
            "MeanStdDevMasked");
    if (hasLevels(samples)) {
        double entropy = 0;
        require(EntropyShannon(samples, entropy, 2), "EntropyShannon");
        figures.entropy = entropy;
        figures.otsu = otsuThreshold(channel.samples);
    }
    return figures;
}

QJsonObject toJson(const Figures& figures)
{
    return {{"name", QString::fromStdString(figures.name)},
            {"minimum", QJsonValue::fromVariant(figures.minimum)},
            {"maximum", QJsonValue::fromVariant(figures.maximum)},
            {"mean", figures.mean},
            {"deviation", figures.deviation},
            {"entropy", figures.entropy ? QJsonValue(*figures.entropy) : QJsonValue()},
            {"otsu", figures.otsu ? QJsonValue(static_cast<qint64>(*figures.otsu)) : QJsonValue()}};
}

void printJson(const Options& options, int bits, const std::vector<Figures>& all)
{
    QJsonArray channels;
    for (const Figures& figures : all)
        channels.append(toJson(figures));
    const QJsonObject object{
        {"file", QString::fromStdString(options.file)}, {"bits", bits}, {"channels", channels}};
    std::cout << QJsonDocument(object).toJson().constData();
}

void printTable(const Options& options, int bits, const std::vector<Figures>& all)
{
    std::cout << options.file << ": " << bits << " bits\n"
              << std::left << std::setw(12) << "channel" << std::right;
    for (const char* title : {"min", "max", "mean", "deviation", "entropy", "Otsu"})
        std::cout << std::setw(13) << title;
    std::cout << '\n' << std::fixed << std::setprecision(3);
    for (const Figures& figures : all) {
        std::cout << std::left << std::setw(12) << figures.name << std::right << std::setw(13)
                  << figures.minimum.toString().toStdString() << std::setw(13)
                  << figures.maximum.toString().toStdString() << std::setw(13) << figures.mean
                  << std::setw(13) << figures.deviation;
        if (figures.entropy)
            std::cout << std::setw(13) << *figures.entropy << std::setw(13) << *figures.otsu << '\n';
        else
            std::cout << std::setw(13) << '-' << std::setw(13) << '-' << '\n';
    }
}

int run(const Options& options)
try {
    const Image picture = readImage(options.file);
    std::vector<Figures> all;
    for (const Channel& channel : selectChannels(picture, options.selection))
        all.push_back(measure(channel));
    (options.asJson ? printJson : printTable)(options, picture->bitsPerSample, all);
    return ExitOk;
} catch (const Failure&) {
    throw;
} catch (const std::runtime_error& error) {
    throw Failure(options.file, error.what());
}

}  // namespace

const Command statsCommand{"Statistics", "stats",
                           "Extremes, mean, deviation, entropy in bits and Otsu threshold of every channel",
                           [](CLI::App& command) -> Command::Action {
                               auto options = std::make_shared<Options>();
                               command.add_option("file", options->file, "picture or camera raw")->required();
                               addSelectionOptions(command, options->selection);
                               command.add_flag("--json", options->asJson, "JSON instead of a table");
                               return [options] { return run(*options); };
                           }};

}  // namespace ko::tool
