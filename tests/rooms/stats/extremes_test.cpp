#include "base/dispatch.h"
#include "oracle/extremes.h"
#include "support/check_table.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/stats/extremes.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace ko::test {
namespace {

/// Room for the results of a call; every element holds a text until it is written.
struct Results {
    std::vector<QVariant> low, high;
    std::vector<QPoint> lowAt, highAt;

    explicit Results(std::size_t count)
        : low(count, QVariant(QStringLiteral("kept"))), high(low), lowAt(count, QPoint(-7, -7)), highAt(lowAt)
    {
    }
    bool untouched() const
    {
        const Results fresh(low.size());
        return low == fresh.low && high == fresh.high && lowAt == fresh.lowAt && highAt == fresh.highAt;
    }
};

struct MinMaxArgs {
    TestImage src{Layout{.channels = 3, .type = UInt16}};
    Results out{4};
    QVariant* min = out.low.data();
    QVariant* max = out.high.data();

    ResultCode call() { return MinMax(src, min, max); }
    bool outputsUntouched() const { return out.untouched(); }
};

TEST(MinMaxChecks, RunInOrderAndWriteNothing)
{
    runCheckTable<MinMaxArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src of negative height", [](auto& a) { a.src->height = -1; }, ResultBadArg1},
        {"type of 16 bytes", [](auto& a) { a.src->dataType = Sample128; }, ResultBadArg1},
        {"min null", [](auto& a) { a.min = nullptr; }, ResultBadArg2},
        {"max null", [](auto& a) { a.max = nullptr; }, ResultBadArg3},
        {"unknown packing", [](auto& a) { a.src->packing = static_cast<ExPixelPacking>(2); },
         ResultUnsupportedType},
        {"several channels of a mosaic", [](auto& a) { a.src->bayerGrid = BayerRGGB; },
         ResultUnsupportedType},
        {"type 0", [](auto& a) { a.src->dataType = typeCode(0); }, ResultOk},
        {"type 12", [](auto& a) { a.src->dataType = typeCode(12); }, ResultOk},
        {"type -1", [](auto& a) { a.src->dataType = typeCode(-1); }, ResultOk},
        {"rows beyond their stride", [](auto& a) { a.src->stride = 4 * 3 * 2 - 1; }, ResultBadArg1},
    });
}

TEST(MinMaxChecks, TakeAnyNumberOfChannelsOfAnImageWithoutRows)
{
    MinMaxArgs args;
    args.src->width = std::numeric_limits<std::int32_t>::max();
    args.src->height = 0;
    args.src->channels = -2147483646;
    args.src->dataType = Float32;
    EXPECT_EQ(args.call(), ResultOk);
    EXPECT_TRUE(args.outputsUntouched());
}

struct MinMaxMaskedArgs {
    TestImage src{Layout{.channels = 3, .type = UInt16}};
    TestImage mask{Layout{}};
    Results out{4};
    QVariant* min = out.low.data();
    QVariant* max = out.high.data();

    ResultCode call() { return MinMaxMasked(src, mask, min, max); }
    bool outputsUntouched() const { return out.untouched(); }
};

TEST(MinMaxMaskedChecks, RunInOrderAndWriteNothing)
{
    runCheckTable<MinMaxMaskedArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"type of 16 bytes", [](auto& a) { a.src->dataType = Sample128; }, ResultBadArg1},
        {"mask absent", [](auto& a) { a.mask->data = nullptr; }, ResultBadArg2},
        {"mask not mono", [](auto& a) { a.mask->channels = 3; }, ResultBadArg2},
        {"mask not UInt8", [](auto& a) { a.mask->dataType = Int8; }, ResultBadArg2},
        {"mask narrower", [](auto& a) { a.mask->width = 3; }, ResultBadArg2},
        {"mask lower", [](auto& a) { a.mask->height = 2; }, ResultBadArg2},
        {"min null", [](auto& a) { a.min = nullptr; }, ResultBadArg3},
        {"max null", [](auto& a) { a.max = nullptr; }, ResultBadArg4},
        {"unknown packing", [](auto& a) { a.src->packing = static_cast<ExPixelPacking>(2); },
         ResultUnsupportedType},
        {"type 0", [](auto& a) { a.src->dataType = typeCode(0); }, ResultOk},
        {"type 12", [](auto& a) { a.src->dataType = typeCode(12); }, ResultOk},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 3; }, ResultBadArg1},
        {"mask rows beyond their stride", [](auto& a) { a.mask->stride = 3; }, ResultBadArg2},
    });
}

