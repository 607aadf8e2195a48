// What a command is told besides its settings: the files that it reads and writes.
#pragma once

#include "cli/command.h"

#include <optional>
#include <string>
#include <vector>

namespace ko::tool {

enum class Need { Optional, Required };

/// How much a series tells of itself. Failures are always told.
enum class Verbosity {
    Quiet,
    Usual,    ///< a progress bar and a summary
    Verbose,  ///< also a line for every file
};

/// Declares an argument by its place ("file") or by its names ("-o,--output"). The variable keeps its value
/// where the argument is not given, and must live as long as the command.
///
/// Commands declare theirs through these functions, not through CLI11 itself: its header takes longer to
/// compile than any of them.
void declareArgument(CLI::App& command, const std::string& names, std::string& value, Need need,
                     const std::string& description, const std::string& form = {});

/// The same for an argument of several words; `form` stands in the help for each of them.
void declareArgument(CLI::App& command, const std::string& names, std::vector<std::string>& values, Need need,
                     const std::string& description, const std::string& form = {});

/// Adds text below the options in the help.
void addHelp(CLI::App& command, const std::string& text);

/// Declares `--quiet` and `--verbose`.
void declareVerbosity(CLI::App& command, Verbosity& verbosity);

/// Declares `--quality`, of JPEG and WebP files that are written.
void declareQuality(CLI::App& command, std::optional<int>& quality);

}  // namespace ko::tool
