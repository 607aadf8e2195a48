// Equalisation, matching, contrast, background, averages.
#include "fuzz/tone/families.h"

KO_FUZZ_ROOM(ko::fuzz::equalizeCases(), ko::fuzz::contrastCases(), ko::fuzz::rawContrastCases(),
             ko::fuzz::backgroundCases())
