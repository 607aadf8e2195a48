#include "oracle/equalize.h"
#include "support/check_table.h"
#include "support/failing_new.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/tone.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace ko::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;

CxImageHistogram histogramOf(int planes, int levels)
{
    CxImageHistogram hist;
    hist.resize(planes, levels, 0);
    return hist;
}

/// Arguments of all three operations.
struct ToneArgs {
    TestImage src{Layout{.channels = 3}};
    TestImage reference{Layout{.channels = 3}};
    TestImage dst{Layout{.channels = 3}};
    CxImageHistogram hist = histogramOf(3, 256);
    Bytes before;

    ToneArgs()
    {
        src.fillRandom(1);
        reference.fillRandom(2);
        dst.fillBytes(99);
        before = dst.bytes();
    }
    bool outputsUntouched() const { return dst.bytes() == before; }
    template <class Set>
    void setAll(const Set& set)
    {
        set(src.buf());
        set(reference.buf());
        set(dst.buf());
    }
};

struct EqualizeArgs : ToneArgs {
    ResultCode call() { return HistogramEqualize(src, dst); }
};

struct MatchArgs : ToneArgs {
    ResultCode call() { return HistogramMatch(src, reference, dst); }
};

struct MatchHistogramArgs : ToneArgs {
    ResultCode call() { return HistogramMatch(src, hist, dst); }
};

