#include "support/check_table.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/image.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace ko::test {
namespace {

constexpr int most = std::numeric_limits<int>::max();
constexpr ExImageDataType storedTypes[] = {UInt8, Int16, Float32, Float64, Sample128};

struct CopyArgs {
    TestImage src{Layout{.width = 6, .height = 5, .channels = 3, .type = UInt16, .packing = Planar}};
    TestImage dst{Layout{.width = 7, .height = 6, .channels = 3, .type = UInt16, .packing = Planar}};
    QRect rect{1, 2, 4, 3};
    QPoint pos{3, 3};
    std::vector<std::uint8_t> before = dst.bytes();

    CopyArgs() { src.fillRandom(1); }
    ResultCode call() { return CopyBuffer(src, rect, dst, pos, true); }
    bool outputsUntouched() const { return dst.bytes() == before; }
};

TEST(CopyBufferChecks, RefuseWhatDoesNotFitAndWriteNothing)
{
    runCheckTable<CopyArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultFailed},
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, ResultFailed},
        {"src of negative size", [](auto& a) { a.src->height = -5; }, ResultFailed},
        {"dst of negative size", [](auto& a) { a.dst->width = -7; }, ResultFailed},
        {"other channels", [](auto& a) { a.dst->channels = 2; }, ResultFailed},
        {"no channels", [](auto& a) { a.dst->channels = a.src->channels = 0; }, ResultFailed},
        {"negative channels", [](auto& a) { a.dst->channels = a.src->channels = -3; }, ResultFailed},
        {"other type of the same size", [](auto& a) { a.dst->dataType = Int16; }, ResultFailed},
        {"type 0", [](auto& a) { a.dst->dataType = a.src->dataType = typeCode(0); }, ResultFailed},
        {"type 12", [](auto& a) { a.dst->dataType = a.src->dataType = typeCode(12); }, ResultFailed},
        {"other packing", [](auto& a) { a.src->packing = Interleaved, a.src->stride = 64; }, ResultFailed},
        {"rectangle left of src", [](auto& a) { a.rect.moveLeft(-1); }, ResultFailed},
        {"rectangle above src", [](auto& a) { a.rect.moveTop(-1); }, ResultFailed},
        {"rectangle right of src", [](auto& a) { a.rect.moveLeft(3); }, ResultFailed},
        {"rectangle below src", [](auto& a) { a.rect.moveTop(3); }, ResultFailed},
        {"rectangle of negative width", [](auto& a) { a.rect.setCoords(2, 0, 0, 1); }, ResultFailed},
        {"rectangle of all coordinates",
         [](auto& a) { a.rect.setCoords(std::numeric_limits<int>::min(), 0, most, 2); }, ResultFailed},
        {"position left of dst", [](auto& a) { a.pos.setX(-1); }, ResultFailed},
        {"position above dst", [](auto& a) { a.pos.setY(-1); }, ResultFailed},
        {"beyond the right of dst", [](auto& a) { a.pos.setX(4); }, ResultFailed},
        {"beyond the bottom of dst", [](auto& a) { a.pos.setY(4); }, ResultFailed},
        {"position far away",
         [](auto& a) {
             a.pos = {most, most};
         },
         ResultFailed},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 11; }, ResultFailed},
        {"dst rows beyond their stride", [](auto& a) { a.dst->stride = 13; }, ResultFailed},
        {"src beyond all addresses", [](auto& a) { a.src->height = a.src->channels = a.src->stride = most; },
         ResultFailed},
    });
}

void expectCopiedRectangle(const Layout& from, const Layout& to, const QRect& rect, const QPoint& pos)
{
    TestImage src(from), dst(to), expected(to);
    src.fillRandom(7);
    dst.fillBytes(0x3C);
    expected.fillBytes(0x3C);
    for (int y = 0; y < rect.height(); ++y)
        for (int x = 0; x < rect.width(); ++x)
            for (int c = 0; c < from.channels; ++c)
                std::memcpy(expected.sample(pos.x() + x, pos.y() + y, c),
                            src.sample(rect.x() + x, rect.y() + y, c),
                            static_cast<std::size_t>(bytesPerSample(from.type)));
    for (const bool flag : {false, true}) {
        ASSERT_EQ(CopyBuffer(src, rect, dst, pos, flag), ResultOk);
        EXPECT_EQ(dst.bytes(), expected.bytes()) << "type " << from.type << " packing " << from.packing;
    }
}

