// Thresholds, logic, clamping; conversion of wide samples.
#include "threads/call.h"

namespace ko::test {

namespace {

/// A floating-point image of ordinary numbers: random bytes would be infinities and NaNs now and then, and a
/// range of that size leaves nothing of the other samples.
template <class T>
TestImage& numbers(Call& call, ExImageDataType type, int channels)
{
    TestImage& image = call.image(type, channels);
    int next = 0;
    image.forEachSample([&](int x, int y, int c) {
        image.set<T>(x, y, c, static_cast<T>((next = (next * 37 + call.width) % 1009)) / 7);
    });
    return image;
}

}  // namespace

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
             const TestImage& from = numbers<float>(c, Float32, 3);
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

Operations conversionOperations()
{
    return {
        {"ConvertDoubleToU",
         [](Call& c) {
             std::array<double, 3> least{};
             std::array<double, 3> greatest{};
             const TestImage& from = numbers<double>(c, Float64, 3);
             c.status(ConvertDoubleToU(from, c.image(UInt16, 3), NormalizeSeparate, least.data(),
                                       greatest.data(), true));
             c.value(least), c.value(greatest);
         }},
        {"ConvertDoubleToUMasked",
         [](Call& c) {
             std::array<double, 3> least{};
             std::array<double, 3> greatest{};
             const TestImage& from = numbers<double>(c, Float64, 3);
             const TestImage& mask = c.mask();
             c.status(ConvertDoubleToUMasked(from, mask, c.image(UInt8, 3), NormalizeJoint, least.data(),
                                             greatest.data()));
             c.value(least), c.value(greatest);
         }},
        {"ConvertFloatToU",
         [](Call& c) {
             std::array<float, 3> least{};
             std::array<float, 3> greatest{};
             const TestImage& from = numbers<float>(c, Float32, 3);
             c.status(ConvertFloatToU(from, c.image(UInt32, 3), NormalizeJoint, least.data(), greatest.data(),
                                      false));
             c.value(least), c.value(greatest);
         }},
        {"ConvertFloatToU8",
         [](Call& c) {
             std::array<float, 3> least{};
             std::array<float, 3> greatest{};
             const TestImage& from = numbers<float>(c, Float32, 3);
             c.status(
                 ConvertFloatToU8(from, c.image(UInt8, 3), NormalizeSeparate, least.data(), greatest.data()));
             c.value(least), c.value(greatest);
         }},
        {"ConvertFloatToU8 with a mask",
         [](Call& c) {
             std::array<float, 3> least{};
             std::array<float, 3> greatest{};
             const TestImage& from = numbers<float>(c, Float32, 3);
             const TestImage& mask = c.mask();
             c.status(ConvertFloatToU8(from, mask, c.image(UInt8, 3), NormalizeSeparate, least.data(),
                                       greatest.data()));
             c.value(least), c.value(greatest);
         }},
        {"ConvertI32ToU",
         [](Call& c) {
             std::array<int, 3> least{};
             std::array<int, 3> greatest{};
             const TestImage& from = c.image(Int32, 3);
             c.status(
                 ConvertI32ToU(from, c.image(UInt16, 3), NormalizeSeparate, least.data(), greatest.data()));
             c.value(least), c.value(greatest);
         }},
        {"ScaleDoubleFloatToU",
         [](Call& c) {
             const TestImage& from = numbers<double>(c, Float64, 3);
             c.status(ScaleDoubleFloatToU(from, c.image(UInt8, 3), 10, 120));
         }},
    };
}

}  // namespace ko::test
