#include "oracle/joint_histogram.h"
#include "support/check_table.h"
#include "support/failing_new.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/stats/joint_histogram.h>

#include <gtest/gtest.h>

#include <limits>

namespace ko::test {
namespace {

using Dense = CxImageHistogram2D;
using Sparse = CxImageHistogramSparse2D;

template <class Hist>
struct JointArgs {
    TestImage src1{Layout{.width = 6, .height = 5, .channels = 3, .bits = 5}};
    TestImage src2{Layout{.width = 6, .height = 5, .channels = 3, .bits = 5}};
    TestImage mask{Layout{.width = 6, .height = 5}};
    int ch1 = 1;
    int ch2 = 2;
    int line = 4;
    Hist hist;

    explicit JointArgs(int planes) : hist(planes, 32) { mask.fillBytes(1); }
    bool outputsUntouched() { return oracle::contents(hist).empty(); }
};
struct AllArgs : JointArgs<Sparse> {
    AllArgs() : JointArgs(3) {}
    ResultCode call() { return Histogram2D(src1, src2, hist); }
};
struct ChannelArgs : JointArgs<Sparse> {
    ChannelArgs() : JointArgs(1) {}
    ResultCode call() { return Histogram2D(src1, ch1, src2, ch2, hist); }
};
struct RowArgs : JointArgs<Sparse> {
    RowArgs() : JointArgs(1) {}
    ResultCode call() { return RowHistogram2D(src1, ch1, src2, ch2, line, hist); }
};
struct ColArgs : JointArgs<Sparse> {
    ColArgs() : JointArgs(1) { line = 5; }
    ResultCode call() { return ColHistogram2D(src1, ch1, src2, ch2, line, hist); }
};
template <class Hist>
struct MaskedArgs : JointArgs<Hist> {
    MaskedArgs() : JointArgs<Hist>(3) {}
    ResultCode call() { return HistogramMasked2D(this->src1, this->src2, this->mask, this->hist); }
};
template <class Hist>
struct MaskedChannelArgs : JointArgs<Hist> {
    MaskedChannelArgs() : JointArgs<Hist>(1) {}
    ResultCode call()
    {
        return HistogramMasked2D(this->src1, this->ch1, this->src2, this->ch2, this->mask, this->hist);
    }
};

constexpr auto src1Absent = [](auto& a) { a.src1->data = nullptr; };
constexpr auto src1Signed = [](auto& a) { a.src1->dataType = a.src2->dataType = Int8; };
constexpr auto src1Deep = [](auto& a) { a.src1->bitsPerSample = a.src2->bitsPerSample = 9; };
constexpr auto src1Rows = [](auto& a) { a.src1->stride = 5; };
constexpr auto packings = [](auto& a) { a.src1->packing = a.src2->packing = static_cast<ExPixelPacking>(2); };
constexpr auto src2Absent = [](auto& a) { a.src2->data = nullptr; };
constexpr auto src2Width = [](auto& a) { a.src2->width = 5; };
constexpr auto src2Height = [](auto& a) { a.src2->height = 4; };
constexpr auto src2Channels = [](auto& a) { a.src2->channels = 2; };
constexpr auto src2Bits = [](auto& a) { a.src2->bitsPerSample = 4; };
constexpr auto src2Grid = [](auto& a) { a.src2->bayerGrid = BayerBGGR; };
constexpr auto src2Type = [](auto& a) { a.src2->dataType = Int8; };
constexpr auto src2Packing = [](auto& a) { a.src2->packing = Planar; };
constexpr auto src2Format = [](auto& a) { a.src2->pixelFormat = 2; };
constexpr auto src2Rows = [](auto& a) { a.src2->stride = 5; };
constexpr auto ch1Beyond = [](auto& a) { a.ch1 = 3; };
constexpr auto ch1Negative = [](auto& a) { a.ch1 = -1; };
constexpr auto ch2Beyond = [](auto& a) { a.ch2 = 3; };
constexpr auto ch2Negative = [](auto& a) { a.ch2 = -1; };
constexpr auto maskAbsent = [](auto& a) { a.mask->data = nullptr; };
constexpr auto maskChannels = [](auto& a) { a.mask->channels = 3; };
constexpr auto maskType = [](auto& a) { a.mask->dataType = UInt16; };
constexpr auto maskWidth = [](auto& a) { a.mask->width = 5; };
constexpr auto maskRows = [](auto& a) { a.mask->stride = 5; };
constexpr auto lineNegative = [](auto& a) { a.line = -1; };
constexpr auto lineBeyond = [](auto& a) { ++a.line; };
constexpr auto lineFarBeyond = [](auto& a) { a.line = std::numeric_limits<int>::max(); };

template <class Args>
void setHist(Args& args, int planes, int levels)
{
    args.hist = decltype(args.hist)(planes, levels);
}
constexpr auto noPlanes = [](auto& a) { setHist(a, 0, 0); };
constexpr auto twoPlanes = [](auto& a) { setHist(a, 2, 32); };
constexpr auto fewLevelsOfThree = [](auto& a) { setHist(a, 3, 31); };
constexpr auto fewLevels = [](auto& a) { setHist(a, 1, 31); };
constexpr auto moreLevels = [](auto& a) { setHist(a, 1, 33); };

TEST(Histogram2DChecks, RunInOrder)
{
    runCheckTable<AllArgs>({
        {"src1 absent", src1Absent, ResultBadArg1},
        {"signed", src1Signed, ResultBadArg1},
        {"UInt8 of 9 bits", src1Deep, ResultBadArg1},
        {"src2 absent", src2Absent, ResultBadArg2},
        {"src2 narrower", src2Width, ResultBadArg2},
        {"src2 lower", src2Height, ResultBadArg2},
        {"src2 of 2 channels", src2Channels, ResultBadArg2},
        {"src2 of 4 bits", src2Bits, ResultBadArg2},
        {"src2 a mosaic", src2Grid, ResultBadArg2},
        {"src2 signed", src2Type, ResultBadArg2},
        {"src2 planar", src2Packing, ResultBadArg2},
        {"src2 of another pixel format", src2Format, ResultBadArg2},
        {"two planes", twoPlanes, ResultBadArg3},
        {"packing", packings, ResultUnsupportedType},
        {"src1 rows beyond their stride", src1Rows, ResultBadArg1},
        {"src2 rows beyond their stride", src2Rows, ResultBadArg2},
    });
    AllArgs args;
    fewLevelsOfThree(args);
    EXPECT_EQ(args.call(), ResultBadArg3);
    setHist(args, 3, 33);
    EXPECT_EQ(args.call(), ResultOk);
}

TEST(Histogram2DChecks, OfOneChannelRunInOrder)
{
    constexpr auto wide = [](auto& a) { a.src1->dataType = a.src2->dataType = UInt32; };
    runCheckTable<ChannelArgs>({
        {"src1 absent", src1Absent, ResultBadArg1},
        {"ch1 beyond", ch1Beyond, ResultBadArg2},
        {"ch1 negative", ch1Negative, ResultBadArg2},
        {"src2 absent", src2Absent, ResultBadArg3},
        {"src2 narrower", src2Width, ResultBadArg3},
        {"src2 lower", src2Height, ResultBadArg3},
        {"src2 planar", src2Packing, ResultBadArg3},
        {"src2 signed", src2Type, ResultBadArg3},
        {"src2 of 4 bits", src2Bits, ResultBadArg3},
        {"ch2 beyond", ch2Beyond, ResultBadArg4},
        {"ch2 negative", ch2Negative, ResultBadArg4},
        {"few levels", fewLevels, ResultBadArg5},
        {"more levels", moreLevels, ResultBadArg5},
        {"two planes", twoPlanes, ResultBadArg5},
        {"signed", src1Signed, ResultUnsupportedType},
        {"UInt32", wide, ResultUnsupportedType},
        {"packing", packings, ResultUnsupportedType},
        {"src1 rows beyond their stride", src1Rows, ResultBadArg1},
        {"src2 rows beyond their stride", src2Rows, ResultBadArg3},
    });
}

TEST(Histogram2DChecks, OfOneChannelAllowOtherChannelsGridsAndBits)
{
    ChannelArgs args;
    args.src2->bayerGrid = BayerGBRG;
    args.src2->pixelFormat = 3;
    args.src2->channels = 2;
    args.ch2 = 1;
    EXPECT_EQ(args.call(), ResultOk);
    ChannelArgs deep;
    src1Deep(deep);
    setHist(deep, 1, 512);
    EXPECT_EQ(deep.call(), ResultOk);
    deep.src1->bitsPerSample = deep.src2->bitsPerSample = 63;
    EXPECT_EQ(deep.call(), ResultBadArg5);
}

template <class Args>
class LineHistogram2D : public testing::Test {
};
using LineForms = testing::Types<RowArgs, ColArgs>;
TYPED_TEST_SUITE(LineHistogram2D, LineForms);

TYPED_TEST(LineHistogram2D, RunsItsChecksInOrder)
{
    runCheckTable<TypeParam>({
        {"src1 absent", src1Absent, ResultBadArg1},
        {"signed", src1Signed, ResultBadArg1},
        {"UInt8 of 9 bits", src1Deep, ResultBadArg1},
        {"ch1 beyond", ch1Beyond, ResultBadArg2},
        {"ch1 negative", ch1Negative, ResultBadArg2},
        {"src2 absent", src2Absent, ResultBadArg3},
        {"src2 of 4 bits", src2Bits, ResultBadArg3},
        {"ch2 beyond", ch2Beyond, ResultBadArg4},
        {"ch2 negative", ch2Negative, ResultBadArg4},
        {"line far beyond", lineFarBeyond, ResultBadArg5},
        {"line negative", lineNegative, ResultBadArg5},
        {"line beyond", lineBeyond, ResultBadArg5},
        {"two planes", twoPlanes, ResultBadArg5},
        {"packing", packings, ResultUnsupportedType},
        {"src1 rows beyond their stride", src1Rows, ResultBadArg1},
        {"src2 rows beyond their stride", src2Rows, ResultBadArg3},
    });
    TypeParam args;
    moreLevels(args);
    EXPECT_EQ(args.call(), ResultBadArg5);
}

template <class Hist>
class HistogramMasked2DChecks : public testing::Test {
};
using Containers = testing::Types<Dense, Sparse>;
TYPED_TEST_SUITE(HistogramMasked2DChecks, Containers);

TYPED_TEST(HistogramMasked2DChecks, RunInOrder)
{
    runCheckTable<MaskedArgs<TypeParam>>({
        {"src1 absent", src1Absent, ResultBadArg1},
        {"signed", src1Signed, ResultBadArg1},
        {"src2 absent", src2Absent, ResultBadArg2},
        {"src2 of 2 channels", src2Channels, ResultBadArg2},
        {"src2 of another pixel format", src2Format, ResultBadArg2},
        {"mask absent", maskAbsent, ResultBadArg3},
        {"mask of 3 channels", maskChannels, ResultBadArg3},
        {"mask UInt16", maskType, ResultBadArg3},
        {"mask narrower", maskWidth, ResultBadArg3},
        {"two planes", twoPlanes, ResultBadArg4},
        {"few levels", fewLevelsOfThree, ResultBadArg4},
        {"packing", packings, ResultUnsupportedType},
        {"src1 rows beyond their stride", src1Rows, ResultBadArg1},
        {"src2 rows beyond their stride", src2Rows, ResultBadArg2},
        {"mask rows beyond their stride", maskRows, ResultBadArg3},
    });
}

TYPED_TEST(HistogramMasked2DChecks, OfOneChannelRunInOrder)
{
    runCheckTable<MaskedChannelArgs<TypeParam>>({
        {"src1 absent", src1Absent, ResultBadArg1},
        {"UInt8 of 9 bits", src1Deep, ResultBadArg1},
        {"ch1 beyond", ch1Beyond, ResultBadArg2},
        {"src2 absent", src2Absent, ResultBadArg3},
        {"src2 planar", src2Packing, ResultBadArg3},
        {"src2 lower", src2Height, ResultBadArg3},
        {"ch2 beyond", ch2Beyond, ResultBadArg4},
        {"mask absent", maskAbsent, ResultBadArg5},
        {"mask UInt16", maskType, ResultBadArg5},
        {"no planes", noPlanes, ResultBadArg6},
        {"packing", packings, ResultUnsupportedType},
        {"src1 rows beyond their stride", src1Rows, ResultBadArg1},
        {"src2 rows beyond their stride", src2Rows, ResultBadArg3},
        {"mask rows beyond their stride", maskRows, ResultBadArg5},
    });
}

TEST(HistogramMasked2DValues, OfOneChannelRefuseTheHistogramInDifferentWays)
{
    struct Case {
        int planes, levels;
        ResultCode dense, sparse;
    };
    for (const Case& c : {Case{1, 31, ResultBadArg6, ResultOk}, Case{1, 33, ResultOk, ResultOk},
                          Case{2, 32, ResultOk, ResultOk}, Case{2, 31, ResultBadArg6, ResultBadArg6},
                          Case{2, 33, ResultOk, ResultBadArg6}, Case{0, 0, ResultBadArg6, ResultBadArg6}}) {
        MaskedChannelArgs<Dense> dense;
        setHist(dense, c.planes, c.levels);
        EXPECT_EQ(dense.call(), c.dense) << c.planes << " planes of " << c.levels;
        MaskedChannelArgs<Sparse> sparse;
        setHist(sparse, c.planes, c.levels);
        EXPECT_EQ(sparse.call(), c.sparse) << c.planes << " planes of " << c.levels;
    }
}

TEST(Histogram2DValues, OfAnImageWithItselfLieOnTheDiagonal)
{
    TestImage src(Layout{.width = 40, .height = 30, .bits = 6});
    src.fillRandom(1);
    Sparse hist(1, 64);
    ASSERT_EQ(Histogram2D(src, src, hist), ResultOk);
    int all = 0;
    for (const auto& [place, count] : oracle::contents(hist)) {
        EXPECT_EQ(std::get<1>(place), std::get<2>(place));
        all += count;
    }
    EXPECT_EQ(all, 1200);
}

TEST(Histogram2DValues, SelectTheColumnByTheFirstImageAndTheRowByTheSecond)
{
    TestImage a(Layout{.width = 2, .height = 1}), b(Layout{.width = 2, .height = 1}),
        mask(Layout{.width = 2, .height = 1});
    a.setAll<std::uint8_t>({3, 3});
    b.setAll<std::uint8_t>({250, 250});
    mask.fillBytes(1);
    Sparse sparse(1, 256);
    ASSERT_EQ(Histogram2D(a, b, sparse), ResultOk);
    ASSERT_EQ(Histogram2D(a, 0, b, 0, sparse), ResultOk);
    EXPECT_EQ(oracle::contents(sparse), (oracle::PairCounts{{{0, 250, 3}, 4}}));
    Dense dense(1, 256);
    dense[0][250][3] = std::numeric_limits<int>::max();
    ASSERT_EQ(HistogramMasked2D(a, b, mask, dense), ResultOk);
    EXPECT_EQ(dense[0][250][3], std::numeric_limits<int>::min() + 1);
}

TEST(Histogram2DValues, LeaveOutRowsThatDoNotExistAndKeepAnyColumn)
{
    TestImage a(Layout{.width = 3, .height = 1, .type = UInt16, .bits = 4});
    TestImage b(Layout{.width = 3, .height = 1, .type = UInt16, .bits = 4});
    TestImage mask(Layout{.width = 3, .height = 1});
    mask.fillBytes(1);
    a.setAll<std::uint16_t>({65535, 1, 2});
    b.setAll<std::uint16_t>({15, 16, 65535});
    Sparse sparse(1, 16);
    ASSERT_EQ(Histogram2D(a, b, sparse), ResultOk);
    EXPECT_EQ(oracle::contents(sparse), (oracle::PairCounts{{{0, 15, 65535}, 1}}));
    Dense dense(1, 16);
    ASSERT_EQ(HistogramMasked2D(a, b, mask, dense), ResultOk);
    EXPECT_TRUE(oracle::contents(dense).empty());
}

TEST(HistogramMasked2DValues, OfInterleavedColourReadTheMaskSampleBySample)
{
    TestImage src(Layout{.width = 2, .height = 1, .channels = 3});
    src.setAll<std::uint8_t>({1, 2, 3, 4, 5, 6});
    TestImage mask(Layout{.width = 2, .height = 1, .padding = 3});
    mask.fillBytes(0);
    mask.set<std::uint8_t>(1, 0, 1);  // channel 1 of pixel 0
    // Bytes 2...4 are padding, full of guards: channel 2 of pixel 0, channels 0 and 1 of pixel 1. Byte 5 is
    // past the end of the mask.
    Dense hist(3, 256);
    ASSERT_EQ(HistogramMasked2D(src, src, mask, hist), ResultOk);
    EXPECT_EQ(oracle::contents(hist),
              (oracle::PairCounts{{{1, 2, 2}, 1}, {{2, 3, 3}, 1}, {{0, 4, 4}, 1}, {{1, 5, 5}, 1}}));
}

void compareWithTwin(const Layout& form)
{
    SCOPED_TRACE(testing::Message() << form.width << " x " << form.height << " x " << form.channels
                                    << " type " << form.type << " packing " << form.packing);
    TestImage a(form), b(form), mask(Layout{.width = form.width, .height = form.height});
    a.fillRandom(1);
    b.fillRandom(2);
    mask.fillSparse(3);
    if (form.width > 1)
        a.set<std::uint8_t>(1, 0, 0, 255);
    const int levels = 1 << form.bits, last = form.channels - 1;
    oracle::PairCounts all, masked, channel, maskedChannel, row, col;
    for (int c = 0; c < form.channels; ++c) {
        oracle::jointHistogram(a, c, b, c, oracle::everywhere(), c, all);
        const bool bySample = form.packing == Interleaved && form.channels > 1;
        oracle::jointHistogram(a, c, b, c,
                               bySample ? oracle::bySample(mask, form.channels, c) : oracle::whereSet(mask),
                               c, masked);
    }
    oracle::jointHistogram(a, 0, b, last, oracle::everywhere(), 0, channel);
    oracle::jointHistogram(a, 0, b, last, oracle::whereSet(mask), 0, maskedChannel);
    oracle::jointHistogram(a, 0, b, last, oracle::inside(QRect(0, form.height - 1, form.width, 1)), 0, row);
    oracle::jointHistogram(a, 0, b, last, oracle::inside(QRect(form.width / 2, 0, 1, form.height)), 0, col);
    const auto sparse = [&](int planes, const oracle::PairCounts& counts, auto&& call) {
        Sparse hist(planes, levels);
        ASSERT_EQ(call(hist), ResultOk);
        EXPECT_EQ(oracle::contents(hist), oracle::withRowsBelow(counts, levels));
    };
    const auto dense = [&](int planes, const oracle::PairCounts& counts, auto&& call) {
        Dense hist(planes, levels);
        ASSERT_EQ(call(hist), ResultOk);
        EXPECT_EQ(oracle::contents(hist),
                  oracle::withColumnsBelow(oracle::withRowsBelow(counts, levels), levels));
    };
    sparse(form.channels, all, [&](auto& h) { return Histogram2D(a, b, h); });
    sparse(1, channel, [&](auto& h) { return Histogram2D(a, 0, b, last, h); });
    sparse(form.channels, masked, [&](auto& h) { return HistogramMasked2D(a, b, mask, h); });
    dense(form.channels, masked, [&](auto& h) { return HistogramMasked2D(a, b, mask, h); });
    sparse(1, maskedChannel, [&](auto& h) { return HistogramMasked2D(a, 0, b, last, mask, h); });
    dense(1, maskedChannel, [&](auto& h) { return HistogramMasked2D(a, 0, b, last, mask, h); });
    if (form.width > 0 && form.height > 0) {
        sparse(1, row, [&](auto& h) { return RowHistogram2D(a, 0, b, last, form.height - 1, h); });
        sparse(1, col, [&](auto& h) { return ColHistogram2D(a, 0, b, last, form.width / 2, h); });
    }
}

TEST(Histogram2DTargets, EqualTheTwinForSmallImages)
{
    forEachTarget([] {
        for (const ExPixelPacking packing : {Interleaved, Planar})
            for (const ExImageDataType type : {UInt8, UInt16})
                for (const int channels : {1, 3, 4})
                    for (const int width : {0, 1, 2, 17, 64, 65, 131})
                        compareWithTwin({width, 4, channels, type, packing, 4});
    });
}

TEST(Histogram2DTargets, EqualTheTwinForLargeImages)
{
    for (const ExPixelPacking packing : {Interleaved, Planar})
        for (const ExImageDataType type : {UInt8, UInt16})
            for (const int channels : {1, 2})
                compareWithTwin({4120, 9, channels, type, packing, 6});
}

/// Large enough for seven bands of rows, of different heights.
TEST(Histogram2DThreads, GiveTheSameCountsForAnyNumber)
{
    for (const ExImageDataType type : {UInt8, UInt16}) {
        SCOPED_TRACE(type);
        const Layout form{.width = 1201, .height = 803, .channels = 2, .type = type, .bits = 8};
        TestImage a(form), b(form), mask(Layout{.width = form.width, .height = form.height});
        a.fillRandom(1);
        b.fillRandom(2);
        mask.fillSparse(3);
        std::vector<oracle::PairCounts> alone;
        forEachThreadCount([&] {
            Sparse all(2, 256), channel(1, 200), masked(2, 256);
            Dense dense(2, 256);
            ASSERT_EQ(Histogram2D(a, b, all), ResultOk);
            ASSERT_EQ(HistogramMasked2D(a, 0, b, 1, mask, channel), ResultOk);
            ASSERT_EQ(HistogramMasked2D(a, b, mask, masked), ResultOk);
            ASSERT_EQ(HistogramMasked2D(a, b, mask, dense), ResultOk);
            const std::vector<oracle::PairCounts> counts{oracle::contents(all), oracle::contents(channel),
                                                         oracle::contents(masked), oracle::contents(dense)};
            if (alone.empty())
                alone = counts;
            EXPECT_TRUE(counts == alone);
        });
        std::int64_t pairs = 0;
        for (const auto& [place, count] : alone.front())
            pairs += count;
        EXPECT_EQ(pairs, std::int64_t{2} * form.width * form.height);
    }
}

TEST(Histogram2DValues, AreUntouchedWhenMemoryRunsOutBeforeSparseEntries)
{
    TestImage src(Layout{.width = 512, .height = 520, .type = UInt16, .bits = 4});
    TestImage mask(Layout{.width = 512, .height = 520});
    src.fillRandom(1);
    mask.fillBytes(1);
    for (const int threads : {1, 2}) {
        const CallThreads allowed(threads);
        const auto refused = [&](int successes, auto& hist) {
            const NewFailure failure(successes);
            return HistogramMasked2D(src, src, mask, hist);
        };
        for (const int successes : {0, 1, 2}) {  // counters, ends, columns
            Dense dense(1, 16);
            ASSERT_EQ(refused(successes, dense), ResultFailed);
            EXPECT_TRUE(oracle::contents(dense).empty());
        }
        for (const int successes : {3, 4, 9, 16}) {
            Dense dense(1, 16);
            Sparse sparse(1, 16);
            EXPECT_EQ(refused(successes, dense), ResultOk);
            EXPECT_EQ(refused(successes, sparse), ResultFailed);
        }
    }
}

}  // namespace
}  // namespace ko::test
