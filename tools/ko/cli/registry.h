// What the tool can do.
#pragma once

#include "cli/command.h"
#include "commands/operation.h"

#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace ko::tool {

using Entry = std::variant<const Command*, const Operation*>;

/// In the order of the help.
std::span<const Entry> entries();

/// The operation of a name; null for a name of none.
const Operation* findOperation(std::string_view name);

/// The names of all operations, in the order of the help.
std::vector<std::string> operationNames();

/// Declares the subcommand of an entry, which sets `action` when the command line asks for it.
void declareEntry(CLI::App& app, const Entry& entry, Command::Action& action);

}  // namespace ko::tool
