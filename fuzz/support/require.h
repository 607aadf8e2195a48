// What a fuzzer holds against an operation.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace ko::fuzz {

/// Ends the process, so that the input that led here is kept.
[[noreturn]] inline void fail(const char* what)
{
    std::fprintf(stderr, "fuzz: %s\n", what);
    std::abort();
}

/// `what` says what went wrong.
inline void require(bool holds, const char* what)
{
    if (!holds)
        fail(what);
}

}  // namespace ko::fuzz
