#include "support/accumulators.h"
#include "support/check_table.h"
#include "support/targets.h"

#include <ko/stats/accumulate.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace ko::test {
namespace {

constexpr Layout words{.type = UInt16};
constexpr Layout reals{.type = Float64};

struct MergeArgs {
    TestAccumulator source{words};
    TestAccumulator target{words};
    SxAccumulator &from = source.sums, &into = target.sums;
    std::vector<std::uint8_t> before = target.bytes();

    MergeArgs()
    {
        source.sum.fillBytes(1);
        from.frames = 3;
    }
    ResultCode call() { return MergeAccumulators(from, into); }
    bool outputsUntouched() const { return target.bytes() == before; }
};

TEST(MergeAccumulatorsChecks, RunInOrderAndLeaveTheTargetAlone)
{
    runCheckTable<MergeArgs>({
        {"from with a plane of another size", [](auto& a) { a.from.sum.width = 3; }, ResultBadArg1},
        {"from with too many frames", [](auto& a) { a.from.frames = mostAccumulatedFrames + 1; },
         ResultBadArg1},
        {"into with a plane of another type", [](auto& a) { a.into.sum.dataType = Int64; }, ResultBadArg2},
        {"into with too many frames", [](auto& a) { a.into.frames = mostAccumulatedFrames + 1; },
         ResultBadArg2},
    });
    runCheckTable<MergeArgs>({
        {"into without a plane of from's", [](auto& a) { a.into.above.data = nullptr; }, ResultBadArg2},
        {"into of another level", [](auto& a) { a.into.level = 1; }, ResultBadArg2},
        {"into for frames of another type",
         [](auto& a) { a.into.minimum.dataType = a.into.maximum.dataType = UInt8; }, ResultBadArg2},
        {"too many frames", [](auto& a) { a.into.frames = mostAccumulatedFrames - 2; }, ResultOutOfRange},
        {"rows of from beyond their stride", [](auto& a) { a.from.counts.stride = 15; }, ResultBadArg1},
        {"rows of into beyond their stride", [](auto& a) { a.into.counts.stride = 15; }, ResultBadArg2},
    });
    runCheckTable<MergeArgs>({{"from without planes", [](auto& a) { a.from = {}; }, ResultBadArg1}});
    runCheckTable<MergeArgs>({{"into without planes", [](auto& a) { a.into = {}; }, ResultBadArg2}});
    runCheckTable<MergeArgs>({{"into of another size",
                               [](auto& a) {
                                   static TestAccumulator wide(Layout{.width = 5, .type = UInt16});
                                   a.into = wide.sums;
                               },
                               ResultBadArg2}});
}

TEST(MergeAccumulatorsChecks, CompareLevelsOnlyWhereSamplesAreComparedWithThem)
{
    MergeArgs args;
    args.from.above.data = args.into.above.data = nullptr;
    args.into.level = 1;
    EXPECT_EQ(args.call(), ResultOk);
    EXPECT_EQ(args.into.frames, 3U);
}

/// Any order and any parts of a series give the bytes of the whole.
void mergeInParts(const Layout& layout, bool hasMasks, std::uint32_t seed)
{
    constexpr int count = 21;
    const TestSeries series(layout, count, hasMasks);
    TestAccumulator whole(layout);
    ASSERT_EQ(AccumulateFrames(series.frames, series.masks, whole.sums), ResultOk);

    std::vector<int> order(count);
    for (int f = 0; f < count; ++f)
        order[static_cast<std::size_t>(f)] = f;
    std::mt19937 random(seed);
    std::shuffle(order.begin(), order.end(), random);
    std::deque<TestAccumulator> parts;
    for (int f = 0; f < count;) {
        QVector<SxImageBuf> frames, masks;
        for (int n = 1 + static_cast<int>(random() % 9); n > 0 && f < count; --n, ++f) {
            const int at = order[static_cast<std::size_t>(f)];
            frames.append(series.frames[at]);
            if (hasMasks)
                masks.append(series.masks[at]);
        }
        ASSERT_EQ(AccumulateFrames(frames, masks, parts.emplace_back(layout).sums), ResultOk);
    }
    TestAccumulator merged(layout);
    for (const TestAccumulator& part : parts)
        ASSERT_EQ(MergeAccumulators(part.sums, merged.sums), ResultOk);
    EXPECT_EQ(merged.bytes(), whole.bytes()) << "seed " << seed;
    EXPECT_EQ(merged.sums.frames, whole.sums.frames);
}

TEST(MergeAccumulatorsTargets, GiveTheWholeOfAnyPartsInAnyOrder)
{
    forEachTarget([] {
        for (std::uint32_t seed = 0; seed < 4; ++seed)
            for (const bool hasMasks : {false, true})
                for (const ExImageDataType type : {UInt8, UInt16})
                    for (const ExPixelPacking packing : {Interleaved, Planar})
                        mergeInParts(
                            {.width = 37, .height = 3, .channels = 2, .type = type, .packing = packing},
                            hasMasks, seed);
    });
}

TEST(MergeAccumulatorsThreads, GiveTheSameBytesForAnyNumber)
{
    forEachThreadCount([] { mergeInParts({.width = 33, .height = 50, .type = UInt16}, true, 7); });
}

struct MeanArgs {
    TestAccumulator accumulator{words};
    SxAccumulator& sums = accumulator.sums;
    TestImage mean{reals};
    std::vector<std::uint8_t> before = mean.bytes();