TEST(CopyBufferValues, AreTheRectangleAtItsNewPlaceInEveryTypeAndPacking)
{
    for (const ExImageDataType type : storedTypes) {
        for (const ExPixelPacking packing : {Interleaved, Planar}) {
            for (const int channels : {1, 2, 3, 4}) {
                const Layout from{
                    .width = 9, .height = 6, .channels = channels, .type = type, .packing = packing};
                Layout to = from;
                to.width = 12;
                to.height = 8;
                to.padding = 11;
                to.misalignment = 3;
                expectCopiedRectangle(from, to, QRect(2, 1, 5, 4), QPoint(4, 3));
                expectCopiedRectangle(from, to, QRect(0, 0, 9, 6), QPoint(3, 2));
                expectCopiedRectangle(from, to, QRect(8, 5, 1, 1), QPoint(11, 7));
            }
        }
    }
}

TEST(CopyBufferValues, OfEmptyRectanglesAreNone)
{
    CopyArgs args;
    for (const QRect& rect : {QRect(), QRect(3, 3, 0, 0), QRect(1, 1, 0, 4), QRect(1, 1, 4, 0)}) {
        args.rect = rect;
        args.pos = {0, 0};
        EXPECT_EQ(args.call(), ResultOk);
        EXPECT_TRUE(args.outputsUntouched());
    }
}

TEST(MemCpyValues, AreTheBytesWhateverTheTags)
{
    const std::uint8_t src[] = {1, 2, 3, 4};
    std::uint8_t dst[] = {9, 9, 9, 9};
    EXPECT_EQ(MemCpy(dst, src, 3, 0, 0), ResultOk);
    EXPECT_EQ(dst[2], 3);
    EXPECT_EQ(dst[3], 9);
    EXPECT_EQ(MemCpy(dst, src, 4, 17, ~std::uint64_t{0}), ResultOk);
    EXPECT_EQ(dst[3], 4);
}

TEST(MemCpyValues, MayMoveBytesWithinAnImage)
{
    std::uint8_t bytes[] = {1, 2, 3, 4, 5};
    EXPECT_EQ(MemCpy(bytes + 1, bytes, 4, 0, 0), ResultOk);
    EXPECT_EQ(std::vector<std::uint8_t>(bytes, bytes + 5), (std::vector<std::uint8_t>{1, 1, 2, 3, 4}));
}

TEST(MemCpyChecks, RefuseNullAndSizesThatNoObjectHas)
{
    std::uint8_t byte = 3;
    EXPECT_EQ(MemCpy(nullptr, &byte, 1, 0, 0), ResultFailed);
    EXPECT_EQ(MemCpy(&byte, nullptr, 1, 0, 0), ResultFailed);
    EXPECT_EQ(MemCpy(&byte, &byte, std::uint64_t{1} << 63, 0, 0), ResultFailed);
    EXPECT_EQ(MemCpy(nullptr, nullptr, 0, 0, 0), ResultOk);
    EXPECT_EQ(byte, 3);
}

struct ChannelArgs {
    TestImage src{Layout{.channels = 3, .type = UInt16}};
    TestImage dst{Layout{.channels = 2, .type = UInt16, .packing = Planar}};
    int from = 2;
    int to = 1;
    std::vector<std::uint8_t> before = dst.bytes();

    ChannelArgs() { src.fillRandom(3); }
    ResultCode call() { return CopyChannel(src, from, dst, to); }
    bool outputsUntouched() const { return dst.bytes() == before; }
};

TEST(CopyChannelChecks, RefuseWhatDoesNotFitAndWriteNothing)
{
    runCheckTable<ChannelArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultFailed},
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, ResultFailed},
        {"negative source channel", [](auto& a) { a.from = -1; }, ResultFailed},
        {"negative destination channel", [](auto& a) { a.to = -1; }, ResultFailed},
        {"source channel that does not exist", [](auto& a) { a.from = 3; }, ResultFailed},
        {"destination channel that does not exist", [](auto& a) { a.to = 2; }, ResultFailed},
        {"narrower", [](auto& a) { a.dst->width = 3; }, ResultFailed},
        {"lower", [](auto& a) { a.dst->height = 2; }, ResultFailed},
        {"other type of the same size", [](auto& a) { a.dst->dataType = Int16; }, ResultFailed},
        {"type 0", [](auto& a) { a.dst->dataType = a.src->dataType = typeCode(0); }, ResultFailed},
        {"negative size", [](auto& a) { a.dst->width = a.src->width = -1; }, ResultFailed},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 23; }, ResultFailed},
        {"dst rows beyond their stride", [](auto& a) { a.dst->stride = 7; }, ResultFailed},
    });
}

