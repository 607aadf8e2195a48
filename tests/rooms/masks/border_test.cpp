#include "oracle/border.h"
#include "support/allocation_failure.h"
#include "support/check_table.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/masks.h>

#include <gtest/gtest.h>

#include <limits>

namespace ko::test {
namespace {

constexpr int most = std::numeric_limits<int>::max();

using Bytes = std::vector<std::uint8_t>;

struct OwnedImage {
    SxImageBuf buf;
    OwnedImage() = default;
    ~OwnedImage() { FreeBuffer(buf); }
    OwnedImage(const OwnedImage&) = delete;
    OwnedImage& operator=(const OwnedImage&) = delete;
};

TestImage& nineNumbers(TestImage& image)
{
    image.setAll<std::uint8_t>({1, 2, 3, 4, 5, 6, 7, 8, 9});
    return image;
}

// ---------------------------------------------------------------- AllocSafeBorderImage

struct AllocArgs {
    SxImageInfo info = TestImage(Layout{.width = 6, .height = 4}).buf();
    SxImageBuf dst;
    int left = 6, top = 4, right = 0, bottom = 1;

    ~AllocArgs() { FreeBuffer(dst); }
    ResultCode call() { return AllocSafeBorderImage(info, dst, left, top, right, bottom); }
    bool outputsUntouched() const { return dst.data == nullptr && dst.width == 0; }
};

TEST(AllocSafeBorderImageChecks, NumberTheMarginsLeftRightTopBottom)
{
    runCheckTable<AllocArgs>({
        {"info planar", [](auto& a) { a.info.packing = Planar; }, ResultBadArg1},
        {"left negative", [](auto& a) { a.left = -1; }, ResultBadArg3},
        {"left beyond the width", [](auto& a) { a.left = 7; }, ResultBadArg3},
        {"right negative", [](auto& a) { a.right = -1; }, ResultBadArg4},
        {"right beyond the width", [](auto& a) { a.right = 7; }, ResultBadArg4},
        {"top negative", [](auto& a) { a.top = -1; }, ResultBadArg5},
        {"top beyond the height", [](auto& a) { a.top = 5; }, ResultBadArg5},
        {"bottom negative", [](auto& a) { a.bottom = -1; }, ResultBadArg6},
        {"bottom beyond the height", [](auto& a) { a.bottom = 5; }, ResultBadArg6},
    });
}

TEST(AllocSafeBorderImageChecks, NameTheMarginThatMakesTheImageTooLarge)
{
    SxImageBuf dst;
    SxImageInfo wide = AllocArgs().info;
    wide.width = most - 1;
    EXPECT_EQ(AllocSafeBorderImage(wide, dst, 2, 0, 0, 0), ResultBadArg3);
    EXPECT_EQ(AllocSafeBorderImage(wide, dst, 1, 0, 1, 0), ResultBadArg4);
    SxImageInfo high = AllocArgs().info;
    high.height = most - 1;
    EXPECT_EQ(AllocSafeBorderImage(high, dst, 0, 2, 0, 0), ResultBadArg5);
    EXPECT_EQ(AllocSafeBorderImage(high, dst, 0, 1, 0, 1), ResultBadArg6);
}

TEST(AllocSafeBorderImageValues, KeepTheFormatAndChooseAStride)
{
    AllocArgs args;
    args.info.bitsPerSample = 5;
    args.info.pixelFormat = 77;
    args.info.bayerGrid = BayerGBRG;
    args.info.reserved[1] = 9;
    ASSERT_EQ(args.call(), ResultOk);
    EXPECT_EQ(args.dst.width, 12);
    EXPECT_EQ(args.dst.height, 9);
    EXPECT_GE(args.dst.stride, 12);
    EXPECT_EQ(args.dst.bitsPerSample, 5);
    EXPECT_EQ(args.dst.pixelFormat, 77);
    EXPECT_EQ(args.dst.bayerGrid, BayerGBRG);
    EXPECT_EQ(args.dst.reserved[1], 9);
}

TEST(AllocSafeBorderImageValues, ReportMissingMemory)
{
    AllocationFailure failure(0);
    AllocArgs args;
    EXPECT_EQ(args.call(), ResultFailed);
    EXPECT_EQ(args.dst.data, nullptr);
}

// ---------------------------------------------------------------- InitSafeBorder

struct InitArgs {
    TestImage src{Layout{.width = 3, .height = 3}};
    SxImageBuf dst;
    int left = 1, top = 5, right = 40, bottom = 2;

