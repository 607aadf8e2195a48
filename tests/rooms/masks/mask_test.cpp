#include "base/dispatch.h"
#include "oracle/mask.h"
#include "support/check_table.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/masks.h>

#include <gtest/gtest.h>

#include <limits>

namespace ko::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

// ---------------------------------------------------------------- MaskImage

struct MaskArgs {
    TestImage image{Layout{.channels = 3, .type = UInt16}};
    TestImage mask{Layout{}};
    Bytes before;

    MaskArgs() { image.fillBytes(9), before = image.bytes(); }
    ResultCode call() { return MaskImage(image, mask); }
    bool outputsUntouched() const { return image.bytes() == before; }
};

TEST(MaskImageChecks, RunInOrderAndReportTypesAsFailed)
{
    runCheckTable<MaskArgs>({
        {"image absent", [](auto& a) { a.image->data = nullptr; }, ResultBadArg1},
        {"mask absent", [](auto& a) { a.mask->data = nullptr; }, ResultBadArg2},
        {"mask not mono", [](auto& a) { a.mask->channels = 2; }, ResultBadArg2},
        {"mask not UInt8", [](auto& a) { a.mask->dataType = Int8; }, ResultBadArg2},
        {"mask narrower", [](auto& a) { a.mask->width = 3; }, ResultBadArg2},
        {"mask lower", [](auto& a) { a.mask->height = 2; }, ResultBadArg2},
        {"type of 16 bytes", [](auto& a) { a.image->dataType = Sample128; }, ResultFailed},
        {"type 12", [](auto& a) { a.image->dataType = typeCode(12); }, ResultFailed},
        {"type 0", [](auto& a) { a.image->dataType = typeCode(0); }, ResultFailed},
        {"image rows beyond their stride", [](auto& a) { a.image->stride = 23; }, ResultBadArg1},
        {"mask rows beyond their stride", [](auto& a) { a.mask->stride = 3; }, ResultBadArg2},
    });
}

TEST(MaskImageTargets, EqualTheTwinForEveryTypeWidthAndChannelCount)
{
    forEachTarget([] {
        for (const ExImageDataType type : allTypes)
            for (const int channels : {1, 2, 3, 4})
                for (int width = 0; width <= 70; ++width) {
                    const Layout layout{.width = width, .height = 2, .channels = channels, .type = type};
                    TestImage image(layout), expected(layout), mask(Layout{.width = width, .height = 2});
                    image.fillBytes(0xC3), expected.fillBytes(0xC3);
                    mask.fillSparse(static_cast<std::uint32_t>(width));
                    oracle::maskImage(expected, mask);
                    ASSERT_EQ(MaskImage(image, mask), ResultOk);
                    ASSERT_EQ(image.bytes(), expected.bytes()) << type << ' ' << channels << ' ' << width;
                }
    });
}

/// Some vectors of the mask keep all of their pixels and some keep none.
TEST(MaskImageTargets, EqualTheTwinForMasksOfLongRuns)
{
    forEachTarget([] {
        for (const ExImageDataType type : allTypes)
            for (const int channels : {1, 2, 3, 4}) {
                const Layout layout{.width = 700, .height = 2, .channels = channels, .type = type};
                TestImage image(layout), expected(layout), mask(Layout{.width = 700, .height = 2});
                image.fillBytes(0xC3), expected.fillBytes(0xC3);
                mask.forEachSample([&](int x, int y, int c) {
                    mask.set<std::uint8_t>(x, y, c,
                                           (x / 150 + y) % 2 == 0 ? std::uint8_t{9} : std::uint8_t{0});
                });
                oracle::maskImage(expected, mask);
                ASSERT_EQ(MaskImage(image, mask), ResultOk);
                ASSERT_EQ(image.bytes(), expected.bytes()) << type << ' ' << channels;
            }
    });
}

