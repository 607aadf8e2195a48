#include "exported.h"

#include <ko/koimproc.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

TEST(SnakeApi, IsExportedWithTheExactSignatures)
{
    using Points = QList<_point_<int>>;
    expectExports("libkoimproc.so.1",
                  {
                      {"SnakeImage",
                       exported<ResultCode(const SxImageBuf&, const SxSnakeParams&, const Points&, Points&)>(
                           &SnakeImage)},
                  });
}

}  // namespace
}  // namespace ko::test
