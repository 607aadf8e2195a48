#include "cli/arguments.h"

#include "cli/quality.h"

#include <CLI/CLI.hpp>

namespace ko::tool {

void declareArgument(CLI::App& command, const std::string& names, std::string& value, Need need,
                     const std::string& description, const std::string& form)
{
    // A shell makes it of a variable that is not set. It must not pass for an option that is not given.
    const auto reject = [](const std::string& text) { return text.empty() ? "is empty" : ""; };
    command.add_option(names, value, description)
        ->required(need == Need::Required)
        ->option_text(form)
        ->check(reject);
}

void declareArgument(CLI::App& command, const std::string& names, std::vector<std::string>& values, Need need,
                     const std::string& description, const std::string& form)
{
    command.add_option(names, values, description)->required(need == Need::Required)->option_text(form);
}

void addHelp(CLI::App& command, const std::string& text)
{
    command.footer(text);
}

void declareVerbosity(CLI::App& command, Verbosity& verbosity)
{
    const auto say = [&](const char* names, Verbosity meaning, const char* description) {
        return command.add_flag_callback(
            names, [&verbosity, meaning] { verbosity = meaning; }, description);
    };
    CLI::Option* const quiet = say("-q,--quiet", Verbosity::Quiet, "neither progress nor summary");
    say("-v,--verbose", Verbosity::Verbose, "also a line for every file")->excludes(quiet);
}

void declareQuality(CLI::App& command, std::optional<int>& quality)
{
    command.add_option("--quality", quality, "of JPEG and WebP files, 1...100")
        ->option_text("N")
        ->check(CLI::Range(lowestQuality, highestQuality));
}

}  // namespace ko::tool
