// Equalisation and matching.
#include "fuzz/tone/bands.h"
#include "fuzz/tone/families.h"
#include "oracle/equalize.h"

#include <ko/tone.h>

namespace ko::fuzz {

namespace {

/// The twins want samples within the depth.
bool areWithinDepth(const FuzzImage& image)
{
    const Twin twin(image);
    bool areWithin = true;
    twin.forEachSample([&](int x, int y, int c) {
        const int sample = image.layout().type == UInt8 ? int{twin.get<std::uint8_t>(x, y, c)}
                                                        : int{twin.get<std::uint16_t>(x, y, c)};
        areWithin = areWithin && sample <= topOf(image.layout());
    });
    return areWithin;
}

/// Deep images take long, and the twins more so.
Layout shallow(ByteReader& in)
{
    Layout layout = anyLayout(in, {toneTypes, {1, 3, 4, 1, 2}});
    if (layout.bits == 0 && bytesPerSample(layout.type) == 2 && !in.oneIn(16))
        layout.bits = in.between(1, 11);
    return layout;
}

bool hasTwin(const FuzzImage& image)
{
    const Layout& layout = image.layout();
    const bool isQuick = topOf(layout) < 4096 || layout.width * layout.height <= 64;
    return (layout.type == UInt8 || layout.type == UInt16) && isQuick && areWithinDepth(image);
}

void equalize(ByteReader& in, Outcome& out)
{
    const Layout layout = shallow(in);
    const FuzzImage src(in, layout);
    FuzzImage dst(in, like(in, layout));
    const ResultCode rc = HistogramEqualize(src, dst);
    require(src.isUntouched(), "the source has changed");
    out.add(rc);
    out.add(dst);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, dst) || !hasTwin(src))
        return;
    Twin expected(dst);
    if (layout.type == UInt8)
        oracle::equalize<std::uint8_t>(Twin(src), expected);
    else
        oracle::equalize<std::uint16_t>(Twin(src), expected);
    expected.requireEqual(dst);
}

template <class T>
void compareMatch(const FuzzImage& src, const FuzzImage& reference, const FuzzImage& dst)
{
    std::vector<std::vector<unsigned>> counts;
    const Twin twin(reference);
    for (int c = 0; c < reference.layout().channels; ++c)
        counts.push_back(oracle::levelCounts<T>(twin, c));
    Twin expected(dst);
    oracle::match<T>(Twin(src), counts, expected);
    expected.requireEqual(dst);
}

void matchImage(ByteReader& in, Outcome& out)
{
    const Layout layout = shallow(in);
    const FuzzImage src(in, layout), reference(in, like(in, layout));
    FuzzImage dst(in, like(in, layout));
    const ResultCode rc = HistogramMatch(src, reference, dst);
    require(src.isUntouched() && reference.isUntouched(), "a source has changed");
    out.add(rc);
    out.add(dst);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, reference, dst) || !hasTwin(src) ||
        !hasTwin(reference))
        return;
    if (layout.type == UInt8)
        compareMatch<std::uint8_t>(src, reference, dst);
    else
        compareMatch<std::uint16_t>(src, reference, dst);
}

void matchHistogram(ByteReader& in, Outcome& out)
{
    const Layout layout = shallow(in);
    const FuzzImage src(in, layout);
    CxImageHistogram reference;
    if (!in.oneIn(16)) {
        const int planes = in.oneIn(16) ? 2 : layout.channels;
        reference.resize(planes, topOf(layout) + (in.oneIn(16) ? 2 : 1), 0);
    }
    for (int p = 0; p < reference.planes; ++p)
        for (int i = in.below(8); i > 0; --i)
            reference.bins[p][in.below(std::min(reference.levels, 65536))] = in.raw<std::uint32_t>();
    FuzzImage dst(in, like(in, layout));
    const ResultCode rc = HistogramMatch(src, reference, dst);
    require(src.isUntouched(), "the source has changed");
    out.add(rc);
    out.add(dst);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, dst) || !hasTwin(src))
        return;
    std::vector<std::vector<unsigned>> counts;
    for (int p = 0; p < reference.planes; ++p)
        counts.emplace_back(reference.bins[p], reference.bins[p] + reference.levels);
    Twin expected(dst);
    if (layout.type == UInt8)
        oracle::match<std::uint8_t>(Twin(src), counts, expected);
    else
        oracle::match<std::uint16_t>(Twin(src), counts, expected);
    expected.requireEqual(dst);
}

void equalizeInPlace(ByteReader& in, Outcome& out)
{
    FuzzImage image(in, shallow(in));
    const ResultCode rc = HistogramEqualize(image, image);
    out.add(rc);
    out.add(image);
    if (rc != ResultOk || !out.isJudged() || !image.isSound() || !hasTwin(image))
        return;
    Twin expected(image);
    if (image.layout().type == UInt8)
        oracle::equalize<std::uint8_t>(Twin(image), expected);
    else
        oracle::equalize<std::uint16_t>(Twin(image), expected);
    expected.requireEqual(image);
}

/// All three are one image.
void matchItself(ByteReader& in, Outcome& out)
{
    FuzzImage image(in, shallow(in));
    const ResultCode rc = HistogramMatch(image, image, image);
    out.add(rc);
    out.add(image);
    if (rc != ResultOk || !out.isJudged() || !image.isSound() || !hasTwin(image))
        return;
    if (image.layout().type == UInt8)
        compareMatch<std::uint8_t>(image, image, image);
    else
        compareMatch<std::uint16_t>(image, image, image);
}

}  // namespace

Cases equalizeCases()
{
    return {{"equalize: equalize", &equalize},
            {"equalize: matchImage", &matchImage},
            {"equalize: matchHistogram", &matchHistogram},
            {"equalize: equalizeInPlace", &equalizeInPlace},
            {"equalize: matchItself", &matchItself}};
}

}  // namespace ko::fuzz
