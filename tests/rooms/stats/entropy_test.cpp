#include "oracle/entropy.h"
#include "stats/entropy_tables.h"
#include "support/check_table.h"
#include "support/failing_new.h"
#include "support/log_capture.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/stats/entropy.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <thread>
#include <vector>

namespace ko::test {
namespace {

constexpr double kept = -12345.0;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

struct ShannonArgs {
    TestImage src{Layout{.type = UInt16, .bits = 12}};
    double base = 2.0;
    double entropy = kept;

    ResultCode call() { return EntropyShannon(src, entropy, base); }
    bool outputsUntouched() const { return entropy == kept; }
};

TEST(EntropyShannonChecks, RunInOrderAndLeaveTheResultAlone)
{
    runCheckTable<ShannonArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src not mono", [](auto& a) { a.src->channels = 3; }, ResultBadArg1},
        {"src Int16", [](auto& a) { a.src->dataType = Int16; }, ResultBadArg1},
        {"base 0", [](auto& a) { a.base = 0.0; }, ResultBadArg3},
        {"rows beyond their stride", [](auto& a) { a.src->stride = 7; }, ResultBadArg1},
        {"deeper than its samples", [](auto& a) { a.src->bitsPerSample = 17; }, ResultFailed},
    });
    for (const double base : {1.0, -0.0, -2.0}) {
        ShannonArgs args;
        args.base = base;
        EXPECT_EQ(args.call(), ResultBadArg3) << base;
    }
}

struct RenyiArgs {
    TestImage src{Layout{.type = UInt16, .bits = 12}};
    double alpha = 2.0;
    double base = 2.0;
    double entropy = kept;

    ResultCode call() { return EntropyRenyi(src, alpha, entropy, base); }
    bool outputsUntouched() const { return entropy == kept; }
};

TEST(EntropyRenyiChecks, RunInOrderAndLeaveTheResultAlone)
{
    runCheckTable<RenyiArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src not mono", [](auto& a) { a.src->channels = 2; }, ResultBadArg1},
        {"src Float32", [](auto& a) { a.src->dataType = Float32; }, ResultBadArg1},
        {"alpha 1", [](auto& a) { a.alpha = 1.0; }, ResultBadArg2},
        {"base 1", [](auto& a) { a.base = 1.0; }, ResultBadArg4},
        {"rows beyond their stride", [](auto& a) { a.src->stride = 7; }, ResultBadArg1},
        {"deeper than its samples", [](auto& a) { a.src->bitsPerSample = 17; }, ResultFailed},
    });
    for (const double bad : {1.0, 0.0, -2.0}) {
        RenyiArgs wrongAlpha, wrongBase;
        wrongAlpha.alpha = bad;
        wrongBase.base = bad;
        EXPECT_EQ(wrongAlpha.call(), ResultBadArg2) << bad;
        EXPECT_EQ(wrongBase.call(), ResultBadArg4) << bad;
    }
}

TEST(EntropyShannonChecks, RefuseImpossibleDepthsWithoutMakingRoomForThem)
{
    for (const int bits : {-1, 9, 31, 32, 1000}) {
        TestImage src(Layout{});
        src->bitsPerSample = bits;
        double entropy = kept;
        EXPECT_EQ(EntropyShannon(src, entropy, 2.0), ResultFailed) << bits;
        EXPECT_EQ(EntropyRenyi(src, 2.0, entropy, 2.0), ResultFailed) << bits;
        EXPECT_EQ(entropy, kept);
    }
}

TEST(EntropyShannonValues, OfTwoDifferentPixelsAreOneBit)
{
    TestImage src(Layout{.width = 2, .height = 1});
    src.setAll<std::uint8_t>({0, 1});
    double entropy = kept;
    ASSERT_EQ(EntropyShannon(src, entropy, 2.0), ResultOk);
    EXPECT_DOUBLE_EQ(entropy, 1.0);
    ASSERT_EQ(EntropyRenyi(src, 3.0, entropy, 2.0), ResultOk);
    EXPECT_DOUBLE_EQ(entropy, 1.0);
}

