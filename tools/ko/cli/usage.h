// What is wrong with a command line, for who typed it.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace ko::tool {

/// One line that names what is wrong and, where something known is written alike, what was probably meant.
std::string explain(const CLI::App& app, const CLI::ParseError& error);

/// What to say of a command that is none of those below `above`.
std::string unknownCommand(const CLI::App& above, const std::string& word);

/// The one of `known` that takes the fewest typing errors to become `word`; empty where all take too many.
std::string nearestTo(const std::string& word, const std::vector<std::string>& known);

}  // namespace ko::tool
