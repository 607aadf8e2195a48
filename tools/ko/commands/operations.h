// Every operation on single pictures, each defined in the file of its name.
#pragma once

#include "commands/operation.h"

namespace ko::tool {

extern const Operation applyMaskOperation;
extern const Operation binarizeOperation;
extern const Operation borderOperation;
extern const Operation channelOperation;
extern const Operation clampOperation;
extern const Operation compressLevelsOperation;
extern const Operation convertOperation;
extern const Operation cropOperation;
extern const Operation demosaicOperation;
extern const Operation developOperation;
extern const Operation distanceOperation;
extern const Operation equalizeOperation;
extern const Operation flatfieldOperation;
extern const Operation logicOperation;
extern const Operation matchOperation;
extern const Operation medianOperation;
extern const Operation paintOperation;
extern const Operation resizeOperation;
extern const Operation sobelOperation;
extern const Operation stretchLevelsOperation;
extern const Operation thresholdOperation;

}  // namespace ko::tool
