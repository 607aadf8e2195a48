#include "exported.h"

#include <ko/koimproc.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace ko::test {
namespace {

TEST(CoreApi, IsExportedWithTheExactSignatures)
{
    expectExports(
        "libkocore.so.1",
        {
            {"bytesPerSample", exported<int(int)>(&bytesPerSample)},
            {"imageByteSize", exported<std::size_t(const SxImageInfo&)>(&imageByteSize)},
            {"AllocBuffer", exported<ResultCode(SxImageBuf&, int, int, int, ExImageDataType, int, int,
                                                ExPixelPacking, bool, ExPixelCompression)>(&AllocBuffer)},
            {"AllocBuffer", exported<ResultCode(const SxImageInfo&, SxImageBuf&, bool)>(&AllocBuffer)},
            {"FreeBuffer", exported<void(SxImageBuf&)>(&FreeBuffer)},
            {"CopyBuffer",
             exported<ResultCode(const SxImageBuf&, const QRect&, SxImageBuf&, const QPoint&, bool)>(
                 &CopyBuffer)},
            {"MemCpy",
             exported<ResultCode(void*, const void*, std::uint64_t, std::uint64_t, std::uint64_t)>(&MemCpy)},
            {"CopyChannel", exported<ResultCode(const SxImageBuf&, int, SxImageBuf&, int)>(&CopyChannel)},
            {"ChannelIndexLogicalToPhysical",
             exported<int(int, const SxImageBuf&)>(&ChannelIndexLogicalToPhysical)},
            {"L2CacheSize", exported<unsigned()>(&L2CacheSize)},
            {"ConvertRawToPlanarRaw",
             exported<ResultCode(const SxImageBuf&, const QRect&, ExBayerGrid, SxImageBuf&)>(
                 &ConvertRawToPlanarRaw)},
            {"DemosaicSimple",
             exported<ResultCode(const SxImageBuf&, const QRect&, SxImageBuf&, ExBayerGrid)>(
                 &DemosaicSimple)},
            {"toString", exported<const char*(ResultCode) noexcept>(&toString)},
        });
}

TEST(CoreApi, AllowsThreadsForTheLifeOfAnObject)
{
    static_assert(!std::is_copy_constructible_v<CallThreads> && !std::is_convertible_v<int, CallThreads>);
    const CallThreads two(2);
    EXPECT_EQ(2, CallThreads::current());
    {
        const CallThreads none(0);
        EXPECT_EQ(1, CallThreads::current());
    }
    EXPECT_EQ(2, CallThreads::current());
}

}  // namespace
}  // namespace ko::test
