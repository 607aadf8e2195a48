#include "oracle/background.h"
#include "support/check_table.h"
#include "support/failing_new.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/tone.h>

#include <gtest/gtest.h>

#include <deque>
#include <limits>

namespace ko::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct AverageArgs {
    TestImage first{Layout{.channels = 3}};
    TestImage second{Layout{.channels = 3}};
    TestImage dst{Layout{.channels = 3}};
    QVector<SxImageBuf> frames;
    QRect roi{1, 1, 2, 2};
    Bytes before;

    AverageArgs()
    {
        first.fillBytes(3);
        second.fillBytes(5);
        dst.fillBytes(200);
        before = dst.bytes();
        frames = {first, second};
    }
    ResultCode call() { return AverageImage(frames, roi, dst); }
    bool outputsUntouched() const { return dst.bytes() == before; }
};

void setTypes(AverageArgs& a, ExImageDataType type)
{
    a.frames[0].dataType = a.frames[1].dataType = a.dst->dataType = type;
}

TEST(AverageImageChecks, RunInOrderAndLeaveTheDestinationAlone)
{
    runCheckTable<AverageArgs>({
        {"no frames", [](auto& a) { a.frames.clear(); }, ResultBadArg1},
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, ResultBadArg2},
        {"dst narrower than roi", [](auto& a) { a.dst->width = 1; }, ResultBadArg2},
        {"dst lower than roi", [](auto& a) { a.dst->height = 1; }, ResultBadArg2},
        {"roi of negative width", [](auto& a) { a.roi = QRect(QPoint(2, 1), QPoint(0, 2)); }, ResultFailed},
        {"roi of negative height", [](auto& a) { a.roi = QRect(QPoint(1, 2), QPoint(2, 0)); }, ResultFailed},
    });
    runCheckTable<AverageArgs>({
        {"first frame absent", [](auto& a) { a.frames[0].data = nullptr; }, ResultBadArg1},
        {"first frame of other channels", [](auto& a) { a.frames[0].channels = 4; }, ResultBadArg1},
        {"first frame of other depth", [](auto& a) { a.frames[0].bitsPerSample = 7; }, ResultBadArg1},
        {"first frame of another type", [](auto& a) { a.frames[0].dataType = UInt16; }, ResultBadArg1},
        {"first frame planar", [](auto& a) { a.frames[0].packing = Planar; }, ResultBadArg1},
        {"first frame of another format", [](auto& a) { a.frames[0].pixelFormat = 2; }, ResultBadArg1},
        {"first frame with a mosaic", [](auto& a) { a.frames[0].bayerGrid = BayerRGGB; }, ResultBadArg1},
        {"roi outside the first frame", [](auto& a) { a.frames[0].width = 2; }, ResultBadArg1},
        {"types without an average", [](auto& a) { setTypes(a, Int8); }, ResultUnsupportedType},
        {"second frame absent", [](auto& a) { a.frames[1].data = nullptr; }, ResultBadArg1},
        {"second frame with a mosaic", [](auto& a) { a.frames[1].bayerGrid = BayerRGGB; }, ResultBadArg1},
        {"roi outside the second frame", [](auto& a) { a.frames[1].height = 2; }, ResultBadArg1},
        {"rows of a frame beyond their stride", [](auto& a) { a.frames[1].stride = 11; }, ResultBadArg1},
        {"rows of dst beyond their stride", [](auto& a) { a.dst->stride = 11; }, ResultBadArg2},
    });
    runCheckTable<AverageArgs>(
        {{"roi left of the frames", [](auto& a) { a.roi.moveLeft(-1); }, ResultBadArg1}});
    runCheckTable<AverageArgs>(
        {{"no channels", [](auto& a) { a.frames[0].channels = a.frames[1].channels = a.dst->channels = 0; },
          ResultFailed}});
}

