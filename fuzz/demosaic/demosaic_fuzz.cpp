// Demosaicing and the convertor.
#include "fuzz/demosaic/families.h"

KO_FUZZ_ROOM(ko::fuzz::demosaicCases(), ko::fuzz::convertorCases(), ko::fuzz::centredCases())