struct MinMaxMosaicArgs {
    TestImage src{Layout{.width = 4, .height = 6, .type = UInt16}};
    Results out{24};
    int cellWidth = 2;
    int cellHeight = 3;
    QVariant* min = out.low.data();
    QVariant* max = out.high.data();

    ResultCode call()
    {
        return MinMaxMosaic(src, cellWidth, cellHeight, min, max, out.lowAt.data(), out.highAt.data());
    }
    bool outputsUntouched() const { return out.untouched(); }
};

TEST(MinMaxMosaicChecks, RunInOrderAndWriteNothing)
{
    runCheckTable<MinMaxMosaicArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"type of 16 bytes", [](auto& a) { a.src->dataType = Sample128; }, ResultBadArg1},
        {"src not mono", [](auto& a) { a.src->channels = 3; }, ResultBadArg1},
        {"cell without width", [](auto& a) { a.cellWidth = 0; }, ResultBadArg2},
        {"cell without height", [](auto& a) { a.cellHeight = 0; }, ResultBadArg3},
        {"min null", [](auto& a) { a.min = nullptr; }, ResultBadArg2},
        {"max null", [](auto& a) { a.max = nullptr; }, ResultBadArg3},
        {"type 0", [](auto& a) { a.src->dataType = typeCode(0); }, ResultOk},
        {"type 12", [](auto& a) { a.src->dataType = typeCode(12); }, ResultOk},
        {"rows beyond their stride", [](auto& a) { a.src->stride = 7; }, ResultBadArg1},
    });
}

TEST(MinMaxMosaicChecks, RefuseCellsThatDoNotTileTheImage)
{
    runCheckTable<MinMaxMosaicArgs>({
        {"cell of negative width", [](auto& a) { a.cellWidth = -2; }, ResultBadArg2},
        {"cell of negative height", [](auto& a) { a.cellHeight = -1; }, ResultBadArg3},
    });
    runCheckTable<MinMaxMosaicArgs>({
        {"cell wider than the image", [](auto& a) { a.cellWidth = 8; }, ResultBadArg2},
        {"cell higher than the image", [](auto& a) { a.cellHeight = 12; }, ResultBadArg3},
    });
    runCheckTable<MinMaxMosaicArgs>({
        {"cell does not divide the width", [](auto& a) { a.cellWidth = 3; }, ResultBadArg2},
        {"cell does not divide the height", [](auto& a) { a.cellHeight = 4; }, ResultBadArg3},
    });
}

TEST(MinMaxValues, AreVariantsThatMatchTheSampleType)
{
    const std::pair<ExImageDataType, int> metaTypes[] = {
        {Int8, QMetaType::Int},        {UInt8, QMetaType::Int},      {Int16, QMetaType::Int},
        {UInt16, QMetaType::Int},      {Int32, QMetaType::Int},      {UInt32, QMetaType::UInt},
        {Float32, QMetaType::Float},   {Float64, QMetaType::Double}, {Int64, QMetaType::LongLong},
        {UInt64, QMetaType::ULongLong}};
    for (const auto& [type, metaType] : metaTypes) {
        const TestImage src(Layout{.type = type});
        Results out(1);
        ASSERT_EQ(MinMax(src, out.low.data(), out.high.data()), ResultOk);
        EXPECT_EQ(out.low[0].userType(), metaType) << type;
        EXPECT_EQ(out.high[0].userType(), metaType) << type;
    }
}

TEST(MinMaxMaskedValues, OfAnEmptyMaskAreTheStartingValues)
{
    const TestImage mask(Layout{});
    for (const ExImageDataType type : allTypes) {
        TestImage src(Layout{.type = type});
        src.fillRandom(3);
        (void)dispatch(ByType{}, type, {}, [&]<class T>(std::type_identity<T>) {
            Results out(1);
            ASSERT_EQ(MinMaxMasked(src, mask, out.low.data(), out.high.data()), ResultOk);
            EXPECT_EQ(out.low[0].value<T>(), std::numeric_limits<T>::max()) << type;
            EXPECT_EQ(out.high[0].value<T>(), std::numeric_limits<T>::lowest()) << type;
        });
    }
}

