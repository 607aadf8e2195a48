// Every subcommand, each defined in the file of its name.
#pragma once

#include "command.h"

namespace ko::tool {

extern const Command compareCommand;
extern const Command demosaicCommand;
extern const Command hist2dCommand;
extern const Command histCommand;
extern const Command infoCommand;
extern const Command simulateCommand;
extern const Command statsCommand;
extern const Command unpackCommand;

}  // namespace ko::tool