template <class Args>
void appendSource(std::vector<CheckRow<Args>>& rows)
{
    rows.push_back({"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1});
    rows.push_back({"src of negative width", [](auto& a) { a.src->width = -1; }, ResultBadArg1});
    rows.push_back({"src of four bytes", [](auto& a) { a.src->dataType = Int32; }, ResultBadArg1});
    rows.push_back({"src of type 0", [](auto& a) { a.src->dataType = typeCode(0); }, ResultBadArg1});
    rows.push_back({"src of type 12", [](auto& a) { a.src->dataType = typeCode(12); }, ResultBadArg1});
}

template <TestImage ToneArgs::*Image, class Args>
void appendAlike(std::vector<CheckRow<Args>>& rows, ResultCode code)
{
    rows.push_back({"absent", [](auto& a) { (a.*Image)->data = nullptr; }, code});
    rows.push_back({"narrower", [](auto& a) { (a.*Image)->width = 3; }, code});
    rows.push_back({"lower", [](auto& a) { (a.*Image)->height = 2; }, code});
    rows.push_back({"other channels", [](auto& a) { (a.*Image)->channels = 2; }, code});
    rows.push_back({"other bits", [](auto& a) { (a.*Image)->bitsPerSample = 7; }, code});
    rows.push_back({"other type", [](auto& a) { (a.*Image)->dataType = Int8; }, code});
    rows.push_back({"other packing", [](auto& a) { (a.*Image)->packing = Planar; }, code});
    rows.push_back({"other grid", [](auto& a) { (a.*Image)->bayerGrid = BayerRGGB; }, code});
    rows.push_back({"other pixel format", [](auto& a) { (a.*Image)->pixelFormat = 2; }, code});
}

template <class Args>
void setBits(Args& a, int bits)
{
    a.setAll([&](SxImageBuf& image) { image.bitsPerSample = bits; });
}

template <class Args>
void setPacking(Args& a, int packing)
{
    a.setAll([&](SxImageBuf& image) { image.packing = static_cast<ExPixelPacking>(packing); });
}

template <class Args>
void setChannels(Args& a, int channels)
{
    a.setAll([&](SxImageBuf& image) { image.channels = channels; });
}

TEST(HistogramEqualizeChecks, RunInOrderAndLeaveTheDestinationAlone)
{
    std::vector<CheckRow<EqualizeArgs>> rows;
    appendSource(rows);
    appendAlike<&ToneArgs::dst>(rows, ResultBadArg2);
    rows.push_back({"more bits than bytes have", [](auto& a) { setBits(a, 9); }, ResultBadArg1});
    rows.push_back({"no channels", [](auto& a) { setChannels(a, 0); }, ResultBadArg3});
    rows.push_back({"negative bits", [](auto& a) { setBits(a, -1); }, ResultBadArg3});
    rows.push_back({"packing 2", [](auto& a) { setPacking(a, 2); }, ResultUnsupportedType});
    rows.push_back({"two channels", [](auto& a) { setChannels(a, 2); }, ResultUnsupportedType});
    rows.push_back({"src rows beyond their stride", [](auto& a) { a.src->stride = 11; }, ResultBadArg1});
    rows.push_back({"dst rows beyond their stride", [](auto& a) { a.dst->stride = 11; }, ResultBadArg2});
    runCheckTable(rows);
}

TEST(HistogramMatchChecks, OfTheImageFormRunInOrderAndTurnLaterFailuresIntoOne)
{
    std::vector<CheckRow<MatchArgs>> rows;
    appendSource(rows);
    appendAlike<&ToneArgs::reference>(rows, ResultBadArg2);
    appendAlike<&ToneArgs::dst>(rows, ResultBadArg3);
    rows.push_back({"src rows beyond their stride", [](auto& a) { a.src->stride = 11; }, ResultBadArg1});
    rows.push_back(
        {"reference rows beyond their stride", [](auto& a) { a.reference->stride = 11; }, ResultBadArg2});
    rows.push_back({"dst rows beyond their stride", [](auto& a) { a.dst->stride = 11; }, ResultBadArg3});
    rows.push_back({"more bits than bytes have", [](auto& a) { setBits(a, 9); }, ResultFailed});
    rows.push_back({"packing 2", [](auto& a) { setPacking(a, 2); }, ResultFailed});
    rows.push_back({"negative bits", [](auto& a) { setBits(a, -1); }, ResultFailed});
    rows.push_back({"no channels", [](auto& a) { setChannels(a, 0); }, ResultFailed});
    rows.push_back({"two channels", [](auto& a) { setChannels(a, 2); }, ResultFailed});
    rows.push_back({"signed samples",
                    [](auto& a) { a.setAll([](SxImageBuf& image) { image.dataType = Int8; }); },
                    ResultFailed});
    runCheckTable(rows);
}

TEST(HistogramMatchChecks, OfTheHistogramFormRunInOrder)
{
    std::vector<CheckRow<MatchHistogramArgs>> rows;
    appendSource(rows);
    rows.push_back({"histogram empty", [](auto& a) { a.hist.release(); }, ResultBadArg2});
    rows.push_back({"histogram of fewer planes", [](auto& a) { a.hist.resize(2, 256, 0); }, ResultBadArg2});
    rows.push_back({"histogram of more planes", [](auto& a) { a.hist.resize(4, 256, 0); }, ResultBadArg2});
    rows.push_back({"histogram of fewer levels", [](auto& a) { a.hist.resize(3, 255, 9); }, ResultBadArg2});
    rows.push_back({"negative bits", [](auto& a) { setBits(a, -1); }, ResultBadArg2});
    rows.push_back({"31 bits", [](auto& a) { setBits(a, 31); }, ResultBadArg2});
    rows.push_back({"histogram of more levels", [](auto& a) { a.hist.resize(3, 257, 0); }, ResultBadArg2});
    appendAlike<&ToneArgs::dst>(rows, ResultBadArg3);
    rows.push_back({"more bits than bytes have",
                    [](auto& a) {
                        setBits(a, 9);
                        a.hist.resize(a.src->channels, 512, 0);
                    },
                    ResultFailed});
    rows.push_back({"signed samples",
                    [](auto& a) { a.setAll([](SxImageBuf& image) { image.dataType = Int8; }); },
                    ResultUnsupportedType});
    rows.push_back({"two channels",
                    [](auto& a) {
                        setChannels(a, 2);
                        a.hist.resize(2, 1 << a.src->bitsPerSample, 0);
                    },
                    ResultUnsupportedType});
    rows.push_back({"src rows beyond their stride", [](auto& a) { a.src->stride = 5; }, ResultBadArg1});
    rows.push_back({"dst rows beyond their stride", [](auto& a) { a.dst->stride = 5; }, ResultBadArg3});
    runCheckTable(rows);
}

TEST(HistogramMatchChecks, RefuseAHistogramThatContradictsItself)
{
    MatchHistogramArgs args;
    std::uint32_t** const bins = std::exchange(args.hist.bins, nullptr);
    EXPECT_EQ(args.call(), ResultBadArg2);
    args.hist.bins = bins;
    std::uint32_t* const counts = std::exchange(bins[1], nullptr);
    EXPECT_EQ(args.call(), ResultBadArg2);
    bins[1] = counts;
    EXPECT_EQ(args.call(), ResultOk);
}

TEST(HistogramMatchChecks, RefuseAHistogramOfAnotherDepth)
{
    TestImage image(Layout{.type = UInt16, .bits = 12});
    EXPECT_EQ(HistogramMatch(image, histogramOf(1, 256), image), ResultBadArg2);
    EXPECT_EQ(HistogramMatch(image, histogramOf(1, 4096), image), ResultOk);
}

/// One row of bytes, equalised in place.
Bytes equalized(const Bytes& samples, ExImageDataType type = UInt8, int bits = 8)
{
    TestImage image(
        Layout{.width = static_cast<int>(samples.size()), .height = 1, .type = type, .bits = bits});
    for (std::size_t x = 0; x < samples.size(); ++x)
        image.set<std::uint8_t>(static_cast<int>(x), 0, samples[x]);
    EXPECT_EQ(HistogramEqualize(image, image), ResultOk);
    EXPECT_TRUE(image.guardsIntact());
    return image.all<std::uint8_t>();
}

TEST(HistogramEqualizeValues, AreTheTopTimesTheSumOfAllUpToTheSample)
{
    EXPECT_EQ(equalized({7, 7, 7}), (Bytes{255, 255, 255}));
    EXPECT_EQ(equalized({10, 20, 20, 200}), (Bytes{63, 191, 191, 255}));
    EXPECT_EQ(equalized({0, 1, 2, 3}, UInt8, 2), (Bytes{0, 1, 2, 3}));
    EXPECT_EQ(equalized({1, 2}, UInt8, 4), (Bytes{7, 15}));
}

TEST(HistogramEqualizeValues, OfAnEvenSpreadStay)
{
    Bytes all(256);
    std::iota(all.begin(), all.end(), std::uint8_t{0});
    // Level v becomes 255 (v + 1) / 256, which is v and a fraction.
    EXPECT_EQ(equalized(all), all);
}

TEST(HistogramEqualizeValues, TakeSignedSamplesWithoutSign)
{
    EXPECT_EQ(equalized({200, 100}, Int8), (Bytes{255, 127}));
    TestImage words(Layout{.width = 2, .height = 1, .type = Int16});
    words.setAll<std::int16_t>({-1, 5});
    ASSERT_EQ(HistogramEqualize(words, words), ResultOk);
    EXPECT_EQ(words.all<std::uint16_t>(), (Words{65535, 32767}));
}

TEST(HistogramEqualizeValues, OfSamplesAboveTheDepthAreThoseOfTheTop)
{
    EXPECT_EQ(equalized({1, 2, 200, 255}, UInt8, 4), (Bytes{7, 15, 15, 15}));
    TestImage words(Layout{.width = 3, .height = 1, .type = UInt16, .bits = 12});
    words.setAll<std::uint16_t>({5, 4096, 65535});
    ASSERT_EQ(HistogramEqualize(words, words), ResultOk);
    EXPECT_EQ(words.all<std::uint16_t>(), (Words{4095, 4095, 4095}));
}

TEST(HistogramEqualizeValues, OfAllColoursFollowTheFirstChannel)
{
    TestImage src(Layout{.width = 2, .height = 1, .channels = 4}),
        dst(Layout{.width = 2, .height = 1, .channels = 4});
    src.setAll<std::uint8_t>({10, 9, 250, 77, 20, 10, 20, 78});
    dst.fillBytes(3);
    ASSERT_EQ(HistogramEqualize(src, dst), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{127, 0, 255, 3, 255, 127, 255, 3}));
}

TEST(HistogramEqualizeValues, OfPlanesFollowTheirOwnDistribution)
{
    TestImage image(Layout{.width = 2, .height = 1, .channels = 2, .packing = Planar});
    image.setAll<std::uint8_t>({10, 250, 20, 250});
    ASSERT_EQ(HistogramEqualize(image, image), ResultOk);
    EXPECT_EQ(image.all<std::uint8_t>(), (Bytes{127, 255, 255, 255}));
}

TEST(HistogramEqualizeValues, EndAtAPlaneWithoutCountedSamples)
{
    TestImage image(Layout{.width = 2, .height = 1, .channels = 3, .packing = Planar, .bits = 4});
    image.setAll<std::uint8_t>({1, 16, 1, 2, 16, 2});
    EXPECT_EQ(HistogramEqualize(image, image), ResultFailed);
    EXPECT_EQ(image.all<std::uint8_t>(), (Bytes{7, 16, 1, 15, 16, 2}));
}

TEST(HistogramEqualizeValues, OfAnImageWithoutPixelsFail)
{
    for (const int channels : {1, 3}) {
        TestImage image(Layout{.width = 0, .channels = channels});
        EXPECT_EQ(HistogramEqualize(image, image), ResultFailed);
        TestImage planes(Layout{.height = 0, .channels = channels, .packing = Planar});
        EXPECT_EQ(HistogramEqualize(planes, planes), ResultFailed);
    }
}

TEST(HistogramEqualizeValues, OfAMonoImageDoNotDependOnItsPacking)
{
    TestImage image(Layout{});
    image->packing = static_cast<ExPixelPacking>(7);
    ASSERT_EQ(HistogramEqualize(image, image), ResultOk);
    EXPECT_EQ(image.all<std::uint8_t>(), Bytes(12, 255));
    ASSERT_EQ(HistogramMatch(image, image, image), ResultOk);
    EXPECT_EQ(image.all<std::uint8_t>(), Bytes(12, 255));
}

TEST(HistogramMatchValues, AgainstItselfStay)
{
    for (const ExPixelPacking packing : {Interleaved, Planar}) {
        TestImage image(Layout{.width = 40, .channels = 3, .type = UInt16, .packing = packing, .bits = 12});
        image.fillRandom(3);
        const Bytes before = image.bytes();
        ASSERT_EQ(HistogramMatch(image, image, image), ResultOk);
        EXPECT_EQ(image.bytes(), before);
    }
}

TEST(HistogramMatchValues, AreTheFirstLevelWithAtLeastTheSamePart)
{
    TestImage src(Layout{.width = 4, .height = 1}), dst(Layout{.width = 4, .height = 1});
    src.setAll<std::uint8_t>({10, 20, 20, 200});
    CxImageHistogram hist = histogramOf(1, 256);
    hist.bins[0][5] = 1;
    hist.bins[0][6] = 1;
    hist.bins[0][90] = 2;
    ASSERT_EQ(HistogramMatch(src, hist, dst), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{5, 90, 90, 90}));
    hist.bins[0][5] = 0;
    ASSERT_EQ(HistogramMatch(src, hist, dst), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{6, 90, 90, 90}));
}

