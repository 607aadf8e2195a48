// ko info: what a file holds.
#include "cli/failure.h"
#include "commands/commands.h"
#include "io/bayer.h"
#include "io/image_file.h"

#include <CLI/CLI.hpp>

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
                              auto files = std::make_shared<std::vector<std::string>>();
                              auto withMachine = std::make_shared<bool>(false);
                              command.add_option("file", *files, "pictures or camera raws");
                              command.add_flag("--machine", *withMachine,
                                               "version, processors and cache, for reports of faults");
                              return [files, withMachine] { return run(*files, *withMachine); };
                          }};

}  // namespace ko::tool
