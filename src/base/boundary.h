// The error boundary: no exception leaves the library.
#pragma once

#include <ko/result.h>

namespace ko {

/// Runs the body of an exported operation; what it throws becomes `ResultFailed`: exhausted memory, or
/// anything from a conversion that a program has registered for a type of its own.
template <class Body>
ResultCode guarded(Body&& body) noexcept
{
    try {
        return body();
    } catch (...) {
        return ResultFailed;
    }
}

}  // namespace ko
