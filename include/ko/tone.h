// Equalisation, matching, contrast stretching, background correction and averaging.
#pragma once

#include <ko/histogram_containers.h>
#include <ko/image.h>

#include <QVector>

namespace ko {

/// Spreads the levels of an image evenly: every sample becomes 2^bitsPerSample - 1 times the share of its
/// channel's samples that are at or below it, truncated.
///
/// The part is summed up in double, level by level. Of interleaved colour all three channels follow the
/// distribution of the first, which keeps the balance of the colours, and a fourth channel of dst stays;
/// planes follow their own distributions. Samples are read without sign. Samples above the depth are not
/// counted and become what the highest level becomes. dst may be the memory of src.
///
/// @param src  mono, planar, or interleaved with 3 or 4 channels; one or two bytes per sample;
///             height x width, any stride;
///             a mono image may have any packing
/// @param dst  of src's size, channels, bitsPerSample, bayerGrid, dataType, packing and pixelFormat
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, or dataType none of `Int8`, `UInt8`, `Int16`, `UInt16`
///   ResultBadArg2          dst absent, of another size or format
///   ResultBadArg1          bitsPerSample above that of the container
///   ResultBadArg3          bitsPerSample negative or no channels
///   ResultUnsupportedType  interleaved with another number of channels, or an unknown packing
///   ResultFailed           a channel of which no sample is counted, as in images without pixels, or no
///                          memory
/// On the last failure the planes before the one at fault have been written; on the others dst is untouched.
/// Samples are counted on the calling thread, on several within `CallThreads`. Then rows run in parallel
/// (dynamic), planes in turn.
/// O(height * width * channels + 2^bitsPerSample).
KO_EXPORT ResultCode HistogramEqualize(const SxImageBuf& src, SxImageBuf& dst);

/// Gives an image the distribution of levels of another image, channel by channel.
///
/// A sample becomes the first level at which the share of the reference channel's samples at or below it
/// is not less than the same share for the sample in src. Where there is none, because the
/// reference's channel has no counted sample or by rounding, it becomes the greatest value of the container
/// (255 or 65535), whatever the depth. Samples above the depth are not counted and become what the highest
/// level becomes, the greatest value where no sample is counted. A fourth channel of interleaved pixels stays
/// as it is in dst. All three may be the same memory.
///
/// @param src        as for `HistogramEqualize`; signed types pass the checks and fail later
/// @param reference  of src's size, channels, bitsPerSample, bayerGrid, dataType, packing and pixelFormat
/// @param dst        likewise
/// @returns the first that applies, in this order
///   ResultBadArg1  src absent, or dataType none of `Int8`, `UInt8`, `Int16`, `UInt16`
///   ResultBadArg2  reference absent, of another size or format
///   ResultBadArg3  dst absent, of another size or format
///   ResultFailed   bitsPerSample negative or above that of the container, no channels, signed samples,
///                  another layout than mono, planar and interleaved with 3 or 4 channels,
///                  or no memory
/// On failure dst is untouched; only if memory runs out, earlier planes may already be written. An image
/// without pixels is matched. Samples are counted on the calling thread, on several within `CallThreads`. Then
/// rows run in parallel (dynamic), planes in turn. O(height * width * channels + 2^bitsPerSample).
KO_EXPORT ResultCode HistogramMatch(const SxImageBuf& src, const SxImageBuf& reference, SxImageBuf& dst);

/// Gives an image the distribution of levels of a histogram, plane by plane. Everything not said here is as
/// in the form with an image.
///
/// @param reference  exactly src's channels as planes and 2^bitsPerSample levels;
///                   extra bins are not looked at
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, or dataType none of `Int8`, `UInt8`, `Int16`, `UInt16`
///   ResultBadArg2          reference of other planes or levels, or without its bins
///   ResultBadArg3          dst absent, of another size or format
///   ResultFailed           bitsPerSample above that of the container or an unknown packing
///   ResultUnsupportedType  signed samples, or interleaved with other than 1, 3 or 4 channels
///   ResultFailed           no memory
KO_EXPORT ResultCode HistogramMatch(const SxImageBuf& src, const CxImageHistogram& reference,
                                    SxImageBuf& dst);

// ---------------------------------------------------------------- bands of levels
//
// The operations of the ThresholdAndStretchHistogram family treat a band of levels low...high of images of
// one or two bytes per sample. Common to all of them:
//
// - Samples are read without sign, also those of `Int8` and `Int16`.
// - Top is 2^bitsPerSample - 1 and Scale is Top / (high - low), both as the 32-bit numbers of the first image
//   (Top is 2^31 - 1 from 31 bits on, -1 for negative bitsPerSample). `ThresholdAndStretchHistogram` and
//   `ThresholdAndStretchHistogramMasked` cut low and high to their low 8 bits first where samples have one
//   byte.
// - *Stretching* gives (sample - low) * Scale, computed in double and truncated, and 0 where that is
//   negative or above Top: the band is spread over the whole range, levels outside it become 0. Where high
//   equals low, every sample becomes 0. Where high is below low the range is inverted. A result wider than
//   the sample keeps its low bits.
// - *Compressing* gives (sample - low) / Scale, truncated, and 0 for samples outside low...high.
//   It divides where stretching multiplies, so the result is at most high - low.
// - Channels are logical channels; each image is addressed by its own layout.
// - Everything runs on the calling thread, on several within `CallThreads`. O(height * width) per channel
//   treated. On failure nothing has been written. Source and destination may be the same memory with the same
//   layout.

/// Stretches one channel in place. The whole range (low 0, high Top) returns `ResultOk` before the sample
/// type is looked at.
///
/// @param image    interleaved or planar, one or two bytes per sample; height x width x channels, any stride
/// @param channel  0...channels; channels itself is accepted and addresses no sample
/// @param low, high levels, not checked
/// @returns the first that applies, in this order
///   ResultBadArg1          image absent, without channels or of another packing
///   ResultBadArg2          channel negative or above channels
///   ResultUnsupportedType  dataType is none of `Int8`, `UInt8`, `Int16`, `UInt16`
KO_EXPORT ResultCode ThresholdAndStretchHistogram(SxImageBuf& image, int channel, int low, int high);

/// Stretches one channel into one channel of another image, whose other channels stay. The whole range copies
/// the channel.
///
/// @param src         one or two bytes per sample; height x width x channels, any stride
/// @param srcChannel  0...channels - 1
/// @param dst         of src's size, dataType, packing and bitsPerSample; any channels
/// @param dstChannel  0...channels of dst - 1
/// @param low, high   0...Top in any order
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent
///   ResultBadArg2          no such channel in src
///   ResultBadArg3          dst absent, of another size, dataType, packing or bitsPerSample
///   ResultBadArg4          no such channel in dst
///   ResultBadArg5          low outside 0...Top
///   ResultBadArg6          high outside 0...Top
///   ResultUnsupportedType  dataType is none of `Int8`, `UInt8`, `Int16`, `UInt16`; a packing that is neither
///                          interleaved nor planar, unless the band is the whole range
///   ResultFailed           the copy of the whole range failed
KO_EXPORT ResultCode ThresholdAndStretchHistogram(const SxImageBuf& src, int srcChannel, SxImageBuf& dst,
                                                  int dstChannel, int low, int high);

/// Stretches one channel in place where the mask is not zero. The whole range returns `ResultOk` before the
/// sample type is looked at.
///
/// @param image    as in the form without a mask
/// @param mask     mono `UInt8` of image's size
/// @param channel  0...channels; channels itself is accepted and addresses no sample
/// @param low, high levels, not checked
/// @returns the first that applies, in this order
///   ResultBadArg1          image absent, without channels or of another packing
///   ResultBadArg2          mask absent, not mono, not `UInt8`, or of another size
///   ResultBadArg3          channel negative or above channels
///   ResultUnsupportedType  dataType is none of `Int8`, `UInt8`, `Int16`, `UInt16`
KO_EXPORT ResultCode ThresholdAndStretchHistogramMasked(SxImageBuf& image, const SxImageBuf& mask,
                                                        int channel, int low, int high);

/// Stretches one channel into one channel of another image where the mask is not zero. The whole range copies
/// the whole channel, whatever the mask.
///
/// @param src         one or two bytes per sample; height x width x channels, any stride
/// @param srcChannel  0...channels - 1
/// @param dst         of src's size, dataType and bitsPerSample, and of its packing unless src is mono; any
///                    channels
/// @param dstChannel  0...channels of dst - 1
/// @param mask        mono `UInt8` of src's size
/// @param low, high   0...Top in any order
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent
///   ResultBadArg2          no such channel in src
///   ResultBadArg3          dst absent, of another size, dataType, bitsPerSample or packing
///   ResultBadArg4          no such channel in dst
///   ResultBadArg5          mask absent, not mono, not `UInt8`, or of another size
///   ResultBadArg6          low outside 0...Top
///   ResultBadArg7          high outside 0...Top
///   ResultUnsupportedType  as in the form without a mask
///   ResultFailed           the copy of the whole range failed
KO_EXPORT ResultCode ThresholdAndStretchHistogramMasked(const SxImageBuf& src, int srcChannel,
                                                        SxImageBuf& dst, int dstChannel,
                                                        const SxImageBuf& mask, int low, int high);

/// Compresses a gray image, or the first three channels of a colour image together.
///
/// Of a mono image every sample is compressed. Of an image with three or more channels the first three are
/// where all three lie in low...high, and become 0 otherwise. An image with two channels stays as it is. The
/// channels of dst beyond those written stay, and those that dst lacks are left out.
///
/// @param src        one or two bytes per sample; height x width x channels, any stride
/// @param dst        of src's size, dataType, packing and bitsPerSample; any channels
/// @param low, high  0 <= low <= high <= Top
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent
///   ResultBadArg2          dst absent, of another size, dataType, packing or bitsPerSample
///   ResultBadArg3          low negative, above high or above Top
///   ResultBadArg4          high above Top
///   ResultUnsupportedType  dataType is none of `Int8`, `UInt8`, `Int16`, `UInt16`; three or more channels in
///                          a packing that is neither interleaved nor planar
KO_EXPORT ResultCode ThresholdAndStretchHistogramGray(const SxImageBuf& src, SxImageBuf& dst, int low,
                                                      int high);

/// `ThresholdAndStretchHistogramGray` for the pixels that a mask selects.
///
/// @param mask  not checked. A pixel is selected by byte y * stride + x of the mask's memory; where the mask
///              has no such pixel or byte, or no memory, nothing is selected
/// @returns the codes of `ThresholdAndStretchHistogramGray`, dst as argument 2
KO_EXPORT ResultCode ThresholdAndStretchHistogramGrayMasked(const SxImageBuf& src, const SxImageBuf& mask,
                                                            SxImageBuf& dst, int low, int high);

/// Compresses a raw image of four planes into the first three planes of an image: red (plane 0), the mean of
/// both greens (planes 1 and 3, halves dropped) and blue (plane 2).
///
/// Where one of the three is outside low...high, all become 0. A source with fewer than four planes, an
/// interleaved one or one without memory is accepted and changes nothing. Planes that dst lacks are left out.
///
/// @param src        planar, four planes, one or two bytes per sample; height x width, any stride
/// @param dst        of src's size, dataType, packing and bitsPerSample; any channels
/// @param low, high  0 <= low <= high <= Top
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent and not of four channels and not planar, all at once
///   ResultBadArg2          dst absent, of another size, dataType, packing or bitsPerSample
///   ResultBadArg3          low negative, above high or above Top
///   ResultBadArg4          high above Top
///   ResultUnsupportedType  dataType is none of `Int8`, `UInt8`, `Int16`, `UInt16`
KO_EXPORT ResultCode ThresholdAndStretchHistogramGrayRawPlanar(const SxImageBuf& src, SxImageBuf& dst,
                                                               int low, int high);

/// `ThresholdAndStretchHistogramGrayRawPlanar` for the pixels that a mask selects. Beware: this operation
/// refuses the masks that all other operations take.
///
/// @param mask  present, not a mono `UInt8` image, and not of src's width and height. A pixel is selected by
///              byte y * stride + x of the mask's memory; where the mask has no such pixel or byte, nothing
///              is selected
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent and not of four channels and not planar, all at once
///   ResultBadArg2          mask absent, or mono and `UInt8`, or of src's size
///   ResultBadArg3          dst absent, of another size, dataType, packing or bitsPerSample
///   ResultBadArg4          low negative, above high or above Top
///   ResultBadArg5          high above Top
///   ResultUnsupportedType  dataType is none of `Int8`, `UInt8`, `Int16`, `UInt16`
KO_EXPORT ResultCode ThresholdAndStretchHistogramGrayRawPlanarMasked(const SxImageBuf& src,
                                                                     const SxImageBuf& mask, SxImageBuf& dst,
                                                                     int low, int high);

/// Stretches the mean of both greens (planes 1 and 3, halves kept) of a raw image of four planes into one
/// plane of an image. The whole range (low 0, high Top) writes the mean, halves dropped.
///
/// @param src         planar, four planes, one or two bytes per sample; height x width, any stride
/// @param dst         planar, of src's size and dataType; any bitsPerSample, one or more channels
/// @param dstChannel  0...channels of dst - 1
/// @param low, high   levels, not checked
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, not of four channels or not planar
///   ResultBadArg2          dst absent, without channels, not planar, of another size or dataType
///   ResultBadArg3          no such channel in dst
///   ResultUnsupportedType  dataType is none of `Int8`, `UInt8`, `Int16`, `UInt16`
KO_EXPORT ResultCode ThresholdAndStretchHistogramGreenRawPlanar(const SxImageBuf& src, SxImageBuf& dst,
                                                                int dstChannel, int low, int high);

/// `ThresholdAndStretchHistogramGreenRawPlanar` for the pixels whose mask byte is not zero, the whole range
/// included.
///
/// @param mask  mono `UInt8` of src's size
/// @returns the first that applies, in this order
///   ResultBadArg1          src absent, not of four channels or not planar
///   ResultBadArg2          dst absent, without channels, not planar, of another size or dataType
///   ResultBadArg3          no such channel in dst
///   ResultBadArg4          mask absent, not mono, not `UInt8`, or of another size
///   ResultUnsupportedType  dataType is none of `Int8`, `UInt8`, `Int16`, `UInt16`
KO_EXPORT ResultCode ThresholdAndStretchHistogramGreenRawPlanarMasked(const SxImageBuf& src, SxImageBuf& dst,
                                                                      int dstChannel, const SxImageBuf& mask,
                                                                      int low, int high);

// ---------------------------------------------------------------- series and backgrounds

/// Averages the same region of a list of frames.
///
/// Every sample becomes the sum of the frames' samples divided by their number, truncated. The sums are 32
/// bits wide and **wrap without notice**: 16-bit frames are safe up to 65537 of them, 32-bit frames never
/// are.
///
/// @param frames  one or more, `UInt8`, `UInt16` or `UInt32`, each of dst's channels, bitsPerSample,
///                bayerGrid, dataType, packing and pixelFormat; sizes and strides may differ
/// @param roi     inside every frame; may be empty
/// @param dst     at least as large as roi, which is written to its top left corner. With a region that
///                begins at (0, 0) dst may be one of the frames;
///                what lies outside that corner stays as it is
/// @returns the first that applies, in this order
///   ResultBadArg1          frames empty
///   ResultBadArg2          dst absent or smaller than roi
///   ResultFailed           roi of negative size, dst without channels, or no memory
///   ResultBadArg1          a frame absent or of another format, or roi not inside it
///   ResultUnsupportedType  another sample type, or several channels in an unknown packing (of the first
///                          frame; a bad frame behind it is not looked at)
/// On failure dst is untouched. Rows run in parallel (dynamic), planes in turn.
/// O(roi height * roi width * channels * frames), with memory for one address per frame.
KO_EXPORT ResultCode AverageImage(QVector<SxImageBuf> frames, const QRect& roi, SxImageBuf& dst);

/// Averages whole frames: `AverageImage` over the size of the first one.
///
/// @returns ResultBadArg1 for an empty list, ResultFailed for whatever else the other form refuses
KO_EXPORT ResultCode AverageImage(QVector<SxImageBuf> frames, SxImageBuf& dst);

/// Divides an image by a background image and scales the quotient.
///
/// A sample x over the background sample b becomes trunc(min(top, (x / b) * ratio * gains[channel])),
/// computed from left to right in double, and 0 where b is 0. top is 2^bitsPerSample - 1; ratio is
/// targetLevel / referenceLevel where both are above 0, otherwise 1. What does not fit the sample (negative
/// gains, depths beyond the container) keeps its low bits; a product that is NaN counts as top. A fourth
/// channel of dst is not written. dst may be the memory of src or of the background.
///
/// @param src             `UInt8` or `UInt16`, interleaved, one, three or four channels; any stride
/// @param background      of src's size, channels, bitsPerSample, bayerGrid, dataType, packing and
///                        pixelFormat
/// @param dst             like background
/// @param referenceLevel  0 or more
/// @param targetLevel     0 or more
/// @param gains  null (every gain is top, cut to the container), or one gain per corrected channel (at most
///               three). **The call takes the array over and releases it with `delete[]`**: pass what
///               `new double[]` returned and do not touch it afterwards. It is released whenever the checks
///               below pass, whatever happens then; when one fails, the array stays the caller's
/// @returns the first that applies, in this order
///   ResultBadArg1  src absent, of another type, channel count or packing
///   ResultBadArg2  background absent or of another size or format
///   ResultBadArg3  dst absent or of another size or format
///   ResultBadArg4  referenceLevel negative
///   ResultBadArg5  targetLevel negative
///   ResultFailed   no memory
/// On failure dst is untouched. Rows run in parallel (dynamic). O(height * width * channels).
KO_EXPORT ResultCode CorrectBackground(const SxImageBuf& src, const SxImageBuf& background, SxImageBuf& dst,
                                       double referenceLevel, double targetLevel, double* gains);

/// Divides an image by a background image and multiplies by a factor per channel, in place.
///
/// A sample x over the background sample b becomes trunc(min(limit, (x / b) * factors[channel])), computed in
/// double, and stays as it is where b is 0. limit is 255 for `UInt8`. For `UInt16` it is 2^bitsPerSample of
/// the image, **not one less, and cut to 16 bits**: 12-bit images are limited to 4096, and full 16-bit images
/// become 0 wherever the background is not 0. What does not fit the sample keeps its low bits; a product that
/// is NaN counts as limit.
///
/// @param background    `UInt8` or `UInt16`; mono in any packing for a mono image, otherwise of three or four
///                      channels, interleaved or planar
/// @param image         of the background's size, packing and dataType; mono, or of three or four channels
/// @param channelCount  the first channels are corrected, the others stay; 0 and negative correct nothing
/// @param factors       one per corrected channel; remains the caller's
/// @returns the first that applies, in this order
///   ResultBadArg1          background absent
///   ResultBadArg2          image absent, of another size, packing or dataType, or its channels do not go
///                          with the background's
///   ResultBadArg3          channelCount above that of either image, or factors null
///   ResultUnsupportedType  dataType is neither `UInt8` nor `UInt16`, or several channels in an unknown
///                          packing
/// On failure image is untouched. Runs on the calling thread, on several within `CallThreads`. O(pixels).
KO_EXPORT ResultCode BackgroundCorrection(const SxImageBuf& background, SxImageBuf& image, int channelCount,
                                          const double* factors);

}  // namespace ko
