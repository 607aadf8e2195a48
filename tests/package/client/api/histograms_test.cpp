#include "exported.h"

#include <ko/koimproc.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

TEST(HistogramApi, IsExportedWithTheExactSignatures)
{
    expectExports(
        "libkoimproc.so.1",
        {
            {"Histogram", exported<ResultCode(const SxImageBuf&, CxImageHistogram&)>(&Histogram)},
            {"Histogram",
             exported<ResultCode(const SxImageBuf&, const QRect&, CxImageHistogram&)>(&Histogram)},
            {"Histogram", exported<ResultCode(const SxImageBuf&, int, CxImageHistogram&, int)>(&Histogram)},
            {"Histogram",
             exported<ResultCode(const SxImageBuf&, const QRect&, int, CxImageHistogram&, int)>(&Histogram)},
            {"Histogram",
             exported<ResultCode(const SxImageBuf&, const QPoint&, const QList<QPoint>&, CxImageHistogram&)>(
                 &Histogram)},
            {"Histogram", exported<ResultCode(const SxImageBuf&, const QPoint&, const QList<QPoint>&, int,
                                              CxImageHistogram&, int)>(&Histogram)},
            {"Histogram",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, const QPoint&, CxImageHistogram&)>(
                 &Histogram)},
            {"Histogram", exported<ResultCode(const SxImageBuf&, const SxImageBuf&, const QPoint&, int,
                                              CxImageHistogram&, int)>(&Histogram)},
            {"HistogramMasked",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, CxImageHistogram&)>(&HistogramMasked)},
            {"HistogramMasked",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, const QRect&, CxImageHistogram&)>(
                 &HistogramMasked)},
            {"HistogramMasked",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, int, CxImageHistogram&, int)>(
                 &HistogramMasked)},
            {"HistogramMasked", exported<ResultCode(const SxImageBuf&, const SxImageBuf&, const QRect&, int,
                                                    CxImageHistogram&, int, int&)>(&HistogramMasked)},
            {"HistogramMasked",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, const QPoint&, const QList<QPoint>&,
                                 int, CxImageHistogram&, int, int&)>(&HistogramMasked)},
            {"HistogramMasked",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, const SxImageBuf&, const QPoint&,
                                 CxImageHistogram&, int&)>(&HistogramMasked)},
            {"HistogramMasked",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, const SxImageBuf&, const QPoint&, int,
                                 CxImageHistogram&, int, int&)>(&HistogramMasked)},
            {"HistogramEx", exported<ResultCode(const SxImageBuf&, CxImageHistogram&)>(&HistogramEx)},
            {"HistogramGrayFromRGB",
             exported<ResultCode(const SxImageBuf&, CxImageHistogram&, int)>(&HistogramGrayFromRGB)},
            {"HistogramGrayFromRGBMasked",
             exported<ResultCode(const SxImageBuf&, CxImageHistogram&, const SxImageBuf&)>(
                 &HistogramGrayFromRGBMasked)},
            {"HistogramRGBGrayFromRGB",
             exported<ResultCode(const SxImageBuf&, CxImageHistogram&)>(&HistogramRGBGrayFromRGB)},
            {"HistogramRGBGrayFromRGBMasked",
             exported<ResultCode(const SxImageBuf&, CxImageHistogram&, const SxImageBuf&)>(
                 &HistogramRGBGrayFromRGBMasked)},
            {"HistogramRGBGrayFromRGBMasked",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, CxImageHistogram&)>(
                 &HistogramRGBGrayFromRGBMasked)},
            {"HistogramRGBGrayFromRawPlanar",
             exported<ResultCode(const SxImageBuf&, CxImageHistogram&)>(&HistogramRGBGrayFromRawPlanar)},
            {"HistogramRGBGrayFromRawPlanarMasked",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, CxImageHistogram&)>(
                 &HistogramRGBGrayFromRawPlanarMasked)},
            {"RowHistogram", exported<ResultCode(const SxImageBuf&, int, CxImageHistogram&)>(&RowHistogram)},
            {"ColHistogram", exported<ResultCode(const SxImageBuf&, int, CxImageHistogram&)>(&ColHistogram)},
            {"RowHistogramMasked",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, int, CxImageHistogram&)>(
                 &RowHistogramMasked)},
            {"ColHistogramMasked",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, int, CxImageHistogram&)>(
                 &ColHistogramMasked)},
            {"Histogram2D",
             exported<ResultCode(const SxImageBuf&, const SxImageBuf&, CxImageHistogramSparse2D&)>(
                 &Histogram2D)},
            {"Histogram2D",
             exported<ResultCode(const SxImageBuf&, int, const SxImageBuf&, int, CxImageHistogramSparse2D&)>(
                 &Histogram2D)},
            {"RowHistogram2D", exported<ResultCode(const SxImageBuf&, int, const SxImageBuf&, int, int,
                                                   CxImageHistogramSparse2D&)>(&RowHistogram2D)},
            {"ColHistogram2D", exported<ResultCode(const SxImageBuf&, int, const SxImageBuf&, int, int,
                                                   CxImageHistogramSparse2D&)>(&ColHistogram2D)},
            {"HistogramMasked2D", exported<ResultCode(const SxImageBuf&, const SxImageBuf&, const SxImageBuf&,
                                                      CxImageHistogram2D&)>(&HistogramMasked2D)},
            {"HistogramMasked2D", exported<ResultCode(const SxImageBuf&, const SxImageBuf&, const SxImageBuf&,
                                                      CxImageHistogramSparse2D&)>(&HistogramMasked2D)},
            {"HistogramMasked2D",
             exported<ResultCode(const SxImageBuf&, int, const SxImageBuf&, int, const SxImageBuf&,
                                 CxImageHistogram2D&)>(&HistogramMasked2D)},
            {"HistogramMasked2D",
             exported<ResultCode(const SxImageBuf&, int, const SxImageBuf&, int, const SxImageBuf&,
                                 CxImageHistogramSparse2D&)>(&HistogramMasked2D)},
        });
}

}  // namespace
}  // namespace ko::test
