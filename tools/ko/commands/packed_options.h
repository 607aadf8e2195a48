// What the command line says of frames in files without a header.
#pragma once

#include "cli/settings.h"
#include "io/packed_file.h"

#include <optional>
#include <string>

namespace ko::tool {

struct PackedOptions {
    std::string format;  ///< empty: the files have headers
    QSize size;
    std::optional<int> pitch;
    std::optional<int> offset;
};

/// Declares `--packed`, the others as settings, and what must hold between them.
void addPackedOptions(CLI::App& command, Settings& settings, PackedOptions& options);

/// The frame that the options describe; none where the files have headers. Throws `UsageError`.
std::optional<PackedFrame> frameOf(const PackedOptions& options);

}  // namespace ko::tool
