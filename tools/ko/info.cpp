// ko info: what a file holds.
#include "bayer.h"
#include "commands.h"
#include "failure.h"
#include "image_file.h"

#include <iostream>
#include <memory>

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

}  // namespace

const Command infoCommand{"Files", "info", "Size, channels, sample type, depth and mosaic pattern of files",
                          [](CLI::App& command) -> Command::Action {
                              auto files = std::make_shared<std::vector<std::string>>();
                              command.add_option("file", *files, "pictures or camera raws")->required();
                              return [files] {
                                  int code = ExitOk;
                                  for (const std::string& file : *files) {
                                      try {
                                          print(file);
                                      } catch (const std::exception& error) {
                                          report(error.what());
                                          code = ExitFailed;
                                      }
                                  }
                                  return code;
                              };
                          }};

}  // namespace ko::tool
