// ko help: the same as --help, for who types it as a command.
#include "cli/failure.h"
#include "cli/usage.h"
#include "commands/commands.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>

namespace ko::tool {
namespace {

void printHelp(const CLI::App& app, const std::vector<std::string>& words)
{
    if (words.empty()) {
        // Its own `help` would show the command that has been called, which is this one.
        std::cout << app.get_formatter()->make_help(&app, app.get_name(), CLI::AppFormatMode::Normal);
        return;
    }
    const CLI::App* command = &app;
    std::string above;
    for (const std::string& word : words) {
        above += (above.empty() ? "" : " ") + command->get_name();
        const auto found =
            command->get_subcommands([&](const CLI::App* each) { return each->get_name() == word; });
        if (found.empty())
            throw UsageError(unknownCommand(*command, word));
        command = found.front();
    }
    std::cout << command->help(above);
}

}  // namespace

const Command helpCommand{"Tool", "help", "Print the help of a command",
                          [](CLI::App& command) -> Command::Action {
                              auto words = std::make_shared<std::vector<std::string>>();
                              command.add_option("command", *words, "all commands if not given");
                              return [&command, words] {
                                  printHelp(*command.get_parent(), *words);
                                  return ExitOk;
                              };
                          }};

}  // namespace ko::tool
