#include "support/allocation_failure.h"

#include <ko/pipeline.h>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <utility>

namespace ko::test {
namespace {

SxImageBuf allocated(int width = 4, int height = 3, ExPixelPacking packing = Interleaved, int channels = 1)
{
    SxImageBuf image;
    EXPECT_EQ(ResultOk,
              AllocBuffer(image, width, height, channels, UInt8, 0, 8, packing, true, CompressionNone));
    return image;
}

TEST(Metadata, IsAnOrderedMapOfNamedValues)
{
    CxMetadata metadata;
    EXPECT_TRUE(metadata.isEmpty());
    metadata.set("gain", 2);
    metadata.set("exposure", 20.5);
    metadata.set("gain", 3);
    EXPECT_EQ(2, metadata.count());
    EXPECT_EQ((QStringList{"exposure", "gain"}), metadata.names());
    EXPECT_EQ(3, metadata.value("gain"));
    EXPECT_EQ(QVariant(), metadata.value("none"));
    EXPECT_EQ(5, metadata.value("none", 5));
    EXPECT_TRUE(metadata.remove("gain"));
    EXPECT_FALSE(metadata.remove("gain"));
    EXPECT_FALSE(metadata.contains("gain"));
}

TEST(Metadata, IsAValue)
{
    CxMetadata one;
    one.set("gain", 2);
    CxMetadata other = one;
    EXPECT_EQ(one, other);
    other.set("gain", 3);
    EXPECT_NE(one, other);
    EXPECT_EQ(2, one.value("gain"));
    one = other;
    EXPECT_EQ(one, other);
}

TEST(DataInfo, IsToldApartAndCopiedByItsClass)
{
    SxImageInfo info;
    info.width = 12;
    const std::unique_ptr<IxDataInfo> image = std::make_unique<CxImageDataInfo>(info);
    const std::unique_ptr<IxDataInfo> copy(image->clone());
    ASSERT_NE(nullptr, dynamic_cast<CxImageDataInfo*>(copy.get()));
    EXPECT_EQ(12, dynamic_cast<CxImageDataInfo&>(*copy).info().width);
    EXPECT_EQ(nullptr, IxDataInfo().clone());
}

TEST(ImageData, StartsWithoutImageNumberTimestampAndDate)
{
    CxImageData frame;
    EXPECT_EQ(nullptr, frame.image().data);
    EXPECT_EQ(1, frame.image().pixelFormat);
    EXPECT_EQ(BayerNone, frame.image().bayerGrid);
    EXPECT_EQ(0, frame.frameNo());
    EXPECT_EQ(0U, frame.timestamp());
    EXPECT_FALSE(frame.dateTime().isValid());
    EXPECT_TRUE(frame.metadata().isEmpty());
}

TEST(ImageData, IsRecognisedByItsMetaObjectAndMayHaveAParent)
{
    QObject parent;
    IxData* const data = new CxImageData(&parent);
    EXPECT_NE(nullptr, qobject_cast<CxImageData*>(data));
    EXPECT_EQ(&parent, data->parent());
    IxData other;
    EXPECT_EQ(nullptr, qobject_cast<CxImageData*>(&other));
}

TEST(ImageData, AdoptsAnImageWithoutCopyingItsPixels)
{
    const SxImageBuf image = allocated();
    const QDateTime date = QDateTime::fromSecsSinceEpoch(5);
    CxImageData frame;
    frame.setImageShallow(image, 3, ~std::uint64_t{0}, date);
    EXPECT_EQ(image.data, frame.image().data);
    EXPECT_EQ(3, frame.frameNo());
    EXPECT_EQ(~std::uint64_t{0}, frame.timestamp());
    EXPECT_EQ(date, frame.dateTime());
}

// AddressSanitizer sees a second release and a missing one.
TEST(ImageData, ReleasesEveryAdoptedImageOnce)
{
    CxImageData frame;
    frame.setImageShallow(allocated(), 0, 0, {});
    frame.setImageShallow(allocated(), 1, 0, {});
    frame.setImageShallow(frame.image(), 2, 0, {});
    EXPECT_NE(nullptr, frame.image().data);
    frame.setImageShallow(SxImageBuf(), 3, 0, {});
    EXPECT_EQ(nullptr, frame.image().data);
    frame.setImageShallow(allocated(), 4, 0, {});
}

TEST(ImageData, LeavesTheProgramsOwnMemoryAlone)
{
    std::uint8_t pixels[4] = {1, 2, 3, 4};
    SxImageBuf image;
    image.width = 4;
    image.height = 1;
    image.stride = 4;
    image.channels = 1;
    image.dataType = UInt8;
    image.data = pixels;
    {
        CxImageData frame;
        frame.setImageShallow(image, 0, 0, {});
    }
    EXPECT_EQ(4, pixels[3]);
}

TEST(ImageData, LetsTheImageBeTakenOut)
{
    SxImageBuf mine;
    {
        CxImageData frame;
        frame.setImageShallow(allocated(), 0, 0, {});
        mine = std::exchange(frame.image(), SxImageBuf());
    }
    mine.data[0] = 9;
    FreeBuffer(mine);
}

TEST(ImageData, DescribesItsImage)
{
    CxImageData frame;
    frame.setImageShallow(allocated(4, 3, Planar, 2), 0, 0, {});
    const std::unique_ptr<IxDataInfo> info(frame.dataInfo());
    ASSERT_NE(nullptr, dynamic_cast<CxImageDataInfo*>(info.get()));
    EXPECT_EQ(Planar, dynamic_cast<CxImageDataInfo&>(*info).info().packing);
    EXPECT_EQ(nullptr, IxData().dataInfo());
}

TEST(ImageData, IsCopiedWithItsPixels)
{
    CxImageData frame;
    frame.setImageShallow(allocated(4, 3, Planar, 2), 6, 7, QDateTime::fromSecsSinceEpoch(8));
    frame.metadata().set("gain", 2);
    SxImageBuf& image = frame.image();
    image.data[image.stride * 5 + 3] = 77;
    const std::unique_ptr<CxImageData> copy(frame.clone());
    ASSERT_NE(nullptr, copy);
    EXPECT_NE(image.data, copy->image().data);
    EXPECT_EQ(77, copy->image().data[image.stride * 5 + 3]);
    EXPECT_EQ(Planar, copy->image().packing);
    EXPECT_EQ(6, copy->frameNo());
    EXPECT_EQ(7U, copy->timestamp());
    EXPECT_EQ(frame.dateTime(), copy->dateTime());
    EXPECT_EQ(frame.metadata(), copy->metadata());
    EXPECT_EQ(nullptr, IxData().clone());
}

TEST(ImageData, WithoutImageIsCopiedToo)
{
    CxImageData frame;
    frame.image().width = 5;
    const std::unique_ptr<CxImageData> copy(frame.clone());
    ASSERT_NE(nullptr, copy);
    EXPECT_EQ(5, copy->image().width);
}

TEST(ImageData, HasNoCopyWhenPixelMemoryRunsOut)
{
    CxImageData frame;
    frame.setImageShallow(allocated(), 0, 0, {});
    const AllocationFailure none(0);
    EXPECT_EQ(nullptr, frame.clone());
}

}  // namespace
}  // namespace ko::test
