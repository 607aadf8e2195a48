// Frames of packed samples in files without a header, as cameras send them.
#pragma once

#include "io/image_file.h"

#include <QSize>

#include <optional>
#include <string>

namespace ko::tool {

/// What a name of GenICam or V4L2 says of samples.
struct PackedFormat {
    std::string name;
    std::optional<ExPackedLayout> layout;  ///< none: as in memory, bytes or words with the lower byte first
    int bits;
    ExBayerGrid grid;
};

/// The names that there are, for the help.
extern const char* const packedFormatHelp;

/// The format of a name. Capitals count only where they tell names apart. Throws `UsageError` with the
/// nearest name for one that there is not.
PackedFormat packedFormatOf(const std::string& name);

/// What a file without a header cannot say itself.
struct PackedFrame {
    PackedFormat format;
    QSize size;
    std::size_t pitch;  ///< bytes from a row to the next
    std::optional<std::uint64_t>
        offset;  ///< of the first frame; none: the file holds frames and nothing else
};

/// Bytes from a row to the next: those that the row needs, or as many as are wanted. Throws `UsageError` for
/// fewer than it needs.
std::size_t pitchOf(const PackedFormat& format, int width, std::optional<int> wanted);

/// Finds the wanted page of a file of frames. Throws `Failure` where the length of the file does not suit.
FileInfo readPackedInfo(const std::string& file, const PackedFrame& frame);

/// Reads it.
Picture readPacked(const std::string& file, const PackedFrame& frame);

/// The bytes of a picture, all rows of the same length. Throws where it has other samples than the format.
std::string packedBytes(const Image& picture, const PackedFormat& format, std::optional<int> pitch);

}  // namespace ko::tool
