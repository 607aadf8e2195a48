// ko cameras: what can be opened.
#include "cli/settings.h"
#include "commands/commands.h"
#include "live/live_module.h"

#include <memory>

namespace ko::tool {

const Command camerasCommand{"Live cameras", "cameras", "List the cameras that can be opened",
                             [](CLI::App& command) -> Command::Action {
                                 struct Options {
                                     bool asJson = false;
                                     Settings settings;
                                 };
                                 auto options = std::make_shared<Options>();
                                 options->settings.flag("json", options->asJson, "as a JSON list");
                                 options->settings.declare(command);
                                 return [options] { return liveModule().listCameras(options->asJson); };
                             }};

}  // namespace ko::tool