    InitArgs() { nineNumbers(src); }
    ~InitArgs() { FreeBuffer(dst); }
    ResultCode call() { return InitSafeBorder(src, dst, left, top, right, bottom); }
    bool outputsUntouched() const { return dst.data == nullptr && dst.width == 0; }
};

TEST(InitSafeBorderChecks, NumberTheMarginsByPosition)
{
    runCheckTable<InitArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"left negative", [](auto& a) { a.left = -1; }, ResultBadArg3},
        {"left too large", [](auto& a) { a.left = most; }, ResultBadArg3},
        {"top negative", [](auto& a) { a.top = -1; }, ResultBadArg4},
        {"top too large", [](auto& a) { a.top = most; }, ResultBadArg4},
        {"right negative", [](auto& a) { a.right = -1; }, ResultBadArg5},
        {"right too large", [](auto& a) { a.right = most - 2; }, ResultBadArg5},
        {"bottom negative", [](auto& a) { a.bottom = -1; }, ResultBadArg6},
        {"bottom too large", [](auto& a) { a.bottom = most - 6; }, ResultBadArg6},
    });
}

TEST(InitSafeBorderValues, PutTheSourceIntoTheCentre)
{
    InitArgs args;
    ASSERT_EQ(args.call(), ResultOk);
    ASSERT_EQ(args.dst.width, 44);
    ASSERT_EQ(args.dst.height, 10);
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 44; ++x) {
            const bool centre = x >= 1 && x < 4 && y >= 5 && y < 8;
            EXPECT_EQ(rowOf(args.dst, y)[x], centre ? (y - 5) * 3 + x : 0) << x << ' ' << y;
        }
    }
}

TEST(InitSafeBorderValues, TakeAnyTypeAndPacking)
{
    for (const ExImageDataType type : {UInt16, Float64, Sample128}) {
        TestImage src(Layout{.width = 5, .height = 2, .channels = 2, .type = type, .packing = Planar});
        src.fillBytes(7);
        OwnedImage dst;
        ASSERT_EQ(InitSafeBorder(src, dst.buf, 0, 0, 1, 1), ResultOk);
        const int size = bytesPerSample(type);
        for (int plane = 0; plane < 2; ++plane) {
            EXPECT_EQ(*planeRowOf(dst.buf, plane, 1), 7);
            EXPECT_EQ(planeRowOf(dst.buf, plane, 1)[5 * size], 0);
            EXPECT_EQ(*planeRowOf(dst.buf, plane, 2), 0);
        }
    }
}

TEST(InitSafeBorderValues, ReportMissingMemoryWithoutTheSourcesBookkeeping)
{
    OwnedImage src;
    ASSERT_EQ(AllocBuffer(src.buf, 4, 4, 1, UInt8, 0, 8, Interleaved, true, CompressionNone), ResultOk);
    AllocationFailure failure(0);
    SxImageBuf dst;
    EXPECT_EQ(InitSafeBorder(src.buf, dst, 1, 1, 1, 1), ResultFailed);
    EXPECT_EQ(dst.data, nullptr);
    EXPECT_EQ(dst.allocation, 0U);
    FreeBuffer(dst);
    EXPECT_EQ(src.buf.data[0], 0) << "freeing the failed record must not free the source";
}

TEST(InitSafeBorderValues, FailToCopyRowsThatLeaveTheirStride)
{
    InitArgs args;
    args.src->stride = 2;
    EXPECT_EQ(args.call(), ResultFailed);
}

// ---------------------------------------------------------------- CreateImageWithMirroredBorder

struct MirrorArgs {
    TestImage src{Layout{.width = 6, .height = 4, .channels = 3}};
    TestImage dst{Layout{.width = 12, .height = 8, .channels = 3}};
    int left = 5, top = 2, right = 1, bottom = 2;
    Bytes before = dst.bytes();

