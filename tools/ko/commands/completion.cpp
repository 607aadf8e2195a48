// ko completion: what shells need to complete command lines of the tool.
#include "cli/command_line.h"
#include "commands/commands.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>

namespace ko::tool {
namespace {

using Commands = std::vector<CommandText>;

std::string joined(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

/// The first words of all commands, or the second words below one.
std::vector<std::string> namesBelow(const Commands& commands, const std::string& above)
{
    std::vector<std::string> names;
    for (const CommandText& command : commands)
        if (above.empty() ? command.name.find(' ') == std::string::npos
                          : command.name.starts_with(above + ' '))
            names.push_back(above.empty() ? command.name : command.name.substr(above.size() + 1));
    return names;
}

std::vector<std::string> optionNames(const CommandText& command)
{
    std::vector<std::string> names;
    for (const OptionText& option : command.options)
        names.insert(names.end(), option.names.begin(), option.names.end());
    return names;
}

/// Text between single quotes, in which it has none.
std::string inQuotes(const std::string& text)
{
    std::string safe;
    for (const char c : text)
        safe += c == '\'' ? "’" : std::string(1, c);
    return '\'' + safe + '\'';
}

// ---------------------------------------------------------------------------------------------- bash

void printBash(const Commands& commands)
{
    std::cout << "# bash completion for ko; without a match the names of files are completed\n"
                 "_ko()\n{\n"
                 "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}\n"
                 "    local command=${COMP_WORDS[1]} words=\n"
                 "    if ((COMP_CWORD == 1)); then\n        words='"
              << joined(namesBelow(commands, {})) << " --help --version'\n    else\n"
              << "        case $command in\n";
    for (const CommandText& command : commands)
        if (command.hasSubcommands)
            std::cout << "        " << command.name << ")\n            if ((COMP_CWORD == 2)); then\n"
                      << "                before= command=\n                words='"
                      << joined(namesBelow(commands, command.name)) << " --help'\n            else\n"
                      << "                command+=\" ${COMP_WORDS[2]}\"\n            fi ;;\n";
    std::cout << "        esac\n        case \"$command $before\" in\n";
    for (const CommandText& command : commands)
        for (const OptionText& option : command.options)
            for (const std::string& name : option.names)
                if (!option.value.empty())
                    std::cout << "        '" << command.name << ' ' << name << "') words='"
                              << joined(option.words) << "' command= ;;\n";
    std::cout << "        esac\n        case $command in\n";
    for (const CommandText& command : commands)
        if (!command.hasSubcommands)
            std::cout << "        '" << command.name << "') [[ $word == -* ]] && words='"
                      << joined(optionNames(command)) << "' ;;\n";
    std::cout << "        esac\n    fi\n"
                 "    COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n}\n"
                 "complete -o default -F _ko ko\n";
}

// ----------------------------------------------------------------------------------------------- zsh

/// Zsh takes colons and brackets in descriptions for its own.
std::string zshDescription(const std::string& text)
{
    std::string safe;
    for (const char c : text) {
        if (c == ':' || c == '[' || c == ']')
            safe += '\\';
        safe += c;
    }
    return safe;
}

void printZshArguments(const CommandText& command, const std::string& indent)
{
    std::cout << indent << "_arguments";
    for (const OptionText& option : command.options)
        for (const std::string& name : option.names) {
            std::string spec = name + '[' + zshDescription(option.description) + ']';
            if (!option.words.empty())
                spec += ":value:(" + joined(option.words) + ')';
            else if (!option.value.empty())
                spec += ":value:_files";
            std::cout << " \\\n" << indent << "    " << inQuotes(spec);
        }
    std::cout << " \\\n" << indent << "    '*:file:_files' ;;\n";
}

void printZsh(const Commands& commands)
{
    std::cout << "#compdef ko\n_ko() {\n    local -a names\n    if ((CURRENT == 2)); then\n        names=(\n";
    for (const CommandText& command : commands)
        if (command.name.find(' ') == std::string::npos)
            std::cout << "            " << inQuotes(command.name + ':' + command.summary) << '\n';
    std::cout << "        )\n        _describe command names\n        return\n    fi\n"
                 "    local command=$words[2]\n    case $command in\n";
    for (const CommandText& command : commands)
        if (command.hasSubcommands)
            std::cout << "    " << command.name << ")\n        if ((CURRENT == 3)); then\n            names=("
                      << joined(namesBelow(commands, command.name))
                      << ")\n            _describe command names\n            return\n        fi\n"
                      << "        command+=\" $words[3]\" ;;\n";
    std::cout << "    esac\n    shift words\n    ((CURRENT--))\n    case $command in\n";
    for (const CommandText& command : commands)
        if (!command.hasSubcommands) {
            std::cout << "    '" << command.name << "')\n";
            printZshArguments(command, "        ");
        }
    std::cout << "    esac\n}\n_ko \"$@\"\n";
}

// ---------------------------------------------------------------------------------------------- fish

void printFish(const Commands& commands)
{
    for (const CommandText& command : commands) {
        const std::size_t space = command.name.find(' ');
        const std::string above = command.name.substr(0, space);
        const std::string last = space == std::string::npos ? command.name : command.name.substr(space + 1);
        std::cout << "complete -c ko -n "
                  << (space == std::string::npos ? "__fish_use_subcommand"
                                                 : "'__fish_seen_subcommand_from " + above + "'")
                  << " -a " << last << " -d " << inQuotes(command.summary) << '\n';
        for (const OptionText& option : command.options) {
            if (option.names.empty())
                continue;
            std::cout << "complete -c ko -n '__fish_seen_subcommand_from " << last << "'";
            for (const std::string& name : option.names)
                std::cout << (name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1));
            if (!option.words.empty())
                std::cout << " -x -a '" << joined(option.words) << '\'';
            else if (!option.value.empty())
                std::cout << " -r";
            std::cout << " -d " << inQuotes(option.description) << '\n';
        }
    }
}

}  // namespace

const Command completionCommand{
    "Tool", "completion", "Print what a shell needs to complete command lines",
    [](CLI::App& command) -> Command::Action {
        auto shell = std::make_shared<std::string>();
        command.add_option("shell", *shell, "bash, zsh or fish")
            ->required()
            ->check(CLI::IsMember({"bash", "zsh", "fish"}));
        return [&command, shell] {
            const Commands commands = commandsOf(*command.get_parent());
            (*shell == "bash" ? printBash : *shell == "zsh" ? printZsh : printFish)(commands);
            return ExitOk;
        };
    }};

}  // namespace ko::tool
