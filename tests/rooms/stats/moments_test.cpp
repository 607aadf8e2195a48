#include "base/dispatch.h"
#include "oracle/moments.h"
#include "support/check_table.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/stats/moments.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace ko {

bool operator==(const SxMoments& a, const SxMoments& b)
{
    return a.count == b.count && a.sum == b.sum && a.squares == b.squares;
}

void PrintTo(const SxMoments& moments, std::ostream* out)
{
    *out << moments.count << " samples, sum " << moments.sum << ", squares " << moments.squares;
}

}  // namespace ko

namespace ko::test {
namespace {

constexpr SxMoments kept{1, 2, 3};

struct MomentsArgs {
    TestImage src{Layout{.channels = 3, .type = UInt16}};
    std::vector<SxMoments> out = std::vector<SxMoments>(3, kept);
    SxMoments* moments = out.data();

    ResultCode call() { return Moments(src, moments); }
    bool outputsUntouched() const { return out == std::vector<SxMoments>(3, kept); }
};

/// A record of more pixels than can be added up; nothing is read of it.
template <class Args>
void makeHuge(Args& a)
{
    a.src->width = 1 << 17;
    a.src->height = 1 << 16;
    a.src->stride = 6 << 17;
}

TEST(MomentsChecks, RunInOrderAndLeaveTheResultsAlone)
{
    runCheckTable<MomentsArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src of negative width", [](auto& a) { a.src->width = -1; }, ResultBadArg1},
        {"moments null", [](auto& a) { a.moments = nullptr; }, ResultBadArg2},
        {"too many pixels", [](auto& a) { makeHuge(a); }, ResultOutOfRange},
        {"unknown packing", [](auto& a) { a.src->packing = static_cast<ExPixelPacking>(2); },
         ResultUnsupportedType},
        {"signed samples", [](auto& a) { a.src->dataType = Int16; }, ResultUnsupportedType},
        {"rows beyond their stride", [](auto& a) { a.src->stride = 23; }, ResultBadArg1},
    });
}

struct MomentsMaskedArgs {
    TestImage src{Layout{.channels = 3, .type = UInt16}};
    TestImage mask{Layout{}};
    std::vector<SxMoments> out = std::vector<SxMoments>(3, kept);
    SxMoments* moments = out.data();

    ResultCode call() { return MomentsMasked(src, mask, moments); }
    bool outputsUntouched() const { return out == std::vector<SxMoments>(3, kept); }
};

TEST(MomentsMaskedChecks, RunInOrderAndLeaveTheResultsAlone)
{
    runCheckTable<MomentsMaskedArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"mask absent", [](auto& a) { a.mask->data = nullptr; }, ResultBadArg2},
        {"mask not mono", [](auto& a) { a.mask->channels = 3; }, ResultBadArg2},
        {"mask not UInt8", [](auto& a) { a.mask->dataType = Int8; }, ResultBadArg2},
        {"mask narrower", [](auto& a) { a.mask->width = 3; }, ResultBadArg2},
        {"mask lower", [](auto& a) { a.mask->height = 2; }, ResultBadArg2},
        {"moments null", [](auto& a) { a.moments = nullptr; }, ResultBadArg3},
        {"too many pixels",
         [](auto& a) {
             makeHuge(a);
             a.mask->width = a.src->width;
             a.mask->height = a.src->height;
         },
         ResultOutOfRange},
        {"unknown packing", [](auto& a) { a.src->packing = static_cast<ExPixelPacking>(2); },
         ResultUnsupportedType},
        {"signed samples", [](auto& a) { a.src->dataType = Int16; }, ResultUnsupportedType},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 3; }, ResultBadArg1},
        {"mask rows beyond their stride", [](auto& a) { a.mask->stride = 3; }, ResultBadArg2},
    });
}

TEST(MomentsChecks, TakeAMonoImageOfAnyPacking)
{
    TestImage src(Layout{.width = 2, .height = 1});
    src.setAll<std::uint8_t>({3, 5});
    src->packing = static_cast<ExPixelPacking>(2);
    SxMoments found = kept;
    ASSERT_EQ(Moments(src, &found), ResultOk);
    EXPECT_EQ(found, (SxMoments{2, 8, 34}));
}

