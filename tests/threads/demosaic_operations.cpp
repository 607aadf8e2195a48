// Demosaicing at full size.
#include "threads/call.h"

namespace ko::test {

Operations demosaicOperations()
{
    return {
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
    };
}

}  // namespace ko::test
