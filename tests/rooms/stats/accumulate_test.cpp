#include "base/dispatch.h"
#include "support/accumulators.h"
#include "support/check_table.h"
#include "support/targets.h"

#include <ko/stats/accumulate.h>

#include <gtest/gtest.h>

#include <cstring>

namespace ko::test {
namespace {

constexpr auto unknownPacking = static_cast<ExPixelPacking>(2);

struct ClearArgs {
    TestAccumulator accumulator{Layout{.type = UInt16}};
    SxAccumulator& sums = accumulator.sums;
    std::vector<std::uint8_t> before;

    ClearArgs()
    {
        accumulator.sum.fillBytes(3);
        sums.frames = ~std::uint64_t{0};
        before = accumulator.bytes();
    }
    ResultCode call() { return ClearAccumulator(sums); }
    bool outputsUntouched() const
    {
        return accumulator.bytes() == before && sums.frames == ~std::uint64_t{0};
    }
};

void dropPlanes(SxAccumulator& sums)
{
    for (SxImageBuf* const plane :
         {&sums.sum, &sums.squares, &sums.minimum, &sums.maximum, &sums.above, &sums.counts})
        plane->data = nullptr;
}

void makePacking(SxAccumulator& sums, int channels)
{
    for (SxImageBuf* const plane :
         {&sums.sum, &sums.squares, &sums.minimum, &sums.maximum, &sums.above, &sums.counts}) {
        plane->packing = unknownPacking;
        plane->channels = channels;
    }
}

TEST(ClearAccumulatorChecks, RunInOrderAndLeaveThePlanesAlone)
{
    runCheckTable<ClearArgs>({
        {"no planes", [](auto& a) { dropPlanes(a.sums); }, ResultBadArg1},
    });
    runCheckTable<ClearArgs>({
        {"sum of another type", [](auto& a) { a.sums.sum.dataType = Int64; }, ResultBadArg1},
        {"squares of another type", [](auto& a) { a.sums.squares.dataType = Float64; }, ResultBadArg1},
        {"minimum of another type than maximum", [](auto& a) { a.sums.minimum.dataType = UInt8; },
         ResultBadArg1},
        {"maximum of a type that frames do not have", [](auto& a) { a.sums.maximum.dataType = Int16; },
         ResultBadArg1},
        {"above of another type", [](auto& a) { a.sums.above.dataType = Int32; }, ResultBadArg1},
        {"counts of another type", [](auto& a) { a.sums.counts.dataType = UInt64; }, ResultBadArg1},
        {"a plane narrower", [](auto& a) { a.sums.counts.width = 3; }, ResultBadArg1},
        {"a plane of negative height", [](auto& a) { a.sums.sum.height = -1; }, ResultBadArg1},
        {"a plane of more channels", [](auto& a) { a.sums.above.channels = 2; }, ResultBadArg1},
        {"a plane of another packing", [](auto& a) { a.sums.maximum.packing = Planar; }, ResultBadArg1},
        {"unknown packing", [](auto& a) { makePacking(a.sums, 2); }, ResultUnsupportedType},
        {"rows beyond their stride", [](auto& a) { a.sums.squares.stride = 31; }, ResultBadArg1},
    });
}

struct AccumulateArgs {
    TestSeries series{Layout{.type = UInt16}, 3, true};
    TestAccumulator accumulator{Layout{.type = UInt16}};
    QVector<SxImageBuf> frames = series.frames, masks = series.masks;
    SxAccumulator& sums = accumulator.sums;
    std::vector<std::uint8_t> before = accumulator.bytes();

