#include "base/dispatch.h"
#include "oracle/logic.h"
#include "support/check_table.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/pixel.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace ko::test {
namespace {

using oracle::Logic;
using Operation = ResultCode (*)(const SxImageBuf&, SxImageBuf&, QVariant*);

constexpr struct {
    Logic logic;
    Operation run;
} operations[] = {{Logic::And, &And}, {Logic::Or, &Or}, {Logic::Xor, &Xor}};

template <Operation Run>
struct Args {
    TestImage src{Layout{.type = UInt16}};
    TestImage dst{Layout{.type = UInt16}};
    std::vector<std::uint8_t> before;
    QVariant value{3};

    Args()
    {
        src.fillBytes(7);
        dst.fillBytes(9);
        before = dst.bytes();
    }
    ResultCode call() { return Run(src, dst, &value); }
    bool outputsUntouched() const { return dst.bytes() == before; }
    void setType(int code) { src->dataType = dst->dataType = typeCode(code); }
};

template <Operation Run>
void checkArguments()
{
    runCheckTable<Args<Run>>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src of negative height", [](auto& a) { a.src->height = -1; }, ResultBadArg1},
        {"src not mono", [](auto& a) { a.src->channels = 3; }, ResultBadArg1},
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, ResultBadArg2},
        {"dst narrower", [](auto& a) { a.dst->width = 3; }, ResultBadArg2},
        {"dst lower", [](auto& a) { a.dst->height = 2; }, ResultBadArg2},
        {"dst not mono", [](auto& a) { a.dst->channels = 2; }, ResultBadArg2},
        {"dst of another depth", [](auto& a) { a.dst->bitsPerSample = 12; }, ResultBadArg2},
        {"dst of another mosaic", [](auto& a) { a.dst->bayerGrid = BayerRGGB; }, ResultBadArg2},
        {"dst of another packing", [](auto& a) { a.dst->packing = Planar; }, ResultBadArg2},
        {"dst of another pixel format", [](auto& a) { a.dst->pixelFormat = 2; }, ResultBadArg2},
        {"dst of another type", [](auto& a) { a.dst->dataType = Int16; }, ResultBadArg2},
        {"type of 16 bytes", [](auto& a) { a.setType(Sample128); }, ResultUnsupportedType},
        {"type 0", [](auto& a) { a.setType(0); }, ResultUnsupportedType},
        {"type 12", [](auto& a) { a.setType(12); }, ResultUnsupportedType},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 7; }, ResultBadArg1},
        {"dst rows beyond their stride", [](auto& a) { a.dst->stride = 7; }, ResultBadArg2},
    });
}

TEST(AndChecks, RunInOrderAndLeaveTheDestinationAlone)
{
    checkArguments<&And>();
}

TEST(OrChecks, RunInOrderAndLeaveTheDestinationAlone)
{
    checkArguments<&Or>();
}

TEST(XorChecks, RunInOrderAndLeaveTheDestinationAlone)
{
    checkArguments<&Xor>();
}

TEST(LogicChecks, TakeFloatsForXorOnly)
{
    for (const ExImageDataType type : {Float32, Float64}) {
        TestImage src(Layout{.type = type}), dst(Layout{.type = type});
        EXPECT_EQ(And(src, dst, nullptr), ResultUnsupportedType);
        EXPECT_EQ(Or(src, dst, nullptr), ResultUnsupportedType);
        EXPECT_EQ(Xor(src, dst, nullptr), ResultOk);
    }
}

TEST(LogicChecks, DoNotLookAtThePackingOrTheStrideOfTheOther)
{
    TestImage src(Layout{.padding = 0, .misalignment = 0}), dst(Layout{.padding = 9, .misalignment = 3});
    src->packing = dst->packing = static_cast<ExPixelPacking>(5);
    src.fillBytes(1);
    dst.fillBytes(1);
    ASSERT_EQ(And(src, dst, nullptr), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), std::vector<std::uint8_t>(12, 1));
}

/// The result of the operation for the sample pairs (0, 0), (0, 7), (7, 0), (7, 9).
std::vector<std::uint8_t> truthTable(Operation run, QVariant* value)
{
    TestImage src(Layout{.width = 4, .height = 1}), dst(Layout{.width = 4, .height = 1});
    src.setAll<std::uint8_t>({0, 0, 7, 7});
    dst.setAll<std::uint8_t>({0, 7, 0, 9});
    EXPECT_EQ(run(src, dst, value), ResultOk);
    return dst.all<std::uint8_t>();
}

