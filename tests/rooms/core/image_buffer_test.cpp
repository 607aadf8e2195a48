#include "base/image_view.h"
#include "support/allocation_failure.h"
#include "support/test_image.h"

#include <ko/image.h>

#include <gtest/gtest.h>

#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <thread>

namespace ko::test {
namespace {

constexpr int most = std::numeric_limits<int>::max();

/// A record full of leftovers.
SxImageBuf staleRecord()
{
    SxImageBuf image;
    std::memset(static_cast<void*>(&image), 0x5A, sizeof image);
    return image;
}

bool isForgotten(const SxImageBuf& image)
{
    return image.data == nullptr &&
           (image.allocation | image.memoryTag | image.bookkeeping[0] | image.bookkeeping[1]) == 0;
}

bool isZero(const std::uint8_t* bytes, std::size_t count)
{
    return std::all_of(bytes, bytes + count, [](std::uint8_t byte) { return byte == 0; });
}

bool isAligned(const SxImageBuf& image)
{
    return reinterpret_cast<std::uintptr_t>(image.data) % 64 == 0;
}

/// What the system notes about the pages around an address; empty where it does not tell.
std::string memoryFlagsAt(const std::uint8_t* address)
{
    const auto wanted = reinterpret_cast<std::uintptr_t>(address);
    std::ifstream maps("/proc/self/smaps");
    bool isHere = false;
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t first = 0, end = 0;
        char dash = ' ';
        if (std::istringstream(line) >> std::hex >> first >> dash >> end && dash == '-')
            isHere = first <= wanted && wanted < end;
        else if (isHere && line.starts_with("VmFlags:"))
            return line;
    }
    return {};
}

struct Request {
    int width = 10;
    int height = 7;
    int channels = 1;
    ExImageDataType type = UInt16;
    int stride = 0;
    ExPixelPacking packing = Interleaved;
    ExPixelCompression compression = CompressionNone;

