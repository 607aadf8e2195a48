// ko manual: the manual page, made of the help.
#include "cli/command_line.h"
#include "commands/commands.h"

#include <CLI/CLI.hpp>

#include <iostream>

namespace ko::tool {
namespace {

/// Text that troff leaves alone.
std::string plain(const std::string& text)
{
    std::string safe = text.starts_with('.') || text.starts_with('\'') ? "\\&" : "";
    for (const char c : text) {
        if (c == '\\')
            safe += "\\e";
        else if (c == '-')
            safe += "\\-";
        else if (c == '\n')
            safe += ' ';
        else
            safe += c;
    }
    return safe;
}

void printOption(const OptionText& option)
{
    std::cout << ".TP\n";
    if (option.names.empty()) {
        std::cout << "\\fI" << plain(option.value) << "\\fR";
    } else {
        for (const std::string& name : option.names)
            std::cout << (&name == &option.names.front() ? "" : ", ") << "\\fB" << plain(name) << "\\fR";
        if (!option.value.empty())
            std::cout << " \\fI" << plain(option.value) << "\\fR";
    }
    std::cout << '\n' << plain(option.description) << (option.isRequired ? " (required)" : "") << '\n';
}

void printCommand(const CommandText& command)
{
    std::cout << ".SS \"ko " << plain(command.name) << "\"\n" << plain(command.summary) << ".\n";
    for (const OptionText& option : command.options)
        if (option.names.empty() || option.names.back() != "--help")
            printOption(option);
}

void printPage(const CLI::App& app)
{
    std::cout << ".TH KO 1 \"\" \"koimproc " KO_VERSION "\" \"User Commands\"\n"
              << ".SH NAME\nko \\- " << plain(app.get_description()) << '\n'
              << ".SH SYNOPSIS\n.B ko\n.I command\n[\\fIoption\\fR]... [\\fIfile\\fR]...\n"
              << ".SH DESCRIPTION\n"
              << "Reads and writes PNG, TIFF, JPEG, EXR, FITS and reads camera raws.\n"
              << "Samples keep their type and depth.\n"
              << "A result appears complete or not at all and never replaces an input.\n"
              << "Several inputs need an output that is a directory, or a name with {} in place of the\n"
              << "input's name.\n";
    std::string room;
    for (const CommandText& command : commandsOf(app)) {
        if (command.room != room)
            std::cout << ".SH \"" << plain(command.room) << "\"\n";
        room = command.room;
        printCommand(command);
    }
    std::cout << ".SH \"EXIT STATUS\"\n"
              << ".TP\n0\nall done\n"
              << ".TP\n1\nat least one file could not be worked on\n"
              << ".TP\n2\nthe command line makes no sense; nothing was done\n";
}

}  // namespace

const Command manualCommand{"", "manual", "Print the manual page", [](CLI::App& command) -> Command::Action {
                                return [&command] {
                                    printPage(*command.get_parent());
                                    return ExitOk;
                                };
                            }};

}  // namespace ko::tool
