// The families of operations that share the room's fuzzer.
#pragma once

#include "fuzz/support/run.h"

namespace ko::fuzz {

Cases bayerCases();
Cases bufferCases();
Cases containerCases();
Cases copyCases();

}  // namespace ko::fuzz