TEST(MomentsValues, AreTheSumsOfEachChannel)
{
    TestImage src(Layout{.width = 2, .height = 1, .channels = 2, .type = UInt16}),
        mask(Layout{.width = 2, .height = 1});
    src.setAll<std::uint16_t>({1, 65535, 256, 3});
    mask.setAll<std::uint8_t>({0, 7});
    SxMoments found[2] = {kept, kept};
    ASSERT_EQ(Moments(src, found), ResultOk);
    EXPECT_EQ(found[0], (SxMoments{2, 257, 65537}));
    EXPECT_EQ(found[1], (SxMoments{2, 65538, 4294836225 + 9}));
    ASSERT_EQ(MomentsMasked(src, mask, found), ResultOk);
    EXPECT_EQ(found[0], (SxMoments{1, 256, 65536}));
    EXPECT_EQ(found[1], (SxMoments{1, 3, 9}));
}

TEST(MomentsValues, OfNothingAreZero)
{
    const TestImage empty(Layout{.width = 0, .height = 3, .type = UInt16}), src(Layout{}), mask(Layout{});
    SxMoments found = kept;
    ASSERT_EQ(Moments(empty, &found), ResultOk);
    EXPECT_EQ(found, SxMoments{});
    found = kept;
    ASSERT_EQ(MomentsMasked(src, mask, &found), ResultOk);
    EXPECT_EQ(found, SxMoments{});
}

TEST(MomentsValues, OfTheBrightestSamplesAreExactInRowsOfAnyLength)
{
    // Rows so long that sums of 32 bits are emptied on the way, on every processor.
    constexpr int width = 1200001;
    for (const ExImageDataType type : {UInt8, UInt16}) {
        TestImage src(Layout{.width = width, .height = 2, .type = type});
        src.fillBytes(0xFF);
        const std::uint64_t top = type == UInt8 ? 255 : 65535, count = 2 * width;
        forEachTarget([&] {
            SxMoments found = kept;
            ASSERT_EQ(Moments(src, &found), ResultOk);
            EXPECT_EQ(found, (SxMoments{count, count * top, count * top * top}));
        });
    }
}

void expectTwins(const Layout& layout)
{
    TestImage src(layout), mask(Layout{.width = layout.width, .height = layout.height, .padding = 2});
    src.fillRandom(static_cast<std::uint32_t>(layout.width));
    mask.fillSparse(static_cast<std::uint32_t>(layout.width));
    const auto channels = static_cast<std::size_t>(layout.channels);
    std::vector<SxMoments> all(channels, kept), masked(channels, kept);
    ASSERT_EQ(Moments(src, all.data()), ResultOk);
    ASSERT_EQ(MomentsMasked(src, mask, masked.data()), ResultOk);
    (void)dispatch(ByTypeOf<UInt8, UInt16>{}, layout.type, {}, [&]<class T>(std::type_identity<T>) {
        for (int c = 0; c < layout.channels; ++c) {
            const auto at = static_cast<std::size_t>(c);
            ASSERT_EQ(all[at], oracle::moments<T>(src, nullptr, c))
                << "type " << layout.type << " width " << layout.width << " channel " << c;
            ASSERT_EQ(masked[at], oracle::moments<T>(src, &mask, c))
                << "masked, type " << layout.type << " width " << layout.width << " channel " << c;
        }
    });
}

TEST(MomentsTargets, EqualTheTwinForEveryTypeWidthAndStride)
{
    forEachTarget([] {
        for (const ExImageDataType type : {UInt8, UInt16})
            for (int width = 0; width <= 140; ++width)
                for (const int padding : {0, 3})
                    expectTwins({.width = width, .height = 3, .type = type, .padding = padding});
    });
}

TEST(MomentsTargets, EqualTheTwinForChannelsOfEitherPacking)
{
    forEachTarget([] {
        for (const ExImageDataType type : {UInt8, UInt16})
            for (const ExPixelPacking packing : {Interleaved, Planar})
                for (const int channels : {2, 3, 4, 5})
                    for (const int width : {1, 33, 100, 4100})
                        expectTwins({.width = width,
                                     .height = 2,
                                     .channels = channels,
                                     .type = type,
                                     .packing = packing});
    });
}

TEST(MomentsThreads, GiveTheSameSumsForAnyNumber)
{
    forEachThreadCount([] {
        expectTwins({.width = 33, .height = 50, .type = UInt16});
        expectTwins({.width = 33, .height = 50, .channels = 3, .type = UInt8});
    });
}

}  // namespace
}  // namespace ko::test
