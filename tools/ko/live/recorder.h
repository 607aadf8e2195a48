// Frames into numbered files.
#pragma once

#include "io/image.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

namespace ko::tool {

/// Writes frames, the first as number 1. A file is on the disk before it counts.
class Recorder {
public:
    /// `output` is a directory, there or not, or a name with {} in place of the number. Throws `UsageError` where
    /// there is a frame with the first number already: what was recorded before is not to be mixed with what comes.
    Recorder(const std::string& output, std::optional<int> quality);

    /// Makes the directory too, with the first frame. Answers with the name of the file. Throws `Failure`.
    std::string write(const SxImageBuf& frame);

    std::uint64_t frames() const { return m_frames; }
    std::uint64_t bytes() const { return m_bytes; }

private:
    std::string nameOf(std::uint64_t number) const;

    std::string m_pattern;
    std::optional<int> m_quality;
    std::atomic<std::uint64_t> m_frames = 0;
    std::atomic<std::uint64_t> m_bytes = 0;
};

}  // namespace ko::tool