TEST(MaskImageValues, ReadPlanesAsIfTheyWereInterleaved)
{
    // 2 x 2 pixels of 2 planes without padding: rows of 2 bytes, each walked over 4.
    TestImage image(Layout{.width = 2, .height = 2, .channels = 2, .packing = Planar, .padding = 0});
    image.fillBytes(5);
    TestImage mask(Layout{.width = 2, .height = 2});
    mask.setAll<std::uint8_t>({1, 0, 1, 1});
    ASSERT_EQ(MaskImage(image, mask), ResultOk);
    EXPECT_EQ(Bytes(image->data, image->data + 8), (Bytes{5, 5, 0, 0, 5, 5, 5, 5}));
}

TEST(MaskImageValues, OfAMonoImageDoNotDependOnItsPacking)
{
    TestImage image(Layout{.width = 2, .height = 2, .packing = Planar});
    image.fillBytes(5);
    TestImage mask(Layout{.width = 2, .height = 2});
    mask.setAll<std::uint8_t>({1, 0, 0, 1});
    ASSERT_EQ(MaskImage(image, mask), ResultOk);
    EXPECT_EQ(image.all<std::uint8_t>(), (Bytes{5, 0, 0, 5}));
}

TEST(MaskImageValues, StayInsideThePlanes)
{
    TestImage image(Layout{.width = 3, .height = 2, .channels = 5, .packing = Planar, .padding = 0});
    TestImage mask(Layout{.width = 3, .height = 2});
    image.fillBytes(1);
    ASSERT_EQ(MaskImage(image, mask), ResultOk);
    EXPECT_TRUE(image.guardsIntact());
}

// ---------------------------------------------------------------- SetValueMasked

struct SetArgs {
    TestImage image{Layout{.width = 10, .height = 10}};
    TestImage mask{Layout{.width = 4, .height = 4}};
    QPoint pos{6, 6};
    Bytes before = image.bytes();

    SetArgs() { mask.fillBytes(1); }
    ResultCode call() { return SetValueMasked(image, mask, pos, QVariant(3)); }
    bool outputsUntouched() const { return image.bytes() == before; }
};

TEST(SetValueMaskedChecks, RunInOrderAndReportTypesAsFailed)
{
    runCheckTable<SetArgs>({
        {"image absent", [](auto& a) { a.image->data = nullptr; }, ResultBadArg1},
        {"image not mono", [](auto& a) { a.image->channels = 3; }, ResultBadArg1},
        {"mask absent", [](auto& a) { a.mask->data = nullptr; }, ResultBadArg2},
        {"mask not mono", [](auto& a) { a.mask->channels = 2; }, ResultBadArg2},
        {"mask not UInt8", [](auto& a) { a.mask->dataType = Int8; }, ResultBadArg2},
        {"x negative", [](auto& a) { a.pos.setX(-1); }, ResultBadArg3},
        {"x too large", [](auto& a) { a.pos.setX(7); }, ResultBadArg3},
        {"y negative", [](auto& a) { a.pos.setY(-1); }, ResultBadArg3},
        {"y too large", [](auto& a) { a.pos.setY(7); }, ResultBadArg3},
        {"x beyond 31 bits", [](auto& a) { a.pos.setX(std::numeric_limits<int>::max()); }, ResultBadArg3},
        {"type of 16 bytes", [](auto& a) { a.image->dataType = Sample128; }, ResultFailed},
        {"type 0", [](auto& a) { a.image->dataType = typeCode(0); }, ResultFailed},
        {"image rows beyond their stride", [](auto& a) { a.image->stride = 9; }, ResultBadArg1},
        {"mask rows beyond their stride", [](auto& a) { a.mask->stride = 3; }, ResultBadArg2},
    });
}

template <class T>
void setOneOfThree(const QVariant& value, T expected)
{
    ExImageDataType type{};
    for (const ExImageDataType candidate : allTypes)
        (void)dispatch(ByType{}, candidate, {}, [&]<class U>(std::type_identity<U>) {
            if (std::is_same_v<T, U>)
                type = candidate;
        });
    TestImage image(Layout{.width = 3, .height = 2, .type = type});
    TestImage mask(Layout{.width = 2, .height = 1});
    mask.setAll<std::uint8_t>({0, 200});
    ASSERT_EQ(SetValueMasked(image, mask, QPoint(1, 1), value), ResultOk);
    EXPECT_EQ(image.all<T>(), (std::vector<T>{T{}, T{}, T{}, T{}, T{}, expected}));
    EXPECT_TRUE(image.guardsIntact());
}

