// Records, memory, copies, Bayer helpers and histogram containers.
#include "fuzz/core/families.h"

KO_FUZZ_ROOM(ko::fuzz::bufferCases(), ko::fuzz::copyCases(), ko::fuzz::bayerCases(),
             ko::fuzz::containerCases())
