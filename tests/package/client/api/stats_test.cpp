#include "exported.h"

#include <ko/koimproc.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

TEST(StatsApi, IsExportedWithTheExactSignatures)
{
    expectExports(
        "libkoimproc.so.1",
        {
            {"MinMax", exported<ResultCode(const SxImageBuf&, QVariant*, QVariant*)>(&MinMax)},
            {"MinMaxMasked",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, QVariant*, QVariant*)>(&MinMaxMasked)},
            {"MinMaxMosaic",
             exported<ResultCode(const SxImageBuf&, int, int, QVariant*, QVariant*, QPoint*, QPoint*)>(
                 &MinMaxMosaic)},
            {"Mean", exported<ResultCode(const SxImageBuf&, const QRect&, double*)>(&Mean)},
            {"MeanMasked", exported<ResultCode(const SxImageBuf&, const SxImageBuf&, double*)>(&MeanMasked)},
            {"MeanStdDevMasked",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, double*, double*)>(&MeanStdDevMasked)},
            {"EntropyShannon", exported<ResultCode(const SxImageBuf&, double&, double)>(&EntropyShannon)},
            {"EntropyRenyi", exported<ResultCode(const SxImageBuf&, double, double&, double)>(&EntropyRenyi)},
            {"ComputeOtsuThreshold",
             exported<ResultCode(const SxImageBuf&, unsigned int&)>(&ComputeOtsuThreshold)},
            {"ComputeOtsuThresholdMasked",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, unsigned int&)>(
                 &ComputeOtsuThresholdMasked)},
            {"ClearAccumulator", exported<ResultCode(SxAccumulator&)>(&ClearAccumulator)},
            {"AccumulateFrames",
             exported<ResultCode(const QVector<SxImageBuf>&, const QVector<SxImageBuf>&, SxAccumulator&)>(
                 &AccumulateFrames)},
            {"MergeAccumulators",
             exported<ResultCode(const SxAccumulator&, SxAccumulator&)>(&MergeAccumulators)},
            {"AccumulatedMean", exported<ResultCode(const SxAccumulator&, SxImageBuf&)>(&AccumulatedMean)},
            {"AccumulatedVariance",
             exported<ResultCode(const SxAccumulator&, int, SxImageBuf&)>(&AccumulatedVariance)},
            {"Moments", exported<ResultCode(const SxImageBuf&, SxMoments*)>(&Moments)},
            {"MomentsMasked",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, SxMoments*)>(&MomentsMasked)},
        });
}

}  // namespace
}  // namespace ko::test