    ResultCode allocate(SxImageBuf& out, bool flag = false) const
    {
        return AllocBuffer(out, width, height, channels, type, stride, 12, packing, flag, compression);
    }
};

TEST(AllocBufferValues, FillTheWholeRecordWhateverItHeld)
{
    SxImageBuf image = staleRecord();
    ASSERT_EQ(AllocBuffer(image, 10, 7, 3, UInt16, 0, 12, Planar, true, CompressionNone), ResultOk);
    EXPECT_EQ(image.width, 10);
    EXPECT_EQ(image.height, 7);
    EXPECT_EQ(image.stride, 64);
    EXPECT_EQ(image.channels, 3);
    EXPECT_EQ(image.bitsPerSample, 12);
    EXPECT_EQ(image.dataType, UInt16);
    EXPECT_EQ(image.packing, Planar);
    EXPECT_EQ(image.pixelFormat, 1);
    EXPECT_EQ(image.bayerGrid, BayerNone);
    EXPECT_EQ(image.reserved[0] | image.reserved[1] | image.reserved[2], 0);
    EXPECT_EQ(image.memoryTag, 0U);
    EXPECT_TRUE(isAligned(image));
    EXPECT_TRUE(isZero(image.data, imageByteSize(image) + 64));
    FreeBuffer(image);
}

TEST(AllocBufferValues, RoundAChosenStrideUpToCacheLines)
{
    struct {
        int width, channels;
        ExImageDataType type;
        ExPixelPacking packing;
        int stride;
    } const rows[] = {
        {0, 1, UInt8, Interleaved, 0},      {1, 1, UInt8, Interleaved, 64},
        {64, 1, UInt8, Interleaved, 64},    {65, 1, UInt8, Interleaved, 128},
        {11, 3, UInt16, Interleaved, 128},  {11, 3, UInt16, Planar, 64},
        {4, 1, Sample128, Interleaved, 64}, {17, 4, Float64, Planar, 192},
    };
    for (const auto& row : rows) {
        SxImageBuf image;
        ASSERT_EQ(AllocBuffer(image, row.width, 2, row.channels, row.type, 0, 8, row.packing, false,
                              CompressionNone),
                  ResultOk);
        EXPECT_EQ(image.stride, row.stride) << row.width << " x " << row.channels << " of " << row.type;
        FreeBuffer(image);
    }
}

TEST(AllocBufferValues, KeepAStrideThatHoldsARow)
{
    for (const int stride : {20, 21, 64, 1000}) {
        SxImageBuf image;
        ASSERT_EQ((Request{.stride = stride}.allocate(image, true)), ResultOk);
        EXPECT_EQ(image.stride, stride);
        EXPECT_TRUE(isZero(image.data, imageByteSize(image) + 64));
        FreeBuffer(image);
    }
}

TEST(AllocBufferValues, HaveReadableZerosBehindTheLastByteOfUndefinedPixelsToo)
{
    for (const int height : {0, 1, 7, 5000}) {
        SxImageBuf image;
        ASSERT_EQ((Request{.height = height, .stride = 21}.allocate(image)), ResultOk);
        EXPECT_TRUE(isAligned(image));
        const std::size_t bytes = imageByteSize(image);
        std::memset(image.data, 0xFF, bytes);
        EXPECT_TRUE(isZero(image.data + bytes, 64));
        FreeBuffer(image);
    }
}

TEST(AllocBufferValues, ClearReusedMemory)
{
    for (int i = 0; i < 50; ++i) {
        SxImageBuf image;
        ASSERT_EQ(Request{}.allocate(image, true), ResultOk);
        EXPECT_TRUE(isZero(image.data, imageByteSize(image) + 64));
        std::memset(image.data, 0xFF, imageByteSize(image));
        FreeBuffer(image);
    }
}

/// Whether the system, or the emulator that stands for it, takes the wish for huge pages and says so.
bool tellsOfHugePages()
{
    constexpr std::size_t bytes = std::size_t{1} << 23;
    void* const block = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (block == MAP_FAILED)
        return false;
    const bool isTaken = madvise(block, bytes, MADV_HUGEPAGE) == 0;
    const std::string flags = memoryFlagsAt(static_cast<const std::uint8_t*>(block));
    munmap(block, bytes);
    return isTaken && flags.find(" hg") != std::string::npos;
}

TEST(AllocBufferValues, LieOnHugePagesWhereTheyAreLarge)
{
    if (!tellsOfHugePages())
        GTEST_SKIP() << "The system does not tell of huge pages.";
    SxImageBuf image;
    ASSERT_EQ(AllocBuffer(image, 8192, 8192, 1, UInt8, 0, 8, Interleaved, false, CompressionNone), ResultOk);
    const std::string flags = memoryFlagsAt(image.data + image.stride * 4096);
    FreeBuffer(image);
    EXPECT_NE(flags.find(" hg"), std::string::npos) << flags;
}

TEST(AllocBufferValues, OfImagesWithoutPixelsHaveAnAddress)
{
    for (const Request& request : {Request{.width = 0}, Request{.height = 0},
                                   Request{.width = 0, .height = 0}, Request{.width = 0, .stride = 5}}) {
        SxImageBuf image;
        ASSERT_EQ(request.allocate(image), ResultOk);
        EXPECT_NE(image.data, nullptr);
        EXPECT_EQ(image.width, request.width);
        EXPECT_EQ(image.height, request.height);
        EXPECT_TRUE(isZero(image.data + imageByteSize(image), 64));
        FreeBuffer(image);
    }
}

TEST(AllocBufferValues, KeepEveryWordOfAnInfo)
{
    SxImageInfo info;
    info.width = 6;
    info.height = 4;
    info.channels = 2;
    info.bitsPerSample = 11;
    info.dataType = Int32;
    info.packing = Planar;
    info.pixelFormat = 9;
    info.bayerGrid = BayerGRBG;
    info.reserved[0] = 1;
    info.reserved[1] = -2;
    info.reserved[2] = 3;
    SxImageBuf image = staleRecord();
    ASSERT_EQ(AllocBuffer(info, image, true), ResultOk);
    info.stride = 64;
    EXPECT_EQ(std::memcmp(&info, static_cast<SxImageInfo*>(&image), sizeof info), 0);
    EXPECT_TRUE(isZero(image.data, imageByteSize(image) + 64));
    FreeBuffer(image);
}

TEST(AllocBufferValues, TakeTheRecordItselfAsInfo)
{
    SxImageBuf image;
    image.width = 5;
    image.height = 3;
    image.channels = 4;
    image.dataType = UInt8;
    image.bayerGrid = BayerRGGB;
    image.allocation = image.memoryTag = image.bookkeeping[0] = image.bookkeeping[1] = 77;
    ASSERT_EQ(AllocBuffer(image, image, true), ResultOk);
    EXPECT_EQ(image.width, 5);
    EXPECT_EQ(image.stride, 64);
    EXPECT_EQ(image.bayerGrid, BayerRGGB);
    EXPECT_EQ(image.memoryTag, 0U);
    EXPECT_TRUE(isZero(image.data, 3 * 64 + 64));
    FreeBuffer(image);
}

TEST(AllocBufferChecks, RefuseGeometryThatCannotExist)
{
    const Request refused[] = {
        {.width = -1},
        {.height = -1},
        {.width = std::numeric_limits<int>::min(), .height = std::numeric_limits<int>::min()},
        {.channels = 0},
        {.channels = -3},
        {.type = typeCode(0)},
        {.type = typeCode(12)},
        {.type = typeCode(-1)},
        {.stride = 19},
        {.height = 0, .stride = 19},
        {.stride = -20},
        {.width = 0, .stride = -1},
        {.channels = 3, .stride = 59},
        {.compression = static_cast<ExPixelCompression>(1)},
        {.compression = static_cast<ExPixelCompression>(-1)},
        // rows longer than a stride can say, by one byte of rounding and by far
        {.width = most, .height = 1, .type = UInt8},
        {.width = most - 62, .height = 1, .type = UInt8},
        {.width = most / 2 + 1, .height = 1},
        {.width = most, .height = 1, .channels = most, .type = Sample128},
        {.width = most, .height = 1, .channels = most, .type = Sample128, .packing = Planar},
        // more than any memory, with and without overflow of 64 bits
        {.width = most - 63, .height = most, .type = UInt8},
        {.width = most - 63, .height = most, .channels = 2, .type = UInt8, .packing = Planar},
        {.width = most - 63, .height = most, .channels = most, .type = UInt8, .packing = Planar},
        {.width = 1, .height = most, .channels = 1, .type = UInt8, .stride = most},
        {.width = 0, .height = most, .channels = most, .type = UInt8, .stride = most, .packing = Planar},
    };
    for (const Request& request : refused) {
        for (const bool flag : {false, true}) {
            SxImageBuf image = staleRecord();
            EXPECT_EQ(request.allocate(image, flag), ResultFailed) << &request - refused;
            EXPECT_TRUE(isForgotten(image)) << &request - refused;
            FreeBuffer(image);
        }
    }
}

TEST(AllocBufferChecks, RefuseAnInfoOfImpossibleGeometry)
{
    SxImageBuf image = staleRecord();
    EXPECT_EQ(AllocBuffer(image, image, false), ResultFailed);
    EXPECT_TRUE(isForgotten(image));
    EXPECT_EQ(image.pixelFormat, 0x5A5A5A5A);
    SxImageInfo info;
    info.dataType = UInt8;
    EXPECT_EQ(AllocBuffer(info, image, false), ResultFailed) << "no channels";
    EXPECT_TRUE(isForgotten(image));
}

TEST(AllocBufferChecks, FailWhenMemoryRunsOut)
{
    const Request request;
    SxImageBuf images[3] = {staleRecord(), staleRecord(), staleRecord()};
    {
        const AllocationFailure failure(1);
        EXPECT_EQ(request.allocate(images[0]), ResultOk);
        EXPECT_EQ(request.allocate(images[1]), ResultFailed);
        EXPECT_EQ(AllocBuffer(images[0], images[2], true), ResultFailed);
    }
    EXPECT_FALSE(isForgotten(images[0]));
    EXPECT_TRUE(isForgotten(images[1]));
    EXPECT_TRUE(isForgotten(images[2]));
    EXPECT_EQ(request.allocate(images[1]), ResultOk) << "after the failure has ended";
    for (SxImageBuf& image : images)
        FreeBuffer(image);
}

TEST(FreeBufferValues, NullTheRecordEachTime)
{
    SxImageBuf image;
    ASSERT_EQ(Request{}.allocate(image), ResultOk);
    for (int i = 0; i < 2; ++i) {
        FreeBuffer(image);
        EXPECT_TRUE(isForgotten(image));
        EXPECT_EQ(image.width, 10) << "the format stays";
    }
    SxImageBuf none;
    FreeBuffer(none);
    EXPECT_TRUE(isForgotten(none));
}

TEST(FreeBufferValues, LeaveTheMemoryOfAViewAlone)
{
    SxImageBuf image;
    ASSERT_EQ((Request{.channels = 3, .packing = Planar}.allocate(image, true)), ResultOk);
    SxImageBuf view = planeView(image, 1);
    FreeBuffer(view);
    EXPECT_TRUE(isForgotten(view));
    std::memset(image.data, 1, imageByteSize(image));
    FreeBuffer(image);
}

TEST(FreeBufferValues, LeaveForeignMemoryAloneWhateverTheBookkeepingSays)
{
    TestImage own(Layout{});
    SxImageBuf donor;
    ASSERT_EQ(Request{}.allocate(donor), ResultOk);
    const auto address = reinterpret_cast<std::uintptr_t>(own->data);
    const std::uint64_t words[][3] = {
        {0, 0, 0},
        {address, 0, 0},
        {address, address, address},
        {address, ~std::uint64_t{0}, address},
        {address, donor.bookkeeping[0], donor.bookkeeping[1]},
        {donor.allocation, donor.bookkeeping[0], donor.bookkeeping[1]},
        {0x5A5A5A5A5A5A5A5A, 0x5A5A5A5A5A5A5A5A, 0x5A5A5A5A5A5A5A5A},
    };
    const auto before = own.bytes();
    for (const auto& word : words) {
        SxImageBuf record = own;
        record.allocation = word[0];
        record.memoryTag = 5;
        record.bookkeeping[0] = word[1];
        record.bookkeeping[1] = word[2];
        FreeBuffer(record);
        EXPECT_TRUE(isForgotten(record));
    }
    EXPECT_EQ(own.bytes(), before);
    FreeBuffer(donor);
}

TEST(BufferThreads, AllocateAndReleaseAtTheSameTime)
{
    std::vector<std::thread> threads;
    std::vector<int> failures(4);
    for (int& failed : failures) {
        threads.emplace_back([&failed] {
            for (int i = 0; i < 200; ++i) {
                SxImageBuf image;
                failed += Request{.height = i}.allocate(image, i % 2 == 0) != ResultOk;
                FreeBuffer(image);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, std::vector<int>(4));
}

}  // namespace
}  // namespace ko::test
