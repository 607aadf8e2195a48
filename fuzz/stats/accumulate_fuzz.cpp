// Accumulators: any frames, masks and planes, and whatever counters the planes hold.
#include "base/checks.h"
#include "base/dispatch.h"
#include "fuzz/stats/families.h"
#include "oracle/accumulate.h"

#include <ko/stats/accumulate.h>

#include <algorithm>
#include <array>
#include <deque>
#include <vector>

namespace ko::fuzz {

namespace {

/// Planes for frames of a layout, some of them absent, with any bytes in them.
struct FuzzAccumulator {
    FuzzAccumulator(ByteReader& in, const Layout& frame)
    {
        for (SxImageBuf* const plane : planes()) {
            const bool isExtreme = plane == &sums.minimum || plane == &sums.maximum;
            const bool isSum = plane == &sums.sum || plane == &sums.squares;
            const ExImageDataType type = isExtreme ? frame.type : isSum ? UInt64 : UInt32;
            images.emplace_back(in, like(in, frame, type, frame.channels));
            if (!in.oneIn(6))
                *plane = images.back();
        }
        sums.frames = in.oneIn(4) ? mostAccumulatedFrames - static_cast<unsigned>(in.below(8)) : in.byte();
        if (in.oneIn(16))
            sums.frames = in.raw<std::uint64_t>();
        sums.level = static_cast<std::uint32_t>(in.integer());
    }
    std::array<SxImageBuf*, 6> planes()
    {
        return {&sums.sum, &sums.squares, &sums.minimum, &sums.maximum, &sums.above, &sums.counts};
    }
    void add(Outcome& out, ResultCode rc) const
    {
        for (const FuzzImage& image : images) {
            require(!isFailure(rc) || image.isUntouched(), "a plane has changed in spite of the failure");
            out.add(image);
        }
        out.add(sums.frames);
    }
    bool isSound() const
    {
        return std::all_of(images.begin(), images.end(),
                           [](const FuzzImage& image) { return image.isSound(); });
    }

    std::deque<FuzzImage> images;
    SxAccumulator sums;
};

/// Compares every sample of every plane that there is.
template <class T>
void judge(const FuzzAccumulator& found, const std::vector<const test::TestImage*>& frames,
           const std::vector<const test::TestImage*>& masks)
{
    std::deque<Twin> twins;
    for (const FuzzImage& image : found.images)
        twins.emplace_back(image);
    twins[0].forEachSample([&](int x, int y, int c) {
        const oracle::SampleHistory before{twins[0].get<std::uint64_t>(x, y, c),
                                           twins[1].get<std::uint64_t>(x, y, c),
                                           twins[2].get<T>(x, y, c),
                                           twins[3].get<T>(x, y, c),
                                           twins[4].get<std::uint32_t>(x, y, c),
                                           twins[5].get<std::uint32_t>(x, y, c)};
        const auto after = oracle::accumulate<T>(frames, masks, x, y, c, found.sums.level, before);
        twins[0].set(x, y, c, after.sum);
        twins[1].set(x, y, c, after.squares);
        twins[2].set(x, y, c, static_cast<T>(after.minimum));
        twins[3].set(x, y, c, static_cast<T>(after.maximum));
        twins[4].set(x, y, c, after.above);
        twins[5].set(x, y, c, after.count);
    });
    const SxImageBuf* const planes[] = {&found.sums.sum,     &found.sums.squares, &found.sums.minimum,
                                        &found.sums.maximum, &found.sums.above,   &found.sums.counts};
    for (std::size_t i = 0; i < twins.size(); ++i) {
        if (planes[i]->data != nullptr)
            twins[i].requireEqual(found.images[i]);
        else
            require(found.images[i].isUntouched(), "a plane that was not wanted has changed");
    }
}

void accumulate(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {{UInt8, UInt16, UInt8, UInt16, Int16}, everyChannels});
    const bool hasMasks = in.flag();
    std::deque<FuzzImage> images, maskImages;
    QVector<SxImageBuf> frames, masks;
    for (int f = in.oneIn(16) ? 0 : in.between(1, 10); f > 0; --f) {
        frames.append(images.emplace_back(in, like(in, layout)).buf());
        if (hasMasks)
            masks.append(maskImages.emplace_back(in, like(in, layout, UInt8, 1)).buf());
    }
    FuzzAccumulator accumulator(in, layout);
    const ResultCode rc = AccumulateFrames(frames, masks, accumulator.sums);
    out.add(rc);
    accumulator.add(out, rc);
    std::vector<const test::TestImage*> frameTwins, maskTwins;
    std::deque<Twin> twins;
    bool isSound = accumulator.isSound();
    for (const std::deque<FuzzImage>* const list : {&images, &maskImages})
        for (const FuzzImage& image : *list) {
            require(image.isUntouched(), "a source has changed");
            isSound = isSound && image.isSound();
        }
    if (rc != ResultOk || !out.isJudged() || !isSound)
        return;
    for (const FuzzImage& image : images)
        frameTwins.push_back(&twins.emplace_back(image));
    for (const FuzzImage& image : maskImages)
        maskTwins.push_back(&twins.emplace_back(image));
    (void)dispatch(ByTypeOf<UInt8, UInt16>{}, layout.type, {},
                   [&]<class T>(std::type_identity<T>) { judge<T>(accumulator, frameTwins, maskTwins); });
}

void clear(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {{UInt8, UInt16, UInt8, UInt16, Int16}, everyChannels});
    FuzzAccumulator accumulator(in, layout);
    const ResultCode rc = ClearAccumulator(accumulator.sums);
    out.add(rc);
    accumulator.add(out, rc);
    require(isFailure(rc) || accumulator.sums.frames == 0, "frames are left");
}