TEST(SetValueMaskedValues, ConvertAndCutTheValue)
{
    setOneOfThree<std::uint8_t>(QVariant(300), 44);
    setOneOfThree<std::int8_t>(QVariant(200), -56);
    setOneOfThree<std::int16_t>(QVariant(-2), -2);
    setOneOfThree<std::uint16_t>(QVariant(65537), 1);
    setOneOfThree<std::int32_t>(QVariant("-12"), -12);
    setOneOfThree<std::uint32_t>(QVariant(4000000000U), 4000000000U);
    setOneOfThree<float>(QVariant(1.5), 1.5F);
    setOneOfThree<double>(QVariant("nonsense"), 0.0);
    setOneOfThree<std::int64_t>(QVariant(qlonglong{-1} << 40), std::int64_t{-1} << 40);
    setOneOfThree<std::uint64_t>(QVariant(qulonglong{1} << 63), std::uint64_t{1} << 63);
}

TEST(SetValueMaskedTargets, TouchOnlySelectedSamplesAtEveryWidth)
{
    forEachTarget([] {
        for (int width = 0; width <= 140; ++width) {
            TestImage image(Layout{.width = width + 3, .height = 2, .type = UInt16});
            TestImage mask(Layout{.width = width, .height = 2});
            mask.fillSparse(static_cast<std::uint32_t>(width));
            ASSERT_EQ(SetValueMasked(image, mask, QPoint(2, 0), QVariant(513)), ResultOk);
            for (int y = 0; y < 2; ++y)
                for (int x = 0; x < width + 3; ++x) {
                    const bool inside = x >= 2 && x < width + 2 && mask.get<std::uint8_t>(x - 2, y) != 0;
                    ASSERT_EQ(image.get<std::uint16_t>(x, y), inside ? 513 : 0);
                }
            ASSERT_TRUE(image.guardsIntact());
        }
    });
}

// ---------------------------------------------------------------- BinaryMask

struct BinaryArgs {
    TestImage src{Layout{.channels = 2, .type = UInt16}};
    TestImage mask{Layout{}};
    Bytes before;

    BinaryArgs() { mask.fillBytes(9), before = mask.bytes(); }
    ResultCode call() { return BinaryMask(src, mask, 0); }
    bool outputsUntouched() const { return mask.bytes() == before; }
};

TEST(BinaryMaskChecks, RunInOrderAndReportTypesAsTheFirstArgument)
{
    runCheckTable<BinaryArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"float", [](auto& a) { a.src->dataType = Float32; }, ResultBadArg1},
        {"double", [](auto& a) { a.src->dataType = Float64; }, ResultBadArg1},
        {"16 bytes", [](auto& a) { a.src->dataType = Sample128; }, ResultBadArg1},
        {"type 12", [](auto& a) { a.src->dataType = typeCode(12); }, ResultBadArg1},
        {"mask absent", [](auto& a) { a.mask->data = nullptr; }, ResultBadArg2},
        {"mask not mono", [](auto& a) { a.mask->channels = 2; }, ResultBadArg2},
        {"mask not UInt8", [](auto& a) { a.mask->dataType = Int8; }, ResultBadArg2},
        {"mask narrower", [](auto& a) { a.mask->width = 3; }, ResultBadArg2},
        {"mask lower", [](auto& a) { a.mask->height = 2; }, ResultBadArg2},
        {"packing 2", [](auto& a) { a.src->packing = static_cast<ExPixelPacking>(2); },
         ResultUnsupportedType},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 15; }, ResultBadArg1},
        {"mask rows beyond their stride", [](auto& a) { a.mask->stride = 3; }, ResultBadArg2},
    });
}

TEST(BinaryMaskValues, OfMono16BitSamplesArePlainComparisons)
{
    TestImage src(Layout{.width = 3, .height = 1, .type = UInt16});
    src.setAll<std::uint16_t>({7, 8, 7 + 256});
    TestImage mask(Layout{.width = 3, .height = 1});
    ASSERT_EQ(BinaryMask(src, mask, 7 + 65536), ResultOk);
    EXPECT_EQ(mask.all<std::uint8_t>(), (Bytes{0, 1, 1}));
}

