#include "exported.h"

#include <ko/koimproc.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

TEST(PixelApi, IsExportedWithTheExactSignatures)
{
    expectExports(
        "libkoimproc.so.1",
        {
            {"ThresholdBinary",
             exported<ResultCode(SxImageBuf&, const QVariant&, const QVariant&, const QVariant&)>(
                 &ThresholdBinary)},
            {"ThresholdBinary", exported<ResultCode(const SxImageBuf&, SxImageBuf&, const QVariant*,
                                                    const QVariant*, const QVariant*)>(&ThresholdBinary)},
            {"ThresholdBinaryMasked",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, SxImageBuf&, const QVariant*,
                                 const QVariant*, const QVariant*)>(&ThresholdBinaryMasked)},
            {"ThresholdBinaryGT",
             exported<ResultCode(const SxImageBuf&, SxImageBuf&, const QVariant*, unsigned char*, bool)>(
                 &ThresholdBinaryGT)},
            {"ThresholdGT",
             exported<ResultCode(SxImageBuf&, const QVariant*, const QVariant*, bool)>(&ThresholdGT)},
            {"And", exported<ResultCode(const SxImageBuf&, SxImageBuf&, QVariant*)>(&And)},
            {"Or", exported<ResultCode(const SxImageBuf&, SxImageBuf&, QVariant*)>(&Or)},
            {"Xor", exported<ResultCode(const SxImageBuf&, SxImageBuf&, QVariant*)>(&Xor)},
            {"ClampToColorDepth", exported<ResultCode(SxImageBuf&)>(&ClampToColorDepth)},
        });
}

}  // namespace
}  // namespace ko::test
