// The standard error, which other libraries write to as well.
#pragma once

#include <string_view>

namespace ko::tool {

/// Writes at once, also while somebody is quiet, and from handlers of signals.
void writeError(std::string_view text);

/// While one lives on any thread, nothing but `writeError` reaches the standard error: libpng prints every
/// fault of a file that OpenImageIO reports as well, and the tool promises one line per failure.
class Quiet {
public:
    Quiet();
    ~Quiet();
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;
};

}  // namespace ko::tool
