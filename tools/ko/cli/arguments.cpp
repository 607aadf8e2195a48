#include "cli/arguments.h"

#include <CLI/CLI.hpp>

namespace ko::tool {

void declareArgument(CLI::App& command, const std::string& names, std::string& value, Need need,
                     const std::string& description)
{
    command.add_option(names, value, description)->required(need == Need::Required);
}

void declareArgument(CLI::App& command, const std::string& names, std::vector<std::string>& values, Need need,
                     const std::string& description, const std::string& form)
{
    command.add_option(names, values, description)->required(need == Need::Required)->option_text(form);
}

}  // namespace ko::tool
