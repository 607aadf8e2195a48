// What processors do not tell by the instruction sets that kernels are compiled for.
#pragma once

#if defined(__x86_64__)
#include <cpuid.h>
#endif

namespace ko {

/// Arithmetic of half precision: on x86 the mark of Intel's fourth generation of Xeon and later ones.
inline bool hasHalfPrecision() noexcept
{
#if defined(__x86_64__)
    constexpr unsigned halfPrecision = 1U << 23;
    unsigned a = 0, b = 0, c = 0, d = 0;
    return __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && (d & halfPrecision) != 0;
#else
    return false;
#endif
}

}  // namespace ko
