// Helpers for the plain loops of kernels.
#pragma once

/// Before a loop whose iterations do not depend on each other, even where source and destination are the same
/// memory: the compiler vectorises it without testing for overlap.
#if defined(__clang__)
#define KO_INDEPENDENT_ITERATIONS _Pragma("clang loop vectorize(assume_safety)")
#else
#define KO_INDEPENDENT_ITERATIONS _Pragma("GCC ivdep")
#endif
