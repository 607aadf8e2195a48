// Binarisation, borders and masks.
#include "fuzz/masks/families.h"

KO_FUZZ_ROOM(ko::fuzz::borderCases(), ko::fuzz::maskCases())
