#include "exported.h"

#include <ko/koimproc.h>

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace ko::test