TEST(MinMaxMaskedValues, OfAnEmptyMaskOverBytesAre255And0)
{
    const TestImage src(Layout{}), mask(Layout{});
    Results out(1);
    ASSERT_EQ(MinMaxMasked(src, mask, out.low.data(), out.high.data()), ResultOk);
    EXPECT_EQ(out.low[0].toInt(), 255);
    EXPECT_EQ(out.high[0].toInt(), 0);
}

TEST(MinMaxMaskedValues, TakeNoNoticeOfAMosaic)
{
    TestImage src(Layout{.width = 2, .height = 2}), mask(Layout{.width = 2, .height = 2});
    src.setAll<std::uint8_t>({9, 8, 7, 6});
    mask.setAll<std::uint8_t>({0, 1, 128, 0});
    src->bayerGrid = BayerRGGB;
    Results out(4);
    ASSERT_EQ(MinMaxMasked(src, mask, out.low.data(), out.high.data()), ResultOk);
    EXPECT_EQ(out.low[0].toInt(), 7);
    EXPECT_EQ(out.high[0].toInt(), 8);
    EXPECT_EQ(out.low[1].toString(), QStringLiteral("kept"));
}

TEST(MinMaxValues, OfAConstantImageAreThatValueTwice)
{
    TestImage src(Layout{.width = 70});
    src.fillBytes(42);
    Results out(1);
    ASSERT_EQ(MinMax(src, out.low.data(), out.high.data()), ResultOk);
    EXPECT_EQ(out.low[0].toInt(), 42);
    EXPECT_EQ(out.high[0].toInt(), 42);
}

TEST(MinMaxValues, OfAnImageWithoutPixelsAreTheStartingValues)
{
    const TestImage src(Layout{.width = 0, .height = 0, .channels = 2});
    Results out(2);
    ASSERT_EQ(MinMax(src, out.low.data(), out.high.data()), ResultOk);
    EXPECT_EQ(out.low[1].toInt(), 255);
    EXPECT_EQ(out.high[1].toInt(), 0);
}

TEST(MinMaxValues, OfAnImageWithoutChannelsAreNone)
{
    TestImage src(Layout{});
    for (const int channels : {0, -5}) {
        src->channels = channels;
        for (const ExPixelPacking packing : {Interleaved, Planar}) {
            src->packing = packing;
            Results out(1);
            EXPECT_EQ(MinMax(src, out.low.data(), out.high.data()), ResultOk);
            EXPECT_TRUE(out.untouched());
        }
    }
}

TEST(MinMaxValues, OfAMonoMosaicAreFourForAnyPacking)
{
    TestImage src(Layout{.width = 3, .height = 3});
    src.setAll<std::uint8_t>({1, 2, 3, 4, 5, 6, 7, 8, 9});
    src->bayerGrid = BayerGRBG;
    for (const int packing : {0, 1, 5}) {
        src->packing = static_cast<ExPixelPacking>(packing);
        Results out(4);
        ASSERT_EQ(MinMax(src, out.low.data(), out.high.data()), ResultOk);
        EXPECT_EQ(out.low, (std::vector<QVariant>{1, 2, 4, 5}));
        EXPECT_EQ(out.high, (std::vector<QVariant>{9, 8, 6, 5}));
    }
}

TEST(MinMaxValues, OfMosaicPositionsWithoutSamplesAreTheStartingValues)
{
    TestImage src(Layout{.width = 1, .height = 1});
    src.set<std::uint8_t>(0, 0, 77);
    src->bayerGrid = BayerBGGR;
    Results out(4);
    ASSERT_EQ(MinMax(src, out.low.data(), out.high.data()), ResultOk);
    EXPECT_EQ(out.low, (std::vector<QVariant>{77, 255, 255, 255}));
    EXPECT_EQ(out.high, (std::vector<QVariant>{77, 0, 0, 0}));
}

TEST(MinMaxValues, OfAMonoImageOfUnknownPackingAreRefused)
{
    TestImage src(Layout{});
    src->packing = static_cast<ExPixelPacking>(2);
    Results out(1);
    EXPECT_EQ(MinMax(src, out.low.data(), out.high.data()), ResultUnsupportedType);
}