using Bytes = std::vector<std::uint8_t>;

TEST(LogicValues, FollowTheTruthTables)
{
    QVariant all(255), five(5);
    EXPECT_EQ(truthTable(&And, nullptr), (Bytes{0, 0, 0, 1}));
    EXPECT_EQ(truthTable(&And, &all), (Bytes{0, 0, 0, 255}));
    EXPECT_EQ(truthTable(&Or, nullptr), (Bytes{0, 1, 1, 1}));
    EXPECT_EQ(truthTable(&Or, &five), (Bytes{0, 5, 5, 5}));
    EXPECT_EQ(truthTable(&Xor, &five), (Bytes{0, 5, 5, 0}));
}

TEST(LogicValues, OfXorWithoutAValuePassTheSetSampleThrough)
{
    EXPECT_EQ(truthTable(&Xor, nullptr), (Bytes{0, 7, 7, 0}));
}

TEST(LogicValues, AreCutForAndAndOrButExtractedForXor)
{
    QVariant wide(300), text("abc"), number("12"), none, negative(-1);
    EXPECT_EQ(truthTable(&And, &wide), (Bytes{0, 0, 0, 44}));
    EXPECT_EQ(truthTable(&Or, &wide), (Bytes{0, 44, 44, 44}));
    for (const Operation run : {&And, &Or, &Xor}) {
        EXPECT_EQ(truthTable(run, &text), (Bytes{0, 0, 0, 0}));
        EXPECT_EQ(truthTable(run, &none), (Bytes{0, 0, 0, 0}));
    }
    EXPECT_EQ(truthTable(&And, &number), (Bytes{0, 0, 0, 12}));
    EXPECT_EQ(truthTable(&And, &negative), (Bytes{0, 0, 0, 255}));
    QVariant own = QVariant::fromValue<unsigned char>(200);
    EXPECT_EQ(truthTable(&Xor, &own), (Bytes{0, 200, 200, 0}));
}

TEST(LogicValues, KeepTheSignAndWidthOfTheSample)
{
    TestImage src(Layout{.width = 1, .height = 1, .type = Int64});
    TestImage dst(Layout{.width = 1, .height = 1, .type = Int64});
    src.setAll<std::int64_t>({std::int64_t{1} << 40});
    dst.setAll<std::int64_t>({-1});
    QVariant value(qlonglong{-5000000000});
    ASSERT_EQ(And(src, dst, &value), ResultOk);
    EXPECT_EQ(dst.get<std::int64_t>(0, 0), -5000000000);
}

template <class T>
void expectXorOfFloats(ExImageDataType type)
{
    const T nan = std::numeric_limits<T>::quiet_NaN();
    TestImage src(Layout{.width = 6, .height = 1, .type = type});
    TestImage dst(Layout{.width = 6, .height = 1, .type = type});
    const auto fill = [&] {
        src.setAll<T>({T(0), nan, nan, T(-0.0), T(2), T(-0.0)});
        dst.setAll<T>({nan, T(0), nan, T(-0.0), T(-0.0), T(4)});
    };
    fill();
    QVariant value(2.5);
    ASSERT_EQ(Xor(src, dst, &value), ResultOk);
    EXPECT_EQ(dst.all<T>(), (std::vector<T>{T(2.5), T(2.5), 0, 0, T(2.5), T(2.5)}));
    fill();
    ASSERT_EQ(Xor(src, dst, nullptr), ResultOk);
    const std::vector<T> passed = dst.all<T>();
    EXPECT_TRUE(std::isnan(passed[0]));
    EXPECT_TRUE(std::isnan(passed[1]));
    EXPECT_EQ((std::vector<T>(passed.begin() + 2, passed.end())), (std::vector<T>{0, 0, 2, 4}));
    EXPECT_FALSE(std::signbit(passed[3])) << "a zero comes out positive";
}

TEST(LogicValues, OfFloatsTakeNaNAsSetAndZerosOfBothSignsAsNot)
{
    expectXorOfFloats<float>(Float32);
    expectXorOfFloats<double>(Float64);
}

