// The families of operations that share the room's fuzzer.
#pragma once

#include "fuzz/support/run.h"

namespace ko::fuzz {

Cases borderCases();
Cases maskCases();

}  // namespace ko::fuzz
