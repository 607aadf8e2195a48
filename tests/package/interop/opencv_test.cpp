// Views between images and cv::Mat: the same samples seen both ways, and what is refused.
#include <ko/interop/opencv.h>

#include <ko/pixel.h>

#include "pixels.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

namespace ko::test {
namespace {

const std::pair<ExImageDataType, int> equivalents[] = {
    {Int8, CV_8S},   {UInt8, CV_8U},    {Int16, CV_16S},   {UInt16, CV_16U},
    {Int32, CV_32S}, {Float32, CV_32F}, {Float64, CV_64F},
};

TEST(ViewAsMat, SharesTheMemoryOfEveryTypeOfTheTableAndNoOther)
{
    for (int type = -1; type <= 12; ++type) {
        for (const int channels : {-1, 0, 1, 2, 3, 5, 512, 513}) {
            Pixels pixels(3, 4, 513, Float64);
            pixels.view.dataType = static_cast<ExImageDataType>(type);
            pixels.view.channels = channels;
            int depth = -1;
            for (const auto& each : equivalents)
                if (each.first == type && channels >= 1 && channels <= 512)
                    depth = each.second;
            const cv::Mat seen = viewAsMat(pixels.view);
            ASSERT_EQ(seen.empty(), depth < 0) << "type " << type << ", channels " << channels;
            if (depth < 0)
                continue;
            EXPECT_EQ(seen.type(), CV_MAKETYPE(depth, channels));
            EXPECT_EQ(seen.data, pixels.view.data);
            EXPECT_EQ(seen.size(), cv::Size(3, 4));
            EXPECT_EQ(seen.step[0], static_cast<std::size_t>(pixels.view.stride));
        }
    }
}

TEST(ViewAsMat, KeepsTheOrderOfTheChannelsAndIsWritten)
{
    Pixels colour(2, 2, 3, UInt16);
    colour.at<std::uint16_t>(1, 1, 0) = 1000;
    colour.at<std::uint16_t>(1, 1, 2) = 3000;
    cv::Mat view = viewAsMat(colour.view);
    EXPECT_EQ(view.at<cv::Vec3w>(1, 1)[0], 1000);
    EXPECT_EQ(view.at<cv::Vec3w>(1, 1)[2], 3000);
    const std::uint8_t padding = colour.view.data[12];
    view = cv::Scalar(7, 8, 9);
    EXPECT_EQ(colour.at<std::uint16_t>(1, 1, 0), 7);
    EXPECT_EQ(colour.at<std::uint16_t>(0, 1, 2), 9);
    EXPECT_EQ(colour.view.data[12], padding);
}

TEST(ViewAsMat, TakesAnyStrideOfWholeSamplesThatHoldsARow)
{
    const auto isRefused = [](ExImageDataType type, int moved, int stride) {
        Pixels pixels(4, 2, 1, type, 64);
        pixels.view.data += moved;
        pixels.view.stride = stride;
        return viewAsMat(pixels.view).empty();
    };
    EXPECT_FALSE(isRefused(UInt8, 1, 4));
    EXPECT_FALSE(isRefused(UInt8, 3, 5));
    EXPECT_TRUE(isRefused(UInt8, 0, 3));
    EXPECT_TRUE(isRefused(UInt8, 0, 0));
    EXPECT_TRUE(isRefused(UInt8, 0, -8));
    EXPECT_FALSE(isRefused(Float32, 4, 20));
    EXPECT_TRUE(isRefused(Float32, 4, 18));
    EXPECT_TRUE(isRefused(Float32, 2, 20));
    EXPECT_TRUE(isRefused(Float64, 4, 40));
}

TEST(ViewAsMat, OfASingleRowKeepsItsSamples)
{
    Pixels pixels(4, 1, 1, UInt16, 6);
    const cv::Mat view = viewAsMat(pixels.view);
    EXPECT_EQ(view.at<std::uint16_t>(0, 3), 0x0706);
}

TEST(ViewAsMat, RefusesAbsentAndEmptyImagesAndPlanarColour)
{
    Pixels pixels(4, 2, 1, UInt8);
    for (const auto spoil :
         {+[](SxImageBuf& view) { view.data = nullptr; }, +[](SxImageBuf& view) { view.width = 0; },
          +[](SxImageBuf& view) { view.width = -1; }, +[](SxImageBuf& view) { view.height = 0; },
          +[](SxImageBuf& view) { view.height = -2147483647; },
          +[](SxImageBuf& view) { view.width = view.channels = 2147483647; }}) {
        SxImageBuf spoiled = pixels.view;
        spoil(spoiled);
        EXPECT_TRUE(viewAsMat(spoiled).empty());
    }
    pixels.view.packing = Planar;
    EXPECT_FALSE(viewAsMat(pixels.view).empty());
    Pixels colour(4, 2, 3, UInt8);
    colour.view.packing = Planar;
    EXPECT_TRUE(viewAsMat(colour.view).empty());
}

TEST(ViewAsMat, OfOnePlaneOfPlanarColourIsMadeFromACopyOfTheRecord)
{
    Pixels colour(4, 6, 1, UInt8, 4);
    colour.view.height = 2;
    colour.view.channels = 3;
    colour.view.packing = Planar;
    SxImageBuf blue = colour.view;
    blue.channels = 1;
    blue.data += 2 * blue.height * blue.stride;
    EXPECT_EQ(viewAsMat(blue).at<std::uint8_t>(1, 3), 5 * 8 + 3);
}

TEST(ViewOfMat, SharesTheMemoryOfEveryTypeOfTheTableAndNoOther)
{
    for (int depth = 0; depth < CV_DEPTH_MAX; ++depth) {
        for (const int channels : {1, 2, 3, 4, 5, 512}) {
            ExImageDataType type = static_cast<ExImageDataType>(0);
            for (const auto& each : equivalents)
                if (each.second == depth)
                    type = each.first;
            const cv::Mat mat(3, 5, CV_MAKETYPE(depth, channels));
            const SxImageBuf view = viewOf(mat);
            ASSERT_EQ(view.data == nullptr, type == 0) << "depth " << depth;
            if (type == 0)
                continue;
            EXPECT_EQ(view.data, mat.data);
            EXPECT_EQ(view.width, 5);
            EXPECT_EQ(view.height, 3);
            EXPECT_EQ(static_cast<std::size_t>(view.stride), mat.step[0]);
            EXPECT_EQ(view.channels, channels);
            EXPECT_EQ(view.dataType, type);
            EXPECT_EQ(view.bitsPerSample, 8 * bytesPerSample(type));
            EXPECT_EQ(view.packing, Interleaved);
            EXPECT_EQ(view.pixelFormat, channels == 1 || channels == 3 || channels == 4 ? 1 : 0);
            EXPECT_EQ(view.bayerGrid, BayerNone);
            EXPECT_EQ(view.allocation, 0U);
        }
    }
}

TEST(ViewOfMat, GoesThereAndBack)
{
    for (const auto& each : equivalents) {
        Pixels pixels(6, 4, 3, each.first, 16);
        const cv::Mat seen = viewAsMat(pixels.view);
        const SxImageBuf back = viewOf(seen);
        EXPECT_EQ(back.data, pixels.view.data);
        EXPECT_EQ(back.stride, pixels.view.stride);
        EXPECT_EQ(back.dataType, each.first);
    }
}

TEST(ViewOfMat, IsWrittenByOperations)
{
    cv::Mat mat(5, 7, CV_16UC1, cv::Scalar(100));
    mat.at<std::uint16_t>(4, 6) = 2000;
    SxImageBuf view = viewOf(mat);
    ASSERT_EQ(ThresholdBinary(view, 150, 1, 2), ResultOk);
    EXPECT_EQ(mat.at<std::uint16_t>(0, 0), 1);
    EXPECT_EQ(mat.at<std::uint16_t>(4, 6), 2);
}

TEST(ViewOfMat, TakesPartsOfAMatrixOfFullWidthAlone)
{
    const cv::Mat whole(6, 8, CV_8UC1);
    const cv::Mat lower = whole.rowRange(2, 6);
    EXPECT_EQ(viewOf(lower).data, whole.ptr(2));
    EXPECT_EQ(viewOf(lower).height, 4);
    const cv::Mat right = whole.colRange(3, 8);
    EXPECT_EQ(viewOf(right).data, nullptr);
    const cv::Mat left = whole.colRange(0, 3);
    EXPECT_EQ(viewOf(left).data, nullptr);
    const cv::Mat corner = whole(cv::Rect(3, 2, 5, 1));
    EXPECT_EQ(viewOf(corner).data, nullptr);
    const cv::Mat copied = right.clone();
    EXPECT_NE(viewOf(copied).data, nullptr);
}

TEST(ViewOfMat, RefusesEmptyMatricesOtherDimensionsAndEndlessRows)
{
    const cv::Mat none;
    EXPECT_EQ(viewOf(none).data, nullptr);
    const cv::Mat noRows(0, 5, CV_8UC1);
    EXPECT_EQ(viewOf(noRows).data, nullptr);
    const int sizes[] = {2, 3, 4};
    const cv::Mat cube(3, sizes, CV_8UC1);
    EXPECT_EQ(viewOf(cube).data, nullptr);
    // Rows 2 GiB apart: only the record is looked at.
    std::uint8_t byte = 0;
    const cv::Mat endless(2, 1, CV_8UC1, &byte, std::size_t{1} << 31);
    EXPECT_EQ(viewOf(endless).data, nullptr);
    const cv::Mat longest(2, 1, CV_8UC1, &byte, (std::size_t{1} << 31) - 1);
    EXPECT_EQ(viewOf(longest).stride, 2147483647);
}

template <class Mat, class = void>
constexpr bool hasView = false;
template <class Mat>
constexpr bool hasView<Mat, std::void_t<decltype(viewOf(std::declval<Mat>()))>> = true;

TEST(ViewOfMat, OfATemporaryDoesNotCompile)
{
    EXPECT_TRUE(hasView<cv::Mat&>);
    EXPECT_TRUE(hasView<const cv::Mat&>);
    EXPECT_FALSE(hasView<cv::Mat>);
    EXPECT_FALSE(hasView<const cv::Mat>);
}

}  // namespace
}  // namespace ko::test
