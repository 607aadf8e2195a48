// What a subcommand of the tool is.
#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace ko::tool {

/// Exit codes of the tool.
enum ExitCode : int {
    ExitOk = 0,
    ExitFailed = 1,  ///< at least one file could not be worked on
    ExitUsage = 2,   ///< the command line makes no sense; nothing was done
};

/// One subcommand. A new one is a file with its definition, its name in commands.h and its place in
/// registry.cpp.
struct Command {
    /// Runs with the options that `setUp` declared and answers with the exit code.
    using Action = std::function<int()>;

    const char* room;  ///< heading in the help
    const char* name;
    const char* summary;
    Action (*setUp)(CLI::App& command);  ///< declares the options
};

}  // namespace ko::tool
