#include "base/dispatch.h"
#include "oracle/histogram.h"
#include "rooms/stats/histogram_args.h"
#include "support/targets.h"

#include <ko/stats/histogram.h>

#include <gtest/gtest.h>

#include <limits>

namespace ko::test {
namespace {

using namespace spoil;

ExBayerGrid grid(int code)
{
    return static_cast<ExBayerGrid>(code);
}

struct ExArgs {
    TestImage src{Layout{.width = 6, .height = 5, .bits = 7}};
    CxImageHistogram hist;

    ExArgs()
    {
        hist.resize(2, 3, 1);
        hist.bins[1][2] = 9;
    }
    ResultCode call() { return HistogramEx(src, hist); }
    bool outputsUntouched() const
    {
        return hist.planes == 2 && hist.levels == 3 && hist.extraBins == 1 && hist.bins[1][2] == 9;
    }
};

TEST(HistogramExChecks, RunInOrderAndBeforeAnyResize)
{
    runCheckTable<ExArgs>({
        {"src absent", srcAbsent, ResultBadArg1},
        {"planar", [](auto& a) { a.src->packing = Planar; }, ResultUnsupportedType},
        {"packing", srcPacking, ResultUnsupportedType},
        {"31 bits", [](auto& a) { a.src->bitsPerSample = 31; }, ResultBadArg1},
        {"32 bits", [](auto& a) { a.src->bitsPerSample = 32; }, ResultBadArg1},
        {"64 bits", [](auto& a) { a.src->bitsPerSample = 64; }, ResultBadArg1},
        {"2^31 - 1 bits", [](auto& a) { a.src->bitsPerSample = 0x7FFFFFFF; }, ResultBadArg1},
        {"negative bits", [](auto& a) { a.src->bitsPerSample = -1; }, ResultBadArg1},
        {"grid 5", [](auto& a) { a.src->bayerGrid = grid(5); }, ResultUnsupportedType},
        {"grid 6", [](auto& a) { a.src->bayerGrid = grid(6); }, ResultUnsupportedType},
        {"grid -1", [](auto& a) { a.src->bayerGrid = grid(-1); }, ResultUnsupportedType},
        {"no channels", [](auto& a) { a.src->channels = 0; }, ResultUnsupportedType},
        {"2 channels", [](auto& a) { a.src->channels = 2; }, ResultUnsupportedType},
        {"5 channels", [](auto& a) { a.src->channels = 5; }, ResultUnsupportedType},
        {"rows beyond their stride", srcRows, ResultBadArg1},
    });
}

TEST(HistogramExChecks, OfTheTypeComeAfterTheResize)
{
    for (const ExImageDataType type : {Float32, Float64, Sample128, typeCode(0), typeCode(12)}) {
        ExArgs args;
        args.src->dataType = type;
        EXPECT_EQ(args.call(), ResultUnsupportedType);
        EXPECT_EQ(args.hist.planes, 1);
        EXPECT_EQ(args.hist.levels, 128);
        EXPECT_EQ(args.hist.extraBins, 0U);
        EXPECT_TRUE(oracle::Counts(1, 128) == args.hist);
    }
}

TEST(HistogramExValues, ReplaceFormerCounts)
{
    ExArgs args;
    ASSERT_EQ(args.call(), ResultOk);
    ASSERT_EQ(args.call(), ResultOk);
    EXPECT_EQ(args.hist.bins[0][0], 30U);
}

TEST(HistogramExValues, OfAMosaicFollowTheTableOfTheGrid)
{
    constexpr int planes[4][4] = {{3, 1, 2, 0}, {0, 1, 2, 3}, {1, 3, 0, 2}, {1, 0, 3, 2}};
    for (int code = 0; code < 4; ++code) {
        TestImage src(Layout{.width = 3, .height = 3, .bits = 4});
        src->bayerGrid = grid(code);
        src.setAll<std::uint8_t>({0, 1, 0, 2, 3, 2, 0, 1, 0});
        CxImageHistogram hist;
        ASSERT_EQ(HistogramEx(src, hist), ResultOk);
        oracle::Counts expected(4, 16);
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 3; ++x)
                expected.add(planes[code][(x & 1) + 2 * (y & 1)], oracle::sampleOf(src, x, y, 0));
        EXPECT_TRUE(expected == hist) << code;
    }
}

TEST(HistogramExValues, OfColourIgnoreTheGridAndTheFourthChannel)
{
    for (const int channels : {3, 4}) {
        TestImage src(Layout{.width = 5, .height = 2, .channels = channels, .bits = 5});
        src->bayerGrid = grid(5);
        src.fillRandom(3);
        CxImageHistogram hist;
        ASSERT_EQ(HistogramEx(src, hist), ResultOk);
        oracle::Counts expected(3, 32);
        oracle::histogram(src, oracle::everywhere(), {0, 1, 2, -1}, expected);
        EXPECT_TRUE(expected == hist) << channels;
    }
}

template <class T>
void compareWithTwin(ExImageDataType type, int size, int bits, int code)
{
    TestImage src(Layout{.width = size, .height = size, .type = type, .bits = bits});
    src->bitsPerSample = bits;  // 0 is a depth of its own
    src->bayerGrid = grid(code);
    src.fillRandom(static_cast<std::uint32_t>(size));
    if (size > 2) {
        src.set<T>(0, 0, static_cast<T>(-1));
        src.set<T>(1, 1, std::numeric_limits<T>::min());
        src.set<T>(2, 1, std::numeric_limits<T>::max());
    }
    CxImageHistogram hist;
    ASSERT_EQ(HistogramEx(src, hist), ResultOk);
    const int planes = code == 4 ? 1 : 4;
    oracle::Counts expected(planes, 1 << bits);
    constexpr int blueRedGrid[4] = {1, 3, 0, 2};
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            const T value = src.get<T>(x, y);
            if (value >= 0 && static_cast<std::uint64_t>(value) < (std::uint64_t{1} << bits))
                expected.add(code == 4 ? 0 : blueRedGrid[(x & 1) + 2 * (y & 1)],
                             static_cast<std::int64_t>(value));
        }
    }
    EXPECT_TRUE(expected == hist) << "type " << type << " size " << size << " bits " << bits;
}

TEST(HistogramExValues, EqualTheTwinForEveryIntegerTypeAndLeaveNegativesOut)
{
    for (const ExImageDataType type : allTypes) {
        (void)dispatch(IntegersByType{}, type, {}, [&]<class T>(std::type_identity<T>) {
            for (const int code : {4, 2}) {
                for (const int size : {0, 1, 2, 7, 24})
                    for (const int bits : {0, 3, 8, 12})
                        compareWithTwin<T>(type, size, bits, code);
                // Large enough for the working tables.
                if (sizeof(T) <= 2)
                    compareWithTwin<T>(type, 601, 8, code);
            }
        });
    }
}

/// Large enough for seven bands, of which some start with an odd row.
TEST(HistogramExThreads, EqualTheTwinWhereSeveralAreAllowed)
{
    forEachThreadCount([] {
        for (const int code : {4, 2}) {
            compareWithTwin<std::uint8_t>(UInt8, 963, 8, code);
            compareWithTwin<std::int16_t>(Int16, 963, 12, code);
            compareWithTwin<std::int32_t>(Int32, 963, 12, code);
        }
    });
}

}  // namespace
}  // namespace ko::test
