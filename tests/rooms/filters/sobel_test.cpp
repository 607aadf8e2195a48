#include "oracle/sobel.h"
#include "support/check_table.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/filters.h>

#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
#include <random>

namespace ko::test {
namespace {

struct SobelArgs {
    TestImage src{Layout{.type = UInt16}};
    TestImage dst{Layout{.type = Int32}};
    std::vector<std::uint8_t> before;

    SobelArgs() { src.fillRandom(1), dst.fillBytes(7), before = dst.bytes(); }
    ResultCode call() { return Sobel(src, dst); }
    bool outputsUntouched() const { return dst.bytes() == before; }
};

TEST(SobelChecks, RunInOrder)
{
    runCheckTable<SobelArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src not mono", [](auto& a) { a.src->channels = 3; }, ResultBadArg1},
        {"src Int16", [](auto& a) { a.src->dataType = Int16; }, ResultBadArg1},
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, ResultBadArg2},
        {"dst not mono", [](auto& a) { a.dst->channels = 3; }, ResultBadArg2},
        {"dst UInt32", [](auto& a) { a.dst->dataType = UInt32; }, ResultBadArg2},
        {"dst narrower", [](auto& a) { a.dst->width = 3; }, ResultBadArg2},
        {"dst lower", [](auto& a) { a.dst->height = 2; }, ResultBadArg2},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 7; }, ResultBadArg1},
        {"dst rows beyond their stride", [](auto& a) { a.dst->stride = 15; }, ResultBadArg2},
    });
}

TEST(SobelValues, OfAConstantImageAreZeroInsideAnUntouchedBorder)
{
    TestImage src(Layout{.width = 4, .height = 4}), dst(Layout{.width = 4, .height = 4, .type = Int32});
    src.fillBytes(90);
    dst.fillBytes(0xFF);
    ASSERT_EQ(Sobel(src, dst), ResultOk);
    EXPECT_EQ(dst.all<std::int32_t>(),
              (std::vector<std::int32_t>{-1, -1, -1, -1, -1, 0, 0, -1, -1, 0, 0, -1, -1, -1, -1, -1}));
}

TEST(SobelValues, OfAVerticalStepAreFourTimesItsHeight)
{
    TestImage src(Layout{.width = 6, .height = 3}), dst(Layout{.width = 6, .height = 3, .type = Int32});
    for (int y = 0; y < 3; ++y)
        for (int x = 3; x < 6; ++x)
            src.set<std::uint8_t>(x, y, 255);
    ASSERT_EQ(Sobel(src, dst), ResultOk);
    EXPECT_EQ(dst.all<std::int32_t>(),
              (std::vector<std::int32_t>{0, 0, 0, 0, 0, 0, 0, 0, 1020, 1020, 0, 0,  //
                                         0, 0, 0, 0, 0, 0}));
}

TEST(SobelValues, OfImagesWithoutInteriorAreNone)
{
    for (const auto& [w, h] : {std::pair(2, 9), {9, 2}, {1, 1}, {0, 0}, {0, 5}}) {
        TestImage src(Layout{.width = w, .height = h}), dst(Layout{.width = w, .height = h, .type = Int32});
        dst.fillBytes(3);
        const auto before = dst.bytes();
        EXPECT_EQ(Sobel(src, dst), ResultOk);
        EXPECT_EQ(dst.bytes(), before);
    }
}

TEST(SobelValues, OfEveryPairOf8BitGradientsAreTruncatedRoots)
{
    // gx = e - w and gy = s - n doubled: single samples reach every even gradient.
    TestImage src(Layout{.width = 3, .height = 3}), dst(Layout{.width = 3, .height = 3, .type = Int32});
    for (int east = 0; east < 256; ++east)
        for (int south = 0; south < 256; ++south) {
            src.set<std::uint8_t>(2, 1, static_cast<std::uint8_t>(east));
            src.set<std::uint8_t>(1, 2, static_cast<std::uint8_t>(south));
            ASSERT_EQ(Sobel(src, dst), ResultOk);
            const auto squares = static_cast<std::int64_t>(4 * east * east + 4 * south * south);
            const std::int64_t root = dst.get<std::int32_t>(1, 1);
            ASSERT_TRUE(root * root <= squares && (root + 1) * (root + 1) > squares) << squares;
        }
}

template <class T>
void compareWithTwin(ExImageDataType type, int bits, int width)
{
    TestImage src(Layout{.width = width, .height = 5, .type = type, .bits = bits, .padding = 3});
    src.fillRandom(static_cast<std::uint32_t>(width));
    const Layout layout{.width = width, .height = 5, .type = Int32};
    TestImage dst(layout), expected(layout);
    oracle::sobel<T>(src, expected);
    ASSERT_EQ(Sobel(src, dst), ResultOk);
    ASSERT_EQ(dst.bytes(), expected.bytes()) << type << ' ' << width;
}

TEST(SobelTargets, EqualTheTwinForEveryTypeAndWidth)
{
    forEachTarget([] {
        for (int width = 0; width <= 140; ++width) {
            compareWithTwin<std::uint8_t>(UInt8, 8, width);
            compareWithTwin<std::uint16_t>(UInt16, 12, width);
            compareWithTwin<std::uint16_t>(UInt16, 16, width);
        }
    });
}

TEST(SobelTargets, EqualTheTwinAtTheSteepestGradientsOfWords)
{
    constexpr int width = 2000, height = 12;
    TestImage src(Layout{.width = width, .height = height, .type = UInt16});
    const std::uint16_t ends[] = {0, 1, 2, 32767, 65533, 65534, 65535, 65535};
    std::mt19937 random(5);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            src.set<std::uint16_t>(x, y, ends[random() % std::size(ends)]);
    const Layout layout{.width = width, .height = height, .type = Int32};
    TestImage expected(layout);
    oracle::sobel<std::uint16_t>(src, expected);
    forEachTarget([&] {
        TestImage dst(layout);
        ASSERT_EQ(Sobel(src, dst), ResultOk);
        ASSERT_EQ(dst.bytes(), expected.bytes());
    });
}

TEST(SobelThreads, GiveTheSameBytesForAnyNumber)
{
    TestImage src(Layout{.width = 40, .height = 60, .type = UInt16});
    src.fillRandom(3);
    const Layout layout{.width = 40, .height = 60, .type = Int32};
    TestImage expected(layout);
    oracle::sobel<std::uint16_t>(src, expected);
    forEachThreadCount([&] {
        TestImage dst(layout);
        ASSERT_EQ(Sobel(src, dst), ResultOk);
        EXPECT_EQ(dst.bytes(), expected.bytes());
    });
}

}  // namespace
}  // namespace ko::test
