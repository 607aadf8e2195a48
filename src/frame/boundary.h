// The error boundary: no exception leaves the library.
#pragma once

#include <ko/result.h>

#include <exception>

namespace ko {

/// Runs the body of an exported operation; what it throws (out of memory, in practice) becomes
/// `ResultFailed`.
template <class Body>
ResultCode guarded(Body&& body) noexcept
{
    try {
        return body();
    } catch (const std::exception&) {
        return ResultFailed;
    }
}

}  // namespace ko
