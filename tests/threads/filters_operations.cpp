// Resampling, gradient, distance.
#include "threads/call.h"

namespace ko::test {

Operations filtersOperations()
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
    };
}

}  // namespace ko::test
