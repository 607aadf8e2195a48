#include "cli/command_line.h"

#include <CLI/CLI.hpp>

namespace ko::tool {
namespace {

/// The words of "a|b|c"; none for other forms. Numbers in place of a word, "a|X,Y", are none of them.
std::vector<std::string> wordsOf(const std::string& form)
{
    std::vector<std::string> words = CLI::detail::split(form, '|');
    if (words.size() == 1)
        return {};
    std::erase_if(words, [](const std::string& word) { return word.find(',') != std::string::npos; });
    return words;
}

OptionText textOf(const CLI::Option& option)
{
    OptionText text{{}, {}, option.get_description(), {}, option.get_required()};
    for (const std::string& name : option.get_snames())
        text.names.push_back('-' + name);
    for (const std::string& name : option.get_lnames())
        text.names.push_back("--" + name);
    if (text.names.empty())
        text.value = option.get_name();
    else if (option.get_items_expected_max() > 0)
        text.value = option.get_option_text().empty() ? option.get_type_name() : option.get_option_text();
    text.words = wordsOf(text.value);
    return text;
}

void collect(const CLI::App& command, const std::string& above, const std::string& room,
             std::vector<CommandText>& commands)
{
    const auto subcommands = command.get_subcommands([](const CLI::App*) { return true; });
    CommandText text{above + command.get_name(), room, command.get_description(), {}, !subcommands.empty()};
    for (const CLI::Option* option : command.get_options())
        text.options.push_back(textOf(*option));
    commands.push_back(text);
    for (const CLI::App* subcommand : subcommands)
        collect(*subcommand, text.name + ' ', room, commands);
}

}  // namespace

std::vector<CommandText> commandsOf(const CLI::App& app)
{
    std::vector<CommandText> commands;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
        if (!command->get_group().empty())
            collect(*command, {}, command->get_group(), commands);
    return commands;
}

}  // namespace ko::tool
