#include "cli/transfer.h"

#include "cli/failure.h"

#include <CLI/CLI.hpp>

#include <filesystem>

namespace ko::tool {
namespace {

Transfer theTransfer;

/// A camera is no file, and its frames are too many for the standard output.
bool isLive(const CLI::App& command)
{
    return command.get_option_no_throw("camera") != nullptr;
}

bool readsFiles(const CLI::App& command)
{
    // Arguments that are numbers or words out of a list have other type names.
    return !isLive(command) && !command
                                    .get_options([](const CLI::Option* option) {
                                        return option->get_positional() && option->get_type_name() == "TEXT";
                                    })
                                    .empty();
}

/// The option that names a picture to be written. The bytes of packed frames have no picture format.
const CLI::Option* outputOf(const CLI::App& command)
{
    const CLI::Option* const packed = command.get_option_no_throw("--packed");
    return isLive(command) || (packed && packed->get_required()) ? nullptr
                                                                 : command.get_option_no_throw("--output");
}

}  // namespace

const Transfer& transfer()
{
    return theTransfer;
}

void addTransferOptions(CLI::App& command)
{
    if (readsFiles(command)) {
        command.add_flag("--as-stored", theTransfer.isAsStored,
                         "read pictures as they lie in their files, not turned upright");
        command.add_option("--page", theTransfer.page, "which picture of inputs that hold several, from 1")
            ->check(CLI::Range(1, 1 << 20))
            ->option_text("N");
        command
            .add_option("--spool", theTransfer.spoolMebibytes,
                        "MiB to read from the standard input (-) at most, 4096 if not given")
            ->check(CLI::Range(1, 1 << 20))
            ->option_text("N");
    }
    if (outputOf(command))
        command
            .add_option("--format", theTransfer.format,
                        "ending of the file format, such as png, for the standard output (-o -)")
            ->option_text("F");
    for (CLI::App* subcommand : command.get_subcommands({}))
        addTransferOptions(*subcommand);
}

void verifyTransfer(const CLI::App& command)
{
    // These names of the standard output are no files that a result could replace.
    if (const CLI::Option* const output = command.get_option_no_throw("--output"); output && !output->empty())
        for (const char* const name : {"/dev/stdout", "/dev/fd/1", "/proc/self/fd/1"})
            if (output->results().front() == name)
                throw UsageError(std::string("-o ") + name +
                                 ": the standard output has the name -, as in -o -");
    if (const CLI::Option* output = outputOf(command)) {
        const bool isStream = !output->empty() && output->results().front() == standardStream;
        if (isStream && theTransfer.format.empty())
            throw UsageError("-o - wants --format, such as --format png");
        if (!isStream && !theTransfer.format.empty())
            throw UsageError("--format goes with -o - only; the ending of a file names its format");
    }
    for (const CLI::App* subcommand : command.get_subcommands())
        verifyTransfer(*subcommand);
}

std::string nameOfInput(const std::string& file)
{
    return file == standardStream ? "standard input" : file;
}

std::string nameOfOutput(const std::string& file)
{
    return file == standardStream ? "standard output" : file;
}

std::string endingOfOutput(const std::string& file)
{
    std::string ending =
        file == standardStream ? '.' + theTransfer.format : std::filesystem::path(file).extension().string();
    return CLI::detail::to_lower(ending);
}

}  // namespace ko::tool
