#include "cli/idle_threads.h"

#include <CLI/CLI.hpp>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace ko::tool {
namespace {

bool hasSeveralPictures(const CLI::App& app)
{
    for (const CLI::App* command : app.get_subcommands()) {
        const CLI::Option* const inputs = command->get_option_no_throw("input");
        if (inputs != nullptr && inputs->count() > 1)
            return true;
        if (command->get_option_no_throw("camera") != nullptr)
            return true;
    }
    return false;
}

}  // namespace

void letIdleThreadsSleep(const CLI::App& app, char** argv)
{
    const bool isChosen =
        std::getenv("OMP_WAIT_POLICY") != nullptr || std::getenv("GOMP_SPINCOUNT") != nullptr;
    if (isChosen || !hasSeveralPictures(app))
        return;
    // Not the link itself, whose name would become the process's.
    std::error_code failure;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", failure);
    if (failure || setenv("OMP_WAIT_POLICY", "passive", 1) != 0)
        return;
    execv(self.c_str(), argv);
    // Where that is not allowed, the work is done all the same.
}

}  // namespace ko::tool
