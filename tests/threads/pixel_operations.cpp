// Thresholds, logic, clamping.
#include "threads/call.h"

namespace ko::test {

Operations pixelOperations()
{
    return {
        {"ThresholdBinary", [](Call& c) { c.status(ThresholdBinary(c.image(UInt16), 30000, 1, 2)); }},
        {"ThresholdBinary into another image",
         [](Call& c) {
             const TestImage& from = c.image(UInt8, 3);
             const QVariant thresholds[] = {100, 120, 140};
             const QVariant lows[] = {1, 2, 3};
             const QVariant highs[] = {200, 201, 202};
             c.status(ThresholdBinary(from, c.image(UInt8, 3), thresholds, lows, highs));
         }},
        {"ThresholdBinaryMasked",
         [](Call& c) {
             const TestImage& from = c.image(UInt8, 3);
             const TestImage& mask = c.mask();
             const QVariant thresholds[] = {100, 120, 140};
             const QVariant lows[] = {1, 2, 3};
             const QVariant highs[] = {200, 201, 202};
             c.status(ThresholdBinaryMasked(from, mask, c.image(UInt8, 3), thresholds, lows, highs));
         }},
        {"ThresholdBinaryGT",
         [](Call& c) {
             const TestImage& from = c.numbers<float>(Float32, 3);
             const QVariant thresholds[] = {50, 70.5, 90};
             unsigned char highs[] = {1, 2, 3};
             c.status(ThresholdBinaryGT(from, c.image(UInt8, 3), thresholds, highs, false));
         }},
        {"ThresholdGT",
         [](Call& c) {
             const QVariant thresholds[] = {100, 120, 140, 160};
             const QVariant values[] = {1, 2, 3, 4};
             c.status(ThresholdGT(c.image(UInt8, 4), thresholds, values, true));
         }},
        {"And",
         [](Call& c) {
             QVariant set = 9;
             const TestImage& from = c.mask();
             c.status(And(from, c.mask(), &set));
         }},
        {"Or",
         [](Call& c) {
             QVariant set = 9;
             const TestImage& from = c.mask();
             c.status(Or(from, c.mask(), &set));
         }},
        {"Xor",
         [](Call& c) {
             QVariant set = 9;
             const TestImage& from = c.mask();
             c.status(Xor(from, c.mask(), &set));
         }},
        {"ClampToColorDepth",
         [](Call& c) {
             TestImage& image = c.image(UInt16, 3);
             image->bitsPerSample = 12;
             c.status(ClampToColorDepth(image));
         }},
    };
}

}  // namespace ko::test
