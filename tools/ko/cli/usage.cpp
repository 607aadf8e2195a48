#include "cli/usage.h"

#include "cli/failure.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>

namespace ko::tool {
namespace {

/// The fewest letters to be put in, left out, replaced or exchanged with their neighbours.
std::size_t distanceBetween(const std::string& a, const std::string& b)
{
    std::vector<std::vector<std::size_t>> least(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i)
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                least[i][j] = i + j;
                continue;
            }
            least[i][j] = std::min({least[i - 1][j] + 1, least[i][j - 1] + 1,
                                    least[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                least[i][j] = std::min(least[i][j], least[i - 2][j - 2] + 1);
        }
    return least[a.size()][b.size()];
}

std::vector<const CLI::App*> commandsBelow(const CLI::App& above)
{
    return above.get_subcommands([](const CLI::App*) { return true; });
}

std::string suggestion(const std::string& word, const std::vector<std::string>& known)
{
    const std::string nearest = nearestTo(word, known);
    return nearest.empty() ? nearest : "; did you mean " + nearest + '?';
}

std::string unknownOption(const CLI::App& command, const std::string& word)
{
    std::vector<std::string> known;
    for (const CLI::Option* option : command.get_options())
        for (const std::string& name : option->get_lnames())
            known.push_back("--" + name);
    const std::string name = word.substr(0, word.find('='));
    return "unknown option " + name + suggestion(name, known);
}

bool isOption(const std::string& word)
{
    return word.size() > 1 && word[0] == '-' && std::isdigit(static_cast<unsigned char>(word[1])) == 0;
}

/// The first name of an option that was taken for an argument, as everything behind -- is; empty where there is none.
std::string optionBehindDashes(const CLI::App& command)
{
    std::vector<std::string> words = command.remaining();
    for (const CLI::Option* option : command.get_options())
        if (option->get_positional())
            words.insert(words.end(), option->results().begin(), option->results().end());
    const auto found = std::ranges::find_if(words, [&](const std::string& word) {
        return isOption(word) && command.get_option_no_throw(word.substr(0, word.find('=')));
    });
    return found != words.end() ? *found : std::string();
}

std::string describe(const CLI::App& command, const CLI::ParseError& error)
{
    // What CLI11 found no place for comes first: a required option is missing where its name is misspelt.
    const std::vector<std::string> misplaced = command.remaining();
    const auto option = std::ranges::find_if(misplaced, isOption);
    if (!commandsBelow(command).empty())
        return misplaced.empty()        ? "a command is wanted"
               : isOption(misplaced[0]) ? unknownOption(command, misplaced[0])
                                        : unknownCommand(command, misplaced[0]);
    if (const std::string lost = optionBehindDashes(command); !lost.empty())
        return lost + " stands behind --, where every word is a file; options go before it";
    if (option != misplaced.end())
        return unknownOption(command, *option);
    if (!misplaced.empty())
        return misplaced[0] + " is one argument too many";
    const std::string text = firstLine(error.what());
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) && text.ends_with(" missing"))
        return text.substr(0, text.find(':')) + " needs a value";
    return text;
}

}  // namespace

std::string explain(const CLI::App& app, const CLI::ParseError& error)
{
    const CLI::App* command = &app;
    std::string name = app.get_name();
    while (!command->get_subcommands().empty()) {
        command = command->get_subcommands().front();
        name += ' ' + command->get_name();
    }
    return describe(*command, error) + " (" + name + " --help says more)";
}

std::string unknownCommand(const CLI::App& above, const std::string& word)
{
    std::vector<std::string> known;
    for (const CLI::App* command : commandsBelow(above))
        if (!command->get_group().empty())
            known.push_back(command->get_name());
    return "unknown command " + word + suggestion(word, known);
}

std::string nearestTo(const std::string& word, const std::vector<std::string>& known)
{
    const std::string* nearest = nullptr;
    std::size_t least = word.size() / 3 + 2;  // more errors than that make another word
    for (const std::string& candidate : known)
        if (const std::size_t distance = distanceBetween(word, candidate); distance < least) {
            least = distance;
            nearest = &candidate;
        }
    return nearest ? *nearest : std::string();
}

}  // namespace ko::tool
