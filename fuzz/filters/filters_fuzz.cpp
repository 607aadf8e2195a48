// Resampling, median, gradient, distance.
#include "core/dispatch.h"
#include "fuzz/support/run.h"
#include "oracle/chamfer.h"
#include "oracle/median.h"
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
    Layout layout = anyLayout(in, {filteredTypes, everyChannels});
    layout.packing = in.oneIn(8) ? Planar : Interleaved;
    const FuzzImage src(in, layout);
    Layout other = anyLayout(in, {{layout.type}, {layout.channels}});
    other.packing = in.oneIn(8) ? Planar : Interleaved;
    if (in.oneIn(4)) {
        const int shift = in.below(3);
        other.width = std::min(layout.width * 2 >> shift, 400);
        other.height = std::min(layout.height * 2 >> shift, 400);
    }
    FuzzImage dst(in, other);
    const auto interpolation = in.code({InterpolationNearest, InterpolationLinear});
    const ResultCode rc = Stretch(src, dst, interpolation);
    addCall(out, rc, dst, src);
    const bool isFlat = layout.packing == Interleaved && other.packing == Interleaved;
    if (isFailure(rc) || !out.isJudged() || !areSound(src, dst) || !isFlat)
        return;
    Twin expected(dst);
    Twin source(src);
    dispatch(Unsigned{}, layout.type, {},
             [&]<class T>(std::type_identity<T>) { oracle::stretch<T>(source, expected.buf()); });
    expected.requireEqual(dst);
}

/// A radius for which the window fits, mostly.
int anyRadius(ByteReader& in, const Layout& layout)
{
    if (in.oneIn(8))
        return in.integer();
    return in.below(std::max(std::min({layout.width, layout.height, 40}) - 1, 0) / 2 + 1);
}

/// The work buffer of a call: none, the right one, or one that was made for something else.
class MedianBuffer {
public:
    MedianBuffer(ByteReader& in, Outcome& out, const FuzzImage& src, int radius)
    {
        const int kind = in.below(4);
        if (kind < 2)
            return;
        const FuzzImage other(in, anyLayout(in, {filteredTypes, {1, 3, 4}}));
        m_isForeign = kind == 3;
        const bool isOther = m_isForeign && in.oneIn(4);
        const int otherRadius = m_isForeign ? in.below(12) : radius;
        const SxImageBuf& made = isOther ? other.buf() : src.buf();
        const bool isTooLarge = std::int64_t{made.width} * made.channels > 100000 || otherRadius > 1000;
        if (isTooLarge)
            return;
        out.add(MedianAllocBuffer(made, otherRadius, in.oneIn(16) ? nullptr : &m_buffer));
    }
    ~MedianBuffer() { MedianFreeBuffer(m_buffer); }
    MedianBuffer(const MedianBuffer&) = delete;
    MedianBuffer& operator=(const MedianBuffer&) = delete;

    void* get() { return m_buffer; }

    /// Whether it serves depends on the number of strips, which is that of the threads.
    bool isForeign() const { return m_isForeign; }

private:
    void* m_buffer = nullptr;
    bool m_isForeign = false;
};

void median(ByteReader& in, Outcome& out)
{
    Layout layout = anyLayout(in, {filteredTypes, {1, 3, 1, 3, 4, 2}});
    layout.packing = in.oneIn(8) ? Planar : Interleaved;
    const FuzzImage src(in, layout);
    FuzzImage dst(in, like(in, layout));
    const int radius = anyRadius(in, layout);
    MedianBuffer buffer(in, out, src, radius);
    const ResultCode rc = Median(src, dst, radius, buffer.get());
    Outcome apart(false);
    addCall(buffer.isForeign() ? apart : out, rc, dst, src);
    const bool isFiltered = layout.channels == 1 || layout.channels == 3;
    if (rc != ResultOk || !out.isJudged() || !areSound(src, dst) || !isFiltered)
        return;
    Twin expected(dst);
    dispatch(Unsigned{}, layout.type, {},
             [&]<class T>(std::type_identity<T>) { oracle::median<T>(Twin(src), expected, radius); });
    expected.requireEqual(dst);
}

void sobel(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {filteredTypes});
    const FuzzImage src(in, layout);
    FuzzImage dst(in, like(in, layout, Int32, 1));
    const ResultCode rc = Sobel(src, dst);
    addCall(out, rc, dst, src);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, dst))
        return;
    Twin expected(dst);
    dispatch(Unsigned{}, layout.type, {},
             [&]<class T>(std::type_identity<T>) { oracle::sobel<T>(Twin(src), expected); });
    expected.requireEqual(dst);
}

void chamfer(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {{UInt8, UInt8, UInt8, UInt16}});
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
    return {&stretch, &median, &sobel, &chamfer};
}

}  // namespace

}  // namespace ko::fuzz

KO_FUZZ_ROOM(ko::fuzz::filterCases())