TEST(BinaryMaskValues, OfMono8BitSamplesLookAtTheFollowingByteToo)
{
    TestImage src(Layout{.width = 4, .height = 2, .padding = 0});
    src.setAll<std::uint8_t>({7, 7, 0, 7, 0, 7, 9, 7});
    TestImage mask(Layout{.width = 4, .height = 2});
    mask.fillBytes(77);
    ASSERT_EQ(BinaryMask(src, mask, 256 + 7), ResultOk);
    EXPECT_EQ(mask.all<std::uint8_t>(), (Bytes{1, 0, 1, 0, 1, 1, 1, 0})) << "the last byte of the image is "
                                                                            "followed by 0";
}

TEST(BinaryMaskValues, OfWideSamplesSeeOnlyTheLowWord)
{
    TestImage src(Layout{.width = 3, .height = 1, .type = Int32});
    src.setAll<std::int32_t>({7, 7 + 65536, 8});
    TestImage mask(Layout{.width = 3, .height = 1});
    ASSERT_EQ(BinaryMask(src, mask, 7), ResultOk);
    EXPECT_EQ(mask.all<std::uint8_t>(), (Bytes{0, 0, 1}));
    ASSERT_EQ(BinaryMask(src, mask, 7 + 65536), ResultOk);
    EXPECT_EQ(mask.all<std::uint8_t>(), (Bytes{1, 1, 1})) << "a word never equals a value above 65535";
}

TEST(BinaryMaskValues, OfPlanesKeepMarksThatAreThere)
{
    TestImage src(Layout{.width = 3, .height = 1, .channels = 2, .packing = Planar});
    src.set<std::uint8_t>(1, 0, 1, 4);
    TestImage mask(Layout{.width = 3, .height = 1});
    mask.setAll<std::uint8_t>({0, 0, 50});
    ASSERT_EQ(BinaryMask(src, mask, 0), ResultOk);
    EXPECT_EQ(mask.all<std::uint8_t>(), (Bytes{0, 1, 50}));
}

void compareBinaryMask(const Layout& layout)
{
    TestImage src(layout);
    src.fillSparse(static_cast<std::uint32_t>(layout.width));
    TestImage mask(Layout{.width = layout.width, .height = layout.height});
    TestImage expected(Layout{.width = layout.width, .height = layout.height});
    for (const std::uint32_t value : {0U, 1U, 7U, 0xFFFFU, 0xFFFFFFFFU}) {
        if (layout.packing == Interleaved)
            oracle::binaryMaskInterleaved(src, expected, value);
        else
            oracle::binaryMaskPlanar(src, expected, value);
        ASSERT_EQ(BinaryMask(src, mask, value), ResultOk);
        ASSERT_EQ(mask.bytes(), expected.bytes())
            << layout.type << ' ' << layout.packing << ' ' << layout.width << ' ' << value;
    }
}

TEST(BinaryMaskValues, OfPlanesWithoutPixelsTakeNoTime)
{
    TestImage src(Layout{.width = 0, .height = 3, .packing = Planar}), mask(Layout{.width = 0, .height = 3});
    src->channels = std::numeric_limits<int>::max();
    src->height = mask->height = 0;
    EXPECT_EQ(BinaryMask(src, mask, 0), ResultOk);
}

TEST(BinaryMaskTargets, EqualTheTwinForEveryTypePackingAndWidth)
{
    forEachTarget([] {
        for (const ExImageDataType type : {Int8, UInt8, Int16, UInt16, Int32, UInt32, Int64, UInt64})
            for (const ExPixelPacking packing : {Interleaved, Planar})
                for (const int channels : {1, 2, 3})
                    for (int width = 0; width <= 140; width += 1 + width / (channels == 1 ? 200 : 9))
                        compareBinaryMask({.width = width,
                                           .height = 3,
                                           .channels = channels,
                                           .type = type,
                                           .packing = packing,
                                           .padding = width % 3});
    });
}

}  // namespace
}  // namespace ko::test
