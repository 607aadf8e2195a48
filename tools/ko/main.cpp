#include "commands.h"
#include "failure.h"

#include <iostream>

using namespace ko::tool;

namespace {

// In the order of the help.
const Command* const commands[] = {
    &infoCommand,      &compareCommand,       &unpackCommand,   &simulateCommand, &demosaicCommand,
    &borderCommand,    &maskCommand,          &histCommand,     &statsCommand,    &hist2dCommand,
    &thresholdCommand, &stretchLevelsCommand, &equalizeCommand, &matchCommand,    &flatfieldCommand,
    &averageCommand,   &convertCommand,       &medianCommand,   &sobelCommand,    &distanceCommand,
    &snakeCommand,
};

}  // namespace

int main(int argc, char** argv)
try {
    CLI::App app("Operations of koimproc on image files", "ko");
    app.set_version_flag("--version", "ko " KO_VERSION);
    app.require_subcommand(1);

    Command::Action action;
    for (const Command* command : commands) {
        CLI::App* sub = app.add_subcommand(command->name, command->summary)->group(command->room);
        sub->callback([&action, run = command->setUp(*sub)] { action = run; });
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? ExitOk : ExitUsage;
    }

    const int code = action();
    std::cout.flush();
    if (!std::cout)
        throw Failure("standard output", "cannot be written");
    return code;
} catch (const UsageError& error) {
    report(error.what());
    return ExitUsage;
} catch (const std::exception& error) {
    report(error.what());
    return ExitFailed;
}
