// Equalisation, matching, contrast bands, background and averaging.
#include "threads/call.h"

namespace ko::test {

Operations toneOperations()
{
    return {
        {"HistogramEqualize",
         [](Call& c) {
             const TestImage& from = c.image(UInt8, 3);
             c.status(HistogramEqualize(from, c.image(UInt8, 3)));
         }},
        {"HistogramMatch",
         [](Call& c) {
             const TestImage& from = c.image(UInt16);
             const TestImage& reference = c.image(UInt16);
             c.status(HistogramMatch(from, reference.buf(), c.image(UInt16)));
         }},
        {"HistogramMatch with a histogram",
         [](Call& c) {
             CxImageHistogram& reference = c.histogram(3);
             c.status(Histogram(c.image(UInt8, 3), reference));
             const TestImage& from = c.image(UInt8, 3);
             c.status(HistogramMatch(from, reference, c.image(UInt8, 3)));
         }},
        {"ThresholdAndStretchHistogram",
         [](Call& c) { c.status(ThresholdAndStretchHistogram(c.image(UInt8, 3), 1, 20, 200)); }},
        {"ThresholdAndStretchHistogram into another image",
         [](Call& c) {
             const TestImage& from = c.image(UInt16, 3);
             c.status(ThresholdAndStretchHistogram(from, 1, c.image(UInt16, 3), 2, 2000, 50000));
         }},
        {"ThresholdAndStretchHistogramMasked",
         [](Call& c) {
             TestImage& image = c.image(UInt8, 3);
             c.status(ThresholdAndStretchHistogramMasked(image, c.mask(), 1, 20, 200));
         }},
        {"ThresholdAndStretchHistogramMasked into another image",
         [](Call& c) {
             const TestImage& from = c.image(UInt8, 3);
             TestImage& to = c.image(UInt8, 3);
             c.status(ThresholdAndStretchHistogramMasked(from, 1, to, 2, c.mask(), 20, 200));
         }},
        {"ThresholdAndStretchHistogramGray",
         [](Call& c) {
             const TestImage& from = c.image(UInt8, 3);
             c.status(ThresholdAndStretchHistogramGray(from, c.image(UInt8, 3), 20, 200));
         }},
        {"ThresholdAndStretchHistogramGrayMasked",
         [](Call& c) {
             const TestImage& from = c.image(UInt8, 3);
             const TestImage& mask = c.mask();
             c.status(ThresholdAndStretchHistogramGrayMasked(from, mask, c.image(UInt8, 3), 20, 200));
         }},
        {"ThresholdAndStretchHistogramGrayRawPlanar",
         [](Call& c) {
             const TestImage& from = c.image(UInt8, 4, Planar);
             c.status(ThresholdAndStretchHistogramGrayRawPlanar(from, c.image(UInt8, 3, Planar), 20, 200));
         }},
        {"ThresholdAndStretchHistogramGrayRawPlanarMasked",
         [](Call& c) {
             const TestImage& from = c.image(UInt8, 4, Planar);
             // A mask as the other operations want it is refused here.
             const TestImage& mask = c.image({.width = c.width + 2, .height = c.height + 2, .type = UInt16});
             c.status(ThresholdAndStretchHistogramGrayRawPlanarMasked(from, mask, c.image(UInt8, 3, Planar),
                                                                      20, 200));
         }},
        {"ThresholdAndStretchHistogramGreenRawPlanar",
         [](Call& c) {
             const TestImage& from = c.image(UInt8, 4, Planar);
             c.status(
                 ThresholdAndStretchHistogramGreenRawPlanar(from, c.image(UInt8, 3, Planar), 1, 20, 200));
         }},
        {"ThresholdAndStretchHistogramGreenRawPlanarMasked",
         [](Call& c) {
             const TestImage& from = c.image(UInt8, 4, Planar);
             TestImage& to = c.image(UInt8, 3, Planar);
             c.status(ThresholdAndStretchHistogramGreenRawPlanarMasked(from, to, 1, c.mask(), 20, 200));
         }},
        {"AverageImage",
         [](Call& c) {
             const QVector<SxImageBuf> frames{c.image(UInt16, 3).buf(), c.image(UInt16, 3).buf()};
             c.status(AverageImage(frames, c.image(UInt16, 3)));
         }},
        {"AverageImage of a region",
         [](Call& c) {
             const QVector<SxImageBuf> frames{c.image().buf(), c.image().buf(), c.image().buf()};
             c.status(AverageImage(frames, c.region, c.image()));
         }},
        {"CorrectBackground",
         [](Call& c) {
             const TestImage& from = c.image(UInt8, 3);
             const TestImage& background = c.image(UInt8, 3);
             auto* const gains = new double[3]{1.5, 0.5, 2};
             c.status(CorrectBackground(from, background, c.image(UInt8, 3), 100, 150, gains));
         }},
        {"BackgroundCorrection",
         [](Call& c) {
             const TestImage& background = c.image(UInt8, 3);
             const double factors[] = {100, 50, 20};
             c.status(BackgroundCorrection(background, c.image(UInt8, 3), 3, factors));
         }},
    };
}

}  // namespace ko::test
