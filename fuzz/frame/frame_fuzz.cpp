// Binarisation, borders and masks.
#include "fuzz/frame/families.h"

KO_FUZZ_ROOM(ko::fuzz::borderCases(), ko::fuzz::maskCases())
