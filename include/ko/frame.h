// Binarisation, border images and masks.
#pragma once

#include <ko/image.h>

namespace ko {

/// Marks the non-zero samples of a mono image.
///
/// A dst over the same memory as a src of the same layout is allowed.
///
/// @param src    mono, any sample type but `Sample128`; height x width, any stride
/// @param dst    mono `UInt8` of src's size; every sample of it is written, padding is not
/// @param value  sample written where src is not zero (NaN counts as not zero, -0.0 as zero), 0...255
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent or not mono
///   ResultBadArg2          dst absent, not mono, not `UInt8`, or of another size
///   ResultUnsupportedType  src.dataType has no implementation
/// On failure dst is untouched. Rows run in parallel (static). O(height * width).
KO_EXPORT ResultCode Binarize(const SxImageBuf& src, SxImageBuf& dst, unsigned char value);

}  // namespace ko