    ResultCode call() { return AccumulatedMean(sums, mean); }
    bool outputsUntouched() const { return mean.bytes() == before; }
};

TEST(AccumulatedMeanChecks, RunInOrderAndLeaveTheResultAlone)
{
    runCheckTable<MeanArgs>({
        {"no sum", [](auto& a) { a.sums.sum.data = nullptr; }, ResultBadArg1},
        {"planes of different sizes", [](auto& a) { a.sums.counts.height = 2; }, ResultBadArg1},
        {"too many frames", [](auto& a) { a.sums.frames = mostAccumulatedFrames + 1; }, ResultBadArg1},
        {"mean absent", [](auto& a) { a.mean->data = nullptr; }, ResultBadArg2},
        {"mean of another size", [](auto& a) { a.mean->width = 3; }, ResultBadArg2},
        {"mean of another type", [](auto& a) { a.mean->dataType = Float32; }, ResultBadArg2},
        {"rows of a plane beyond their stride", [](auto& a) { a.sums.above.stride = 15; }, ResultBadArg1},
        {"rows of mean beyond their stride", [](auto& a) { a.mean->stride = 31; }, ResultBadArg2},
    });
}

struct VarianceArgs {
    TestAccumulator accumulator{words};
    SxAccumulator& sums = accumulator.sums;
    int ddof = 1;
    TestImage variance{reals};
    std::vector<std::uint8_t> before = variance.bytes();

    ResultCode call() { return AccumulatedVariance(sums, ddof, variance); }
    bool outputsUntouched() const { return variance.bytes() == before; }
};

TEST(AccumulatedVarianceChecks, RunInOrderAndLeaveTheResultAlone)
{
    runCheckTable<VarianceArgs>({
        {"no sum", [](auto& a) { a.sums.sum.data = nullptr; }, ResultBadArg1},
        {"too many frames", [](auto& a) { a.sums.frames = mostAccumulatedFrames + 1; }, ResultBadArg1},
        {"no squares", [](auto& a) { a.sums.squares.data = nullptr; }, ResultBadArg1},
        {"planes of different sizes", [](auto& a) { a.sums.counts.height = 2; }, ResultBadArg1},
        {"negative ddof", [](auto& a) { a.ddof = -1; }, ResultBadArg2},
        {"ddof of 2", [](auto& a) { a.ddof = 2; }, ResultBadArg2},
        {"variance absent", [](auto& a) { a.variance->data = nullptr; }, ResultBadArg3},
        {"variance of another type", [](auto& a) { a.variance->dataType = UInt64; }, ResultBadArg3},
        {"variance of another packing", [](auto& a) { a.variance->packing = Planar; }, ResultBadArg3},
        {"rows of a plane beyond their stride", [](auto& a) { a.sums.counts.stride = 15; }, ResultBadArg1},
        {"rows of variance beyond their stride", [](auto& a) { a.variance->stride = 31; }, ResultBadArg3},
    });
}

/// Counters of one sample, and what is made of them.
struct OneSample {
    TestAccumulator accumulator{Layout{.width = 1, .height = 1, .type = UInt16}};
    TestImage result{Layout{.width = 1, .height = 1, .type = Float64}};

