// Raw frames as cameras send them: packed samples, and the balance of their colours.
#pragma once

#include <ko/image.h>

#include <cstddef>

namespace ko {

/// How a camera packs the samples of a row. `Mono` stands for the Bayer formats of the same ending too: the
/// names of a mosaic's formats (`BayerRG12p`) differ from these in what the samples mean, not in how they
/// lie.
///
/// In the layouts called p the samples follow each other as one string of bits, least significant bit first,
/// and only the last byte of a row is filled up. In those called Packed and in those of CSI-2 the upper 8
/// bits of each sample have a byte of their own, the rest of a group's samples share the bytes between or
/// behind these, and the last group of a row is filled up.
enum ExPackedLayout : std::int32_t {
    Mono10p = 0,           ///< 10 bits, 4 samples in 5 bytes as one string of bits (GenICam)
    Mono12p = 1,           ///< 12 bits, 2 samples in 3 bytes as one string of bits (GenICam)
    Mono14p = 2,           ///< 14 bits, 4 samples in 7 bytes as one string of bits (GenICam)
    Mono10Packed = 3,      ///< 10 bits, 2 samples in 3 bytes, low bits in the middle (GigE Vision 1)
    Mono12Packed = 4,      ///< 12 bits, 2 samples in 3 bytes, low bits in the middle (GigE Vision 1)
    Csi2Raw10 = 5,         ///< 10 bits, 4 samples in 5 bytes, low bits last (V4L2 pBAA, pRAA ...)
    Csi2Raw12 = 6,         ///< 12 bits, 2 samples in 3 bytes, low bits last (V4L2 pBCC, pRCC ...)
    Csi2Raw14 = 7,         ///< 14 bits, 4 samples in 7 bytes, low bits last (V4L2 pBEE, pREE ...)
    Mono16BigEndian = 8,   ///< 1 to 16 bits in words of 2 bytes, the upper byte first
    Mono16MsbAligned = 9,  ///< 1 to 16 bits at the upper end of words of 2 bytes, the lower byte first
};

/// Bits of a sample in a layout; 16 for the layouts of words, 0 for a number that is no layout.
KO_EXPORT int packedBitsPerSample(ExPackedLayout layout);

/// Bytes of a row of packed samples, 0 for a negative width or an unknown layout.
KO_EXPORT std::size_t packedRowBytes(ExPackedLayout layout, int width);

/// Turns packed samples into words, one per sample.
///
/// The source is dst.height rows of dst.width samples; bits that fill up a row are not looked at. Words of
/// `Mono16BigEndian` are taken as they are, even where they exceed dst's depth; of those of
/// `Mono16MsbAligned` the upper dst.bitsPerSample bits are taken.
///
/// A camera that sends its rows without filling up their last byte sends one long row: unpack it into a dst
/// of height 1 over the same pixels.
///
/// @param data    first byte of the packed samples, at any address; must not overlap dst
/// @param bytes   length of the memory at data
/// @param pitch   bytes from a row to the next, at least `packedRowBytes`; 0: the rows follow each other
/// @param layout  how the samples are packed
/// @param dst     mono `UInt16`; bitsPerSample that of the layout, 1...16 for the layouts of words
/// @returns the first that applies, in this order
///   ResultBadArg1  data null
///   ResultBadArg4  layout unknown
///   ResultBadArg5  dst absent, not mono, not `UInt16` or of another depth
///   ResultBadArg3  pitch shorter than a row
///   ResultBadArg2  the last row ends behind the memory
///   ResultBadArg5  rows of dst longer than their stride
/// On failure dst is untouched. Rows run in parallel (dynamic). O(height * width).
KO_EXPORT ResultCode UnpackSamples(const void* data, std::size_t bytes, std::size_t pitch,
                                   ExPackedLayout layout, SxImageBuf& dst);

/// Packs samples: what `UnpackSamples` reads.
///
/// Samples beyond src's depth become its largest value. Bits that fill up a row are 0; bytes between the end
/// of a row and the next are not touched.
///
/// @param src     mono `UInt16`; bitsPerSample that of the layout, 1...16 for the layouts of words
/// @param layout  how to pack the samples
/// @param data    where the first row goes, at any address; must not overlap src
/// @param bytes   length of the memory at data
/// @param pitch   bytes from a row to the next, at least `packedRowBytes`; 0: the rows follow each other
/// @returns the first that applies, in this order
///   ResultBadArg2  layout unknown
///   ResultBadArg1  src absent, not mono, not `UInt16` or of another depth
///   ResultBadArg3  data null
///   ResultBadArg5  pitch shorter than a row
///   ResultBadArg4  the last row ends behind the memory
///   ResultBadArg1  rows of src longer than their stride
/// On failure data is untouched. Rows run in parallel (dynamic). O(height * width).
KO_EXPORT ResultCode PackSamples(const SxImageBuf& src, ExPackedLayout layout, void* data, std::size_t bytes,
                                 std::size_t pitch);

/// Subtracts black levels and multiplies by gains, one of each per colour.
///
/// A sample v becomes (v - black) * gain, not below 0, rounded to the nearest whole number (halves up) and
/// limited to 2^bitsPerSample - 1 of dst. The gain is taken as the nearest multiple of 1/65536; the rest is
/// exact.
///
/// A mosaic has four colours, the positions (x mod 2) + 2 * (y mod 2) of the whole image, in the order in
/// which its grid is named: for `BayerRGGB` red, green, green, blue. Other images have one per channel.
///
/// src and dst may be the same memory.
///
/// @param src          `UInt8` or `UInt16`; mono with or without mosaic, or 3 or 4 channels, `Interleaved`
/// @param dst          src's size, channels, packing and sample type; its depth may be another
/// @param gains        one number of 0...65535 per colour
/// @param blackLevels  one sample value of 0...65535 per colour; null: 0
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, not 1, 3 or 4 interleaved channels, or of an unknown grid
///   ResultBadArg2          dst absent, or of another size, format or sample type
///   ResultBadArg3          gains null, or one of them out of range
///   ResultBadArg4          a black level out of range
///   ResultUnsupportedType  another sample type
///   ResultBadArg1, 2       rows of src or dst longer than their stride
/// On failure dst is untouched. Rows run in parallel (dynamic). O(height * width).
KO_EXPORT ResultCode WhiteBalance(const SxImageBuf& src, SxImageBuf& dst, const double* gains,
                                  const int* blackLevels);

}  // namespace ko