TEST(HistogramMatchValues, AgainstAnEmptyPlaneAreTheGreatestOfTheContainer)
{
    TestImage bytes(Layout{.channels = 3});
    ASSERT_EQ(HistogramMatch(bytes, histogramOf(3, 256), bytes), ResultOk);
    EXPECT_EQ(bytes.all<std::uint8_t>(), Bytes(36, 255));
    TestImage words(Layout{.type = UInt16, .bits = 12});
    ASSERT_EQ(HistogramMatch(words, histogramOf(1, 4096), words), ResultOk);
    EXPECT_EQ(words.all<std::uint16_t>(), Words(12, 65535));
}

TEST(HistogramMatchValues, OfSumsThatRoundingTakesAboveTheReferenceAreTheGreatestOfTheContainer)
{
    // A tenth, ten times: 0.9999999999999999. One sample at the top: 1.
    CxImageHistogram tenths = histogramOf(1, 256);
    for (int level = 0; level < 10; ++level)
        tenths.bins[0][level] = 1;
    TestImage image(Layout{});
    image.fillBytes(77);
    ASSERT_EQ(HistogramMatch(image, tenths, image), ResultOk);
    EXPECT_EQ(image.all<std::uint8_t>(), Bytes(12, 255));
}

TEST(HistogramMatchValues, OfSamplesAboveTheDepthAreThoseOfTheTop)
{
    TestImage src(Layout{.width = 3, .height = 1, .bits = 4}),
        dst(Layout{.width = 3, .height = 1, .bits = 4});
    src.setAll<std::uint8_t>({1, 16, 255});
    CxImageHistogram hist = histogramOf(1, 16);
    hist.bins[0][3] = 1;
    ASSERT_EQ(HistogramMatch(src, hist, dst), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{3, 3, 3}));
    src.fillBytes(16);
    ASSERT_EQ(HistogramMatch(src, hist, dst), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{255, 255, 255}));
}

