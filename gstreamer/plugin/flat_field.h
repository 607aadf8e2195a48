// The unevenness of lens and sensor, taken out of frames.
#pragma once

#include "plugin/graymap.h"

#include <ko/image.h>

#include <vector>

namespace ko::gst {

/// What frames are corrected with.
class FlatField {
public:
    /// @param flat  a picture of something even, without samples where there is none
    /// @param dark  a picture without light, likewise
    FlatField(const Graymap& flat, const Graymap& dark, ExBayerGrid grid);

    /// (sample - dark) / (flat - dark) * mean, in single precision, rounded to the nearest and limited to the depth of
    /// the frame. The mean is that of flat - dark of the sample's colour. Differences below 0 count as 0; where
    /// flat - dark is 0 the result is 0.
    /// @param frame  `UInt8` or `UInt16`, mono, of the pictures' size
    void correct(SxImageBuf& frame) const;

private:
    std::vector<std::uint16_t> m_dark;  ///< one per sample; empty: 0
    std::vector<float> m_gains;         ///< one per sample; empty: 1
};

}  // namespace ko::gst
