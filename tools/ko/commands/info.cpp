// ko info: what a file holds.
#include "cli/arguments.h"
#include "cli/failure.h"
#include "commands/commands.h"
#include "io/bayer.h"
#include "io/image_file.h"

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

void print(const std::string& file)
{
    const FileInfo info = readInfo(file);
    const SxImageInfo& format = info.format;
    std::cout << file << ": " << format.width << " x " << format.height << ", " << format.channels
              << (format.channels == 1 ? " channel, " : " channels, ") << typeName(format.dataType) << ", "
              << format.bitsPerSample << " bits, ";
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

int run(const std::vector<std::string>& files, bool withMachine)
{
    if (files.empty() && !withMachine)
        throw UsageError("a file or --machine is wanted");
    if (withMachine)
        printMachine();
    int code = ExitOk;
    for (const std::string& file : files) {
        try {
            print(file);
        } catch (const std::exception& error) {
            report(error.what());
            code = ExitFailed;
        }
    }
    return code;
}

}  // namespace

const Command infoCommand{"Files", "info", "Size, channels, sample type, depth and mosaic pattern of files",
                          [](CLI::App& command) -> Command::Action {
                              struct Options {
                                  std::vector<std::string> files;
                                  bool withMachine = false;
                                  Settings settings;
                              };
                              auto options = std::make_shared<Options>();
                              declareArgument(command, "file", options->files, Need::Optional,
                                              "pictures or camera raws");
                              options->settings.flag("machine", options->withMachine,
                                                     "version, processors and cache, for reports of faults");
                              options->settings.declare(command);
                              return [options] { return run(options->files, options->withMachine); };
                          }};

}  // namespace ko::tool
