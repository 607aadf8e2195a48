// The families of operations that share the room's fuzzer.
#pragma once

#include "fuzz/support/run.h"

namespace ko::fuzz {

Cases grayCases();
Cases histogramCases();
Cases jointCases();
Cases lineCases();
Cases maskedCases();
Cases measureCases();
Cases accumulateCases();
Cases momentsCases();

}  // namespace ko::fuzz
