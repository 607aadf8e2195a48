// Thresholds, logic with a constant, clamping.
#include "fuzz/pixel/families.h"

KO_FUZZ_ROOM(ko::fuzz::thresholdCases(), ko::fuzz::logicCases())