TEST(MinMaxValues, OfSeveralPlanesIgnoreAMosaic)
{
    TestImage src(Layout{.channels = 2, .packing = Planar});
    src.set<std::uint8_t>(1, 1, 1, 9);
    src->bayerGrid = BayerRGGB;
    Results out(2);
    ASSERT_EQ(MinMax(src, out.low.data(), out.high.data()), ResultOk);
    EXPECT_EQ(out.high, (std::vector<QVariant>{0, 9}));
}

TEST(MinMaxMosaicValues, OfAConstantImageAreFoundAtEachPositionsFirstPixel)
{
    TestImage src(Layout{.width = 6, .height = 4});
    src.fillBytes(42);
    Results out(4);
    ASSERT_EQ(MinMaxMosaic(src, 2, 2, out.low.data(), out.high.data(), out.lowAt.data(), out.highAt.data()),
              ResultOk);
    const std::vector<QPoint> first{{0, 0}, {1, 0}, {0, 1}, {1, 1}};
    EXPECT_EQ(out.low, std::vector<QVariant>(4, 42));
    EXPECT_EQ(out.lowAt, first);
    EXPECT_EQ(out.highAt, first);
}

TEST(MinMaxMosaicValues, ThatNoSampleBeatsAreReportedAtTheOrigin)
{
    TestImage src(Layout{.width = 2, .height = 2});
    src.fillBytes(255);
    Results out(4);
    ASSERT_EQ(MinMaxMosaic(src, 2, 2, out.low.data(), out.high.data(), out.lowAt.data(), out.highAt.data()),
              ResultOk);
    EXPECT_EQ(out.low, std::vector<QVariant>(4, 255));
    EXPECT_EQ(out.lowAt, std::vector<QPoint>(4, QPoint(0, 0)));
    EXPECT_EQ(out.highAt[3], QPoint(1, 1));
}

TEST(MinMaxMosaicValues, NeedNoPositions)
{
    TestImage src(Layout{.width = 2, .height = 2});
    src.setAll<std::uint8_t>({4, 3, 2, 1});
    Results out(4);
    ASSERT_EQ(MinMaxMosaic(src, 2, 1, out.low.data(), out.high.data(), nullptr, nullptr), ResultOk);
    EXPECT_EQ(out.low[0].toInt(), 2);
    EXPECT_EQ(out.high[1].toInt(), 3);
    EXPECT_EQ(out.low[2].toString(), QStringLiteral("kept"));
}

TEST(MinMaxMosaicValues, OfACellAsLargeAsTheImageAreItsPixels)
{
    TestImage src(Layout{.width = 3, .height = 2});
    src.setAll<std::uint8_t>({6, 5, 4, 3, 2, 1});
    Results out(6);
    ASSERT_EQ(MinMaxMosaic(src, 3, 2, out.low.data(), out.high.data(), out.lowAt.data(), out.highAt.data()),
              ResultOk);
    EXPECT_EQ(out.low, (std::vector<QVariant>{6, 5, 4, 3, 2, 1}));
    EXPECT_EQ(out.high, out.low);
    EXPECT_EQ(out.lowAt[5], QPoint(2, 1));
}

TEST(MinMaxValues, LeaveNaNOut)
{
    TestImage src(Layout{.width = 40, .height = 2, .type = Float32});
    for (int x = 0; x < 40; ++x) {
        src.set<float>(x, 0, std::nanf(""));
        src.set<float>(x, 1, std::nanf(""));
    }
    Results out(1);
    ASSERT_EQ(MinMax(src, out.low.data(), out.high.data()), ResultOk);
    EXPECT_EQ(out.low[0].toFloat(), std::numeric_limits<float>::max());
    EXPECT_EQ(out.high[0].toFloat(), std::numeric_limits<float>::lowest());
    src.set<float>(39, 1, -2.0F);
    ASSERT_EQ(MinMax(src, out.low.data(), out.high.data()), ResultOk);
    EXPECT_EQ(out.low[0].toFloat(), -2.0F);
    EXPECT_EQ(out.high[0].toFloat(), -2.0F);
}

