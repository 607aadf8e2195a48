#include "exported.h"

#include <ko/koimproc.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

TEST(ToneApi, IsExportedWithTheExactSignatures)
{
    expectExports(
        "libkoimproc.so.1",
        {
            {"HistogramEqualize", exported<ResultCode(const SxImageBuf&, SxImageBuf&)>(&HistogramEqualize)},
            {"HistogramMatch",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, SxImageBuf&)>(&HistogramMatch)},
            {"HistogramMatch",
             exported<ResultCode(const SxImageBuf&, const CxImageHistogram&, SxImageBuf&)>(&HistogramMatch)},
            {"ThresholdAndStretchHistogram",
             exported<ResultCode(SxImageBuf&, int, int, int)>(&ThresholdAndStretchHistogram)},
            {"ThresholdAndStretchHistogram",
             exported<ResultCode(const SxImageBuf&, int, SxImageBuf&, int, int, int)>(
                 &ThresholdAndStretchHistogram)},
            {"ThresholdAndStretchHistogramMasked",
             exported<ResultCode(SxImageBuf&, const SxImageBuf&, int, int, int)>(
                 &ThresholdAndStretchHistogramMasked)},
            {"ThresholdAndStretchHistogramMasked",
             exported<ResultCode(const SxImageBuf&, int, SxImageBuf&, int, const SxImageBuf&, int, int)>(
                 &ThresholdAndStretchHistogramMasked)},
            {"ThresholdAndStretchHistogramGray",
             exported<ResultCode(const SxImageBuf&, SxImageBuf&, int, int)>(
                 &ThresholdAndStretchHistogramGray)},
            {"ThresholdAndStretchHistogramGrayMasked",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, SxImageBuf&, int, int)>(
                 &ThresholdAndStretchHistogramGrayMasked)},
            {"ThresholdAndStretchHistogramGrayRawPlanar",
             exported<ResultCode(const SxImageBuf&, SxImageBuf&, int, int)>(
                 &ThresholdAndStretchHistogramGrayRawPlanar)},
            {"ThresholdAndStretchHistogramGrayRawPlanarMasked",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, SxImageBuf&, int, int)>(
                 &ThresholdAndStretchHistogramGrayRawPlanarMasked)},
            {"ThresholdAndStretchHistogramGreenRawPlanar",
             exported<ResultCode(const SxImageBuf&, SxImageBuf&, int, int, int)>(
                 &ThresholdAndStretchHistogramGreenRawPlanar)},
            {"ThresholdAndStretchHistogramGreenRawPlanarMasked",
             exported<ResultCode(const SxImageBuf&, SxImageBuf&, int, const SxImageBuf&, int, int)>(
                 &ThresholdAndStretchHistogramGreenRawPlanarMasked)},
            {"AverageImage", exported<ResultCode(QVector<SxImageBuf>, SxImageBuf&)>(&AverageImage)},
            {"AverageImage",
             exported<ResultCode(QVector<SxImageBuf>, const QRect&, SxImageBuf&)>(&AverageImage)},
            {"CorrectBackground",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, SxImageBuf&, double, double, double*)>(
                 &CorrectBackground)},
            {"BackgroundCorrection",
             exported<ResultCode(const SxImageBuf&, SxImageBuf&, int, const double*)>(&BackgroundCorrection)},
        });
}

}  // namespace
}  // namespace ko::test
