#include "base/dispatch.h"
#include "oracle/clamp.h"
#include "support/check_table.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/pixel.h>

#include <gtest/gtest.h>

#include <limits>

namespace ko::test {
namespace {

constexpr ExImageDataType clampable[] = {UInt8, UInt16, UInt32, UInt64};

struct ClampArgs {
    TestImage image{Layout{.channels = 3, .type = UInt16, .bits = 4}};
    std::vector<std::uint8_t> before;

    ClampArgs()
    {
        image.fillBytes(200);
        before = image.bytes();
    }
    ResultCode call() { return ClampToColorDepth(image); }
    bool outputsUntouched() const { return image.bytes() == before; }
};

TEST(ClampToColorDepthChecks, RunInOrderAndLeaveTheImageAlone)
{
    runCheckTable<ClampArgs>({
        {"image absent", [](auto& a) { a.image->data = nullptr; }, ResultBadArg1},
        {"image of negative width", [](auto& a) { a.image->width = -1; }, ResultBadArg1},
        {"packing 2", [](auto& a) { a.image->packing = static_cast<ExPixelPacking>(2); },
         ResultUnsupportedType},
        {"packing -1", [](auto& a) { a.image->packing = static_cast<ExPixelPacking>(-1); },
         ResultUnsupportedType},
        {"type of 16 bytes", [](auto& a) { a.image->dataType = Sample128; }, ResultUnsupportedType},
        {"type 0", [](auto& a) { a.image->dataType = typeCode(0); }, ResultUnsupportedType},
        {"type 12", [](auto& a) { a.image->dataType = typeCode(12); }, ResultUnsupportedType},
        {"rows beyond their stride", [](auto& a) { a.image->stride = 23; }, ResultBadArg1},
    });
}

TEST(ClampToColorDepthChecks, RefuseSignedAndFloatTypes)
{
    for (const ExImageDataType type : {Int8, Int16, Int32, Int64, Float32, Float64}) {
        for (const ExPixelPacking packing : {Interleaved, Planar}) {
            TestImage image(Layout{.type = type, .packing = packing, .bits = 1});
            image.fillBytes(63);
            const auto before = image.bytes();
            EXPECT_EQ(ClampToColorDepth(image), ResultUnsupportedType) << type;
            EXPECT_EQ(image.bytes(), before);
        }
    }
}

TEST(ClampToColorDepthChecks, RefuseOtherPackingsOfMonoImagesToo)
{
    TestImage image(Layout{});
    image->packing = static_cast<ExPixelPacking>(2);
    EXPECT_EQ(ClampToColorDepth(image), ResultUnsupportedType);
}

template <class T>
std::vector<T> clamped(ExImageDataType type, int bits, std::initializer_list<T> samples)
{
    TestImage image(Layout{.width = static_cast<int>(samples.size()), .height = 1, .type = type});
    image->bitsPerSample = bits;
    image.setAll<T>(samples);
    EXPECT_EQ(ClampToColorDepth(image), ResultOk);
    return image.all<T>();
}

TEST(ClampToColorDepthValues, OfBytesChangeBelowEightBitsOnly)
{
    using Samples = std::vector<std::uint8_t>;
    EXPECT_EQ(clamped<std::uint8_t>(UInt8, 4, {0, 15, 16, 255}), (Samples{0, 15, 15, 15}));
    EXPECT_EQ(clamped<std::uint8_t>(UInt8, 7, {0, 127, 128, 255}), (Samples{0, 127, 127, 127}));
    EXPECT_EQ(clamped<std::uint8_t>(UInt8, 0, {0, 1, 255}), (Samples{0, 0, 0}));
    for (const int bits : {8, 9, 16, 30, 31, 32, 64, 1024, std::numeric_limits<int>::max()})
        EXPECT_EQ(clamped<std::uint8_t>(UInt8, bits, {0, 1, 127, 255}), (Samples{0, 1, 127, 255})) << bits;
}

TEST(ClampToColorDepthValues, OfWordsAreAllReplacedFrom31BitsOn)
{
    using Samples = std::vector<std::uint16_t>;
    EXPECT_EQ(clamped<std::uint16_t>(UInt16, 12, {4094, 4095, 4096, 65535}),
              (Samples{4094, 4095, 4095, 4095}));
    EXPECT_EQ(clamped<std::uint16_t>(UInt16, 15, {32767, 32768, 65535}), (Samples{32767, 32767, 32767}));
    EXPECT_EQ(clamped<std::uint16_t>(UInt16, 0, {0, 1, 65535}), (Samples{0, 0, 0}));
    for (const int bits : {16, 17, 30})
        EXPECT_EQ(clamped<std::uint16_t>(UInt16, bits, {0, 65535}), (Samples{0, 65535})) << bits;
    for (const int bits : {31, 32, 2000})
        EXPECT_EQ(clamped<std::uint16_t>(UInt16, bits, {0, 7, 65535}), (Samples{65535, 65535, 65535}))
            << bits;
}

TEST(ClampToColorDepthValues, Of32BitsAreComparedAsSigned)
{
    using Samples = std::vector<std::uint32_t>;
    EXPECT_EQ(clamped<std::uint32_t>(UInt32, 20, {0xFFFFF, 0x100000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF}),
              (Samples{0xFFFFF, 0xFFFFF, 0xFFFFF, 0x80000000, 0xFFFFFFFF}));
    EXPECT_EQ(clamped<std::uint32_t>(UInt32, 30, {0x40000000, 0x80000000}),
              (Samples{0x3FFFFFFF, 0x80000000}));
    for (const int bits : {31, 32, 33})
        EXPECT_EQ(clamped<std::uint32_t>(UInt32, bits, {0, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF}),
                  (Samples{0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF}))
            << bits;
}

TEST(ClampToColorDepthValues, Of64BitsAreComparedByTheirLowHalf)
{
    using Samples = std::vector<std::uint64_t>;
    EXPECT_EQ(clamped<std::uint64_t>(UInt64, 8, {255, 256, 0x500000000, 0x500000100, 0x80000000, ~0ULL}),
              (Samples{255, 255, 0x500000000, 255, 0x80000000, ~0ULL}));
    EXPECT_EQ(clamped<std::uint64_t>(UInt64, 40, {0, 5, ~0ULL}),
              (Samples{0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF}));
}

TEST(ClampToColorDepthValues, OfNegativeDepthsFollowALimitOfZero)
{
    for (const int bits : {-1, -2000}) {
        EXPECT_EQ(clamped<std::uint8_t>(UInt8, bits, {0, 9, 255}),
                  (std::vector<std::uint8_t>{255, 255, 255}));
        EXPECT_EQ(clamped<std::uint16_t>(UInt16, bits, {0, 9}), (std::vector<std::uint16_t>{65535, 65535}));
        EXPECT_EQ(clamped<std::uint32_t>(UInt32, bits, {0, 9, 0x80000000}),
                  (std::vector<std::uint32_t>{0xFFFFFFFF, 0xFFFFFFFF, 0x80000000}));
        EXPECT_EQ(clamped<std::uint64_t>(UInt64, bits, {0, 0x180000000}),
                  (std::vector<std::uint64_t>{~0ULL, 0x180000000}));
    }
}

TEST(ClampToColorDepthValues, CoverEveryPlane)
{
    TestImage image(Layout{.channels = 3, .type = UInt16, .packing = Planar});
    image->bitsPerSample = 12;
    image.fillBytes(0xF0);
    ASSERT_EQ(ClampToColorDepth(image), ResultOk);
    EXPECT_EQ(image.all<std::uint16_t>(), std::vector<std::uint16_t>(36, 4095));
    EXPECT_TRUE(image.guardsIntact());
}

TEST(ClampToColorDepthValues, OfAnImageWithoutSamplesAreNone)
{
    for (const ExPixelPacking packing : {Interleaved, Planar}) {
        TestImage image(Layout{.packing = packing, .bits = 1});
        image.fillBytes(9);
        const auto before = image.bytes();
        image->channels = 0;
        EXPECT_EQ(ClampToColorDepth(image), ResultOk);
        image->channels = -3;
        EXPECT_EQ(ClampToColorDepth(image), ResultOk);
        image->height = 0;
        image->channels = packing == Planar ? std::numeric_limits<int>::max() : 1;
        EXPECT_EQ(ClampToColorDepth(image), ResultOk) << "returns at once for any number of empty planes";
        EXPECT_EQ(image.bytes(), before);
    }
}

void compareWithTwin(const Layout& layout, int bits)
{
    TestImage image(layout), expected(layout);
    const auto seed = static_cast<std::uint32_t>(layout.width * 64 + bits);
    image.fillRandom(seed);
    expected.fillRandom(seed);
    image->bitsPerSample = expected->bitsPerSample = bits;
    (void)dispatch(ByTypeOf<UInt8, UInt16, UInt32, UInt64>{}, layout.type, {},
                   [&]<class T>(std::type_identity<T>) { oracle::clampToColorDepth<T>(expected); });
    ASSERT_EQ(ClampToColorDepth(image), ResultOk);
    ASSERT_EQ(image.bytes(), expected.bytes())
        << "type " << layout.type << " width " << layout.width << " bits " << bits;
}

TEST(ClampToColorDepthTargets, EqualTheTwinForEveryTypeWidthAndDepth)
{
    forEachTarget([] {
        for (const ExImageDataType type : clampable) {
            for (int width = 0; width <= 130; ++width)
                compareWithTwin({.width = width, .height = 2, .type = type, .padding = width % 4}, 5);
            for (int bits = -2; bits <= 70; ++bits)
                compareWithTwin({.width = 67, .height = 2, .type = type}, bits);
            for (const ExPixelPacking packing : {Interleaved, Planar})
                for (int channels = 1; channels <= 5; ++channels)
                    compareWithTwin(
                        {.width = 37, .height = 3, .channels = channels, .type = type, .packing = packing},
                        6);
        }
    });
}

TEST(ClampToColorDepthThreads, GiveTheSameBytesForAnyNumber)
{
    const Layout layout{.width = 33, .height = 50, .channels = 2, .type = UInt16, .packing = Planar};
    forEachThreadCount([&] { compareWithTwin(layout, 9); });
}

}  // namespace
}  // namespace ko::test
