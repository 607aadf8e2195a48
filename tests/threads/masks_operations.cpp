// Binarisation, borders and masks.
#include "threads/call.h"

#include <numbers>

namespace ko::test {

Operations masksOperations()
{
    return {
        {"Binarize",
         [](Call& c) {
             const TestImage& from = c.image(UInt16);
             c.status(Binarize(from, c.image(), 7));
         }},
        {"AllocSafeBorderImage",
         [](Call& c) {
             SxImageBuf image;
             c.status(AllocSafeBorderImage(c.image().buf(), image, 1, 2, 3, 4));
             c.release(image);
         }},
        {"InitSafeBorder",
         [](Call& c) {
             SxImageBuf image;
             c.status(InitSafeBorder(c.image(UInt16, 3), image, 1, 2, 3, 4));
             c.release(image);
         }},
        {"CreateImageWithMirroredBorder",
         [](Call& c) {
             const TestImage& from = c.image(UInt8, 3);
             c.status(CreateImageWithMirroredBorder(
                 from, c.image({.width = c.width + 4, .height = c.height + 6, .channels = 3}), 1, 2, 3, 4));
         }},
        {"CreateImageWithMirroredBorder of a region",
         [](Call& c) {
             const TestImage& from = c.image(UInt16);
             const Layout larger{
                 .width = c.region.width() + 4, .height = c.region.height() + 6, .type = UInt16};
             c.status(CreateImageWithMirroredBorder(from, c.region, c.image(larger), 1, 2, 3, 4));
         }},
        {"AllocAndCreateMirroredBorderImage",
         [](Call& c) {
             SxImageBuf image;
             c.status(AllocAndCreateMirroredBorderImage(c.image(UInt8, 4), image, 4, 3, 2, 1));
             c.release(image);
         }},
        {"MaskImage",
         [](Call& c) {
             TestImage& image = c.image(UInt16, 3);
             c.status(MaskImage(image, c.mask()));
         }},
        {"SetValueMasked",
         [](Call& c) {
             TestImage& image = c.image(Float32);
             c.status(SetValueMasked(image, c.stencil(), QPoint(3, 2), 1.5));
         }},
        {"BinaryMask",
         [](Call& c) {
             const TestImage& from = c.image(UInt16, 3, Planar);
             c.status(BinaryMask(from, c.mask(), 77));
         }},
        {"EllipseMaskMono",
         [](Call& c) {
             SxImageBuf image;
             c.status(EllipseMaskMono(image, 9, 4, std::numbers::pi / 3, 1, 200));
             c.release(image);
         }},
        {"EllipseMaskRgb",
         [](Call& c) {
             SxImageBuf image;
             const unsigned char outside[] = {1, 2, 3};
             const unsigned char inside[] = {4, 5, 6};
             c.status(EllipseMaskRgb(image, 7, 5, 1.25, outside, inside));
             c.release(image);
         }},
        {"GetCircleMaskByte",
         [](Call& c) {
             const unsigned char* disc = nullptr;
             c.value(GetCircleMaskByte(9, &disc));
             c.bytes(disc, 81);
         }},
    };
}

}  // namespace ko::test
