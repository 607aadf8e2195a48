// The parts in which the samples of a DNG file lie, where LibRaw 0.20 does not find them or goes wrong.
#pragma once

#include <libraw/libraw.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace ko::tool {

/// Tiles, or strips as wide as the sensor, in raster order; not compressed.
struct DngParts {
    std::int64_t width;
    std::int64_t height;
    std::int64_t bits;
    bool isLittle;
    std::vector<std::int64_t> offsets;
};

/// The samples of a sensor of this size as they stand in the file; none where it does not hold them all.
std::optional<std::vector<std::uint16_t>> readParts(LibRaw_abstract_datastream& stream, const DngParts& parts,
                                                    int width, int height);

/// What a lossless JPEG stream says of its size. DNG files spread the columns of a part over the components.
struct JpegFrame {
    std::int64_t width;
    std::int64_t height;
    std::int64_t components;
};

/// Of the stream that begins at this byte of the file; none where there is no such stream.
std::optional<JpegFrame> readJpegFrame(LibRaw_abstract_datastream& stream, std::int64_t offset);

}  // namespace ko::tool