TEST(AverageImageChecks, AcceptUnsignedSamplesOfUpTo32Bits)
{
    for (const ExImageDataType type : allTypes) {
        TestImage frame(Layout{.type = type}), dst(Layout{.type = type});
        frame.fillBytes(1);
        const bool supported = type == UInt8 || type == UInt16 || type == UInt32;
        EXPECT_EQ(AverageImage({frame}, QRect(0, 0, 4, 3), dst),
                  supported ? ResultOk : ResultUnsupportedType);
    }
}

TEST(AverageImageChecks, AcceptAnUnknownPackingOfOneChannelOnly)
{
    constexpr auto unknownPacking = static_cast<ExPixelPacking>(2);
    for (const int channels : {1, 3}) {
        TestImage frame(Layout{.channels = channels, .packing = Planar});
        TestImage dst(Layout{.channels = channels, .packing = Planar});
        frame.fillBytes(7);
        dst.fillBytes(1);
        frame->packing = dst->packing = unknownPacking;
        const bool laidOutAlike = channels == 1;
        EXPECT_EQ(AverageImage({frame}, QRect(0, 0, 4, 3), dst),
                  laidOutAlike ? ResultOk : ResultUnsupportedType);
        EXPECT_EQ(dst.get<std::uint8_t>(1, 1), laidOutAlike ? 7 : 1);
    }
}

TEST(AverageImageChecks, OfTheWholeFormReportFailureForAllButAnEmptyList)
{
    AverageArgs args;
    EXPECT_EQ(AverageImage({}, args.dst), ResultBadArg1);
    args.dst->data = nullptr;
    EXPECT_EQ(AverageImage(args.frames, args.dst), ResultFailed);
    AverageArgs types;
    setTypes(types, Int16);
    EXPECT_EQ(AverageImage(types.frames, types.dst), ResultFailed);
    AverageArgs absent;
    absent.frames[0].data = nullptr;
    EXPECT_EQ(AverageImage(absent.frames, absent.dst), ResultFailed);
    EXPECT_TRUE(absent.outputsUntouched());
    SxImageBuf none;
    EXPECT_EQ(AverageImage({}, none), ResultBadArg1);
}

TEST(AverageImageChecks, ReportMissingMemoryBeforeABadFrame)
{
    AverageArgs args;
    args.frames[0].data = nullptr;
    ResultCode rc;
    {
        const NewFailure failure(0);
        rc = args.call();
    }
    EXPECT_EQ(rc, ResultFailed);
    args.dst->data = nullptr;
    {
        const NewFailure failure(0);
        rc = args.call();
    }
    EXPECT_EQ(rc, ResultBadArg2);
}

TEST(AverageImageValues, AreTruncated)
{
    TestImage a(Layout{.width = 2, .height = 1}), b(Layout{.width = 2, .height = 1});
    TestImage c(Layout{.width = 2, .height = 1}), dst(Layout{.width = 2, .height = 1});
    a.setAll<std::uint8_t>({1, 255});
    b.setAll<std::uint8_t>({1, 255});
    c.setAll<std::uint8_t>({2, 255});
    ASSERT_EQ(AverageImage({a, b, c}, dst), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{1, 255}));
}

TEST(AverageImageValues, WrapAt32Bits)
{
    TestImage frame(Layout{.width = 1, .height = 1, .type = UInt32}),
        dst(Layout{.width = 1, .height = 1, .type = UInt32});
    frame.set<std::uint32_t>(0, 0, 0xFFFFFFFF);
    ASSERT_EQ(AverageImage({frame}, dst), ResultOk);
    EXPECT_EQ(dst.get<std::uint32_t>(0, 0), 0xFFFFFFFF);
    ASSERT_EQ(AverageImage({frame, frame}, dst), ResultOk);
    EXPECT_EQ(dst.get<std::uint32_t>(0, 0), 0x7FFFFFFFU) << "0xFFFFFFFE / 2";
    TestImage words(Layout{.width = 1, .height = 1, .type = UInt16}),
        mean(Layout{.width = 1, .height = 1, .type = UInt16});
    words.set<std::uint16_t>(0, 0, 65535);
    ASSERT_EQ(AverageImage(QVector<SxImageBuf>(65537, words), mean), ResultOk);
    EXPECT_EQ(mean.get<std::uint16_t>(0, 0), 65535) << "the last count without a wrap";
    ASSERT_EQ(AverageImage(QVector<SxImageBuf>(65538, words), mean), ResultOk);
    EXPECT_EQ(mean.get<std::uint16_t>(0, 0), 65534U / 65538U);
}

