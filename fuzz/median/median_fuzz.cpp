// Median and its work buffer.
#include "base/dispatch.h"
#include "fuzz/support/run.h"
#include "oracle/median.h"

#include <ko/median.h>

#include <algorithm>

namespace ko::fuzz {

namespace {

using Unsigned = ByTypeOf<UInt8, UInt16>;

constexpr std::initializer_list<ExImageDataType> filteredTypes = {UInt8,  UInt16, UInt8,
                                                                  UInt16, Int16,  Float32};

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
    (void)dispatch(Unsigned{}, layout.type, {},
                   [&]<class T>(std::type_identity<T>) { oracle::median<T>(Twin(src), expected, radius); });
    expected.requireEqual(dst);
}

Cases medianCases()
{
    return {{"median: median", &median}};
}

}  // namespace

}  // namespace ko::fuzz

KO_FUZZ_ROOM(ko::fuzz::medianCases())
