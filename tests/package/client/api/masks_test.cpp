#include "exported.h"

#include <ko/koimproc.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

TEST(MasksApi, IsExportedWithTheExactSignatures)
{
    expectExports(
        "libkoimproc.so.1",
        {
            {"Binarize", exported<ResultCode(const SxImageBuf&, SxImageBuf&, unsigned char)>(&Binarize)},
            {"AllocSafeBorderImage",
             exported<ResultCode(const SxImageInfo&, SxImageBuf&, int, int, int, int)>(
                 &AllocSafeBorderImage)},
            {"InitSafeBorder",
             exported<ResultCode(const SxImageBuf&, SxImageBuf&, int, int, int, int)>(&InitSafeBorder)},
            {"CreateImageWithMirroredBorder of an image",
             exported<ResultCode(const SxImageBuf&, SxImageBuf&, int, int, int, int)>(
                 &CreateImageWithMirroredBorder)},
            {"CreateImageWithMirroredBorder of a region",
             exported<ResultCode(const SxImageBuf&, const QRect&, SxImageBuf&, int, int, int, int)>(
                 &CreateImageWithMirroredBorder)},
            {"AllocAndCreateMirroredBorderImage",
             exported<ResultCode(const SxImageBuf&, SxImageBuf&, int, int, int, int)>(
                 &AllocAndCreateMirroredBorderImage)},
            {"MaskImage", exported<ResultCode(SxImageBuf&, const SxImageBuf&)>(&MaskImage)},
            {"SetValueMasked",
             exported<ResultCode(SxImageBuf&, const SxImageBuf&, const QPoint&, const QVariant&)>(
                 &SetValueMasked)},
            {"BinaryMask", exported<ResultCode(const SxImageBuf&, SxImageBuf&, unsigned int)>(&BinaryMask)},
            {"EllipseMaskMono",
             exported<ResultCode(SxImageBuf&, int, int, double, unsigned char, unsigned char)>(
                 &EllipseMaskMono)},
            {"EllipseMaskRgb",
             exported<ResultCode(SxImageBuf&, int, int, double, const unsigned char*, const unsigned char*)>(
                 &EllipseMaskRgb)},
            {"GetCircleMaskByte", exported<bool(int, const unsigned char**)>(&GetCircleMaskByte)},
        });
}

}  // namespace
}  // namespace ko::test
