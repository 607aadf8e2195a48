// Resampling, median, gradient, distance; demosaicing; the active contour.
#include "threads/call.h"

namespace ko::test {

Operations filterOperations()
{
    return {
        {"Stretch",
         [](Call& c) {
             const TestImage& from = c.image(UInt16, 3);
             const Layout other{.width = 27, .height = 9, .channels = 3, .type = UInt16};
             c.status(Stretch(from, c.image(other), InterpolationLinear));
         }},
        {"Resize",
         [](Call& c) {
             const TestImage& from = c.image(UInt16, 3);
             const Layout smaller{.width = 27, .height = 9, .channels = 3, .type = UInt16};
             c.status(Resize(from, c.image(smaller)));
             const Layout larger{.width = 90, .height = 70, .channels = 3, .type = UInt16};
             c.status(Resize(from, c.image(larger)));
         }},
        {"Median",
         [](Call& c) {
             const TestImage& from = c.image(UInt8, 3);
             c.status(Median(from, c.image(UInt8, 3), 1, nullptr));
         }},
        {"Median with a buffer",
         [](Call& c) {
             const TestImage& from = c.image(UInt16);
             void* buffer = nullptr;
             c.status(MedianAllocBuffer(from.buf(), 5, &buffer));
             c.status(Median(from, c.image(UInt16), 5, buffer));
             MedianFreeBuffer(buffer);
         }},
        {"Sobel",
         [](Call& c) {
             const TestImage& from = c.image();
             c.status(Sobel(from, c.image(Int32)));
         }},
        {"ChamferDistance",
         [](Call& c) {
             const TestImage& from = c.mask();
             c.status(ChamferDistance(from, c.image(Float64), Chamfer13x13));
         }},
        {"Demosaic",
         [](Call& c) {
             const TestImage& from = c.mosaic(UInt16);
             void* const buffer = DemosaicAllocBuffer(from.buf());
             c.status(Demosaic(from, c.image(UInt16, 3), buffer));
             DemosaicFreeBuffer(buffer);
         }},
        {"Demosaic of a region",
         [](Call& c) {
             const TestImage& from = c.mosaic();
             void* const buffer = DemosaicAllocBuffer(from.buf(), c.region);
             const Layout part{.width = c.region.width(), .height = c.region.height(), .channels = 4};
             c.status(Demosaic(from, c.region, c.image(part), buffer));
             DemosaicFreeBuffer(buffer);
         }},
        {"DemosaicMalvar",
         [](Call& c) {
             const TestImage& from = c.mosaic();
             void* const buffer = DemosaicCentredAllocBuffer(c.width);
             c.status(DemosaicMalvar(from, c.image(UInt8, 3), buffer));
             const Layout part{.width = c.region.width(), .height = c.region.height(), .channels = 4};
             c.status(DemosaicMalvar(from, c.region, c.image(part), buffer));
             DemosaicCentredFreeBuffer(buffer);
         }},
        {"DemosaicMenon",
         [](Call& c) {
             const TestImage& from = c.mosaic(UInt16);
             c.status(DemosaicMenon(from, c.image(UInt16, 4), nullptr));
             const Layout part{
                 .width = c.region.width(), .height = c.region.height(), .channels = 3, .type = UInt16};
             c.status(DemosaicMenon(from, c.region, c.image(part), nullptr));
         }},
        {"SnakeImage",
         [](Call& c) {
             SxSnakeParams params;
             params.maxIterations = 20;
             const QList<_point_<int>> start{{4, 4}, {12, 4}, {12, 13}, {4, 13}};
             QList<_point_<int>> contour;
             c.status(SnakeImage(c.image(), params, start, contour));
             for (const _point_<int>& point : contour)
                 c.value(point.x), c.value(point.y);
         }},
    };
}

}  // namespace ko::test
