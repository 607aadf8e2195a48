// Every subcommand, each defined in the file of its name.
#pragma once

#include "command.h"

namespace ko::tool {

extern const Command borderCommand;
extern const Command compareCommand;
extern const Command demosaicCommand;
extern const Command distanceCommand;
extern const Command hist2dCommand;
extern const Command histCommand;
extern const Command infoCommand;
extern const Command maskCommand;
extern const Command medianCommand;
extern const Command simulateCommand;
extern const Command snakeCommand;
extern const Command sobelCommand;
extern const Command statsCommand;
extern const Command unpackCommand;

}  // namespace ko::tool
