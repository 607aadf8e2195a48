#include "exported.h"

#include <ko/koimproc.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

TEST(RawApi, IsExportedWithTheExactSignatures)
{
    expectExports(
        "libkoimproc.so.1",
        {
            {"packedBitsPerSample", exported<int(ExPackedLayout)>(&packedBitsPerSample)},
            {"packedRowBytes", exported<std::size_t(ExPackedLayout, int)>(&packedRowBytes)},
            {"UnpackSamples",
             exported<ResultCode(const void*, std::size_t, std::size_t, ExPackedLayout, SxImageBuf&)>(
                 &UnpackSamples)},
            {"PackSamples",
             exported<ResultCode(const SxImageBuf&, ExPackedLayout, void*, std::size_t, std::size_t)>(
                 &PackSamples)},
            {"WhiteBalance",
             exported<ResultCode(const SxImageBuf&, SxImageBuf&, const double*, const int*)>(&WhiteBalance)},
        });
}

}  // namespace
}  // namespace ko::test
