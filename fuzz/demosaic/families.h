// The families of operations that share the room's fuzzer.
#pragma once

#include "fuzz/support/run.h"

namespace ko::fuzz {

Cases convertorCases();
Cases demosaicCases();
Cases centredCases();

}  // namespace ko::fuzz
