#include <ko/stats/joint_histogram.h>

#include "base/boundary.h"
#include "stats/histogram_checks.h"
#include "stats/pair_counter.h"

namespace ko {

namespace {

DensePlane jointPlane(CxImageHistogram2D& hist, int plane)
{
    return {hist, plane};
}

SparsePlane jointPlane(CxImageHistogramSparse2D& hist, int plane)
{
    return {hist, plane};
}

bool hasLevelsOf(int levels, const SxImageInfo& src) noexcept
{
    return levels == levelsOf(src.bitsPerSample);
}

/// One plane per channel and at least one level per value.
template <class Hist>
bool isJointHistogramOf(const Hist& hist, const SxImageInfo& src) noexcept
{
    return hist.planes() == src.channels && hist.levels() >= levelsOf(src.bitsPerSample);
}

/// The single plane of the forms that take a channel of each image.
bool isSingleHistogramOf(const CxImageHistogramSparse2D& hist, const SxImageInfo& src) noexcept
{
    return hist.planes() == 1 && hasLevelsOf(hist.levels(), src);
}

bool takesPlaneZero(const CxImageHistogram2D& hist, const SxImageInfo& src) noexcept
{
    return hist.planes() != 0 && hist.levels() >= levelsOf(src.bitsPerSample);
}

/// Refused only when planes and levels are both wrong.
bool takesPlaneZero(const CxImageHistogramSparse2D& hist, const SxImageInfo& src) noexcept
{
    return hist.planes() != 0 && (hist.planes() == 1 || hasLevelsOf(hist.levels(), src));
}

/// The channels of the two images may differ in number.
bool isPartnerOf(const SxImageBuf& second, const SxImageBuf& first) noexcept
{
    return isPresent(second) && sameSize(second, first) && second.packing == first.packing &&
           second.dataType == first.dataType && second.bitsPerSample == first.bitsPerSample;
}

using UnsignedBinNumbers = BySizeOf<UInt8, UInt16>;

/// Every channel of both images into its own plane. `mask` may be null.
template <class Hist>
ResultCode countAllChannels(const SxImageBuf& src1, const SxImageBuf& src2, const SxImageBuf* mask,
                            Hist& hist)
{
    // Interleaved colour reads the mask as if that were interleaved too.
    const bool bySample = isInterleaved(src1) && src1.channels > 1;
    const auto count = [&]<class T>(std::type_identity<T>) {
        const Selection selection(wholeOf(src1), bySample ? nullptr : mask);
        PairCounter<T> counter(selection);
        for (int c = 0; c < src1.channels; ++c) {
            const ChannelPair pair{channelAt(src1, c), channelAt(src2, c), selection,
                                   bySample ? mask : nullptr, c};
            counter.count(pair, jointPlane(hist, c));
        }
    };
    return dispatch(UnsignedBinNumbers{}, src1.dataType,
                    {{ResultBadArg1, rowsFit(src1)},
                     {ResultBadArg2, rowsFit(src2)},
                     {ResultBadArg3, mask == nullptr || rowsFit(*mask)}},
                    count);
}

/// One channel of each image into plane 0.
template <class Hist>
ResultCode countChannels(const SxImageBuf& src1, int ch1, const SxImageBuf& src2, int ch2,
                         const Selection& selection, Hist& hist)
{
    const auto count = [&]<class T>(std::type_identity<T>) {
        PairCounter<T> counter(selection);
        const ChannelPair pair{channelOf(src1, ch1), channelOf(src2, ch2), selection};
        counter.count(pair, jointPlane(hist, 0));
    };
    return dispatch(UnsignedBinNumbers{}, src1.dataType,
                    {{ResultBadArg1, rowsFit(src1)},
                     {ResultBadArg3, rowsFit(src2)},
                     {ResultBadArg5, selection.mask == nullptr || rowsFit(*selection.mask)}},
                    count);
}

/// Both images as a whole: `own` are the checks behind those of the images, `mask` may be null.
template <class Hist>
ResultCode countImages(const SxImageBuf& src1, const SxImageBuf& src2, std::initializer_list<Check> own,
                       const SxImageBuf* mask, Hist& hist) noexcept
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isCountable(src1)},
                {ResultBadArg2, isTwinOf(src2, src1)},
            }))
            return rc;
        if (const ResultCode rc = firstFailure(own))
            return rc;
        return hasKnownPacking(src1) ? countAllChannels(src1, src2, mask, hist) : ResultUnsupportedType;
    });
}