TEST(EntropyShannonValues, OfAConstantImageAreZero)
{
    TestImage src(Layout{.width = 37, .height = 11});
    src.fillBytes(200);
    for (const double base : {0.5, 2.0, 10.0}) {
        double entropy = kept;
        ASSERT_EQ(EntropyShannon(src, entropy, base), ResultOk);
        EXPECT_EQ(entropy, 0.0);
        for (const double alpha : {0.25, 0.5, 2.0, 7.0}) {
            ASSERT_EQ(EntropyRenyi(src, alpha, entropy, base), ResultOk);
            EXPECT_NEAR(entropy, 0.0, 1e-13);
        }
    }
}

TEST(EntropyShannonValues, OfAnImageWithoutPixelsAreZero)
{
    const TestImage src(Layout{.width = 0, .height = 4});
    double entropy = kept;
    ASSERT_EQ(EntropyShannon(src, entropy, 2.0), ResultOk);
    EXPECT_EQ(entropy, 0.0);
}

TEST(EntropyRenyiValues, OfAnImageWithoutPixelsAreNotANumber)
{
    for (const auto& [width, height] : {std::pair{0, 0}, {0, 4}, {4, 0}})
        for (const double alpha : {0.5, 2.0}) {
            const TestImage src(Layout{.width = width, .height = height});
            double entropy = kept;
            ASSERT_EQ(EntropyRenyi(src, alpha, entropy, 2.0), ResultOk);
            EXPECT_TRUE(std::isnan(entropy)) << alpha;
        }
}

TEST(EntropyShannonValues, OfUnknownBasesAreUnknownAndSpoilNoOtherBase)
{
    TestImage src(Layout{.width = 2, .height = 1});
    src.setAll<std::uint8_t>({0, 1});
    for (const double base : {2.0, nan, 2.0, 10.0, nan}) {
        double shannon = kept, renyi = kept;
        ASSERT_EQ(EntropyShannon(src, shannon, base), ResultOk);
        ASSERT_EQ(EntropyRenyi(src, 2.0, renyi, base), ResultOk);
        if (std::isnan(base))
            EXPECT_TRUE(std::isnan(shannon) && std::isnan(renyi));
        else
            EXPECT_NEAR(shannon, std::log(2.0) / std::log(base), 1e-15);
        ASSERT_EQ(EntropyRenyi(src, base, renyi, 2.0), ResultOk);
        EXPECT_EQ(std::isnan(renyi), std::isnan(base));
    }
}

TEST(EntropyShannonTargets, AgreeWithTheTwinForBothTypesAndAnyOrderOfSizes)
{
    forEachTarget([] {
        for (const auto& [type, bits] : {std::pair{UInt8, 8}, {UInt8, 5}, {UInt16, 12}, {UInt16, 16}})
            for (const int width : {300, 7, 64, 301, 1}) {
                TestImage src(Layout{.width = width, .height = 9, .type = type, .bits = bits});
                src.fillRandom(static_cast<std::uint32_t>(width));
                double entropy = kept;
                for (const double base : {2.0, 0.3}) {
                    ASSERT_EQ(EntropyShannon(src, entropy, base), ResultOk);
                    EXPECT_DOUBLE_EQ(entropy, oracle::shannon(src, base)) << width;
                    for (const double alpha : {0.5, 3.0}) {
                        ASSERT_EQ(EntropyRenyi(src, alpha, entropy, base), ResultOk);
                        EXPECT_NEAR(entropy, oracle::renyi(src, alpha, base), 1e-12) << width;
                    }
                }
            }
    });
}

TEST(EntropyTables, KeepATableForSmallerImagesAndReplaceItForLargerOnes)
{
    EntropyTables tables([](double key, std::vector<double>& table) { table.assign(table.size(), key); });
    const EntropyTable first = tables.get(3.0, 10);
    EXPECT_EQ(tables.get(3.0, 7), first);
    EXPECT_NE(tables.get(4.0, 10), first);
    EXPECT_EQ(tables.get(3.0, 10), first);
    const EntropyTable larger = tables.get(3.0, 11);
    EXPECT_EQ(larger->size(), 11U);
    EXPECT_EQ(*first, std::vector<double>(10, 3.0)) << "the first reader's table is still there";
    EXPECT_EQ(tables.get(3.0, 10), larger);
}

TEST(EntropyTables, HoldLogarithmsToTheBaseAndPowersFromZero)
{
    const EntropyTable logarithms = logarithmTables().get(2.0, 9);
    EXPECT_EQ(logarithms->at(0), 0.0);
    EXPECT_EQ(logarithms->at(1), 0.0);
    EXPECT_DOUBLE_EQ(logarithms->at(8), 3.0);
    const EntropyTable powers = powerTables().get(1.5, 9);
    EXPECT_EQ(powers->at(0), 0.0);
    EXPECT_DOUBLE_EQ(powers->at(4), 8.0);
}