    ResultCode call() { return CreateImageWithMirroredBorder(src, dst, left, top, right, bottom); }
    bool outputsUntouched() const { return dst.bytes() == before; }
};

template <class Args>
std::vector<CheckRow<Args>> formatRows(ResultCode code)
{
    return {
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, code},
        {"dst channels", [](auto& a) { a.dst->channels = 4; }, code},
        {"dst bits", [](auto& a) { a.dst->bitsPerSample = 7; }, code},
        {"dst grid", [](auto& a) { a.dst->bayerGrid = BayerGBRG; }, code},
        {"dst type", [](auto& a) { a.dst->dataType = Int8; }, code},
        {"dst packing", [](auto& a) { a.dst->packing = Planar; }, code},
        {"dst pixel format", [](auto& a) { a.dst->pixelFormat = 2; }, code},
        {"dst width", [](auto& a) { a.dst->width = 11; }, code},
        {"dst height", [](auto& a) { a.dst->height = 7; }, code},
    };
}

template <class Args>
std::vector<CheckRow<Args>> sourceRows()
{
    return {
        {"src planar", [](auto& a) { a.src->packing = Planar; }, ResultBadArg1},
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src of 2 channels", [](auto& a) { a.src->channels = a.dst->channels = 2; }, ResultBadArg1},
        {"src of 5 channels", [](auto& a) { a.src->channels = a.dst->channels = 5; }, ResultBadArg1},
    };
}

template <class Row>
void append(std::vector<Row>& rows, const std::vector<Row>& more)
{
    rows.insert(rows.end(), more.begin(), more.end());
}

TEST(MirroredBorderChecks, OfTheWholeImageTakeTheImagesFirst)
{
    auto rows = sourceRows<MirrorArgs>();
    append(rows, formatRows<MirrorArgs>(ResultBadArg2));
    runCheckTable<MirrorArgs>(rows);
}

TEST(MirroredBorderChecks, NameEachMarginThatIsOutOfRange)
{
    const auto call = [](int left, int top, int right, int bottom) {
        TestImage src(Layout{.width = 4, .height = 3});
        TestImage dst(Layout{.width = 4 + left + right, .height = 3 + top + bottom});
        return CreateImageWithMirroredBorder(src, dst, left, top, right, bottom);
    };
    EXPECT_EQ(call(4, 3, 4, 3), ResultOk);
    EXPECT_EQ(call(5, 4, 5, 4), ResultBadArg3);
    EXPECT_EQ(call(4, 4, 5, 4), ResultBadArg4);
    EXPECT_EQ(call(4, 4, 4, 4), ResultBadArg5);
    EXPECT_EQ(call(4, 3, 4, 4), ResultBadArg6);
    EXPECT_EQ(call(-1, -1, -1, -1), ResultBadArg3);
    EXPECT_EQ(call(0, -1, -1, -1), ResultBadArg4);
    EXPECT_EQ(call(0, -1, 0, -1), ResultBadArg5);
    EXPECT_EQ(call(0, 0, 0, -1), ResultBadArg6);
}

struct RegionArgs : MirrorArgs {
    QRect roi{1, 0, 5, 4};
    RegionArgs() { left = right = 3, dst->width = 11; }
    ResultCode call() { return CreateImageWithMirroredBorder(src, roi, dst, left, top, right, bottom); }
};

TEST(MirroredBorderChecks, OfARegionAreOneCodeHigher)
{
    auto rows = sourceRows<RegionArgs>();
    rows.push_back({"roi outside", [](auto& a) { a.roi = QRect(2, 0, 5, 4); }, ResultBadArg2});
    auto formats = formatRows<RegionArgs>(ResultBadArg3);
    formats[7].spoil = [](auto& a) { a.dst->width = 10; };
    append(rows, formats);
    runCheckTable<RegionArgs>(rows);
}

