#include "base/values.h"

#include <QPoint>
#include <QString>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace ko::test {
namespace {

TEST(PlainValue, TakesTextWithoutANumberAsZero)
{
    EXPECT_EQ(plainValue<std::int32_t>(QVariant("abc")), 0);
    EXPECT_EQ(plainValue<std::uint8_t>(QVariant("abc")), 0);
    EXPECT_EQ(plainValue<std::int64_t>(QVariant()), 0);
    EXPECT_EQ(plainValue<double>(QVariant("abc")), 0.0);
}

TEST(PlainValue, CutsToTheLowBits)
{
    EXPECT_EQ(plainValue<std::uint8_t>(QVariant(300)), 44);
    EXPECT_EQ(plainValue<std::int8_t>(QVariant(200)), -56);
    EXPECT_EQ(plainValue<std::uint16_t>(QVariant(65536 + 7)), 7);
    EXPECT_EQ(plainValue<std::int16_t>(QVariant(40000)), 40000 - 65536);
}

TEST(PlainValue, ReadsWideTypesWhole)
{
    EXPECT_EQ(plainValue<std::uint32_t>(QVariant(4294967295U)), 4294967295U);
    EXPECT_EQ(plainValue<std::int64_t>(QVariant(qlonglong{-5000000000})), -5000000000);
    EXPECT_EQ(plainValue<std::uint64_t>(QVariant(std::numeric_limits<qulonglong>::max())),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(plainValue<float>(QVariant("1.5")), 1.5F);
    EXPECT_EQ(plainValue<double>(QVariant(2.25)), 2.25);
}

TEST(TypedValue, ReadsTheStoredValueOfItsOwnMetaType)
{
    EXPECT_EQ(typedValue<std::uint8_t>(QVariant::fromValue<unsigned char>(200)), 200);
    EXPECT_EQ(typedValue<std::int8_t>(QVariant::fromValue<signed char>(-7)), -7);
    EXPECT_EQ(typedValue<std::int16_t>(QVariant::fromValue<short>(-300)), -300);
    EXPECT_EQ(typedValue<std::uint16_t>(QVariant::fromValue<unsigned short>(60000)), 60000);
    EXPECT_TRUE(std::isnan(typedValue<float>(QVariant(std::nanf("")))));
    EXPECT_EQ(typedValue<std::int64_t>(QVariant(qlonglong{1} << 40)), std::int64_t{1} << 40);
}

TEST(TypedValue, ConvertsOtherTypesAndGivesZeroWhereItCannot)
{
    EXPECT_EQ(typedValue<std::uint8_t>(QVariant(77)), 77);
    EXPECT_EQ(typedValue<double>(QVariant("2.5")), 2.5);
    EXPECT_EQ(typedValue<std::int32_t>(QVariant("abc")), 0);
    EXPECT_EQ(typedValue<std::uint64_t>(QVariant()), 0U);
    EXPECT_EQ(typedValue<std::int32_t>(QVariant(QPoint(1, 2))), 0);
}

TEST(TypedValue, CutsToTheLowBits)
{
    EXPECT_EQ(typedValue<std::uint8_t>(QVariant(300)), 44);
    EXPECT_EQ(typedValue<std::uint8_t>(QVariant("300")), 44);
    EXPECT_EQ(typedValue<std::uint8_t>(QVariant(-1)), 255);
    EXPECT_EQ(typedValue<std::int8_t>(QVariant(200)), -56);
    EXPECT_EQ(typedValue<std::uint16_t>(QVariant(65537)), 1);
    EXPECT_EQ(typedValue<std::int16_t>(QVariant(-70000)), -4464);
    EXPECT_EQ(typedValue<std::uint32_t>(QVariant(-1)), 4294967295U);
}

template <class T>
void compareWithConversion()
{
    for (const int number : {std::numeric_limits<int>::min(), -70000, -32769, -300, -129, -1, 0, 1, 127, 128,
                             255, 256, 32768, 65535, 65536, 16777217, std::numeric_limits<int>::max()}) {
        QVariant converted(number);
        ASSERT_TRUE(converted.convert(detail::ConversionTarget(detail::metaTypeOf<T>())));
        EXPECT_EQ(typedValue<T>(QVariant(number)), *static_cast<const T*>(converted.constData())) << number;
    }
}

TEST(TypedValue, OfAnIntIsThatOfTheVariantsOwnConversion)
{
    compareWithConversion<std::int8_t>();
    compareWithConversion<std::uint8_t>();
    compareWithConversion<std::int16_t>();
    compareWithConversion<std::uint16_t>();
    compareWithConversion<std::int32_t>();
    compareWithConversion<std::uint32_t>();
    compareWithConversion<std::int64_t>();
    compareWithConversion<std::uint64_t>();
    compareWithConversion<float>();
    compareWithConversion<double>();
}

TEST(ExtractTyped, ConvertsAnIntToTypesThatNoSampleHas)
{
    QString text;
    detail::extractTyped(QVariant(70), QMetaType::QString, &text);
    EXPECT_EQ(text, "70");
}

TEST(MetaTypes, AreThoseOfTheSampleTypes)
{
    EXPECT_EQ(detail::metaTypeOf<std::int8_t>(), 40);
    EXPECT_EQ(detail::metaTypeOf<std::uint8_t>(), 37);
    EXPECT_EQ(detail::metaTypeOf<std::int16_t>(), 33);
    EXPECT_EQ(detail::metaTypeOf<std::uint16_t>(), 36);
    EXPECT_EQ(detail::metaTypeOf<std::int32_t>(), 2);
    EXPECT_EQ(detail::metaTypeOf<std::uint32_t>(), 3);
    EXPECT_EQ(detail::metaTypeOf<float>(), 38);
    EXPECT_EQ(detail::metaTypeOf<double>(), 6);
    EXPECT_EQ(detail::metaTypeOf<std::int64_t>(), 4);
    EXPECT_EQ(detail::metaTypeOf<std::uint64_t>(), 5);
}

}  // namespace
}  // namespace ko::test
