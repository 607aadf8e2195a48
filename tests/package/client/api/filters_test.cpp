#include "exported.h"

#include <ko/koimproc.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

TEST(FiltersApi, IsExportedWithTheExactSignatures)
{
    expectExports(
        "libkoimproc.so.1",
        {
            {"Stretch", exported<ResultCode(const SxImageBuf&, SxImageBuf&, Interpolation)>(&Stretch)},
            {"Resize", exported<ResultCode(const SxImageBuf&, SxImageBuf&)>(&Resize)},
            {"Sobel", exported<ResultCode(const SxImageBuf&, SxImageBuf&)>(&Sobel)},
            {"ChamferDistance",
             exported<ResultCode(const SxImageBuf&, SxImageBuf&, ExChamferMask)>(&ChamferDistance)},
        });
}

}  // namespace
}  // namespace ko::test