/// A channel of each image, of which the first is to be present at least: `own` are the checks behind those
/// of the channels.
template <class Hist>
ResultCode countPair(const SxImageBuf& src1, int ch1, const SxImageBuf& src2, int ch2,
                     std::initializer_list<Check> own, const Selection& selection, Hist& hist) noexcept
{
    return guarded([&] {
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isPresent(src1)},
                {ResultBadArg2, hasChannel(src1, ch1)},
                {ResultBadArg3, isPartnerOf(src2, src1)},
                {ResultBadArg4, hasChannel(src2, ch2)},
            }))
            return rc;
        if (const ResultCode rc = firstFailure(own))
            return rc;
        return hasKnownPacking(src1) ? countChannels(src1, ch1, src2, ch2, selection, hist)
                                     : ResultUnsupportedType;
    });
}

ResultCode countLine(const SxImageBuf& src1, int ch1, const SxImageBuf& src2, int ch2, bool lineExists,
                     const Selection& line, CxImageHistogramSparse2D& hist) noexcept
{
    if (!isCountable(src1))
        return ResultBadArg1;
    return countPair(src1, ch1, src2, ch2,
                     {{ResultBadArg5, lineExists}, {ResultBadArg5, isSingleHistogramOf(hist, src1)}}, line,
                     hist);
}

template <class Hist>
ResultCode countMasked(const SxImageBuf& src1, const SxImageBuf& src2, const SxImageBuf& mask,
                       Hist& hist) noexcept
{
    return countImages(
        src1, src2, {{ResultBadArg3, isMaskOf(mask, src1)}, {ResultBadArg4, isJointHistogramOf(hist, src1)}},
        &mask, hist);
}

template <class Hist>
ResultCode countMasked(const SxImageBuf& src1, int ch1, const SxImageBuf& src2, int ch2,
                       const SxImageBuf& mask, Hist& hist) noexcept
{
    if (!isCountable(src1))
        return ResultBadArg1;
    return countPair(src1, ch1, src2, ch2,
                     {{ResultBadArg5, isMaskOf(mask, src1)}, {ResultBadArg6, takesPlaneZero(hist, src1)}},
                     Selection(wholeOf(src1), &mask), hist);
}

}  // namespace

ResultCode Histogram2D(const SxImageBuf& src1, const SxImageBuf& src2, CxImageHistogramSparse2D& h)
{
    return countImages(src1, src2, {{ResultBadArg3, isJointHistogramOf(h, src1)}}, nullptr, h);
}

ResultCode Histogram2D(const SxImageBuf& src1, int ch1, const SxImageBuf& src2, int ch2,
                       CxImageHistogramSparse2D& h)
{
    return countPair(src1, ch1, src2, ch2, {{ResultBadArg5, isSingleHistogramOf(h, src1)}},
                     Selection(wholeOf(src1)), h);
}

ResultCode RowHistogram2D(const SxImageBuf& src1, int ch1, const SxImageBuf& src2, int ch2, int row,
                          CxImageHistogramSparse2D& h)
{
    return countLine(src1, ch1, src2, ch2, hasRow(src1, row), Selection::ofRow(src1, row), h);
}

ResultCode ColHistogram2D(const SxImageBuf& src1, int ch1, const SxImageBuf& src2, int ch2, int col,
                          CxImageHistogramSparse2D& h)
{
    return countLine(src1, ch1, src2, ch2, hasColumn(src1, col), Selection::ofColumn(src1, col), h);
}

ResultCode HistogramMasked2D(const SxImageBuf& src1, const SxImageBuf& src2, const SxImageBuf& mask,
                             CxImageHistogram2D& h)
{
    return countMasked(src1, src2, mask, h);
}

ResultCode HistogramMasked2D(const SxImageBuf& src1, const SxImageBuf& src2, const SxImageBuf& mask,
                             CxImageHistogramSparse2D& h)
{
    return countMasked(src1, src2, mask, h);
}

ResultCode HistogramMasked2D(const SxImageBuf& src1, int ch1, const SxImageBuf& src2, int ch2,
                             const SxImageBuf& mask, CxImageHistogram2D& h)
{
    return countMasked(src1, ch1, src2, ch2, mask, h);
}

ResultCode HistogramMasked2D(const SxImageBuf& src1, int ch1, const SxImageBuf& src2, int ch2,
                             const SxImageBuf& mask, CxImageHistogramSparse2D& h)
{
    return countMasked(src1, ch1, src2, ch2, mask, h);
}

}  // namespace ko
