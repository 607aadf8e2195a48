// The samples of a camera raw as its file has them.
#pragma once

#include "io/dng_tags.h"
#include "io/raw_stream.h"
#include "io/source.h"

#include <libraw/libraw.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ko::tool {

/// All pixels of a sensor, with those that see no light.
class RawSamples {
public:
    /// Unpacks what has been opened: decoders may correct the levels that stand in the header, and tell by the flag of
    /// damage. Throws `Failure`.
    RawSamples(const Source& source, LibRaw& raw, const DngTags& tags, RawStream& stream,
               const bool& isDamaged);
    RawSamples(const RawSamples&) = delete;
    RawSamples& operator=(const RawSamples&) = delete;

    /// A sample of the one colour that pixels have, or of each.
    const std::uint16_t* at(int x, int y) const { return m_first + y * m_pitch + x * m_step; }

    std::ptrdiff_t pitch() const { return m_pitch; }  ///< samples from a row to the next
    std::ptrdiff_t step() const { return m_step; }    ///< and from a pixel to the next

    /// 3 where pixels have all colours, 1 for a mosaic or a monochrome sensor.
    int channels() const { return m_channels; }

private:
    void decode(const Source& source, LibRaw& raw, RawStream& stream, const bool& isDamaged);
    void join(const Source& source, LibRaw& raw, RawStream& stream, const DngParts& parts);

    std::vector<std::uint16_t> m_joined;  ///< of parts that LibRaw does not find
    int m_channels = 1;
    const std::uint16_t* m_first = nullptr;
    std::ptrdiff_t m_pitch = 0;
    std::ptrdiff_t m_step = 1;
};

}  // namespace ko::tool
