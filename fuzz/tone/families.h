// The families of operations that share the room's fuzzer.
#pragma once

#include "fuzz/support/run.h"

namespace ko::fuzz {

Cases backgroundCases();
Cases contrastCases();
Cases equalizeCases();
Cases rawContrastCases();

}  // namespace ko::fuzz
