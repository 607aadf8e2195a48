// How pictures come into the program and leave it: the same for all files of a run.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace ko::tool {

/// Stands for the standard input among inputs and for the standard output as a result.
inline const std::string standardStream = "-";

struct Transfer {
    bool isAsStored = false;  ///< pictures are not turned upright
    int page = 1;             ///< of inputs with several pictures
    int spoolMebibytes = 4096;
    std::string format;  ///< ending of the file format of the standard output
};

/// What the command line says.
const Transfer& transfer();

/// Declares what a command can be told of it: reading for one that has files as arguments, writing for one
/// that has `--output`; likewise of its subcommands.
void addTransferOptions(CLI::App& command);

/// Throws `UsageError` for the standard output without a format, and for a format without it.
void verifyTransfer(const CLI::App& command);

/// The names of an input and of a result for people.
std::string nameOfInput(const std::string& file);
std::string nameOfOutput(const std::string& file);

/// The ending, in lower case, that names the file format of a result.
std::string endingOfOutput(const std::string& file);

}  // namespace ko::tool