template <class T>
bool sameBits(const QVariant& actual, T expected)
{
    const T value = actual.value<T>();
    return std::memcmp(&value, &expected, sizeof(T)) == 0;
}

TEST(MinMaxTargets, ReportTheFirstZeroOfBothSigns)
{
    forEachTarget([] {
        for (int first = 0; first < 40; ++first)
            for (const double sign : {1.0, -1.0}) {
                TestImage src(Layout{.width = 150, .height = 1, .type = Float64});
                for (int x = 0; x < 150; ++x)
                    src.set<double>(x, 0, x < first ? 1.0 : std::copysign(0.0, x == first ? sign : -sign));
                Results out(1);
                ASSERT_EQ(MinMax(src, out.low.data(), out.high.data()), ResultOk);
                ASSERT_TRUE(sameBits(out.low[0], std::copysign(0.0, sign))) << first;
            }
    });
}

/// Twin's extremes and the operation's, channel by channel.
void compareChannels(const Layout& layout, bool masked)
{
    TestImage src(layout);
    layout.width % 2 == 0 ? src.fillRandom(static_cast<std::uint32_t>(layout.width))
                          : src.fillSparse(static_cast<std::uint32_t>(layout.width));
    TestImage mask(Layout{.width = layout.width, .height = layout.height, .padding = layout.padding});
    mask.fillSparse(static_cast<std::uint32_t>(layout.width) + 1);
    Results out(static_cast<std::size_t>(layout.channels));
    ASSERT_EQ(masked ? MinMaxMasked(src, mask, out.low.data(), out.high.data())
                     : MinMax(src, out.low.data(), out.high.data()),
              ResultOk);
    (void)dispatch(ByType{}, layout.type, {}, [&]<class T>(std::type_identity<T>) {
        for (int c = 0; c < layout.channels; ++c) {
            const auto twin = oracle::channelExtreme<T>(src, c, masked ? &mask : nullptr);
            const auto at = static_cast<std::size_t>(c);
            ASSERT_TRUE(sameBits(out.low[at], twin.low) && sameBits(out.high[at], twin.high))
                << "type " << layout.type << " width " << layout.width << " channels " << layout.channels;
        }
    });
}

TEST(MinMaxTargets, EqualTheTwinForEveryTypeWidthAndLayout)
{
    forEachTarget([] {
        for (const ExImageDataType type : allTypes)
            for (const int channels : {1, 2, 3, 4, 5})
                for (const ExPixelPacking packing : {Interleaved, Planar})
                    for (int width = 0; width <= 140; width += channels == 1 ? 1 : 3)
                        compareChannels(
                            Layout{.width = width, .channels = channels, .type = type, .packing = packing},
                            false);
        for (const int channels : {1, 3, 4})
            for (const int width : {255, 256, 257, 320, 383, 600})
                compareChannels(Layout{.width = width, .height = 5, .channels = channels}, false);
    });
}

TEST(MinMaxMaskedTargets, EqualTheTwinForEveryTypeWidthAndLayout)
{
    forEachTarget([] {
        for (const ExImageDataType type : allTypes)
            for (const int channels : {1, 3, 4})
                for (const ExPixelPacking packing : {Interleaved, Planar})
                    for (int width = 0; width <= 140; width += channels == 1 ? 1 : 3)
                        compareChannels(
                            Layout{.width = width, .channels = channels, .type = type, .packing = packing},
                            true);
    });
}

void compareCells(ExImageDataType type, int width, int height, int cellWidth, int cellHeight)
{
    TestImage src(Layout{.width = width, .height = height, .type = type});
    src.fillSparse(static_cast<std::uint32_t>(width + cellWidth));
    const int cells = cellWidth * cellHeight;
    Results out(static_cast<std::size_t>(cells));
    ASSERT_EQ(MinMaxMosaic(src, cellWidth, cellHeight, out.low.data(), out.high.data(), out.lowAt.data(),
                           out.highAt.data()),
              ResultOk);
    (void)dispatch(ByType{}, type, {}, [&]<class T>(std::type_identity<T>) {
        for (int k = 0; k < cells; ++k) {
            const auto twin = oracle::cellExtreme<T>(src, cellWidth, cellHeight, k);
            const auto at = static_cast<std::size_t>(k);
            ASSERT_TRUE(sameBits(out.low[at], twin.low) && sameBits(out.high[at], twin.high))
                << "type " << type << " width " << width << " position " << k;
            ASSERT_EQ(out.lowAt[at], twin.lowAt);
            ASSERT_EQ(out.highAt[at], twin.highAt);
        }
    });
}

