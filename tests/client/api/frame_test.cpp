#include "exported.h"

#include <ko/koimproc.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

TEST(FrameApi, IsExportedWithTheExactSignatures)
{
    expectExports(
        "libkoimproc.so.1",
        {
            {"Binarize", exported<ResultCode(const SxImageBuf&, SxImageBuf&, unsigned char)>(&Binarize)},
        });
}

}  // namespace
}  // namespace ko::test