/// What CopyChannel(src, from, dst, to) does, sample by sample.
void copyChannelTwin(const TestImage& src, int from, TestImage& dst, int to)
{
    for (int y = 0; y < src.buf().height; ++y)
        for (int x = 0; x < src.buf().width; ++x)
            std::memcpy(dst.sample(x, y, to), src.sample(x, y, from),
                        static_cast<std::size_t>(bytesPerSample(src.buf().dataType)));
}

TEST(CopyChannelValues, AreTheChannelInEveryTypeAndBetweenPackings)
{
    for (const ExImageDataType type : storedTypes) {
        for (const ExPixelPacking srcPacking : {Interleaved, Planar}) {
            for (const ExPixelPacking dstPacking : {Interleaved, Planar}) {
                for (const int srcChannels : {1, 3, 4}) {
                    const Layout from{
                        .width = 37, .channels = srcChannels, .type = type, .packing = srcPacking};
                    const Layout to{.width = 37,
                                    .channels = 2,
                                    .type = type,
                                    .packing = dstPacking,
                                    .padding = 9,
                                    .misalignment = 5};
                    TestImage src(from), dst(to), expected(to);
                    src.fillRandom(11);
                    ASSERT_EQ(CopyChannel(src, srcChannels - 1, dst, 1), ResultOk);
                    copyChannelTwin(src, srcChannels - 1, expected, 1);
                    EXPECT_EQ(dst.bytes(), expected.bytes())
                        << type << srcPacking << dstPacking << srcChannels;
                }
            }
        }
    }
}

void expectPickedChannels(ExImageDataType type, int width, int channels)
{
    TestImage src(Layout{.width = width, .height = 2, .channels = channels, .type = type});
    src.fillRandom(static_cast<std::uint32_t>(width));
    const Layout mono{.width = width, .height = 2, .type = type, .padding = 2, .misalignment = 3};
    for (int channel = 0; channel < channels; ++channel) {
        TestImage dst(mono), expected(mono);
        copyChannelTwin(src, channel, expected, 0);
        ASSERT_EQ(CopyChannel(src, channel, dst, 0), ResultOk);
        ASSERT_EQ(dst.bytes(), expected.bytes())
            << "type " << type << " width " << width << " channel " << channel << " of " << channels;
    }
}

TEST(CopyChannelTargets, EqualTheTwinForEveryWidthAndChannelOfPixels)
{
    forEachTarget([] {
        for (const ExImageDataType type : {Int8, UInt16, Float32})
            for (int width = 0; width <= 130; ++width)
                for (const int channels : {3, 4})
                    expectPickedChannels(type, width, channels);
    });
}

TEST(CopyChannelValues, MayStayInTheImage)
{
    for (const ExPixelPacking packing : {Interleaved, Planar}) {
        for (const int to : {0, 1, 2}) {
            const Layout layout{.channels = 3, .type = Sample128, .packing = packing};
            TestImage image(layout), expected(layout);
            image.fillRandom(2);
            expected.fillRandom(2);
            ASSERT_EQ(CopyChannel(image, 1, image, to), ResultOk);
            copyChannelTwin(expected, 1, expected, to);
            EXPECT_EQ(image.bytes(), expected.bytes());
        }
    }
}

TEST(CopyChannelValues, TakeAMonoImageAlikeInEitherPacking)
{
    TestImage src(Layout{.width = 5}), dst(Layout{.width = 5});
    src.fillRandom(4);
    src->packing = Planar;
    ASSERT_EQ(CopyChannel(src, 0, dst, 0), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), src.all<std::uint8_t>());
}

TEST(CopyChannelValues, OfAnImageWithoutPixelsAreNone)
{
    TestImage src(Layout{.width = 0}), dst(Layout{.width = 0});
    EXPECT_EQ(CopyChannel(src, 0, dst, 0), ResultOk);
}

}  // namespace
}  // namespace ko::test
