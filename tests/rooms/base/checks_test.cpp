#include "base/checks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace ko::test {
namespace {

constexpr int most = std::numeric_limits<int>::max();

SxImageBuf image(int width, int height, int stride)
{
    static std::uint8_t pixel;
    SxImageBuf buf;
    buf.width = width;
    buf.height = height;
    buf.stride = stride;
    buf.channels = 1;
    buf.dataType = UInt8;
    buf.data = &pixel;
    return buf;
}

TEST(FirstFailure, NamesTheEarliestRowThatDoesNotHold)
{
    EXPECT_EQ(firstFailure({}), ResultOk);
    EXPECT_EQ(firstFailure({{ResultBadArg1, true}, {ResultBadArg2, true}}), ResultOk);
    EXPECT_EQ(firstFailure({{ResultBadArg1, true}, {ResultBadArg3, false}, {ResultBadArg2, false}}),
              ResultBadArg3);
}

TEST(Regions, LieInsideOnlyAsAWhole)
{
    const SxImageBuf buf = image(20, 20, 20);
    EXPECT_FALSE(isInside(QRect(-1, 0, 10, 10), buf));
    EXPECT_TRUE(isInside(QRect(10, 10, 10, 10), buf));
    EXPECT_FALSE(isInside(QRect(11, 10, 10, 10), buf));
    EXPECT_FALSE(isInside(QRect(10, 11, 10, 10), buf));
    EXPECT_FALSE(isInside(QRect(0, -1, 10, 10), buf));
    EXPECT_FALSE(isInside(QRect(5, 5, -2, 3), buf));
}

TEST(Regions, WithoutPixelsAreValidWhereTheyStickOutNowhere)
{
    const SxImageBuf buf = image(20, 20, 20);
    EXPECT_TRUE(isInside(QRect(), buf));
    EXPECT_TRUE(isInside(QRect(7, 7, 0, 3), buf));
    EXPECT_TRUE(isInside(QRect(100, 100, 0, 0), buf));
    EXPECT_FALSE(isInside(QRect(30, 7, 0, 3), buf));
}

TEST(Regions, OfExtremeCoordinatesDoNotOverflow)
{
    const SxImageBuf buf = image(most, most, most);
    EXPECT_TRUE(isInside(QRect(0, 0, most, most), buf));
    EXPECT_FALSE(isInside(QRect(QPoint(std::numeric_limits<int>::min(), 0), QPoint(most, 5)), buf));
}

TEST(Regions, OfAWholeImageOfNegativeSizeAreEmpty)
{
    constexpr int least = std::numeric_limits<int>::min();
    EXPECT_EQ(wholeOf(image(least, -1, 20)), QRect(0, 0, 0, 0));
    EXPECT_EQ(wholeOf(image(7, least, 20)), QRect(0, 0, 7, 0));
}

TEST(Points, LieInsideBelowTheSize)
{
    const SxImageBuf buf = image(3, 2, 3);
    EXPECT_TRUE(isInside(QPoint(2, 1), buf));
    EXPECT_FALSE(isInside(QPoint(3, 1), buf));
    EXPECT_FALSE(isInside(QPoint(2, 2), buf));
    EXPECT_FALSE(isInside(QPoint(-1, 0), buf));
    EXPECT_FALSE(isInside(QPoint(0, -1), buf));
}

TEST(Types, AreAnyOfThoseNamed)
{
    SxImageBuf buf = image(1, 1, 1);
    for (int code = 0; code <= 12; ++code) {
        buf.dataType = static_cast<ExImageDataType>(code);
        EXPECT_EQ(hasType(buf, Int32, UInt32, Float32, Float64, Sample128, Int64, UInt64),
                  code >= 5 && code <= 11)
            << code;
    }
}

TEST(PresentImages, HavePixelsAndNoNegativeSize)
{
    EXPECT_TRUE(isPresent(image(4, 3, 4)));
    EXPECT_TRUE(isPresent(image(0, 0, 0)));
    EXPECT_FALSE(isPresent(image(-4, 3, 4)));
    EXPECT_FALSE(isPresent(image(4, -3, 4)));
    SxImageBuf none = image(4, 3, 4);
    none.data = nullptr;
    EXPECT_FALSE(isPresent(none));
}

TEST(Rows, FitTheirStrideOrTheImageIsRefused)
{
    EXPECT_TRUE(rowsFit(image(4, 3, 4)));
    EXPECT_TRUE(rowsFit(image(0, 3, 0)));
    EXPECT_FALSE(rowsFit(image(4, 3, 3)));
    EXPECT_FALSE(rowsFit(image(0, 3, -4)));
    SxImageBuf colour = image(4, 3, 4);
    colour.channels = 3;
    EXPECT_FALSE(rowsFit(colour));
    colour.packing = Planar;
    EXPECT_TRUE(rowsFit(colour));
}

TEST(Rows, ThatDoNotExistFitAnyStride)
{
    EXPECT_TRUE(rowsFit(image(4, 0, 0)));
    EXPECT_TRUE(rowsFit(image(4, 0, 3)));
    EXPECT_FALSE(rowsFit(image(4, 0, -4)));
    EXPECT_FALSE(rowsFit(image(4, -1, 3)));
    SxImageBuf longest = image(most, 0, 0);
    EXPECT_TRUE(rowsFit(longest));
    longest.dataType = UInt16;
    EXPECT_FALSE(rowsFit(longest)) << "a row that no stride could hold";
}

/// Whether the rows fit, without a limit to what a number can hold.
bool fitsExactly(const SxImageInfo& info)
{
    __extension__ using Wide = __int128;
    const Wide channels = std::max(info.channels, 0), width = std::max(info.width, 0);
    const Wide row = (info.packing == Interleaved ? width * channels : width) * bytesPerSample(info.dataType);
    const Wide rows = Wide{std::max(info.height, 0)} * (info.packing == Interleaved ? Wide{1} : channels);
    return info.stride >= 0 && row <= (info.height == 0 ? most : info.stride) &&
           rows * info.stride <= std::numeric_limits<std::ptrdiff_t>::max();
}

TEST(Rows, AreJudgedByExactProductsWhateverTheFieldsHold)
{
    constexpr int least = std::numeric_limits<int>::min();
    const int extremes[] = {least, least + 1, -most / 2, -1, 0, 1, 2, 46341, most - 1, most};
    SxImageBuf buf = image(1, 1, 1);
    for (const int type : {0, 2, 4, 7, 8, 9, 12})
        for (const int packing : {0, 1, 2})
            for (const int width : extremes)
                for (const int height : extremes)
                    for (const int channels : extremes)
                        for (const int stride : extremes) {
                            buf.dataType = static_cast<ExImageDataType>(type);
                            buf.packing = static_cast<ExPixelPacking>(packing);
                            buf.width = width;
                            buf.height = height;
                            buf.channels = channels;
                            buf.stride = stride;
                            const bool isKnown = bytesPerSample(type) != 0;
                            ASSERT_TRUE(rowsFit(buf) == fitsExactly(buf) || !isKnown)
                                << width << " x " << height << " x " << channels << ", stride " << stride
                                << ", type " << type << ", packing " << packing;
                            static_cast<void>(
                                isInside(QRect(QPoint(width, height), QPoint(channels, stride)), buf));
                            static_cast<void>(isInside(QPoint(width, height), buf));
                            static_cast<void>(wholeOf(buf));
                        }
}

TEST(Rows, WithProductsBeyond64BitsDoNotFit)
{
    SxImageBuf huge = image(most, most, most);
    huge.channels = most;
    huge.dataType = Sample128;
    EXPECT_FALSE(rowsFit(huge));
    huge.packing = Planar;
    EXPECT_FALSE(rowsFit(huge));
    huge.width = 1;
    EXPECT_FALSE(rowsFit(huge)) << "planes beyond all addresses";
}

}  // namespace
}  // namespace ko::test