TEST(AverageImageValues, GoToTheTopLeftCornerAndLeaveTheRest)
{
    TestImage frame(Layout{.width = 3, .height = 2}), dst(Layout{.width = 3, .height = 2});
    frame.setAll<std::uint8_t>({1, 2, 3, 4, 5, 6});
    dst.setAll<std::uint8_t>({9, 9, 9, 9, 9, 9});
    ASSERT_EQ(AverageImage({frame}, QRect(1, 1, 2, 1), dst), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{5, 6, 9, 9, 9, 9}));
    ASSERT_EQ(AverageImage({frame}, QRect(1, 1, 0, 1), dst), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{5, 6, 9, 9, 9, 9})) << "nothing to average";
}

TEST(AverageImageValues, OfPlanesAreFoundByTheLayoutOfEachFrame)
{
    TestImage a(Layout{.width = 2, .height = 2, .channels = 2, .packing = Planar});
    TestImage b(Layout{.width = 3, .height = 3, .channels = 2, .packing = Planar, .padding = 0});
    TestImage dst(Layout{.width = 1, .height = 2, .channels = 2, .packing = Planar, .padding = 2});
    a.fillBytes(200);
    b.fillBytes(200);
    dst.forEachSample([&](int, int y, int c) {
        a.set<std::uint8_t>(1, y, c, static_cast<std::uint8_t>(10 * y + 20 * c));
        b.set<std::uint8_t>(1, y, c, static_cast<std::uint8_t>(10 * y + 20 * c + 3));
    });
    ASSERT_EQ(AverageImage({a, b}, QRect(1, 0, 1, 2), dst), ResultOk);
    dst.forEachSample(
        [&](int x, int y, int c) { EXPECT_EQ(dst.get<std::uint8_t>(x, y, c), 10 * y + 20 * c + 1); });
    EXPECT_TRUE(dst.guardsIntact());
}

TEST(AverageImageValues, OfSumsAroundMultiplesOfTheCountAreExact)
{
    // One frame carries the sum, the others are 0: every quotient near a whole number is met.
    TestImage dst(Layout{.width = 5, .height = 1, .type = UInt32});
    TestImage sums(Layout{.width = 5, .height = 1, .type = UInt32}),
        zero(Layout{.width = 5, .height = 1, .type = UInt32});
    zero.fillBytes(0);
    forEachTarget([&] {
        for (std::uint32_t count = 1; count <= 300; ++count) {
            QVector<SxImageBuf> frames(static_cast<int>(count), zero);
            frames[0] = sums;
            for (const std::uint32_t quotient : {1U, 254U, 65535U, 0xFFFFFFFFU / count}) {
                const std::uint32_t multiple = quotient * count;
                sums.setAll<std::uint32_t>({multiple - 1, multiple, multiple + 1, 0xFFFFFFFF, 0x80000000});
                ASSERT_EQ(AverageImage(frames, dst), ResultOk);
                for (int x = 0; x < 5; ++x)
                    ASSERT_EQ(dst.get<std::uint32_t>(x, 0), sums.get<std::uint32_t>(x, 0) / count) << count;
            }
        }
    });
}

