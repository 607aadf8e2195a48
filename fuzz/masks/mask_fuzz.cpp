#include "base/dispatch.h"
#include "fuzz/masks/families.h"
#include "fuzz/support/refusal.h"
#include "fuzz/support/variants.h"
#include "oracle/binarize.h"
#include "oracle/mask.h"

#include <ko/masks.h>

#include <cstring>

namespace ko::fuzz {

namespace {

void binarize(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {everyType});
    const FuzzImage src(in, layout);
    FuzzImage dst(in, like(in, layout, UInt8, 1));
    const std::uint8_t value = in.byte();
    const ResultCode rc = Binarize(src, dst, value);
    addCall(out, rc, dst, src);
    if (!out.isJudged() || !areSound(src, dst))
        return;
    Twin expected(dst);
    const ResultCode twin = dispatch(ByType{}, layout.type, {}, [&]<class T>(std::type_identity<T>) {
        oracle::binarize<T>(Twin(src), expected, value);
    });
    require(rc == twin, "another status than expected");
    expected.requireEqual(dst);
}

void binarizeInPlace(ByteReader& in, Outcome& out)
{
    FuzzImage image(in, anyLayout(in, {{UInt8}}));
    const std::uint8_t value = in.byte();
    const ResultCode rc = Binarize(image, image, value);
    addCall(out, rc, image);
    if (rc != ResultOk || !out.isJudged() || !image.isSound())
        return;
    Twin expected(image);
    oracle::binarize<std::uint8_t>(Twin(image), expected, value);
    expected.requireEqual(image);
}

void maskImage(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {everyType, everyChannels});
    FuzzImage image(in, layout);
    const FuzzImage mask(in, like(in, layout, UInt8, 1));
    const ResultCode rc = MaskImage(image, mask);
    addCall(out, rc, image, mask);
    const bool isInterleaved = layout.packing == Interleaved || layout.channels == 1;
    if (rc == ResultOk && out.isJudged() && areSound(image, mask) && isInterleaved) {
        Twin expected(image);
        oracle::maskImage(expected, Twin(mask));
        expected.requireEqual(image);
    }
}

void setValueMasked(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {everyType});
    FuzzImage image(in, layout);
    Layout smaller = like(in, layout, UInt8, 1);
    smaller.width = in.below(layout.width + 1);
    smaller.height = in.below(layout.height + 1);
    const FuzzImage mask(in, smaller);
    const QPoint pos = in.oneIn(8) ? anyPoint(in, layout)
                                   : QPoint{in.below(layout.width - smaller.width + 1),
                                            in.below(layout.height - smaller.height + 1)};
    const QVariant value = anyVariant(in);
    const ResultCode rc = SetValueMasked(image, mask, pos, value);
    addCall(out, rc, image, mask);
    const bool isFloat = layout.type == Float32 || layout.type == Float64;
    if (rc != ResultOk || !out.isJudged() || !areSound(image, mask) || isFloat ||
        value.userType() != QMetaType::Int)
        return;
    Twin expected(image);
    const Twin selection(mask);
    const auto sample = static_cast<std::int64_t>(value.toInt());
    selection.forEachSample([&](int x, int y, int) {
        if (selection.get<std::uint8_t>(x, y) != 0)
            std::memcpy(expected.sample(pos.x() + x, pos.y() + y), &sample,
                        static_cast<std::size_t>(bytesPerSample(layout.type)));
    });
    expected.requireEqual(image);
}

void binaryMask(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {everyType, everyChannels});
    const FuzzImage src(in, layout);
    FuzzImage mask(in, like(in, layout, UInt8, 1));
    const auto value = static_cast<unsigned>(in.integer());
    const ResultCode rc = BinaryMask(src, mask, value);
    addCall(out, rc, mask, src);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, mask))
        return;
    Twin expected(mask);
    if (layout.packing == Interleaved)
        oracle::binaryMaskInterleaved(Twin(src), expected, value);
    else
        oracle::binaryMaskPlanar(Twin(src), expected, value);
    expected.requireEqual(mask);
}

struct Ellipse {
    int a, b;
    double angle;
};

Ellipse anyEllipse(ByteReader& in)
{
    const int a = in.oneIn(8) ? in.integer() : in.between(1, 30);
    const int b = in.oneIn(8) ? in.integer() : a > 0 && a < 256 ? in.between(1, a) : a;
    return {a, b, in.flag() ? in.real() : in.below(256) / 40.0};
}

/// Whether the ellipse is larger than a fuzzer has memory for.
bool isLarge(const Ellipse& ellipse)
{
    return ellipse.a > 300;
}

void ellipseMono(ByteReader& in, Outcome& out)
{
    const Ellipse e = anyEllipse(in);
    const Refusal refusal(isLarge(e));
    SxImageBuf mask;
    const std::uint8_t samples[] = {in.byte(), in.byte()};
    out.add(EllipseMaskMono(mask, e.a, e.b, e.angle, samples[0], samples[1]));
    out.addMade(mask);
    FreeBuffer(mask);
}

void ellipseRgb(ByteReader& in, Outcome& out)
{
    const Ellipse e = anyEllipse(in);
    const Refusal refusal(isLarge(e));
    const unsigned char background[] = {in.byte(), in.byte(), in.byte()};
    const unsigned char foreground[] = {in.byte(), in.byte(), in.byte()};
    const unsigned char* const outside = in.oneIn(8) ? nullptr : background;
    const unsigned char* const inside = in.oneIn(8) ? nullptr : foreground;
    SxImageBuf picture;
    const ResultCode rc = EllipseMaskRgb(picture, e.a, e.b, e.angle, outside, inside);
    out.add(rc);
    out.add(static_cast<const SxImageInfo&>(picture));
    for (int y = 0; rc == ResultOk && y < picture.height; ++y)
        out.addBytes(
            {picture.data + std::ptrdiff_t{y} * picture.stride, static_cast<std::size_t>(picture.width) * 3});
    FreeBuffer(picture);
}

void ellipseOverAnImage(ByteReader& in, Outcome& out)
{
    FuzzImage taken(in, anyLayout(in, {everyType}));
    const unsigned char colour[] = {1, 2, 3};
    if (taken->data == nullptr)
        return;
    out.add(EllipseMaskMono(taken, 3, 2, 0.5, 0, 1));
    out.add(EllipseMaskRgb(taken, 3, 2, 0.5, colour, colour));
    require(taken.isUntouched(), "an image was overwritten");
    out.add(taken);
}

void circle(ByteReader& in, Outcome& out)
{
    const int size = in.flag() ? in.below(18) : in.integer();
    const unsigned char* rows = nullptr;
    const bool isThere = GetCircleMaskByte(size, in.oneIn(8) ? nullptr : &rows);
    out.add(isThere);
    if (isThere)
        out.addBytes({rows, static_cast<std::size_t>(size) * static_cast<std::size_t>(size)});
}

}  // namespace

Cases maskCases()
{
    return {{"mask: binarize", &binarize},
            {"mask: maskImage", &maskImage},
            {"mask: setValueMasked", &setValueMasked},
            {"mask: binaryMask", &binaryMask},
            {"mask: ellipseMono", &ellipseMono},
            {"mask: ellipseRgb", &ellipseRgb},
            {"mask: ellipseOverAnImage", &ellipseOverAnImage},
            {"mask: circle", &circle},
            {"mask: binarizeInPlace", &binarizeInPlace}};
}

}  // namespace ko::fuzz