TEST(HistogramMatchValues, LeaveAFourthInterleavedChannel)
{
    TestImage src(Layout{.channels = 4}), dst(Layout{.channels = 4});
    dst.fillBytes(3);
    ASSERT_EQ(HistogramMatch(src, src, dst), ResultOk);
    for (int x = 0; x < 4; ++x)
        EXPECT_EQ(dst.get<std::uint8_t>(x, 1, 3), 3);
    EXPECT_EQ(dst.get<std::uint8_t>(0, 0, 2), 0);
}

TEST(HistogramMatchValues, OfAnImageWithoutPixelsAreNone)
{
    for (const ExPixelPacking packing : {Interleaved, Planar}) {
        TestImage image(Layout{.width = 0, .channels = 3, .packing = packing});
        EXPECT_EQ(HistogramMatch(image, image, image), ResultOk);
        EXPECT_EQ(HistogramMatch(image, histogramOf(3, 256), image), ResultOk);
    }
}

template <class T>
void compare(const Layout& layout)
{
    TestImage src(layout), reference(layout), dst(layout), expected(layout);
    src.fillRandom(static_cast<std::uint32_t>(layout.width + layout.channels));
    reference.fillRandom(5);
    std::vector<std::vector<unsigned>> counts;
    CxImageHistogram hist = histogramOf(layout.channels, 1 << layout.bits);
    for (int c = 0; c < layout.channels; ++c) {
        counts.push_back(oracle::levelCounts<T>(reference, c));
        std::copy(counts.back().begin(), counts.back().end(), hist.bins[c]);
    }
    oracle::equalize<T>(src, expected);
    ASSERT_EQ(HistogramEqualize(src, dst), ResultOk);
    ASSERT_EQ(dst.bytes(), expected.bytes());
    if (layout.type != UInt8 && layout.type != UInt16)
        return;
    oracle::match<T>(src, counts, expected);
    ASSERT_EQ(HistogramMatch(src, reference, dst), ResultOk);
    ASSERT_EQ(dst.bytes(), expected.bytes());
    dst.fillBytes(0);
    ASSERT_EQ(HistogramMatch(src, hist, dst), ResultOk);
    expected.fillBytes(0);
    oracle::match<T>(src, counts, expected);
    ASSERT_EQ(dst.bytes(), expected.bytes());
}

