#include <ko/image.h>

#include <gtest/gtest.h>

#include <limits>

namespace ko::test {
namespace {

TEST(BytesPerSample, FollowTheTypeCode)
{
    constexpr int expected[] = {0, 1, 1, 2, 2, 4, 4, 4, 8, 16, 8, 8, 0};
    for (int code = 0; code <= 12; ++code)
        EXPECT_EQ(bytesPerSample(code), expected[code]) << code;
    EXPECT_EQ(bytesPerSample(-1), 0);
}

TEST(ImageByteSize, CountsEveryPlaneOfAnythingButInterleavedData)
{
    SxImageInfo info;
    info.stride = 12;
    info.height = 5;
    info.channels = 3;
    EXPECT_EQ(imageByteSize(info), 60U);
    info.packing = Planar;
    EXPECT_EQ(imageByteSize(info), 180U);
    info.packing = static_cast<ExPixelPacking>(7);
    EXPECT_EQ(imageByteSize(info), 180U);
}

TEST(ImageByteSize, NeitherOverflowsNorTurnsNegative)
{
    constexpr int most = std::numeric_limits<int>::max();
    SxImageInfo info;
    info.packing = Planar;
    info.stride = info.height = info.channels = most;
    EXPECT_EQ(imageByteSize(info), std::numeric_limits<std::size_t>::max());
    info.channels = 1;
    EXPECT_EQ(imageByteSize(info), std::size_t{most} * std::size_t{most});
    info.channels = -1;
    EXPECT_EQ(imageByteSize(info), 0U);
    info.channels = 1;
    info.stride = -12;
    EXPECT_EQ(imageByteSize(info), 0U);
    info.stride = 12;
    info.height = -1;
    EXPECT_EQ(imageByteSize(info), 0U);
}

TEST(ImageRecords, StartAsNoImageWithoutMosaic)
{
    const SxImageBuf image;
    EXPECT_EQ(image.data, nullptr);
    EXPECT_EQ(image.pixelFormat, 1);
    EXPECT_EQ(image.bayerGrid, BayerNone);
    EXPECT_EQ(image.width + image.height + image.stride + image.channels + image.bitsPerSample, 0);
    EXPECT_EQ(image.dataType, 0);
    EXPECT_EQ(image.packing, Interleaved);
    EXPECT_EQ(image.reserved[0] | image.reserved[1] | image.reserved[2], 0);
    EXPECT_EQ(image.allocation | image.memoryTag | image.bookkeeping[0] | image.bookkeeping[1], 0U);
}

TEST(LogicalChannels, AreThePhysicalOnes)
{
    SxImageBuf image;
    image.channels = 3;
    for (const int channel : {-1, 0, 1, 2, 3, 99})
        EXPECT_EQ(ChannelIndexLogicalToPhysical(channel, image), channel);
}

}  // namespace
}  // namespace ko::test
