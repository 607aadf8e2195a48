#include "exported.h"

#include <ko/koimproc.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

TEST(DemosaicApi, IsExportedWithTheExactSignatures)
{
    expectExports(
        "libkoimproc.so.1",
        {
            {"Demosaic", exported<ResultCode(const SxImageBuf&, SxImageBuf&, void*)>(&Demosaic)},
            {"Demosaic",
             exported<ResultCode(const SxImageBuf&, const QRect&, SxImageBuf&, void*)>(&Demosaic)},
            {"DemosaicAllocBuffer", exported<void*(const SxImageInfo&)>(&DemosaicAllocBuffer)},
            {"DemosaicAllocBuffer", exported<void*(const SxImageInfo&, const QRect&)>(&DemosaicAllocBuffer)},
            {"DemosaicFreeBuffer", exported<void(void*)>(&DemosaicFreeBuffer)},
            {"DemosaicMalvar", exported<ResultCode(const SxImageBuf&, SxImageBuf&, void*)>(&DemosaicMalvar)},
            {"DemosaicMalvar",
             exported<ResultCode(const SxImageBuf&, const QRect&, SxImageBuf&, void*)>(&DemosaicMalvar)},
            {"DemosaicMenon", exported<ResultCode(const SxImageBuf&, SxImageBuf&, void*)>(&DemosaicMenon)},
            {"DemosaicMenon",
             exported<ResultCode(const SxImageBuf&, const QRect&, SxImageBuf&, void*)>(&DemosaicMenon)},
            {"DemosaicCentredAllocBuffer", exported<void*(int)>(&DemosaicCentredAllocBuffer)},
            {"DemosaicCentredFreeBuffer", exported<void(void*)>(&DemosaicCentredFreeBuffer)},
        });
}

}  // namespace
}  // namespace ko::test
