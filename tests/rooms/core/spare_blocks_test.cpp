#include "core/spare_blocks.h"

#include <ko/cpp/image.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <thread>

namespace ko::test {
namespace {

constexpr int width = 1024, height = 512;

Image newImage(int rows = height, bool cleared = false)
{
    Image image;
    EXPECT_EQ(AllocBuffer(image, width, rows, 1, UInt8, 0, 8, Interleaved, cleared, CompressionNone),
              ResultOk);
    return image;
}

TEST(SpareBlocks, ServeTheNextImageOfTheirSize)
{
    const UsesSpareBlocks spareBlocks;
    Image other = newImage(height / 2);
    Image first = newImage();
    const std::uint8_t* const memory = first->data;
    first = Image();
    EXPECT_NE(newImage(height + 1)->data, memory);
    EXPECT_EQ(newImage()->data, memory);
    EXPECT_EQ(newImage()->data, memory) << "given back a second time";
}

TEST(SpareBlocks, AreNotForOtherThreads)
{
    const UsesSpareBlocks spareBlocks;
    const std::uint8_t* const memory = newImage()->data;
    std::thread([&] { EXPECT_NE(newImage()->data, memory); }).join();
    EXPECT_EQ(newImage()->data, memory);
}

TEST(SpareBlocks, KnowTheirSizeWhateverTheRecordSays)
{
    const UsesSpareBlocks spareBlocks;
    Image image = newImage();
    const std::uint8_t* const memory = image->data;
    image->height = 2 * height;
    image = Image();
    EXPECT_NE(newImage(2 * height)->data, memory);
    EXPECT_EQ(newImage()->data, memory);
}

TEST(SpareBlocks, AreFollowedByZerosAndNotUsedWhereZerosAreWanted)
{
    const UsesSpareBlocks spareBlocks;
    {
        const Image used = newImage();
        std::memset(used->data, 77, std::size_t{width} * height);
    }
    const Image again = newImage();
    const std::uint8_t* const end = again->data + std::ptrdiff_t{width} * height;
    EXPECT_EQ(std::count(end, end + 64, 0), 64);
    const Image zeros = newImage(height, true);
    EXPECT_EQ(std::count(zeros->data, zeros->data + std::ptrdiff_t{width} * height, 0), width * height);
}

TEST(SpareBlocks, AreFreedBeforeTheyBecomeTooMany)
{
    const UsesSpareBlocks spareBlocks;
    constexpr std::uint64_t bytes = std::uint64_t{1} << 20;
    int kept = 0;
    for (int i = 0; i < 100; ++i)
        kept += keepSpareBlock(std::malloc(bytes), bytes) ? 1 : 0;
    EXPECT_EQ(kept, 100);
    int taken = 0;
    while (void* const block = takeSpareBlock(bytes)) {
        std::free(block);
        ++taken;
    }
    EXPECT_EQ(taken, 64);
}

}  // namespace
}  // namespace ko::test
