// Histograms, extremes, means, moments, entropy, Otsu.
#include "fuzz/stats/families.h"

KO_FUZZ_ROOM(ko::fuzz::momentsCases(), ko::fuzz::accumulateCases(), ko::fuzz::histogramCases(),
             ko::fuzz::maskedCases(), ko::fuzz::grayCases(), ko::fuzz::lineCases(), ko::fuzz::jointCases(),
             ko::fuzz::measureCases())
