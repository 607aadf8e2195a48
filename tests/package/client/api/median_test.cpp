#include "exported.h"

#include <ko/koimproc.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

TEST(MedianApi, IsExportedWithTheExactSignatures)
{
    expectExports(
        "libkoimproc.so.1",
        {
            {"Median", exported<ResultCode(const SxImageBuf&, SxImageBuf&, int, void*)>(&Median)},
            {"MedianAllocBuffer", exported<ResultCode(const SxImageInfo&, int, void**)>(&MedianAllocBuffer)},
            {"MedianFreeBuffer", exported<void(void*)>(&MedianFreeBuffer)},
        });
}

}  // namespace
}  // namespace ko::test
