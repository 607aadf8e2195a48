#include "oracle/histogram.h"
#include "rooms/stats/histogram_args.h"

#include <ko/stats/row_histogram.h>

#include <gtest/gtest.h>

#include <limits>

namespace ko::test {
namespace {

using namespace spoil;

struct LineArgs : HistogramArgs {
    int line = 4;
    LineArgs() { mask.fillBytes(1); }
};
struct RowArgs : LineArgs {
    ResultCode call() { return RowHistogram(src, line, hist); }
};
struct ColArgs : LineArgs {
    ColArgs() { line = 5; }
    ResultCode call() { return ColHistogram(src, line, hist); }
};
struct RowMaskedArgs : LineArgs {
    ResultCode call() { return RowHistogramMasked(src, mask, line, hist); }
};
struct ColMaskedArgs : LineArgs {
    ColMaskedArgs() { line = 5; }
    ResultCode call() { return ColHistogramMasked(src, mask, line, hist); }
};

template <class Args>
class LineHistogramChecks : public testing::Test {
};
using LineForms = testing::Types<RowArgs, ColArgs, RowMaskedArgs, ColMaskedArgs>;
TYPED_TEST_SUITE(LineHistogramChecks, LineForms);

TYPED_TEST(LineHistogramChecks, RunInOrder)
{
    runCheckTable<TypeParam>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"src signed", srcSigned, ResultBadArg1},
        {"UInt16 of 17 bits", srcDeepWords, ResultBadArg1},
        {"line far beyond", [](auto& a) { a.line = std::numeric_limits<int>::max(); }, ResultBadArg2},
        {"line negative", [](auto& a) { a.line = -1; }, ResultBadArg2},
        {"line beyond", [](auto& a) { ++a.line; }, ResultBadArg2},
        {"no bins", noBins, ResultBadArg3},
        {"other planes", otherPlanes, ResultBadArg3},
        {"few levels", fewLevels, ResultBadArg3},
        {"rows beyond their stride", srcRows, ResultBadArg1},
    });
}

TYPED_TEST(LineHistogramChecks, ClearTheHistogramBeforeTheyRefuseThePacking)
{
    TypeParam args;
    args.src->packing = static_cast<ExPixelPacking>(3);
    EXPECT_EQ(args.call(), ResultUnsupportedType);
    EXPECT_TRUE(args.hist.holds(0));
    TypeParam both;
    both.src->packing = static_cast<ExPixelPacking>(3);
    both.src->stride = 5;
    EXPECT_EQ(both.call(), ResultUnsupportedType);
}

TYPED_TEST(LineHistogramChecks, GiveTheSameCountsWhenCalledTwice)
{
    TypeParam args;
    ASSERT_EQ(args.call(), ResultOk);
    const std::uint32_t once = args.hist.at(1, 0);
    EXPECT_GT(once, 0U);
    ASSERT_EQ(args.call(), ResultOk);
    EXPECT_EQ(args.hist.at(1, 0), once);
}

TEST(LineHistogramValues, OfAnyMaskSelectNothingOutsideIt)
{
    RowMaskedArgs row;
    row.mask->data = nullptr;
    ASSERT_EQ(row.call(), ResultOk);
    EXPECT_TRUE(row.hist.holds(0));

    RowMaskedArgs low;
    low.mask->height = 4;
    ASSERT_EQ(low.call(), ResultOk);
    EXPECT_TRUE(low.hist.holds(0));

    RowMaskedArgs narrow;
    narrow.mask->width = 2;
    ASSERT_EQ(narrow.call(), ResultOk);
    EXPECT_EQ(narrow.hist.at(2, 0), 2U);

    ColMaskedArgs col;
    col.mask->height = 3;
    ASSERT_EQ(col.call(), ResultOk);
    EXPECT_EQ(col.hist.at(0, 0), 3U);
    col.mask->width = 5;
    ASSERT_EQ(col.call(), ResultOk);
    EXPECT_TRUE(col.hist.holds(0));
}

TEST(LineHistogramValues, OfAMaskOfAnotherFormatReadItsBytes)
{
    LineArgs a;
    TestImage words(Layout{.width = 6, .height = 5, .type = UInt16});
    words.set<std::uint16_t>(1, 2, 0x0100);
    ASSERT_EQ(RowHistogramMasked(a.src, words, 2, a.hist), ResultOk);
    EXPECT_EQ(a.hist.at(0, 0), 1U);
    ASSERT_EQ(ColHistogramMasked(a.src, words, 3, a.hist), ResultOk);
    EXPECT_EQ(a.hist.at(0, 0), 1U);
    ASSERT_EQ(ColHistogramMasked(a.src, words, 2, a.hist), ResultOk);
    EXPECT_TRUE(a.hist.holds(0));
}

TEST(LineHistogramValues, EqualTheTwinForEveryTypePackingAndLine)
{
    for (const ExImageDataType type : {UInt8, UInt16})
        for (const ExPixelPacking packing : {Interleaved, Planar})
            for (const int channels : {1, 2, 3, 6}) {
                TestImage src(Layout{.width = 131,
                                     .height = 67,
                                     .channels = channels,
                                     .type = type,
                                     .packing = packing,
                                     .bits = 7});
                src.fillRandom(static_cast<std::uint32_t>(channels));
                TestImage mask(Layout{.width = 131, .height = 67});
                mask.fillSparse(1);
                CxImageHistogram hist;
                hist.resize(channels, 130, 0);
                for (const int line : {0, 1, 33, 66}) {
                    const auto compare = [&](ResultCode rc, const oracle::Selects& selects) {
                        ASSERT_EQ(rc, ResultOk);
                        oracle::Counts expected(channels, 130);
                        oracle::histogram(src, selects, oracle::allChannels(src), expected);
                        EXPECT_TRUE(expected == hist);
                    };
                    const auto row = oracle::inside(QRect(0, line, 131, 1));
                    const auto col = oracle::inside(QRect(line, 0, 1, 67));
                    compare(RowHistogram(src, line, hist), row);
                    compare(ColHistogram(src, line, hist), col);
                    compare(RowHistogramMasked(src, mask, line, hist),
                            oracle::both(row, oracle::whereSet(mask)));
                    compare(ColHistogramMasked(src, mask, line, hist),
                            oracle::both(col, oracle::whereSet(mask)));
                }
            }
}

}  // namespace
}  // namespace ko::test