    OneSample(std::uint64_t sum, std::uint64_t squares, std::uint32_t count)
    {
        accumulator.set<std::uint16_t>(0, 0, 0, {.sum = sum, .squares = squares, .count = count});
    }
    double mean()
    {
        EXPECT_EQ(AccumulatedMean(accumulator.sums, result), ResultOk);
        return result.get<double>(0, 0);
    }
    double variance(int ddof)
    {
        EXPECT_EQ(AccumulatedVariance(accumulator.sums, ddof, result), ResultOk);
        return result.get<double>(0, 0);
    }
};

TEST(AccumulatedValues, AreMeanAndVarianceOfTheCountedSamples)
{
    OneSample samples(1 + 2 + 6, 1 + 4 + 36, 3);
    EXPECT_EQ(samples.mean(), 3.0);
    EXPECT_EQ(samples.variance(0), 14.0 / 3.0);
    EXPECT_EQ(samples.variance(1), 7.0);
}

TEST(AccumulatedValues, TakeTheFramesWhereNothingElseIsCounted)
{
    OneSample samples(9, 41, 77);
    samples.accumulator.sums.counts.data = nullptr;
    samples.accumulator.sums.frames = 3;
    EXPECT_EQ(samples.mean(), 3.0);
    EXPECT_EQ(samples.variance(1), 7.0);
}

TEST(AccumulatedValues, AreNoNumbersWhereNothingWasCounted)
{
    EXPECT_TRUE(std::isnan(OneSample(0, 0, 0).mean()));
    EXPECT_TRUE(std::isnan(OneSample(0, 0, 0).variance(0)));
    EXPECT_TRUE(std::isnan(OneSample(0, 0, 0).variance(1)));
    EXPECT_TRUE(std::isnan(OneSample(5, 25, 1).variance(1)));
    EXPECT_EQ(OneSample(5, 25, 1).variance(0), 0.0);
    EXPECT_TRUE(std::isnan(OneSample(5, 12, 2).variance(0))) << "no two samples have these sums";
}

TEST(AccumulatedValues, OfTheLargestCountersKeepEveryDigit)
{
    // Half of the frames black and half of them white, and one frame that is neither.
    const std::uint64_t half = mostAccumulatedFrames / 2, white = 65535;
    const std::uint64_t sum = half * white + 1, squares = half * white * white + 1;
    OneSample samples(sum, squares, static_cast<std::uint32_t>(mostAccumulatedFrames));
    for (const int ddof : {0, 1})
        EXPECT_EQ(samples.variance(ddof), oracle::variance(mostAccumulatedFrames, sum, squares, ddof));
    EXPECT_EQ(samples.mean(), static_cast<double>(sum) / static_cast<double>(mostAccumulatedFrames));
    // The variance of one sample of 1 among zeros: 1 / n - 1 / n^2, where doubles lose everything.
    const double n = static_cast<double>(mostAccumulatedFrames);
    EXPECT_EQ(OneSample(1, 1, 0xFFFFFFFF).variance(1), 1.0 / n);
}

TEST(AccumulatedValues, AreDefinedForCountersThatNoSamplesHave)
{
    const std::uint64_t most = ~std::uint64_t{0};
    for (const std::uint64_t sum : {std::uint64_t{0}, std::uint64_t{1}, most})
        for (const std::uint64_t squares : {std::uint64_t{0}, std::uint64_t{1}, most})
            for (const std::uint32_t count : {1U, 2U, 0xFFFFFFFFU})
                for (const int ddof : {0, 1}) {
                    const double expected = oracle::variance(count, sum, squares, ddof);
                    const double variance = OneSample(sum, squares, count).variance(ddof);
                    EXPECT_TRUE(variance == expected || (std::isnan(variance) && std::isnan(expected)));
                }
}

TEST(AccumulatedTargets, KeepEveryDigitAroundTheLargestSumsOfTheShortWay)
{
    const auto around = [](std::uint64_t value) { return std::vector{value - 1, value, value + 1}; };
    forEachTarget([&] {
        for (const std::uint64_t count : around(std::uint64_t{1} << 11))
            for (const std::uint64_t sum : around(std::uint64_t{1} << 26))
                for (const std::uint64_t squares : around(std::uint64_t{1} << 42))
                    for (const int ddof : {0, 1}) {
                        OneSample samples(sum, squares, static_cast<std::uint32_t>(count));
                        EXPECT_EQ(samples.variance(ddof), oracle::variance(count, sum, squares, ddof));
                        samples.accumulator.sums.counts.data = nullptr;
                        samples.accumulator.sums.frames = count;
                        EXPECT_EQ(samples.variance(ddof), oracle::variance(count, sum, squares, ddof));
                    }
    });
}

TEST(AccumulatedTargets, TakeLargeAndSmallSumsOfOneRow)
{
    const Layout layout{.width = 1300, .height = 1, .type = UInt16};
    TestAccumulator accumulator(layout);
    TestImage variance(Layout{.width = 1300, .height = 1, .type = Float64});
    std::vector<double> expected;
    for (int x = 0; x < layout.width; ++x) {
        // Only the samples of the second block are too large for the short way, and one of the third.
        const bool isLarge = (x >= 512 && x < 1024) || x == 1200;
        const std::uint64_t sum = isLarge ? std::uint64_t{3} << 30 : 1000U + static_cast<unsigned>(x);
        const std::uint64_t squares = sum * sum / 3 + static_cast<unsigned>(x);
        accumulator.set<std::uint16_t>(x, 0, 0, {.sum = sum, .squares = squares, .count = 5});
        expected.push_back(oracle::variance(5, sum, squares, 1));
    }
    forEachTarget([&] {
        ASSERT_EQ(AccumulatedVariance(accumulator.sums, 1, variance), ResultOk);
        EXPECT_EQ(variance.all<double>(), expected);
    });
}

TEST(AccumulatedTargets, EqualTheTwin)
{
    const Layout layout{.width = 61, .height = 7, .channels = 3, .type = UInt16};
    const TestSeries series(layout, 13, true);
    for (const int count : {1, 2, 13}) {
        TestAccumulator accumulator(layout);
        ASSERT_EQ(AccumulateFrames(series.frames.mid(0, count), series.masks.mid(0, count), accumulator.sums),
                  ResultOk);
        const Layout real{.width = 61, .height = 7, .channels = 3, .type = Float64};
        for (const int ddof : {0, 1}) {
            TestImage mean(real), variance(real);
            forEachThreadCount([&] {
                ASSERT_EQ(AccumulatedMean(accumulator.sums, mean), ResultOk);
                ASSERT_EQ(AccumulatedVariance(accumulator.sums, ddof, variance), ResultOk);
                EXPECT_TRUE(mean.guardsIntact() && variance.guardsIntact());
                mean.forEachSample([&](int x, int y, int c) {
                    const auto known = accumulator.at<std::uint16_t>(x, y, c);
                    const double expected = oracle::variance(known.count, known.sum, known.squares, ddof);
                    const double found = variance.get<double>(x, y, c);
                    ASSERT_TRUE(found == expected || (std::isnan(found) && std::isnan(expected)));
                    const double average = mean.get<double>(x, y, c);
                    ASSERT_TRUE(known.count == 0 ? std::isnan(average)
                                                 : average == oracle::quotient(known.sum, known.count));
                });
            });
        }
    }
}

}  // namespace
}  // namespace ko::test