    ResultCode call() { return AccumulateFrames(frames, masks, sums); }
    bool outputsUntouched() const { return accumulator.bytes() == before; }
};

void makeType(AccumulateArgs& a, ExImageDataType type)
{
    for (SxImageBuf& frame : a.frames)
        frame.dataType = type;
    a.sums.minimum.dataType = a.sums.maximum.dataType = type;
}

TEST(AccumulateFramesChecks, RunInOrderAndLeaveTheAccumulatorAlone)
{
    runCheckTable<AccumulateArgs>({
        {"first frame absent", [](auto& a) { a.frames[0].data = nullptr; }, ResultBadArg1},
        {"last frame absent", [](auto& a) { a.frames[2].data = nullptr; }, ResultBadArg1},
        {"frame wider", [](auto& a) { a.frames[1].width = 5; }, ResultBadArg1},
        {"frame lower", [](auto& a) { a.frames[1].height = 2; }, ResultBadArg1},
        {"frame of more channels", [](auto& a) { a.frames[1].channels = 2; }, ResultBadArg1},
        {"frame of another packing", [](auto& a) { a.frames[1].packing = Planar; }, ResultBadArg1},
        {"frame of another type", [](auto& a) { a.frames[1].dataType = UInt8; }, ResultBadArg1},
        {"a mask too few", [](auto& a) { a.masks.removeLast(); }, ResultBadArg2},
        {"mask of another size", [](auto& a) { a.masks[0].width = 3; }, ResultBadArg2},
        {"mask of another type", [](auto& a) { a.masks[0].dataType = Int8; }, ResultBadArg2},
        {"mask absent", [](auto& a) { a.masks[1].data = nullptr; }, ResultBadArg2},
        {"plane of another size", [](auto& a) { a.sums.sum.width = 3; }, ResultBadArg3},
        {"extremes of another type", [](auto& a) { a.sums.minimum.dataType = UInt8; }, ResultBadArg3},
        {"no counts for masks", [](auto& a) { a.sums.counts.data = nullptr; }, ResultBadArg3},
        {"more frames than there can be", [](auto& a) { a.sums.frames = mostAccumulatedFrames + 1; },
         ResultBadArg3},
    });
    runCheckTable<AccumulateArgs>({
        {"no planes", [](auto& a) { dropPlanes(a.sums); }, ResultBadArg3},
        {"too many frames", [](auto& a) { a.sums.frames = mostAccumulatedFrames - 2; }, ResultOutOfRange},
        {"signed frames", [](auto& a) { makeType(a, Int16); }, ResultUnsupportedType},
        {"rows of a frame beyond their stride", [](auto& a) { a.frames[2].stride = 7; }, ResultBadArg1},
        {"rows of a mask beyond their stride", [](auto& a) { a.masks[1].stride = 3; }, ResultBadArg2},
        {"rows of a plane beyond their stride", [](auto& a) { a.sums.above.stride = 15; }, ResultBadArg3},
    });
    runCheckTable<AccumulateArgs>({
        {"no frames", [](auto& a) { a.frames.clear(), a.masks.clear(); }, ResultBadArg1},
    });
    AccumulateArgs packing;
    makePacking(packing.sums, 2);
    for (SxImageBuf& frame : packing.frames) {
        frame.packing = unknownPacking;
        frame.channels = 2;
    }
    EXPECT_EQ(packing.call(), ResultUnsupportedType);
}

TEST(AccumulateFramesChecks, CountFramesUpToTheBound)
{
    AccumulateArgs args;
    args.sums.frames = mostAccumulatedFrames - 3;
    EXPECT_EQ(args.call(), ResultOk);
    EXPECT_EQ(args.sums.frames, mostAccumulatedFrames);
    EXPECT_EQ(args.call(), ResultOutOfRange);
    EXPECT_EQ(args.sums.frames, mostAccumulatedFrames);
}

TEST(AccumulateFramesValues, AreCountedFromWhatWasThere)
{
    const Layout pixel{.width = 2, .height = 1};
    TestImage a(pixel), b(pixel), mask(pixel), all(pixel);
    a.setAll<std::uint8_t>({10, 200});
    b.setAll<std::uint8_t>({13, 255});
    all.setAll<std::uint8_t>({1, 1});
    mask.setAll<std::uint8_t>({255, 0});
    TestAccumulator accumulator(pixel);
    accumulator.sums.level = 12;
    ASSERT_EQ(AccumulateFrames({a, b}, {all, mask}, accumulator.sums), ResultOk);
    EXPECT_EQ(accumulator.sum.all<std::uint64_t>(), (std::vector<std::uint64_t>{23, 200}));
    EXPECT_EQ(accumulator.squares.all<std::uint64_t>(), (std::vector<std::uint64_t>{269, 40000}));
    EXPECT_EQ(accumulator.minimum.all<std::uint8_t>(), (std::vector<std::uint8_t>{10, 200}));
    EXPECT_EQ(accumulator.maximum.all<std::uint8_t>(), (std::vector<std::uint8_t>{13, 200}));
    EXPECT_EQ(accumulator.above.all<std::uint32_t>(), (std::vector<std::uint32_t>{1, 1}));
    EXPECT_EQ(accumulator.counts.all<std::uint32_t>(), (std::vector<std::uint32_t>{2, 1}));
    EXPECT_EQ(accumulator.sums.frames, 2U);
    ASSERT_EQ(AccumulateFrames({a}, {}, accumulator.sums), ResultOk);
    EXPECT_EQ(accumulator.sum.all<std::uint64_t>(), (std::vector<std::uint64_t>{33, 400}));
    EXPECT_EQ(accumulator.counts.all<std::uint32_t>(), (std::vector<std::uint32_t>{3, 2}));
    EXPECT_EQ(accumulator.sums.frames, 3U);
}

TEST(AccumulateFramesValues, OfPixelsThatNoMaskSelectsAreThoseOfNoFrame)
{
    const Layout pixel{.width = 1, .height = 1, .type = UInt16};
    TestImage frame(pixel), mask(Layout{.width = 1, .height = 1});
    frame.set<std::uint16_t>(0, 0, 7);
    mask.set<std::uint8_t>(0, 0, 0);
    TestAccumulator accumulator(pixel);
    ASSERT_EQ(AccumulateFrames({frame}, {mask}, accumulator.sums), ResultOk);
    EXPECT_EQ(accumulator.sum.get<std::uint64_t>(0, 0), 0U);
    EXPECT_EQ(accumulator.minimum.get<std::uint16_t>(0, 0), 0xFFFF);
    EXPECT_EQ(accumulator.maximum.get<std::uint16_t>(0, 0), 0);
    EXPECT_EQ(accumulator.counts.get<std::uint32_t>(0, 0), 0U);
    EXPECT_EQ(accumulator.sums.frames, 1U);
}

TEST(AccumulateFramesValues, AreAboveALevelOfAnyHeight)
{
    const Layout pixel{.width = 2, .height = 1};
    TestImage frame(pixel);
    frame.setAll<std::uint8_t>({0, 255});
    for (const auto& [level, expected] :
         {std::pair{0U, 1U}, {254U, 1U}, {255U, 0U}, {256U, 0U}, {65536U + 10U, 0U}}) {
        TestAccumulator accumulator(pixel);
        accumulator.sums.level = level;
        ASSERT_EQ(AccumulateFrames({frame}, {}, accumulator.sums), ResultOk);
        EXPECT_EQ(accumulator.above.all<std::uint32_t>(), (std::vector<std::uint32_t>{0, expected})) << level;
    }
}

TEST(AccumulateFramesValues, OfFullScaleFitForAllTheFramesThereCanBe)
{
    static_assert((std::uint64_t{1} << 32) - (std::uint64_t{1} << 17) + 1 == std::uint64_t{65535} * 65535);
    static_assert(~std::uint64_t{0} / mostAccumulatedFrames >= std::uint64_t{65535} * 65535);
    const Layout pixel{.width = 3, .height = 1, .type = UInt16};
    TestImage white(pixel);
    white.setAll<std::uint16_t>({65535, 65535, 65535});
    TestAccumulator accumulator(pixel);
    for (int i = 0; i < 65; ++i)
        ASSERT_EQ(AccumulateFrames(QVector<SxImageBuf>(1009, white), {}, accumulator.sums), ResultOk);
    const std::uint64_t frames = 65 * 1009;
    EXPECT_GT(frames, 65536U) << "32 bits would not hold the sum";
    EXPECT_EQ(accumulator.sum.get<std::uint64_t>(2, 0), frames * 65535);
    EXPECT_EQ(accumulator.squares.get<std::uint64_t>(2, 0), frames * 65535 * 65535);
    EXPECT_EQ(accumulator.sums.frames, frames);
}

void accumulatePlaneByPlane(bool hasMasks)
{
    const Layout layout{.width = 9, .height = 2, .type = UInt16};
    TestSeries series(layout, 11, hasMasks);
    TestAccumulator whole(layout);
    ASSERT_EQ(AccumulateFrames(series.frames, series.masks, whole.sums), ResultOk);
    for (int wanted = 0; wanted < 6; ++wanted) {
        TestAccumulator part(layout);
        SxAccumulator only;
        SxImageBuf* const images[] = {&only.sum,     &only.squares, &only.minimum,
                                      &only.maximum, &only.above,   &only.counts};
        const SxImageBuf planes[] = {part.sum,     part.squares, part.minimum,
                                     part.maximum, part.above,   part.counts};
        *images[wanted] = planes[wanted];
        if (hasMasks)
            only.counts = part.counts;
        std::memset(images[wanted]->data, 0x55, 2);
        ASSERT_EQ(ClearAccumulator(only), ResultOk);
        ASSERT_EQ(AccumulateFrames(series.frames, series.masks, only), ResultOk);
        const TestImage* const results[] = {&part.sum,     &part.squares, &part.minimum,
                                            &part.maximum, &part.above,   &part.counts};
        const TestImage* const expected[] = {&whole.sum,     &whole.squares, &whole.minimum,
                                             &whole.maximum, &whole.above,   &whole.counts};
        EXPECT_EQ(results[wanted]->bytes(), expected[wanted]->bytes()) << wanted;
    }
}

TEST(AccumulateFramesValues, LeaveOutThePlanesThatAreNotWanted)
{
    accumulatePlaneByPlane(false);
    accumulatePlaneByPlane(true);
}

template <class T>
void compareWithTwin(const Layout& layout, int count, bool hasMasks)
{
    const TestSeries series(layout, count, hasMasks);
    TestAccumulator accumulator(layout), expected(layout);
    const std::uint32_t level = std::numeric_limits<T>::max() / 3;
    accumulator.sums.level = level;
    for (int time = 0; time < 2; ++time) {
        ASSERT_EQ(AccumulateFrames(series.frames, series.masks, accumulator.sums), ResultOk);
        expected.sum.forEachSample([&](int x, int y, int c) {
            expected.set<T>(x, y, c,
                            oracle::accumulate<T>(series.frameTwins, series.maskTwins, x, y, c, level,
                                                  expected.at<T>(x, y, c)));
        });
    }
    ASSERT_EQ(accumulator.bytes(), expected.bytes())
        << "width " << layout.width << " channels " << layout.channels << " frames " << count
        << (hasMasks ? " with masks" : "");
    EXPECT_EQ(accumulator.sums.frames, 2U * static_cast<unsigned>(count));
}

template <class T>
void compareAll(ExImageDataType type)
{
    for (const bool hasMasks : {false, true}) {
        for (int width = 0; width <= 140; ++width)
            compareWithTwin<T>({.width = width, .height = 2, .type = type, .padding = width % 4},
                               1 + width % 17, hasMasks);
        for (const ExPixelPacking packing : {Interleaved, Planar})
            for (const int channels : {1, 2, 3, 5})
                compareWithTwin<T>(
                    {.width = 31, .height = 3, .channels = channels, .type = type, .packing = packing}, 9,
                    hasMasks);
        compareWithTwin<T>({.width = 1100, .height = 1, .channels = 3, .type = type}, 8, hasMasks);
    }
}

TEST(AccumulateFramesTargets, EqualTheTwin)
{
    forEachTarget([] {
        compareAll<std::uint8_t>(UInt8);
        compareAll<std::uint16_t>(UInt16);
    });
}

TEST(AccumulateFramesThreads, GiveTheSameBytesForAnyNumber)
{
    forEachThreadCount([] {
        for (const bool hasMasks : {false, true})
            compareWithTwin<std::uint16_t>(
                {.width = 40, .height = 70, .channels = 2, .type = UInt16, .packing = Planar}, 9, hasMasks);
    });
}

}  // namespace
}  // namespace ko::test