void merge(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {{UInt8, UInt16}, everyChannels});
    const FuzzAccumulator from(in, layout);
    FuzzAccumulator into(in, layout);
    if (in.flag())
        into.sums.level = from.sums.level;
    const std::uint64_t before = into.sums.frames;
    const ResultCode rc = MergeAccumulators(from.sums, into.sums);
    out.add(rc);
    into.add(out, rc);
    from.add(out, ResultFailed);
    require(into.sums.frames == before + (isFailure(rc) ? 0 : from.sums.frames), "another number of frames");
}

/// Mean and variance of any counters, honest or not.
void results(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {{UInt8, UInt16}, everyChannels});
    const FuzzAccumulator from(in, layout);
    FuzzImage mean(in, like(in, layout, Float64, layout.channels));
    FuzzImage variance(in, like(in, layout, Float64, layout.channels));
    const int ddof = in.between(-1, 2);
    const ResultCode first = AccumulatedMean(from.sums, mean);
    const ResultCode second = AccumulatedVariance(from.sums, ddof, variance);
    addCall(out, first, mean);
    addCall(out, second, variance);
    from.add(out, ResultFailed);
    if (second != ResultOk || !out.isJudged() || !from.isSound() || !variance.isSound())
        return;
    const Twin sum(from.images[0]), squares(from.images[1]), counts(from.images[5]);
    Twin expected(variance);
    expected.forEachSample([&](int x, int y, int c) {
        const bool isCounted = from.sums.counts.data != nullptr;
        const std::uint64_t n = isCounted ? counts.get<std::uint32_t>(x, y, c) : from.sums.frames;
        expected.set(
            x, y, c,
            oracle::variance(n, sum.get<std::uint64_t>(x, y, c), squares.get<std::uint64_t>(x, y, c), ddof));
    });
    expected.requireEqual(variance);
}

}  // namespace

Cases accumulateCases()
{
    return {{"accumulate: accumulate", &accumulate},
            {"accumulate: clear", &clear},
            {"accumulate: merge", &merge},
            {"accumulate: results", &results}};
}

}  // namespace ko::fuzz
