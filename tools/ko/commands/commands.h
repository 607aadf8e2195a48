// Every subcommand that is no operation on single pictures, each defined in the file of its name.
#pragma once

#include "cli/command.h"

namespace ko::tool {

extern const Command averageCommand;
extern const Command camerasCommand;
extern const Command compareCommand;
extern const Command completionCommand;
extern const Command helpCommand;
extern const Command hist2dCommand;
extern const Command histCommand;
extern const Command infoCommand;
extern const Command liveCommand;
extern const Command manualCommand;
extern const Command maskCommand;
extern const Command packCommand;
extern const Command runCommand;
extern const Command simulateCommand;
extern const Command snakeCommand;
extern const Command statsCommand;
extern const Command streamCommand;
extern const Command unpackCommand;

}  // namespace ko::tool