void compareAll(int width, int height)
{
    for (const int channels : {1, 2, 3, 4, 5})
        for (const ExPixelPacking packing : {Interleaved, Planar}) {
            if (packing == Interleaved && (channels == 2 || channels == 5))
                continue;
            const Layout layout{.width = width, .height = height, .channels = channels, .packing = packing};
            for (const int bits : {8, 5})
                for (const ExImageDataType type : {UInt8, Int8}) {
                    Layout bytes = layout;
                    bytes.type = type;
                    bytes.bits = bits;
                    compare<std::uint8_t>(bytes);
                }
            if (channels == 5)
                continue;
            Layout words = layout;
            words.type = UInt16;
            words.bits = 12;
            compare<std::uint16_t>(words);
        }
}

TEST(HistogramEqualizeValues, AreNoneWhenMemoryRunsOut)
{
    TestImage src(Layout{.width = 600, .height = 300}), dst(Layout{.width = 600, .height = 300});
    src.fillRandom(5);
    const auto before = dst.bytes();
    ResultCode rc = ResultFailed;
    int failures = 0;
    for (int successes = 0; rc == ResultFailed; ++successes) {
        {
            const NewFailure failure(successes);
            rc = HistogramEqualize(src, dst);
        }
        if (rc == ResultFailed) {
            ++failures;
            ASSERT_EQ(dst.bytes(), before);
        }
    }
    EXPECT_EQ(rc, ResultOk);
    EXPECT_GE(failures, 3);  // the counters, the working tables of counting them, the table of levels
}

TEST(HistogramEqualizeTargets, AndMatchingAgreeWithTheirNaiveTwins)
{
    forEachTarget([] {
        for (const int width : {1, 7, 33, 130})
            compareAll(width, 2);
    });
}

TEST(HistogramEqualizeTargets, AgreeAtSixteenBits)
{
    forEachTarget([] {
        compare<std::uint16_t>({.width = 70, .height = 1, .type = UInt16, .bits = 16});
        compare<std::uint16_t>({.width = 70, .height = 1, .type = Int16, .bits = 16});
    });
}

/// Counting few samples and counting many are different code.
TEST(HistogramEqualizeValues, AgreeWithTheirTwinsOnColourImagesOfManyPixels)
{
    for (const int channels : {3, 4}) {
        compare<std::uint8_t>({.width = 421, .height = 331, .channels = channels, .bits = 8});
        compare<std::uint16_t>(
            {.width = 421, .height = 331, .channels = channels, .type = UInt16, .bits = 12});
    }
}

TEST(HistogramEqualizeThreads, DoNotShowInTheResultsNorThoseOfMatching)
{
    forEachThreadCount([] {
        compareAll(40, 9);
        // Enough samples to be counted in several bands; few levels, which the twin goes through for each.
        compare<std::uint8_t>({.width = 631, .height = 487, .channels = 3, .bits = 3});
        compare<std::uint16_t>({.width = 601, .height = 603, .type = UInt16, .bits = 3});
    });
}

}  // namespace
}  // namespace ko::test
