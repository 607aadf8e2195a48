// The command line as data, for what is generated from it.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace ko::tool {

struct OptionText {
    std::vector<std::string> names;  ///< with their dashes; empty for an argument by position
    std::string value;               ///< form of its value, empty for a flag; of an argument its name
    std::string description;
    std::vector<std::string> words;  ///< what the value may be, where that is a choice
    bool isRequired;
};

struct CommandText {
    std::string name;  ///< with the commands above it: "mask ellipse"
    std::string room;
    std::string summary;
    std::vector<OptionText> options;
    bool hasSubcommands;
};

/// Every command that the help shows, in its order; subcommands follow the command that they belong to.
std::vector<CommandText> commandsOf(const CLI::App& app);

}  // namespace ko::tool
