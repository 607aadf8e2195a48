// Conversion of wide samples.
#include "threads/call.h"

namespace ko::test {

Operations convertOperations()
{
    return {
        {"ConvertDoubleToU",
         [](Call& c) {
             std::array<double, 3> least{};
             std::array<double, 3> greatest{};
             const TestImage& from = c.numbers<double>(Float64, 3);
             c.status(ConvertDoubleToU(from, c.image(UInt16, 3), NormalizeSeparate, least.data(),
                                       greatest.data(), true));
             c.value(least), c.value(greatest);
         }},
        {"ConvertDoubleToUMasked",
         [](Call& c) {
             std::array<double, 3> least{};
             std::array<double, 3> greatest{};
             const TestImage& from = c.numbers<double>(Float64, 3);
             const TestImage& mask = c.mask();
             c.status(ConvertDoubleToUMasked(from, mask, c.image(UInt8, 3), NormalizeJoint, least.data(),
                                             greatest.data()));
             c.value(least), c.value(greatest);
         }},
        {"ConvertFloatToU",
         [](Call& c) {
             std::array<float, 3> least{};
             std::array<float, 3> greatest{};
             const TestImage& from = c.numbers<float>(Float32, 3);
             c.status(ConvertFloatToU(from, c.image(UInt32, 3), NormalizeJoint, least.data(), greatest.data(),
                                      false));
             c.value(least), c.value(greatest);
         }},
        {"ConvertFloatToU8",
         [](Call& c) {
             std::array<float, 3> least{};
             std::array<float, 3> greatest{};
             const TestImage& from = c.numbers<float>(Float32, 3);
             c.status(
                 ConvertFloatToU8(from, c.image(UInt8, 3), NormalizeSeparate, least.data(), greatest.data()));
             c.value(least), c.value(greatest);
         }},
        {"ConvertFloatToU8 with a mask",
         [](Call& c) {
             std::array<float, 3> least{};
             std::array<float, 3> greatest{};
             const TestImage& from = c.numbers<float>(Float32, 3);
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
             const TestImage& from = c.numbers<double>(Float64, 3);
             c.status(ScaleDoubleFloatToU(from, c.image(UInt8, 3), 10, 120));
         }},
    };
}

}  // namespace ko::test
