#include "cli/registry.h"

#include "cli/transfer.h"
#include "commands/commands.h"
#include "commands/filtering.h"
#include "commands/operations.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <memory>

namespace ko::tool {
namespace {

const std::array allEntries{
    Entry(&infoCommand),
    Entry(&compareCommand),
    Entry(&unpackCommand),
    Entry(&packCommand),
    Entry(&cropOperation),
    Entry(&channelOperation),

    Entry(&binarizeOperation),
    Entry(&borderOperation),
    Entry(&maskCommand),
    Entry(&applyMaskOperation),
    Entry(&paintOperation),

    Entry(&histCommand),
    Entry(&statsCommand),
    Entry(&hist2dCommand),

    Entry(&equalizeOperation),
    Entry(&matchOperation),
    Entry(&stretchLevelsOperation),
    Entry(&compressLevelsOperation),
    Entry(&flatfieldOperation),
    Entry(&averageCommand),

    Entry(&thresholdOperation),
    Entry(&logicOperation),
    Entry(&clampOperation),

    Entry(&convertOperation),

    Entry(&resizeOperation),
    Entry(&medianOperation),
    Entry(&sobelOperation),
    Entry(&distanceOperation),

    Entry(&developOperation),
    Entry(&simulateCommand),
    Entry(&demosaicOperation),
    Entry(&streamCommand),

    Entry(&camerasCommand),
    Entry(&liveCommand),

    Entry(&snakeCommand),

    Entry(&runCommand),

    Entry(&helpCommand),
    Entry(&completionCommand),
    Entry(&manualCommand),
};

Command::Action setUp(const Command& command, CLI::App& app)
{
    return command.setUp(app);
}

/// An operation as a command: one filter, applied to a series of files.
Command::Action setUp(const Operation& operation, CLI::App& app)
{
    struct Parts {
        FileSeries files;
        Settings settings;
        Operation::Prepare prepare;
    };
    auto parts = std::make_shared<Parts>();
    addSeriesOptions(app, parts->files);
    parts->prepare = operation.setUp(parts->settings);
    parts->settings.declare(app);
    return [parts, keepsColours = operation.keepsColours] {
        parts->settings.verify();
        return runFilter(parts->files, parts->prepare(), keepsColours);
    };
}

}  // namespace

std::span<const Entry> entries()
{
    return allEntries;
}

const Operation* findOperation(std::string_view name)
{
    for (const Entry& entry : allEntries)
        if (const auto* operation = std::get_if<const Operation*>(&entry);
            operation && (*operation)->name == name)
            return *operation;
    return nullptr;
}

std::vector<std::string> operationNames()
{
    std::vector<std::string> names;
    for (const Entry& entry : allEntries)
        if (const auto* operation = std::get_if<const Operation*>(&entry))
            names.emplace_back((*operation)->name);
    return names;
}

void declareEntry(CLI::App& app, const Entry& entry, Command::Action& action)
{
    std::visit(
        [&](const auto* found) {
            CLI::App* const command = app.add_subcommand(found->name, found->summary)->group(found->room);
            command->callback([&action, command, run = setUp(*found, *command)] {
                verifyTransfer(*command);
                action = run;
            });
            addTransferOptions(*command);
        },
        entry);
}

}  // namespace ko::tool
