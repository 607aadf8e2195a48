// Statuses as exceptions.
#pragma once

#include <ko/result.h>

#include <stdexcept>
#include <string>

namespace ko {

/// A failure as an exception. `what()` is a sentence for people.
class Error : public std::runtime_error {
public:
    /// With the text of `toString`.
    explicit Error(ResultCode code) : Error(code, toString(code)) {}

    /// With a text that says more than the status.
    Error(ResultCode code, const std::string& text) : std::runtime_error(text), m_code(code) {}

    ResultCode code() const noexcept { return m_code; }           ///< the status
    int argument() const noexcept { return argumentOf(m_code); }  ///< the invalid argument, 1...7; 0 for none

private:
    ResultCode m_code;
};

/// Throws `Error` when `code` reports a failure.
inline void orThrow(ResultCode code)
{
    if (isFailure(code))
        throw Error(code);
}

}  // namespace ko