TEST(MinMaxMosaicTargets, EqualTheTwinForEveryTypeSizeAndCell)
{
    forEachTarget([] {
        for (const ExImageDataType type : allTypes)
            for (const int cellWidth : {1, 2, 3, 5, 8})
                for (const int cellHeight : {1, 2, 3})
                    for (int cells = 1; cells * cellWidth <= 150; cells += 1 + cells / 2)
                        compareCells(type, cells * cellWidth, 2 * cellHeight, cellWidth, cellHeight);
    });
}

TEST(MinMaxTargets, OfOddMosaicsEqualTheTwin)
{
    forEachTarget([] {
        for (const ExImageDataType type : allTypes)
            for (int width = 0; width <= 140; ++width) {
                TestImage src(Layout{.width = width, .height = 5, .type = type});
                src.fillSparse(static_cast<std::uint32_t>(width));
                src->bayerGrid = BayerRGGB;
                Results out(4);
                ASSERT_EQ(MinMax(src, out.low.data(), out.high.data()), ResultOk);
                (void)dispatch(ByType{}, type, {}, [&]<class T>(std::type_identity<T>) {
                    for (int k = 0; k < 4; ++k) {
                        const auto twin = oracle::cellExtreme<T>(src, 2, 2, k);
                        const auto at = static_cast<std::size_t>(k);
                        ASSERT_TRUE(sameBits(out.low[at], twin.low) && sameBits(out.high[at], twin.high))
                            << "type " << type << " width " << width << " position " << k;
                    }
                });
            }
    });
}

TEST(MinMaxThreads, EqualTheTwinWhereSeveralAreAllowed)
{
    forEachThreadCount([] {
        for (const ExImageDataType type : allTypes) {
            for (const bool masked : {false, true})
                for (const ExPixelPacking packing : {Interleaved, Planar})
                    compareChannels(
                        Layout{.width = 37, .height = 23, .channels = 3, .type = type, .packing = packing},
                        masked);
            compareCells(type, 36, 24, 3, 2);
        }
    });
}

TEST(MinMaxThreads, EqualTheTwinWhereRowsHaveNoGaps)
{
    forEachThreadCount([] {
        for (const ExImageDataType type : allTypes)
            for (const int channels : {1, 3, 5})
                for (const bool masked : {false, true})
                    compareChannels(
                        Layout{.width = 131, .height = 300, .channels = channels, .type = type, .padding = 0},
                        masked);
    });
}

TEST(MinMaxThreads, OfCellsThatEndNotWithTheRowEqualTheTwin)
{
    forEachThreadCount([] {
        TestImage src(Layout{.width = 131, .height = 301, .padding = 0});
        src.fillRandom(3);
        src->bayerGrid = BayerRGGB;
        Results out(4);
        ASSERT_EQ(MinMax(src, out.low.data(), out.high.data()), ResultOk);
        for (int k = 0; k < 4; ++k) {
            const auto twin = oracle::cellExtreme<std::uint8_t>(src, 2, 2, k);
            EXPECT_TRUE(sameBits(out.low[static_cast<std::size_t>(k)], twin.low));
            EXPECT_TRUE(sameBits(out.high[static_cast<std::size_t>(k)], twin.high));
        }
    });
}

TEST(MinMaxThreads, ReportTheFirstZeroOfBothSigns)
{
    forEachThreadCount([] {
        for (int first = 0; first < 20; ++first)
            for (const double sign : {1.0, -1.0}) {
                TestImage src(Layout{.width = 1, .height = 20, .type = Float64});
                for (int y = 0; y < 20; ++y)
                    src.set<double>(0, y, y < first ? 1.0 : std::copysign(0.0, y == first ? sign : -sign));
                Results out(1);
                ASSERT_EQ(MinMax(src, out.low.data(), out.high.data()), ResultOk);
                ASSERT_TRUE(sameBits(out.low[0], std::copysign(0.0, sign))) << first;
            }
    });
}

}  // namespace
}  // namespace ko::test
