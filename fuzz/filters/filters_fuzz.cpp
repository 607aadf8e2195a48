// Resampling, gradient, distance.
#include "base/dispatch.h"
#include "fuzz/support/run.h"
#include "oracle/chamfer.h"
#include "oracle/resize.h"
#include "oracle/sobel.h"
#include "oracle/stretch.h"

#include <ko/filters.h>

#include <algorithm>

namespace ko::fuzz {

namespace {

using Unsigned = ByTypeOf<UInt8, UInt16>;

constexpr std::initializer_list<ExImageDataType> filteredTypes = {UInt8,  UInt16, UInt8,
                                                                  UInt16, Int16,  Float32};

/// Success is 1 here.
void stretch(ByteReader& in, Outcome& out)
{
    Layout layout = smallLayout(in, {filteredTypes, everyChannels});
    layout.packing = in.oneIn(8) ? Planar : Interleaved;
    const FuzzImage src(in, layout);
    Layout other = smallLayout(in, {{layout.type}, {layout.channels}});
    other.packing = in.oneIn(8) ? Planar : Interleaved;
    if (in.oneIn(4)) {
        const int shift = in.below(3);
        other.width = std::min(layout.width * 2 >> shift, 400);
        other.height = std::min(layout.height * 2 >> shift, 400);
    }
    FuzzImage dst(in, other);
    // For each row of one image there is a row as wide as the other: records that claim a lot would take seconds.
    if (double{1} * src->height * dst->width > 1 << 20)
        return;
    const auto interpolation = in.code({InterpolationNearest, InterpolationLinear});
    const ResultCode rc = Stretch(src, dst, interpolation);
    addCall(out, rc, dst, src);
    const bool isFlat = layout.packing == Interleaved && other.packing == Interleaved;
    if (isFailure(rc) || !out.isJudged() || !areSound(src, dst) || !isFlat)
        return;
    Twin expected(dst);
    Twin source(src);
    (void)dispatch(Unsigned{}, layout.type, {},
                   [&]<class T>(std::type_identity<T>) { oracle::stretch<T>(source, expected.buf()); });
    expected.requireEqual(dst);
}

void resize(ByteReader& in, Outcome& out)
{
    Layout layout = smallLayout(in, {filteredTypes, everyChannels});
    layout.packing = in.oneIn(8) ? Planar : Interleaved;
    const FuzzImage src(in, layout);
    Layout other = layout;
    other.width = in.below(40);
    other.height = in.below(40);
    if (in.oneIn(4)) {
        other.width = layout.width / 2;
        other.height = layout.height / 2;
    }
    if (in.oneIn(8))
        other.bits = in.below(20);
    FuzzImage dst(in, other);
    // Rows of sums are as wide as src, one for each row of dst: records that claim a lot would take seconds.
    const double samples = double{1} * src->channels * (double{1} * src->width + dst->width);
    if (samples * (double{1} * src->height + dst->height) > 1 << 20)
        return;
    const ResultCode rc = Resize(src, dst);
    addCall(out, rc, dst, src);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, dst))
        return;
    Twin expected(dst);
    (void)dispatch(Unsigned{}, layout.type, {},
                   [&]<class T>(std::type_identity<T>) { oracle::resize<T>(Twin(src), expected); });
    expected.requireEqual(dst);
}

void sobel(ByteReader& in, Outcome& out)
{
    const Layout layout = smallLayout(in, {filteredTypes});
    const FuzzImage src(in, layout);
    FuzzImage dst(in, like(in, layout, Int32, 1));
    const ResultCode rc = Sobel(src, dst);
    addCall(out, rc, dst, src);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, dst))
        return;
    Twin expected(dst);
    (void)dispatch(Unsigned{}, layout.type, {},
                   [&]<class T>(std::type_identity<T>) { oracle::sobel<T>(Twin(src), expected); });
    expected.requireEqual(dst);
}

void chamfer(ByteReader& in, Outcome& out)
{
    const Layout layout = smallLayout(in, {{UInt8, UInt8, UInt8, UInt16}});
    const FuzzImage src(in, layout);
    FuzzImage dst(in, like(in, layout, Float64, 1));
    const auto mask = in.code({ChamferChessboard, Chamfer3x3, Chamfer5x5, Chamfer7x7, Chamfer13x13});
    const ResultCode rc = ChamferDistance(src, dst, mask);
    addCall(out, rc, dst, src);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, dst))
        return;
    Twin expected(dst);
    oracle::chamferDistance(Twin(src), expected, mask);
    expected.requireEqual(dst);
}

Cases filterCases()
{
    return {{"filter: stretch", &stretch},
            {"filter: resize", &resize},
            {"filter: sobel", &sobel},
            {"filter: chamfer", &chamfer}};
}

}  // namespace

}  // namespace ko::fuzz

KO_FUZZ_ROOM(ko::fuzz::filterCases())
