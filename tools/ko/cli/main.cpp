#include "cli/failure.h"
#include "cli/idle_threads.h"
#include "cli/registry.h"
#include "cli/standard_streams.h"
#include "cli/usage.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <new>

using namespace ko::tool;

namespace {

/// The exit code of a run whose output has arrived: disks run full.
int withOutput(int code)
{
    std::cout.flush();
    if (!std::cout)
        throw Failure("standard output", "cannot be written");
    return code;
}

}  // namespace

int main(int argc, char** argv)
try {
    holdStandardStreams();
    CLI::App app("Operations of koimproc on image files", "ko");
    app.set_version_flag("--version", "ko " KO_VERSION);
    app.require_subcommand(1);

    Command::Action action;
    for (const Entry& entry : entries())
        declareEntry(app, entry, action);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0)
            throw UsageError(explain(app, error));
        app.exit(error);  // prints the help or the version that was asked for
        return withOutput(ExitOk);
    }

    letIdleThreadsSleep(app, argv);
    return withOutput(action());
} catch (const UsageError& error) {
    report(error.what());
    return ExitUsage;
} catch (const std::bad_alloc&) {
    report("out of memory");
    return ExitFailed;
} catch (const std::exception& error) {
    report(error.what());
    return ExitFailed;
}
