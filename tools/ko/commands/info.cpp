// ko info: what a file holds.
#include "cli/arguments.h"
#include "cli/failure.h"
#include "cli/reports.h"
#include "cli/settings.h"
#include "cli/transfer.h"
#include "commands/balance.h"
#include "commands/commands.h"
#include "commands/packed_options.h"
#include "io/bayer.h"
#include "io/image_file.h"
#include "io/sensor.h"

#include <QJsonArray>

#include <algorithm>
#include <iostream>
#include <memory>
#include <thread>

namespace ko::tool {
namespace {

const char* typeName(ExImageDataType type)
{
    constexpr const char* names[] = {"?",      "Int8",    "UInt8",   "Int16",     "UInt16", "Int32",
                                     "UInt32", "Float32", "Float64", "Sample128", "Int64",  "UInt64"};
    return names[type];
}

void print(const std::string& file, const FileInfo& info)
{
    const SxImageInfo& format = info.format;
    std::cout << printable(nameOfInput(file)) << ": " << format.width << " x " << format.height << ", "
              << format.channels << (format.channels == 1 ? " channel, " : " channels, ")
              << typeName(format.dataType) << ", " << format.bitsPerSample << " bits, ";
    if (format.bayerGrid != BayerNone)
        std::cout << "mosaic " << gridName(format.bayerGrid) << ", ";
    std::cout << info.kind << '\n';
}

/// What a report of a fault should say.
void printMachine()
{
    std::cout << "ko " KO_VERSION ", " << std::thread::hardware_concurrency()
              << " processors, second-level cache of " << L2CacheSize() / 1024 << " KiB\n";
}

/// What a program needs to develop the samples as they are read; the least gain is 1.
void addSensor(const FileInfo& info, QJsonObject& report)
{
    const Sensor& sensor = *info.sensor;
    QJsonArray gains;
    if (sensor.gains)
        for (const double gain : gainsByPlace(info.format, *sensor.gains))
            gains.append(gain / std::ranges::min(*sensor.gains));
    report.insert("white", sensor.white);
    report.insert("gains", sensor.gains ? QJsonValue(gains) : QJsonValue());
}

QJsonObject toJson(const std::string& file, const FileInfo& info)
{
    const SxImageInfo& format = info.format;
    const bool isMosaic = format.bayerGrid != BayerNone;
    QJsonObject report{
        {"file", QString::fromStdString(file)},
        {"width", format.width},
        {"height", format.height},
        {"channels", format.channels},
        {"type", typeName(format.dataType)},
        {"bits", format.bitsPerSample},
        {"mosaic", isMosaic ? QJsonValue(QString::fromStdString(gridName(format.bayerGrid))) : QJsonValue()},
        {"kind", QString::fromStdString(info.kind)}};
    if (info.sensor)
        addSensor(info, report);
    return report;
}

struct Options {
    std::vector<std::string> files;
    bool withMachine = false;
    bool asJson = false;
    PackedOptions packed;
    Settings settings;
};

int run(const Options& options)
{
    options.settings.verify();
    if (options.files.empty() && !options.withMachine)
        throw UsageError("a file or --machine is wanted");
    if (options.withMachine)
        printMachine();
    const std::optional<PackedFrame> frame = frameOf(options.packed);
    const auto infoOf = [&](const std::string& file) {
        return frame ? readPackedInfo(file, *frame) : readInfo(file);
    };
    if (!options.asJson)
        return forEachFile(options.files, [&](const std::string& file) { print(file, infoOf(file)); });
    JsonReports reports;
    const int code =
        forEachFile(options.files, [&](const std::string& file) { reports.add(toJson(file, infoOf(file))); });
    reports.print(options.files.size());
    return code;
}

}  // namespace

const Command infoCommand{
    "Files", "info", "Size, channels, sample type, depth and mosaic pattern of files",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        declareArgument(command, "file", options->files, Need::Optional, "pictures or camera raws");
        Settings& settings = options->settings;
        settings.flag("machine", options->withMachine,
                      "version, processors and cache, for reports of faults");
        settings.flag("json", options->asJson, "JSON instead of a line, a list for several files");
        addPackedOptions(command, settings, options->packed);
        settings.rule([o = options.get()] { return !o->withMachine || !o->asJson; },
                      "--machine goes without --json");
        settings.declare(command);
        return [options] { return run(*options); };
    }};

}  // namespace ko::tool