TEST(MirroredBorderChecks, OfARegionMeasureMarginsByTheRegion)
{
    const auto call = [](int left, int top, int right, int bottom) {
        TestImage src(Layout{.width = 9, .height = 9});
        TestImage dst(Layout{.width = 4 + left + right, .height = 3 + top + bottom});
        return CreateImageWithMirroredBorder(src, QRect(2, 3, 4, 3), dst, left, top, right, bottom);
    };
    EXPECT_EQ(call(4, 3, 4, 3), ResultOk);
    EXPECT_EQ(call(5, 4, 5, 4), ResultBadArg4);
    EXPECT_EQ(call(4, 4, 5, 4), ResultBadArg5);
    EXPECT_EQ(call(4, 4, 4, 4), ResultBadArg6);
    EXPECT_EQ(call(4, 3, 4, 4), ResultBadArg7);
    EXPECT_EQ(call(-1, -1, -1, -1), ResultBadArg4);
    EXPECT_EQ(call(0, -1, -1, -1), ResultBadArg5);
    EXPECT_EQ(call(0, -1, 0, -1), ResultBadArg6);
    EXPECT_EQ(call(0, 0, 0, -1), ResultBadArg7);
}

TEST(MirroredBorderChecks, RefuseRowsBeyondTheirStrideLast)
{
    MirrorArgs shortSource;
    shortSource.src->stride = 17;
    EXPECT_EQ(shortSource.call(), ResultBadArg1);
    MirrorArgs shortTarget;
    shortTarget.dst->stride = 35;
    EXPECT_EQ(shortTarget.call(), ResultBadArg2);
    RegionArgs shortRegionTarget;
    shortRegionTarget.dst->stride = 32;
    EXPECT_EQ(shortRegionTarget.call(), ResultBadArg3);
}

TEST(MirroredBorderValues, RepeatTheEdgePixel)
{
    TestImage src(Layout{.width = 3, .height = 3});
    TestImage dst(Layout{.width = 5, .height = 5});
    ASSERT_EQ(CreateImageWithMirroredBorder(nineNumbers(src), dst, 1, 1, 1, 1), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{1, 1, 2, 3, 3, 1, 1, 2, 3, 3, 4, 4, 5, 6, 6,  //
                                              7, 7, 8, 9, 9, 7, 7, 8, 9, 9}));
}

TEST(MirroredBorderValues, ReachInwards)
{
    TestImage src(Layout{.width = 3, .height = 3});
    TestImage dst(Layout{.width = 5, .height = 3});
    ASSERT_EQ(CreateImageWithMirroredBorder(nineNumbers(src), dst, 2, 0, 0, 0), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{2, 1, 1, 2, 3, 5, 4, 4, 5, 6, 8, 7, 7, 8, 9}));
}

TEST(MirroredBorderValues, OfWideSamplesCopyTheCentreAndRefuseTheMargin)
{
    TestImage src(Layout{.width = 2, .height = 1, .type = Float32});
    src.setAll<float>({1.5F, 2.5F});
    TestImage dst(Layout{.width = 3, .height = 1, .type = Float32});
    EXPECT_EQ(CreateImageWithMirroredBorder(src, dst, 0, 0, 1, 0), ResultUnsupportedType);
    EXPECT_EQ(dst.all<float>(), (std::vector<float>{1.5F, 2.5F, 0.0F}));
    TestImage higher(Layout{.width = 2, .height = 2, .type = Float32});
    EXPECT_EQ(CreateImageWithMirroredBorder(src, higher, 0, 0, 0, 1), ResultUnsupportedType);
    TestImage same(Layout{.width = 2, .height = 1, .type = Float32});
    EXPECT_EQ(CreateImageWithMirroredBorder(src, same, 0, 0, 0, 0), ResultOk);
    EXPECT_EQ(same.all<float>(), (std::vector<float>{1.5F, 2.5F}));
}

TEST(MirroredBorderValues, OfUnknownTypesAreRefusedWithoutAMarginToo)
{
    TestImage src(Layout{}), dst(Layout{});
    dst.fillBytes(9);
    const std::vector<std::uint8_t> before = dst.bytes();
    for (const int code : {0, 12, -1}) {
        src->dataType = dst->dataType = typeCode(code);
        EXPECT_EQ(CreateImageWithMirroredBorder(src, dst, 0, 0, 0, 0), ResultUnsupportedType) << code;
        EXPECT_EQ(CreateImageWithMirroredBorder(src, QRect(0, 0, 4, 3), dst, 0, 0, 0, 0),
                  ResultUnsupportedType)
            << code;
    }
    EXPECT_EQ(dst.bytes(), before);
}

