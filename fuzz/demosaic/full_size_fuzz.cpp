// Demosaicing of regions and whole images.
#include "base/checks.h"
#include "fuzz/demosaic/families.h"
#include "fuzz/support/refusal.h"
#include "oracle/demosaic.h"

#include <ko/demosaic.h>

#include <algorithm>

namespace ko::fuzz {

namespace {

constexpr std::initializer_list<ExImageDataType> mosaicTypes = {UInt8, UInt16, UInt8, UInt16, Int16};
constexpr std::initializer_list<ExBayerGrid> grids = {BayerBGGR, BayerRGGB, BayerGBRG, BayerGRBG};

/// The work buffer of a call: none, the right one, or one that was made for something else.
class WorkBuffer {
public:
    WorkBuffer(ByteReader& in, const SxImageInfo& info, const QRect& roi) : m_bits(info.bitsPerSample)
    {
        const int kind = in.below(4);
        const bool isLarge = std::int64_t{info.width} * info.height > 100000;
        const Refusal refusal(isLarge);
        if (kind == 1)
            m_buffer = DemosaicAllocBuffer(info, roi);
        else if (kind == 2)
            m_buffer = DemosaicAllocBuffer(info);
        else if (kind == 3)
            makeForeign(in);
    }
    ~WorkBuffer() { DemosaicFreeBuffer(m_buffer); }
    WorkBuffer(const WorkBuffer&) = delete;
    WorkBuffer& operator=(const WorkBuffer&) = delete;

    void* get() { return m_buffer; }

    /// The depth that colours are limited to: a buffer of the right size may have been made for another.
    int bits() const { return m_bits; }

private:
    void makeForeign(ByteReader& in)
    {
        SxImageInfo info;
        info.width = 2 * in.below(20);
        info.height = 2 * in.below(20);
        info.channels = 1;
        info.dataType = in.pick({UInt8, UInt16});
        info.bitsPerSample = in.between(1, 16);
        info.bayerGrid = BayerRGGB;
        m_buffer = DemosaicAllocBuffer(info);
        if (m_buffer != nullptr)
            m_bits = info.bitsPerSample;
    }

    int m_bits;
    void* m_buffer = nullptr;
};

void call(ByteReader& in, Outcome& out)
{
    Layout layout = anyLayout(in, {mosaicTypes});
    const bool isWhole = in.flag();
    if (!in.oneIn(8)) {
        layout.width &= ~1;
        layout.height &= ~1;
    }
    FuzzImage src(in, layout);
    if (src.isSound())
        src->bayerGrid = in.code(grids);
    QRect roi = isWhole ? QRect(0, 0, layout.width, layout.height) : anyRect(in, layout);
    if (!isWhole && isInside(roi, src.buf()) && widthOf(roi) > 0 && !in.oneIn(8))
        roi = QRect(roi.x(), roi.y(), static_cast<int>(widthOf(roi)) & ~1,
                    static_cast<int>(heightOf(roi)) & ~1);
    const auto kept = [](std::int64_t extent) {
        return extent >= 0 && extent <= 200 ? static_cast<int>(extent) : 0;
    };
    Layout colour = like(in, layout, layout.type, in.pick({3, 4, 3, 4, 2}), layout.bits);
    colour.width = kept(widthOf(roi));
    colour.height = kept(heightOf(roi));
    colour.packing = in.oneIn(16) ? Planar : Interleaved;
    FuzzImage dst(in, colour);
    WorkBuffer buffer(in, src.buf(), roi);
    const ResultCode rc = isWhole ? Demosaic(src, dst, buffer.get()) : Demosaic(src, roi, dst, buffer.get());
    addCall(out, rc, dst, src);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, dst))
        return;
    Twin mosaic(src), expected(dst);
    mosaic.buf().bitsPerSample = buffer.bits();
    if (layout.type == UInt8)
        oracle::demosaic<std::uint8_t>(mosaic, roi, src->bayerGrid, expected);
    else
        oracle::demosaic<std::uint16_t>(mosaic, roi, src->bayerGrid, expected);
    expected.requireEqual(dst);
}

}  // namespace

Cases demosaicCases()
{
    return {{"demosaic: call", &call}};
}

}  // namespace ko::fuzz
