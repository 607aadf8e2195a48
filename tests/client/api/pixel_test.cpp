#include "exported.h"

#include <ko/koimproc.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

TEST(PixelApi, IsExportedWithTheExactSignatures)
{
    expectExports("libkoimproc.so.1",
                  {
                      {"And", exported<ResultCode(const SxImageBuf&, SxImageBuf&, QVariant*)>(&And)},
                      {"Or", exported<ResultCode(const SxImageBuf&, SxImageBuf&, QVariant*)>(&Or)},
                      {"Xor", exported<ResultCode(const SxImageBuf&, SxImageBuf&, QVariant*)>(&Xor)},
                      {"ClampToColorDepth", exported<ResultCode(SxImageBuf&)>(&ClampToColorDepth)},
                  });
}

}  // namespace
}  // namespace ko::test