TEST(MirroredBorderValues, EqualTheTwinForEveryMarginChannelAndRegion)
{
    for (const ExImageDataType type : {Int8, UInt8, Int16, UInt16})
        for (const int channels : {1, 3, 4})
            for (const QRect roi : {QRect(0, 0, 7, 5), QRect(2, 1, 3, 3), QRect(6, 4, 1, 1)})
                for (int left = 0; left <= roi.width(); ++left)
                    for (int top = 0; top <= roi.height(); ++top) {
                        const int right = roi.width() - left, bottom = top / 2;
                        const Layout size{.width = roi.width() + left + right,
                                          .height = roi.height() + top + bottom,
                                          .channels = channels,
                                          .type = type,
                                          .padding = 3};
                        TestImage src(Layout{.width = 7, .height = 5, .channels = channels, .type = type});
                        src.fillRandom(1);
                        TestImage dst(size), expected(size);
                        oracle::mirrorBorder(src, roi, expected, left, top);
                        ASSERT_EQ(CreateImageWithMirroredBorder(src, roi, dst, left, top, right, bottom),
                                  ResultOk);
                        ASSERT_EQ(dst.bytes(), expected.bytes());
                    }
}

TEST(MirroredBorderThreads, GiveTheSameBytesForAnyNumber)
{
    TestImage src(Layout{.width = 31, .height = 40, .channels = 3, .type = UInt16});
    src.fillRandom(2);
    const Layout size{.width = 41, .height = 73, .channels = 3, .type = UInt16};
    TestImage expected(size);
    oracle::mirrorBorder(src, QRect(0, 0, 31, 40), expected, 4, 13);
    forEachThreadCount([&] {
        TestImage dst(size);
        ASSERT_EQ(CreateImageWithMirroredBorder(src, dst, 4, 13, 6, 20), ResultOk);
        EXPECT_EQ(dst.bytes(), expected.bytes());
    });
}

// ---------------------------------------------------------------- AllocAndCreateMirroredBorderImage

TEST(AllocAndCreateMirroredBorderImage, PassesOnTheStatusOfTheFailingStep)
{
    TestImage planar(Layout{.channels = 3, .packing = Planar});
    OwnedImage dst;
    EXPECT_EQ(AllocAndCreateMirroredBorderImage(planar, dst.buf, 0, 0, 0, 0), ResultBadArg1);
    EXPECT_EQ(dst.buf.data, nullptr);
    TestImage src(Layout{});
    EXPECT_EQ(AllocAndCreateMirroredBorderImage(src, dst.buf, 0, 4, 0, 0), ResultBadArg5);
    EXPECT_EQ(dst.buf.data, nullptr);
    AllocationFailure failure(0);
    EXPECT_EQ(AllocAndCreateMirroredBorderImage(src, dst.buf, 0, 0, 0, 0), ResultFailed);
    EXPECT_EQ(dst.buf.data, nullptr);
}

TEST(AllocAndCreateMirroredBorderImage, LeavesTheImageToItsCallerWhenTheTypeHasNoMargin)
{
    TestImage src(Layout{.width = 2, .height = 1, .type = Float32});
    src.setAll<float>({1.5F, 2.5F});
    OwnedImage dst;
    EXPECT_EQ(AllocAndCreateMirroredBorderImage(src, dst.buf, 1, 0, 0, 0), ResultUnsupportedType);
    ASSERT_NE(dst.buf.data, nullptr);
    EXPECT_EQ(loadSample<float>(dst.buf.data, 1), 1.5F);
}

TEST(AllocAndCreateMirroredBorderImage, MirrorsIntoANewImage)
{
    TestImage src(Layout{.width = 3, .height = 3});
    OwnedImage dst;
    ASSERT_EQ(AllocAndCreateMirroredBorderImage(nineNumbers(src), dst.buf, 1, 2, 0, 0), ResultOk);
    EXPECT_EQ(dst.buf.width, 4);
    EXPECT_EQ(Bytes(dst.buf.data, dst.buf.data + 4), (Bytes{4, 4, 5, 6}));
}

}  // namespace
}  // namespace ko::test
