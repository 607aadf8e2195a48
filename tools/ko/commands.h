// Every subcommand, each defined in the file of its name.
#pragma once

#include "command.h"

namespace ko::tool {

extern const Command averageCommand;
extern const Command borderCommand;
extern const Command compareCommand;
extern const Command convertCommand;
extern const Command demosaicCommand;
extern const Command distanceCommand;
extern const Command equalizeCommand;
extern const Command flatfieldCommand;
extern const Command hist2dCommand;
extern const Command histCommand;
extern const Command infoCommand;
extern const Command maskCommand;
extern const Command matchCommand;
extern const Command medianCommand;
extern const Command simulateCommand;
extern const Command snakeCommand;
extern const Command sobelCommand;
extern const Command statsCommand;
extern const Command stretchLevelsCommand;
extern const Command thresholdCommand;
extern const Command unpackCommand;

}  // namespace ko::tool
