// Statistics of every pixel over a series of frames: exact, and the same in whatever order and parts the
// frames come.
//
// An accumulator holds integers alone. Adding frames and merging accumulators are additions, minima and
// maxima, so parts of a series may be accumulated anywhere, by any number of programs, and merged in any
// order: the integers do not depend on it, and neither do the mean and the variance made of them.
//
// Nothing overflows. The square of a sample is below (2^16 - 1)^2, and (2^16 - 1)^2 * (2^32 - 1) < 2^64: an
// accumulator takes up to 2^32 - 1 frames and refuses more.
#pragma once

#include <ko/image.h>

#include <QVector>

#include <cstdint>

namespace ko {

/// Frames that one accumulator can hold.
inline constexpr std::uint64_t mostAccumulatedFrames = 0xFFFFFFFF;

/// What is counted of every sample of a series of frames: one plane for each number.
///
/// A plane is an image of the caller's with the frames' size, channels and packing; one without `data` is not
/// wanted. `ClearAccumulator` gives the planes their first values. An accumulator is a plain record: write the
/// bytes of its planes, `frames` and `level` to a file to go on from there.
struct SxAccumulator {
    SxImageBuf sum;              ///< `UInt64`: sum of the samples
    SxImageBuf squares;          ///< `UInt64`: sum of their squares
    SxImageBuf minimum;          ///< of the frames' type: the smallest sample; the largest number before any
    SxImageBuf maximum;          ///< of the frames' type: the largest sample; 0 before any
    SxImageBuf above;            ///< `UInt32`: how many samples were above `level`
    SxImageBuf counts;           ///< `UInt32`: how many samples were counted; needed where frames have masks
    std::uint64_t frames = 0;    ///< frames added, 0...`mostAccumulatedFrames`
    std::uint32_t level = 0;     ///< what `above` compares with
    std::uint32_t reserved = 0;  ///< not looked at
};

/// Empties an accumulator: `frames` 0, `minimum` the largest number of its type, all other planes 0.
///
/// @param sums  at least one plane; all planes of one size, channels and packing, each of its type
/// @returns the first that applies, in this order
///   ResultBadArg1          sums has no plane, or planes that do not belong together
///   ResultUnsupportedType  several channels of an unknown packing
/// On failure sums is untouched. Runs on the calling thread. O(height * width * channels * planes).
KO_EXPORT ResultCode ClearAccumulator(SxAccumulator& sums);

/// Adds frames to an accumulator.
///
/// Several frames in one call are read together, sample by sample: it takes less time than one call for each.
/// `bitsPerSample` is not looked at.
///
/// @param frames  at least one; `UInt8` or `UInt16`, all of one size, channel count, packing and type
/// @param masks   empty, or one mask per frame; a pixel that its mask does not select is not counted in that
///                frame, with any of its channels
/// @param sums    at least one plane; planes like the frames; with masks also the plane `counts`
/// @returns the first that applies, in this order
///   ResultBadArg1          no frames, or one that is absent or unlike the first
///   ResultBadArg2          masks neither none nor as many as frames, or one that is none of its frame
///   ResultBadArg3          sums has no plane, one unlike the frames or of another type than its own, masks but no
///                          counts, or more than `mostAccumulatedFrames`
///   ResultOutOfRange       sums would have more than `mostAccumulatedFrames`
///   ResultUnsupportedType  frames neither `UInt8` nor `UInt16`, or several channels of an unknown packing
/// On failure sums is untouched. Rows run in parallel (dynamic). O(frames * height * width * channels * planes).
KO_EXPORT ResultCode AccumulateFrames(const QVector<SxImageBuf>& frames, const QVector<SxImageBuf>& masks,
                                      SxAccumulator& sums);

/// Adds what another accumulator holds.
///
/// @param from  as for `ClearAccumulator`
/// @param into  the same planes as from, of the same size, channels, packing and types; with `above` the same
///              `level` as well. May not share memory with from
/// @returns the first that applies, in this order
///   ResultBadArg1          from has no plane, planes that do not belong together, or more than
///                          `mostAccumulatedFrames`
///   ResultBadArg2          into likewise, or it does not have from's planes, types or level
///   ResultOutOfRange       into would have more than `mostAccumulatedFrames`
///   ResultUnsupportedType  several channels of an unknown packing
/// On failure into is untouched. Rows run in parallel (dynamic). O(height * width * channels * planes).
KO_EXPORT ResultCode MergeAccumulators(const SxAccumulator& from, SxAccumulator& into);

/// Mean of every sample: the double nearest to sum / n (of sums below 2^53, and those of frames are below 2^48).
/// n is the sample's count, or `frames` without the plane `counts`. NaN where n is 0.
///
/// @param sums  with the plane `sum`
/// @param mean  `Float64` of sums' size, channels and packing
/// @returns the first that applies, in this order
///   ResultBadArg1          sums has no plane `sum`, planes that do not belong together, or more than
///                          `mostAccumulatedFrames`
///   ResultBadArg2          mean absent, unlike sums' planes, or not `Float64`
///   ResultUnsupportedType  several channels of an unknown packing
/// On failure mean is untouched. Rows run in parallel (static). O(height * width * channels).
KO_EXPORT ResultCode AccumulatedMean(const SxAccumulator& sums, SxImageBuf& mean);

/// Variance of every sample: the double nearest to (n * squares - sum^2) / (n * (n - ddof)), which is formed of
/// integers and rounded once. NaN where n is not above ddof. n is that of `AccumulatedMean`.
///
/// Sums that no samples can have (n * squares below sum^2) give NaN.
///
/// @param sums      with the planes `sum` and `squares`
/// @param ddof      0 for the variance of the samples, 1 for the estimate of what they were drawn from
/// @param variance  `Float64` of sums' size, channels and packing
/// @returns the first that applies, in this order
///   ResultBadArg1          sums has no plane `sum` or `squares`, planes that do not belong together, or more than
///                          `mostAccumulatedFrames`
///   ResultBadArg2          ddof neither 0 nor 1
///   ResultBadArg3          variance absent, unlike sums' planes, or not `Float64`
///   ResultUnsupportedType  several channels of an unknown packing
/// On failure variance is untouched. Rows run in parallel (static). O(height * width * channels).
KO_EXPORT ResultCode AccumulatedVariance(const SxAccumulator& sums, int ddof, SxImageBuf& variance);

}  // namespace ko