TEST(EntropyTables, ServeCallersOfDifferentSizesAtTheSameTime)
{
    std::atomic<int> wrong{0};
    std::vector<std::thread> callers;
    for (int caller = 0; caller < 4; ++caller)
        callers.emplace_back([caller, &wrong] {
            for (int round = 0; round < 50; ++round) {
                TestImage src(Layout{.width = 2, .height = 1 + 10 * round + caller});
                for (int y = 0; y < src->height; ++y)
                    src.set<std::uint8_t>(1, y, 255);
                double entropy = kept;
                if (EntropyShannon(src, entropy, 7.0) != ResultOk ||
                    std::abs(entropy - std::log(2.0) / std::log(7.0)) > 1e-12)
                    ++wrong;
            }
        });
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_EQ(wrong, 0);
}

/// Fails each allocation of a call in turn until the call succeeds.
template <class Call>
void failEachAllocation(const Call& call)
{
    for (int granted = 0; granted < 100; ++granted) {
        ResultCode rc = ResultOk;
        bool struck = false;
        {
            const NewFailure failure(granted);
            rc = call();
            struck = NewFailure::hasStruck();
        }
        if (!struck) {
            EXPECT_EQ(rc, ResultOk);
            EXPECT_GT(granted, 0);
            return;
        }
        ASSERT_EQ(rc, ResultFailed) << granted;
    }
    FAIL() << "never succeeded";
}

TEST(EntropyShannonChecks, ReportThatMemoryRanOut)
{
    TestImage src(Layout{.type = UInt16, .bits = 12});
    double entropy = kept;
    failEachAllocation([&] { return EntropyShannon(src, entropy, 11.25); });
    failEachAllocation([&] { return EntropyRenyi(src, 11.25, entropy, 2.0); });
}

struct OtsuArgs {
    TestImage src{Layout{.type = UInt16, .bits = 12}};
    TestImage mask{Layout{}};
    unsigned threshold = 77;

    ResultCode call() { return ComputeOtsuThresholdMasked(src, mask, threshold); }
    bool outputsUntouched() const { return threshold == 0; }
};

TEST(ComputeOtsuThresholdMaskedChecks, RunInOrderAndLeaveZero)
{
    const LogCapture log;
    runCheckTable<OtsuArgs>({
        {"src not mono", [](auto& a) { a.src->channels = 3; }, ResultBadArg1},
        {"src Int16", [](auto& a) { a.src->dataType = Int16; }, ResultBadArg1},
        {"mask absent", [](auto& a) { a.mask->data = nullptr; }, ResultBadArg2},
        {"mask not mono", [](auto& a) { a.mask->channels = 3; }, ResultBadArg2},
        {"mask not UInt8", [](auto& a) { a.mask->dataType = Int8; }, ResultBadArg2},
        {"mask narrower", [](auto& a) { a.mask->width = 3; }, ResultBadArg2},
        {"mask lower", [](auto& a) { a.mask->height = 2; }, ResultBadArg2},
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultFailed},
        {"deeper than its samples", [](auto& a) { a.src->bitsPerSample = 17; }, ResultFailed},
        {"of 32 bits", [](auto& a) { a.src->bitsPerSample = 32; }, ResultFailed},
        {"of negative depth", [](auto& a) { a.src->bitsPerSample = -1; }, ResultFailed},
    });
}

TEST(ComputeOtsuThresholdMaskedChecks, LogThatTheImageCannotBeCounted)
{
    const LogCapture log;
    OtsuArgs args;
    args.mask->data = nullptr;
    EXPECT_EQ(args.call(), ResultBadArg2);
    EXPECT_TRUE(log.records().empty());
    OtsuArgs absent;
    absent.src->data = nullptr;
    EXPECT_EQ(absent.call(), ResultFailed);
    ASSERT_EQ(log.records().size(), 1U);
    EXPECT_EQ(log.records()[0].type, QtCriticalMsg);
    EXPECT_TRUE(log.records()[0].text.contains(QStringLiteral("Failed to calculate the image histogram")));
}

