#include "base/checks.h"
#include "fuzz/masks/families.h"
#include "fuzz/support/refusal.h"
#include "oracle/border.h"

#include <ko/masks.h>

#include <algorithm>
#include <cstdint>

namespace ko::fuzz {

namespace {

struct Margins {
    int left, top, right, bottom;
};

/// Up to the whole extent, and one in eight anything.
Margins anyMargins(ByteReader& in, int width, int height)
{
    const auto margin = [&](int extent) {
        return in.oneIn(8) ? in.integer() : in.below(std::min(extent, 9) + 1);
    };
    return {margin(width), margin(height), margin(width), margin(height)};
}

bool areWithin(const Margins& m, int width, int height)
{
    const auto isWithin = [](int margin, int extent) { return margin >= 0 && margin <= extent; };
    return isWithin(m.left, width) && isWithin(m.right, width) && isWithin(m.top, height) &&
           isWithin(m.bottom, height);
}

/// The layout enlarged by those margins that a fuzzer has memory for.
Layout enlarged(ByteReader& in, Layout layout, const Margins& m)
{
    const auto kept = [](int margin) { return margin >= 0 && margin <= 200 ? margin : 0; };
    layout.width += kept(m.left) + kept(m.right);
    layout.height += kept(m.top) + kept(m.bottom);
    return like(in, layout);
}

/// Whether the result is larger than a fuzzer has memory for.
bool isLarge(const SxImageInfo& info, const Margins& m)
{
    const std::int64_t sums[] = {std::int64_t{info.width} + m.left + m.right,
                                 std::int64_t{info.height} + m.top + m.bottom, info.channels};
    double bytes = 16;
    for (const std::int64_t factor : sums)
        bytes *= static_cast<double>(std::max<std::int64_t>(factor, 1));
    return bytes > 1e7;
}

constexpr Choice mirrored = {{UInt8, UInt16, Int8, Int16, Float32}, {1, 3, 4, 2}};

void allocSafeBorder(ByteReader& in, Outcome& out)
{
    const FuzzImage src(in, anyLayout(in, {everyType, everyChannels}));
    const Margins m = anyMargins(in, src.layout().width, src.layout().height);
    const Refusal refusal(isLarge(src.buf(), m));
    SxImageBuf dst;
    out.add(AllocSafeBorderImage(src.buf(), dst, m.left, m.top, m.right, m.bottom));
    out.addMade(dst);
    FreeBuffer(dst);
}

void initSafeBorder(ByteReader& in, Outcome& out)
{
    const FuzzImage src(in, anyLayout(in, {everyType, everyChannels}));
    const Margins m = anyMargins(in, src.layout().width, src.layout().height);
    const Refusal refusal(isLarge(src.buf(), m));
    SxImageBuf dst;
    const ResultCode rc = InitSafeBorder(src, dst, m.left, m.top, m.right, m.bottom);
    out.add(rc);
    out.addMade(dst);
    if (rc == ResultOk && src.isSound()) {
        const auto pixels = [&](const SxImageBuf& image, int y, int c) {
            const bool planar = image.packing == Planar;
            return image.data + (std::int64_t{planar ? c * image.height : 0} + y) * image.stride;
        };
        const int planes = src->packing == Planar ? src->channels : 1;
        const std::size_t pixelBytes = static_cast<std::size_t>(bytesPerSample(src->dataType)) *
                                       static_cast<std::size_t>(planes == 1 ? src->channels : 1);
        for (int c = 0; c < planes; ++c)
            for (int y = 0; y < src->height; ++y)
                require(std::equal(pixels(src, y, c), pixels(src, y, c) + src->width * pixelBytes,
                                   pixels(dst, y + m.top, c) + m.left * pixelBytes),
                        "the centre is not the source");
    }
    FreeBuffer(dst);
}

void mirroredBorder(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, mirrored);
    const FuzzImage src(in, layout);
    const Margins m = anyMargins(in, layout.width, layout.height);
    FuzzImage dst(in, enlarged(in, layout, m));
    const ResultCode rc = CreateImageWithMirroredBorder(src, dst, m.left, m.top, m.right, m.bottom);
    require(src.isUntouched(), "the source has changed");
    out.add(rc);
    out.add(dst);
    if (rc == ResultOk && out.isJudged() && areSound(src, dst)) {
        Twin expected(dst);
        oracle::mirrorBorder(Twin(src), {0, 0, layout.width, layout.height}, expected, m.left, m.top);
        expected.requireEqual(dst);
    }
}

void mirroredBorderOfRegion(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, mirrored);
    const FuzzImage src(in, layout);
    const QRect roi = anyRect(in, layout);
    const auto kept = [](std::int64_t extent) {
        return extent >= 0 && extent <= 200 ? static_cast<int>(extent) : 0;
    };
    Layout region = layout;
    region.width = kept(widthOf(roi));
    region.height = kept(heightOf(roi));
    const Margins m = anyMargins(in, region.width, region.height);
    FuzzImage dst(in, enlarged(in, region, m));
    const ResultCode rc = CreateImageWithMirroredBorder(src, roi, dst, m.left, m.top, m.right, m.bottom);
    require(src.isUntouched(), "the source has changed");
    out.add(rc);
    out.add(dst);
    if (rc == ResultOk && out.isJudged() && areSound(src, dst)) {
        Twin expected(dst);
        oracle::mirrorBorder(Twin(src), roi, expected, m.left, m.top);
        expected.requireEqual(dst);
    }
}

void allocMirroredBorder(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, mirrored);
    const FuzzImage src(in, layout);
    const Margins m = anyMargins(in, layout.width, layout.height);
    const Refusal refusal(isLarge(src.buf(), m));
    SxImageBuf dst;
    const ResultCode rc = AllocAndCreateMirroredBorderImage(src, dst, m.left, m.top, m.right, m.bottom);
    const bool isRegular = src.isSound() && layout.packing == Interleaved && layout.channels != 2 &&
                           layout.type != Float32 && areWithin(m, layout.width, layout.height);
    require(!out.isJudged() || !isRegular || rc == ResultOk, "a regular border was refused");
    out.add(rc);
    out.addMade(dst);
    FreeBuffer(dst);
}

}  // namespace

Cases borderCases()
{
    return {{"border: allocSafeBorder", &allocSafeBorder},
            {"border: initSafeBorder", &initSafeBorder},
            {"border: mirroredBorder", &mirroredBorder},
            {"border: mirroredBorderOfRegion", &mirroredBorderOfRegion},
            {"border: allocMirroredBorder", &allocMirroredBorder}};
}

}  // namespace ko::fuzz
