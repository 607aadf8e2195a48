// ko manual: the manual page, made of the help.
#include "cli/command_line.h"
#include "cli/recipe.h"
#include "commands/commands.h"
#include "io/packed_file.h"

#include <CLI/CLI.hpp>

#include <initializer_list>
#include <iostream>
#include <sstream>
#include <utility>

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

/// Paragraphs with a heading each.
void printItems(std::initializer_list<std::pair<const char*, const char*>> items)
{
    for (const auto& [heading, text] : items)
        std::cout << ".TP\n.B " << plain(heading) << '\n' << plain(text) << '\n';
}

/// Lines that stay as they are.
void printLines(const std::string& lines)
{
    std::cout << ".PP\n.nf\n.RS\n";
    std::istringstream text(lines);
    for (std::string line; std::getline(text, line);)
        std::cout << plain(line) << '\n';
    std::cout << ".RE\n.fi\n";
}

void printRecipes()
{
    std::cout << ".SH RECIPES\n"
                 "The recipe of\n.B ko run\nis a JSON file with a list of operations,\n"
                 "which are applied to every picture one after the other:\n";
    printLines(recipeExample);
    printItems({
        {"operations", "required: a list of objects, which may be empty"},
        {"operations[].op", "required: a command that turns a picture into a picture, unpack and pack apart"},
        {"operations[].NAME",
         "the option --NAME of that command: true or false for one without a value, a number, a word as a "
         "string, several numbers as a list. Names of files are relative to the recipe."},
        {"output.format", "ending of the results' names and with it their file format, tif if not given"},
        {"output.quality", "1 to 100, of JPEG and WebP files, where --quality does not say otherwise"},
    });
}

void printExamples()
{
    std::cout << ".SH EXAMPLES\n"
                 "What a file holds, and the figures of its channels:\n";
    printLines("ko info frame.dng\nko stats frame.dng");
    std::cout << ".PP\nPictures for people of all raws, as JPEG files of high quality:\n";
    printLines("ko develop *.dng -o 'pictures/{}.jpg' --quality 95");
    std::cout << ".PP\nA recipe on many files, continued where it was interrupted:\n";
    printLines("ko run recipe.json frames/*.tif -o results --resume --report report.json");
}

void printFiles()
{
    std::cout << ".SH FILES\n"
                 "The image description of a written file says how many bits of its samples count and which\n"
                 "pattern a mosaic has: \n.BR \"koimproc bits=12 grid=RGGB\" .\n"
                 "Such samples stand in the high bits of their container.\n";
    printItems({{KO_DOCUMENTS "/tool.md", "more on files, statistics, series, streams and recipes"}});
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
    printRecipes();
    std::cout << ".SH \"PACKED FORMATS\"\n" << plain(packedFormatHelp) << '\n';
    printExamples();
    printFiles();
    std::cout
        << ".SH \"EXIT STATUS\"\n"
        << ".TP\n0\nall done\n"
        << ".TP\n1\nat least one file could not be worked on\n"
        << ".TP\n2\nthe command line makes no sense; nothing was done\n"
        << ".SH \"SEE ALSO\"\n.BR jq (1)\nfor the JSON of\n.BR \"ko info\" ,\n.B ko stats\nand reports,\n"
        << ".BR vips (1),\n.BR xargs (1)\n";
}

}  // namespace

const Command manualCommand{"", "manual", "Print the manual page", [](CLI::App& command) -> Command::Action {
                                return [&command] {
                                    printPage(*command.get_parent());
                                    return ExitOk;
                                };
                            }};

}  // namespace ko::tool