TEST(LogicValues, AllowTheSameImageTwice)
{
    const auto combined = [](Operation run, QVariant* value) {
        TestImage image(Layout{.width = 131, .height = 1});
        for (int x = 0; x < 131; ++x)
            image.set<std::uint8_t>(x, 0, x % 3 == 0 ? 0 : static_cast<std::uint8_t>(x));
        EXPECT_EQ(run(image, image, value), ResultOk);
        return image.all<std::uint8_t>();
    };
    std::vector<std::uint8_t> expected(131, 8);
    for (std::size_t x = 0; x < 131; x += 3)
        expected[x] = 0;
    QVariant eight(8);
    EXPECT_EQ(combined(&And, &eight), expected);
    EXPECT_EQ(combined(&Or, &eight), expected);
    EXPECT_EQ(combined(&Xor, &eight), std::vector<std::uint8_t>(131, 0));
    EXPECT_EQ(combined(&Xor, nullptr), std::vector<std::uint8_t>(131, 0));
}

TEST(LogicValues, OfAnImageWithoutPixelsAreNone)
{
    TestImage src(Layout{.width = 0}), dst(Layout{.width = 0});
    for (const auto& operation : operations)
        EXPECT_EQ(operation.run(src, dst, nullptr), ResultOk);
}

class LogicPair {
public:
    LogicPair(ExImageDataType type, int width, int padding, int height)
        : src({.width = width, .height = height, .type = type, .padding = padding, .misalignment = 3}),
          dst({.width = width, .height = height, .type = type, .padding = padding}),
          expected({.width = width, .height = height, .type = type, .padding = padding})
    {
        src.fillSparse(static_cast<std::uint32_t>(width));
        dst.fillSparse(static_cast<std::uint32_t>(width) + 1000);
        expected.fillSparse(static_cast<std::uint32_t>(width) + 1000);
    }

    TestImage src, dst, expected;
};

void compareWithTwin(ExImageDataType type, int width, int padding, int height = 2)
{
    const bool isFloat = type == Float32 || type == Float64;
    for (const auto& operation : operations) {
        if (isFloat && operation.logic != Logic::Xor)
            continue;
        LogicPair pair(type, width, padding, height);
        (void)dispatch(ByType{}, type, {}, [&]<class T>(std::type_identity<T>) {
            oracle::combine<T>(operation.logic, pair.src, pair.expected, T{77});
        });
        QVariant value(77);
        ASSERT_EQ(operation.run(pair.src, pair.dst, &value), ResultOk);
        ASSERT_EQ(pair.dst.bytes(), pair.expected.bytes()) << "type " << type << " width " << width;
    }
    LogicPair pair(type, width, padding, height);
    (void)dispatch(ByType{}, type, {}, [&]<class T>(std::type_identity<T>) {
        oracle::passThroughXor<T>(pair.src, pair.expected);
    });
    ASSERT_EQ(Xor(pair.src, pair.dst, nullptr), ResultOk);
    ASSERT_EQ(pair.dst.bytes(), pair.expected.bytes()) << "type " << type << " width " << width;
}

TEST(LogicTargets, EqualTheTwinsForEveryTypeWidthAndStride)
{
    forEachTarget([] {
        for (const ExImageDataType type : allTypes)
            for (int width = 0; width <= 130; ++width)
                compareWithTwin(type, width, width % 2 == 0 ? 0 : 3);
    });
}

TEST(LogicThreads, GiveTheSameBytesForAnyNumber)
{
    for (const auto& operation : operations) {
        TestImage src(Layout{.width = 33, .height = 50, .type = Int32});
        TestImage expected(Layout{.width = 33, .height = 50, .type = Int32});
        src.fillSparse(5);
        expected.fillSparse(6);
        oracle::combine<std::int32_t>(operation.logic, src, expected, -9);
        forEachThreadCount([&] {
            TestImage dst(Layout{.width = 33, .height = 50, .type = Int32});
            dst.fillSparse(6);
            QVariant value(-9);
            ASSERT_EQ(operation.run(src, dst, &value), ResultOk);
            EXPECT_EQ(dst.bytes(), expected.bytes());
        });
    }
}

TEST(LogicThreads, GiveTheSameBytesWhereRowsHaveNoGaps)
{
    forEachThreadCount([] {
        for (const ExImageDataType type : allTypes)
            compareWithTwin(type, 131, 0, 300);
    });
}

}  // namespace
}  // namespace ko::test
