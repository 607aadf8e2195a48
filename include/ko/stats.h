// Histograms and statistics.
#pragma once

#include <ko/stats/accumulate.h>
#include <ko/stats/entropy.h>
#include <ko/stats/extremes.h>
#include <ko/stats/histogram.h>
#include <ko/stats/joint_histogram.h>
#include <ko/stats/means.h>
#include <ko/stats/moments.h>
#include <ko/stats/row_histogram.h>
