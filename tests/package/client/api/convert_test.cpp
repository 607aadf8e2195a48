#include "exported.h"

#include <ko/koimproc.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

TEST(ConvertApi, IsExportedWithTheExactSignatures)
{
    expectExports(
        "libkoimproc.so.1",
        {
            {"ConvertDoubleToU",
             exported<ResultCode(const SxImageBuf&, SxImageBuf&, NormalizationType, double*, double*, bool)>(
                 &ConvertDoubleToU)},
            {"ConvertFloatToU",
             exported<ResultCode(const SxImageBuf&, SxImageBuf&, NormalizationType, float*, float*, bool)>(
                 &ConvertFloatToU)},
            {"ConvertFloatToU8",
             exported<ResultCode(const SxImageBuf&, SxImageBuf&, NormalizationType, float*, float*)>(
                 &ConvertFloatToU8)},
            {"ConvertFloatToU8", exported<ResultCode(const SxImageBuf&, const SxImageBuf&, SxImageBuf&,
                                                     NormalizationType, float*, float*)>(&ConvertFloatToU8)},
            {"ConvertDoubleToUMasked",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, SxImageBuf&, NormalizationType,
                                 double*, double*)>(&ConvertDoubleToUMasked)},
            {"ConvertI32ToU",
             exported<ResultCode(const SxImageBuf&, SxImageBuf&, NormalizationType, int*, int*)>(
                 &ConvertI32ToU)},
            {"ScaleDoubleFloatToU",
             exported<ResultCode(const SxImageBuf&, SxImageBuf&, double, double)>(&ScaleDoubleFloatToU)},
        });
}

}  // namespace
}  // namespace ko::test