/// All frames have the samples of one image, except for one whose samples are a unit lower, equal or a unit
/// higher: the sums lie as near to a multiple of the count as they can.
template <class T>
void averageNearMultiples(ExImageDataType type, int count, T largest)
{
    constexpr int quotients = 200, width = 3 * quotients;
    const Layout layout{.width = width, .height = 1, .type = type};
    TestImage other(layout), last(layout), dst(layout);
    std::vector<std::int64_t> sums;
    for (int x = 0; x < width; ++x) {
        const int quotient = largest - 1 - x / 3, off = x % 3 - 1;
        other.set<T>(x, 0, static_cast<T>(quotient));
        last.set<T>(x, 0, static_cast<T>(quotient + off));
        sums.push_back(std::int64_t{count} * quotient + off);
    }
    QVector<SxImageBuf> frames(count, other);
    frames.back() = last;
    ASSERT_EQ(AverageImage(frames, dst), ResultOk);
    for (int x = 0; x < width; ++x)
        ASSERT_EQ(dst.get<T>(x, 0), sums[static_cast<std::size_t>(x)] / count) << count << " frames, x " << x;
}

TEST(AverageImageValues, AreExactForAnyCountOfFrames)
{
    forEachTarget([] {
        // Up to 16448 frames of bytes and 64 of words keep their sums within 22 bits.
        for (const int count : {1, 2, 3, 5, 7, 8, 9, 16, 17, 63, 64, 65, 255, 1000, 16447, 16448, 16449}) {
            averageNearMultiples<std::uint8_t>(UInt8, count, 255);
            averageNearMultiples<std::uint16_t>(UInt16, count, 65535);
        }
    });
}

template <class T>
void compareWithTwin(const Layout& layout, const QRect& roi, int count)
{
    std::deque<TestImage> images;
    std::vector<const TestImage*> twins;
    QVector<SxImageBuf> frames;
    for (int i = 0; i < count; ++i) {
        Layout own = layout;
        own.padding += i % 3;
        images.emplace_back(own).fillRandom(static_cast<std::uint32_t>(i + layout.width));
        twins.push_back(&images.back());
        frames.append(images.back());
    }
    TestImage dst(layout), expected(layout);
    dst.fillBytes(7);
    expected.fillBytes(7);
    ASSERT_EQ(AverageImage(frames, roi, dst), ResultOk);
    oracle::averageImage<T>(twins, roi, expected);
    ASSERT_EQ(dst.bytes(), expected.bytes()) << "width " << layout.width << " count " << count;
}

template <class T>
void compareAll(ExImageDataType type)
{
    for (int width = 0; width <= 260; ++width)
        compareWithTwin<T>({.width = width, .height = 2, .type = type, .padding = width % 4},
                           {0, 0, width, 2}, 1 + width % 19);
    for (const ExPixelPacking packing : {Interleaved, Planar})
        for (const int channels : {1, 2, 3, 5})
            for (const QRect& roi : {QRect(0, 0, 31, 5), QRect(3, 1, 20, 4), QRect(30, 4, 1, 1)})
                compareWithTwin<T>(
                    {.width = 31, .height = 5, .channels = channels, .type = type, .packing = packing}, roi,
                    6);
    compareWithTwin<T>({.width = 4999, .height = 1, .type = type}, {0, 0, 4999, 1}, 9);
}

TEST(AverageImageTargets, EqualTheTwin)
{
    forEachTarget([] {
        compareAll<std::uint8_t>(UInt8);
        compareAll<std::uint16_t>(UInt16);
        compareAll<std::uint32_t>(UInt32);
    });
}

TEST(AverageImageThreads, GiveTheSameBytesForAnyNumber)
{
    forEachThreadCount([] {
        compareWithTwin<std::uint16_t>(
            {.width = 40, .height = 70, .channels = 2, .type = UInt16, .packing = Planar}, {2, 3, 30, 60}, 5);
    });
}

}  // namespace
}  // namespace ko::test
