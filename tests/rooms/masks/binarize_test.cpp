#include "base/dispatch.h"
#include "oracle/binarize.h"
#include "support/check_table.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/masks.h>

#include <gtest/gtest.h>

#include <cmath>

namespace ko::test {
namespace {

struct BinarizeArgs {
    TestImage src{Layout{.type = UInt16}};
    TestImage dst{Layout{}};
    std::vector<std::uint8_t> before = dst.bytes();

    ResultCode call() { return Binarize(src, dst, 255); }
    bool outputsUntouched() const { return dst.bytes() == before; }
};

TEST(BinarizeChecks, RunInOrderAndLeaveTheDestinationAlone)
{
    runCheckTable<BinarizeArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src of negative width", [](auto& a) { a.src->width = -1; }, ResultBadArg1},
        {"src not mono", [](auto& a) { a.src->channels = 3; }, ResultBadArg1},
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, ResultBadArg2},
        {"dst not mono", [](auto& a) { a.dst->channels = 2; }, ResultBadArg2},
        {"dst not UInt8", [](auto& a) { a.dst->dataType = UInt16; }, ResultBadArg2},
        {"dst narrower", [](auto& a) { a.dst->width = 3; }, ResultBadArg2},
        {"dst lower", [](auto& a) { a.dst->height = 2; }, ResultBadArg2},
        {"type of 16 bytes", [](auto& a) { a.src->dataType = Sample128; }, ResultUnsupportedType},
        {"type 0", [](auto& a) { a.src->dataType = typeCode(0); }, ResultUnsupportedType},
        {"type 12", [](auto& a) { a.src->dataType = typeCode(12); }, ResultUnsupportedType},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 7; }, ResultBadArg1},
        {"dst rows beyond their stride", [](auto& a) { a.dst->stride = 3; }, ResultBadArg2},
    });
}

TEST(BinarizeValues, OfFloatsTakeZerosOfBothSignsAsZeroAndNaNAsSet)
{
    TestImage src(Layout{.width = 4, .height = 1, .type = Float32});
    TestImage dst(Layout{.width = 4, .height = 1});
    src.setAll<float>({0.0F, -0.0F, std::nanf(""), 1e-30F});
    ASSERT_EQ(Binarize(src, dst, 200), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (std::vector<std::uint8_t>{0, 0, 200, 200}));
}

TEST(BinarizeValues, IgnoreThePackingOfAMonoImage)
{
    TestImage src(Layout{.packing = Planar});
    TestImage dst(Layout{});
    src.fillBytes(3);
    src->packing = static_cast<ExPixelPacking>(9);
    ASSERT_EQ(Binarize(src, dst, 1), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), std::vector<std::uint8_t>(12, 1));
}

TEST(BinarizeValues, OfAnImageWithoutRowsAreNone)
{
    TestImage src(Layout{.height = 0});
    TestImage dst(Layout{.height = 0});
    EXPECT_EQ(Binarize(src, dst, 1), ResultOk);
    src->stride = dst->stride = 0;
    EXPECT_EQ(Binarize(src, dst, 1), ResultOk) << "no rows, so none beyond its stride";
}

TEST(BinarizeValues, MayOverwriteTheSource)
{
    TestImage image(Layout{.width = 131, .height = 2});
    image.fillSparse(1);
    TestImage expected(Layout{.width = 131, .height = 2});
    oracle::binarize<std::uint8_t>(image, expected, 9);
    ASSERT_EQ(Binarize(image, image, 9), ResultOk);
    EXPECT_EQ(image.bytes(), expected.bytes());
}

void compareWithTwin(ExImageDataType type, int width, int padding)
{
    const Layout layout{.width = width, .height = 3, .type = type, .padding = padding};
    TestImage src(layout);
    src.fillSparse(static_cast<std::uint32_t>(width));
    TestImage dst(Layout{.width = width, .height = 3, .padding = padding});
    TestImage expected(Layout{.width = width, .height = 3, .padding = padding});
    (void)dispatch(ByType{}, type, {},
                   [&]<class T>(std::type_identity<T>) { oracle::binarize<T>(src, expected, 77); });
    ASSERT_EQ(Binarize(src, dst, 77), ResultOk);
    ASSERT_EQ(dst.bytes(), expected.bytes())
        << "type " << type << " width " << width << " padding " << padding;
}

TEST(BinarizeTargets, EqualTheTwinForEveryTypeWidthAndStride)
{
    forEachTarget([] {
        for (const ExImageDataType type : allTypes)
            for (int width = 0; width <= 140; ++width)
                for (const int padding : {0, 3})
                    compareWithTwin(type, width, padding);
    });
}

TEST(BinarizeThreads, GiveTheSameBytesForAnyNumber)
{
    TestImage src(Layout{.width = 33, .height = 50, .type = Int32});
    src.fillSparse(5);
    TestImage expected(Layout{.width = 33, .height = 50});
    oracle::binarize<std::int32_t>(src, expected, 1);
    forEachThreadCount([&] {
        TestImage dst(Layout{.width = 33, .height = 50});
        ASSERT_EQ(Binarize(src, dst, 1), ResultOk);
        EXPECT_EQ(dst.bytes(), expected.bytes());
    });
}

}  // namespace
}  // namespace ko::test