TEST(ComputeOtsuThresholdChecks, LookAtChannelsAndTypeOnly)
{
    TestImage src(Layout{});
    src.fillRandom(1);
    unsigned threshold = 77;
    EXPECT_EQ(ComputeOtsuThreshold(src, threshold), ResultOk);
    EXPECT_EQ(threshold, 0U);
    threshold = 77;
    src->data = nullptr;
    src->bitsPerSample = 31;
    EXPECT_EQ(ComputeOtsuThreshold(src, threshold), ResultOk);
    EXPECT_EQ(threshold, 0U);
    for (const auto& [channels, type] : {std::pair{3, UInt8}, {0, UInt16}, {1, Int8}, {1, Float32}}) {
        threshold = 77;
        src->channels = channels;
        src->dataType = type;
        EXPECT_EQ(ComputeOtsuThreshold(src, threshold), ResultBadArg1);
        EXPECT_EQ(threshold, 0U);
    }
}

TEST(ComputeOtsuThresholdMaskedValues, OfAnEmptyMaskAreZero)
{
    OtsuArgs args;
    args.src.fillRandom(4);
    ASSERT_EQ(args.call(), ResultOk);
    EXPECT_EQ(args.threshold, 0U);
}

TEST(ComputeOtsuThresholdMaskedValues, OfTwoValuesAreOneBelowTheUpper)
{
    OtsuArgs args;
    args.src.setAll<std::uint16_t>({100, 100, 700, 700, 100, 700, 9, 9, 9, 9, 9, 9});
    for (int i = 0; i < 6; ++i)
        args.mask.set<std::uint8_t>(i % 4, i / 4, 1);
    ASSERT_EQ(args.call(), ResultOk);
    EXPECT_EQ(args.threshold, 699U);
}

TEST(ComputeOtsuThresholdMaskedValues, OfOneValueAreZero)
{
    OtsuArgs args;
    args.src.setAll<std::uint16_t>({5, 5, 5, 5, 5, 5, 5, 5, 5, 5, 5, 5});
    args.mask.fillBytes(1);
    ASSERT_EQ(args.call(), ResultOk);
    EXPECT_EQ(args.threshold, 0U);
}

TEST(ComputeOtsuThresholdMaskedValues, ReadAProductOf32BitsAsSigned)
{
    // 65536 pixels on each side multiply to 2^32, that is 0: the score of the best split is 0. One pixel of
    // the middle value makes 65536 * 65537, that is 65536.
    TestImage src(Layout{.width = 512, .height = 256});
    TestImage mask(Layout{.width = 512, .height = 256});
    mask.fillBytes(1);
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 512; ++x)
            src.set<std::uint8_t>(x, y, x < 256 ? 50 : 200);
    unsigned threshold = 0;
    ASSERT_EQ(ComputeOtsuThresholdMasked(src, mask, threshold), ResultOk);
    EXPECT_EQ(threshold, 199U) << "scores of 0 move the threshold while the best is 0";
    for (int x = 0; x < 100; ++x)
        src.set<std::uint8_t>(x, 0, 120);
    ASSERT_EQ(ComputeOtsuThresholdMasked(src, mask, threshold), ResultOk);
    EXPECT_EQ(threshold, oracle::otsu(src, mask));
}

TEST(ComputeOtsuThresholdMaskedTargets, EqualTheTwinForBothTypesAndManySizes)
{
    forEachTarget([] {
        for (const auto& [type, bits] : {std::pair{UInt8, 8}, {UInt8, 5}, {UInt16, 12}, {UInt16, 16}})
            for (const int width : {1, 7, 64, 301, 700}) {
                TestImage src(Layout{.width = width, .height = 300, .type = type, .bits = bits});
                TestImage mask(Layout{.width = width, .height = 300});
                src.fillRandom(static_cast<std::uint32_t>(width));
                mask.fillSparse(static_cast<std::uint32_t>(width));
                unsigned threshold = 0;
                ASSERT_EQ(ComputeOtsuThresholdMasked(src, mask, threshold), ResultOk);
                EXPECT_EQ(threshold, oracle::otsu(src, mask)) << "bits " << bits << " width " << width;
            }
    });
}

TEST(ComputeOtsuThresholdMaskedChecks, ReportThatMemoryRanOut)
{
    OtsuArgs args;
    failEachAllocation([&] { return args.call(); });
}

}  // namespace
}  // namespace ko::test
