// The error boundary: no exception leaves the library.
#pragma once

#include <ko/result.h>

namespace ko {

/// Runs the body of an exported operation. Whatever it throws becomes `ResultFailed`: memory that has run out,
/// or an exception of a conversion that the program has registered for a type of its own.
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
