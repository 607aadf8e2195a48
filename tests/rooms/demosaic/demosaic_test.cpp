#include "oracle/demosaic.h"
#include "support/allocation_failure.h"
#include "support/check_table.h"
#include "support/failing_new.h"
#include "support/log_capture.h"
#include "support/mosaics.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/bayer.h>
#include <ko/demosaic.h>
#include <ko/filters.h>
#include <ko/pixel.h>

#include <gtest/gtest.h>
#include <omp.h>

#include <limits>
#include <memory>

namespace ko::test {
namespace {

constexpr int most = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();

struct FreeBlock {
    void operator()(void* block) const { DemosaicFreeBuffer(block); }
};
using Block = std::unique_ptr<void, FreeBlock>;

/// What a block holds, seen from outside.
struct BlockView {
    SxImageBuf* planar;
    SxImageBuf* full;
};

BlockView& viewOf(const Block& block)
{
    return *static_cast<BlockView*>(block.get());
}

struct DemosaicArgs {
    TestImage src{Layout{.width = 9, .height = 7, .type = UInt16}};
    TestImage dst{Layout{.width = 4, .height = 6, .channels = 3, .type = UInt16}};
    QRect roi{3, 1, 4, 6};
    void* buffer = nullptr;
    std::vector<std::uint8_t> before = dst.bytes();

    DemosaicArgs()
    {
        src.fillRandom(1);
        src->bayerGrid = BayerRGGB;
    }
    ResultCode call() { return Demosaic(src, roi, dst, buffer); }
    bool outputsUntouched() const { return dst.bytes() == before; }
    void setType(ExImageDataType type) { src->dataType = dst->dataType = type; }
};

TEST(DemosaicChecks, RunInOrderAndLeaveTheDestinationAlone)
{
    runCheckTable<DemosaicArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src of negative height", [](auto& a) { a.src->height = -1; }, ResultBadArg1},
        {"src not mono", [](auto& a) { a.src->channels = 3; }, ResultBadArg1},
        {"src without mosaic", [](auto& a) { a.src->bayerGrid = BayerNone; }, ResultBadArg1},
        {"src planar", [](auto& a) { a.src->packing = Planar; }, ResultBadArg1},
        {"src of no packing", [](auto& a) { a.src->packing = static_cast<ExPixelPacking>(2); },
         ResultBadArg1},
        {"roi right of src", [](auto& a) { a.roi.moveLeft(6); }, ResultBadArg2},
        {"roi above src", [](auto& a) { a.roi.moveTop(-1); }, ResultBadArg2},
        {"roi of odd width", [](auto& a) { a.roi.setWidth(3); }, ResultBadArg2},
        {"roi of odd height", [](auto& a) { a.roi.setHeight(5); }, ResultBadArg2},
        {"roi without columns", [](auto& a) { a.roi.setWidth(0); }, ResultBadArg2},
        {"roi without rows", [](auto& a) { a.roi.setHeight(0); }, ResultBadArg2},
        {"roi of nothing", [](auto& a) { a.roi = QRect(); }, ResultBadArg2},
        {"roi of negative size", [](auto& a) { a.roi.setCoords(4, 0, -1, 1); }, ResultBadArg2},
        {"roi of all coordinates", [](auto& a) { a.roi.setCoords(least, least, most, most); }, ResultBadArg2},
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, ResultBadArg3},
        {"dst of two channels", [](auto& a) { a.dst->channels = 2; }, ResultBadArg3},
        {"dst of five channels", [](auto& a) { a.dst->channels = 5; }, ResultBadArg3},
        {"dst planar", [](auto& a) { a.dst->packing = Planar; }, ResultBadArg3},
        {"dst of another type", [](auto& a) { a.dst->dataType = Int16; }, ResultBadArg3},
        {"dst narrower", [](auto& a) { a.dst->width = 3; }, ResultBadArg3},
        {"dst lower", [](auto& a) { a.dst->height = 5; }, ResultBadArg3},
        {"grid 5", [](auto& a) { a.src->bayerGrid = gridCode(5); }, ResultFailed},
        {"negative grid", [](auto& a) { a.src->bayerGrid = gridCode(-1); }, ResultFailed},
        {"signed samples", [](auto& a) { a.setType(Int16); }, ResultFailed},
        {"float samples", [](auto& a) { a.setType(Float32); }, ResultFailed},
        {"samples of 16 bytes", [](auto& a) { a.setType(Sample128); }, ResultFailed},
        {"samples of no type", [](auto& a) { a.setType(typeCode(12)); }, ResultFailed},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 17; }, ResultBadArg1},
        {"dst rows beyond their stride", [](auto& a) { a.dst->stride = 23; }, ResultBadArg3},
    });
}

TEST(DemosaicChecks, KeepTheirNumbersForTheWholeImage)
{
    TestImage src(Layout{.width = 5, .height = 4});
    src->bayerGrid = BayerGRBG;
    TestImage dst(Layout{.width = 4, .height = 4, .channels = 3});
    EXPECT_EQ(Demosaic(src, dst, nullptr), ResultBadArg2) << "odd width";
    src->width = 4;
    dst->width = 3;
    EXPECT_EQ(Demosaic(src, dst, nullptr), ResultBadArg3) << "the destination is the second argument";
    dst->width = 4;
    EXPECT_EQ(Demosaic(src, dst, nullptr), ResultOk);
}

template <class Spoil>
void expectForeign(Spoil&& spoil)
{
    DemosaicArgs args;
    const Block block(DemosaicAllocBuffer(args.src.buf(), args.roi));
    ASSERT_NE(block, nullptr);
    const SxImageBuf planar = *viewOf(block).planar, full = *viewOf(block).full;
    spoil(viewOf(block));
    args.buffer = block.get();
    EXPECT_EQ(args.call(), ResultFailed);
    EXPECT_TRUE(args.outputsUntouched());
    *viewOf(block).planar = planar;
    *viewOf(block).full = full;
}

TEST(DemosaicChecks, RefuseABufferWhoseImagesDoNotFit)
{
    for (SxImageBuf* BlockView::*image : {&BlockView::planar, &BlockView::full}) {
        expectForeign([&](BlockView& v) { (v.*image)->data = nullptr; });
        expectForeign([&](BlockView& v) { (v.*image)->width += 2; });
        expectForeign([&](BlockView& v) { (v.*image)->width -= 2; });
        expectForeign([&](BlockView& v) { (v.*image)->height += 2; });
        expectForeign([&](BlockView& v) { (v.*image)->channels = 3; });
        expectForeign([&](BlockView& v) { (v.*image)->packing = Interleaved; });
        expectForeign([&](BlockView& v) { (v.*image)->dataType = UInt8; });
        expectForeign([&](BlockView& v) { (v.*image)->stride = 3; });
    }
}

TEST(DemosaicChecks, RefuseABufferWithoutImages)
{
    for (SxImageBuf* BlockView::*image : {&BlockView::planar, &BlockView::full}) {
        DemosaicArgs args;
        const Block block(DemosaicAllocBuffer(args.src.buf(), args.roi));
        ASSERT_NE(block, nullptr);
        SxImageBuf* const taken = std::exchange(viewOf(block).*image, nullptr);
        args.buffer = block.get();
        EXPECT_EQ(args.call(), ResultFailed);
        EXPECT_TRUE(args.outputsUntouched());
        viewOf(block).*image = taken;
    }
}

TEST(DemosaicChecks, RefuseTheBufferOfAnotherFormat)
{
    DemosaicArgs args;
    const QRect smaller(0, 0, 2, 2);
    const Block small(DemosaicAllocBuffer(args.src.buf(), smaller));
    args.buffer = small.get();
    EXPECT_EQ(args.call(), ResultFailed);
    SxImageInfo bytes = args.src.buf();
    bytes.dataType = UInt8;
    const Block narrow(DemosaicAllocBuffer(bytes, args.roi));
    args.buffer = narrow.get();
    EXPECT_EQ(args.call(), ResultFailed);
    EXPECT_TRUE(args.outputsUntouched());
}

TEST(DemosaicChecks, FailWithoutMemoryAndLeaveNothingBehind)
{
    for (const int successes : {0, 1}) {
        DemosaicArgs args;
        const LogCapture log;
        const AllocationFailure failure(successes);
        EXPECT_EQ(args.call(), ResultFailed);
        EXPECT_TRUE(args.outputsUntouched());
        EXPECT_EQ(DemosaicAllocBuffer(args.src.buf(), args.roi), nullptr);
        EXPECT_TRUE(log.records().empty());
    }
    int refusals = 0;
    for (ResultCode rc = ResultFailed; isFailure(rc); ++refusals) {
        DemosaicArgs args;
        {
            const NewFailure failure(refusals);
            rc = args.call();
        }
        EXPECT_EQ(args.outputsUntouched(), isFailure(rc));
    }
    EXPECT_GT(refusals, 2);
}

TEST(DemosaicBuffers, HoldBothImagesOfTheRegion)
{
    TestImage src(Layout{.width = 9, .height = 9, .type = UInt16, .bits = 12});
    src->bayerGrid = BayerGBRG;
    src->pixelFormat = 77;
    src->reserved[0] = 5;
    const Block block(DemosaicAllocBuffer(src.buf(), QRect(1, 2, 6, 4)));
    ASSERT_NE(block, nullptr);
    for (const SxImageBuf* image : {viewOf(block).planar, viewOf(block).full}) {
        const bool half = image == viewOf(block).planar;
        EXPECT_NE(image->data, nullptr);
        EXPECT_EQ(image->width, half ? 3 : 6);
        EXPECT_EQ(image->height, half ? 2 : 4);
        EXPECT_EQ(image->channels, 4);
        EXPECT_EQ(image->packing, Planar);
        EXPECT_EQ(image->dataType, UInt16);
        EXPECT_EQ(image->bitsPerSample, 12);
        EXPECT_EQ(image->bayerGrid, BayerGBRG);
        EXPECT_EQ(image->pixelFormat, 1);
        EXPECT_EQ(image->reserved[0], 0);
    }
}

TEST(DemosaicBuffers, OfTheWholeImageHaveItsSize)
{
    SxImageInfo info = TestImage(Layout{.width = 8, .height = 6}).buf();
    info.bayerGrid = BayerBGGR;
    const Block block(DemosaicAllocBuffer(info));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(viewOf(block).full->width, 8);
    EXPECT_EQ(viewOf(block).full->height, 6);
}

QString refusal(const SxImageInfo& info, const QRect& roi)
{
    const LogCapture log;
    EXPECT_EQ(DemosaicAllocBuffer(info, roi), nullptr);
    EXPECT_EQ(log.records().size(), 1U);
    EXPECT_EQ(log.records().at(0).type, QtCriticalMsg);
    return log.records().at(0).text;
}

TEST(DemosaicBuffers, LogWhyTheyAreRefused)
{
    SxImageInfo info = TestImage(Layout{.width = 8, .height = 6}).buf();
    info.bayerGrid = BayerBGGR;
    const QString notMono = R"(ERROR | "Input image must be mono image.")";
    const QString badRegion = R"(ERROR | "Invalid ROI.")";
    const QRect whole(0, 0, 8, 6);
    SxImageInfo colour = info;
    colour.channels = 3;
    EXPECT_EQ(refusal(colour, whole), notMono);
    SxImageInfo grey = info;
    grey.bayerGrid = BayerNone;
    EXPECT_EQ(refusal(grey, whole), notMono);
    EXPECT_EQ(refusal(grey, QRect(0, 0, 3, 3)), notMono) << "the image is looked at first";
    EXPECT_EQ(refusal(info, QRect(-1, 0, 4, 4)), badRegion);
    EXPECT_EQ(refusal(info, QRect(0, 0, 3, 4)), badRegion);
    EXPECT_EQ(refusal(info, QRect(0, 0, 4, 3)), badRegion);
    EXPECT_EQ(refusal(info, QRect(2, 2, 0, 0)), badRegion);
    const LogCapture log;
    info.width = 7;
    EXPECT_EQ(DemosaicAllocBuffer(info), nullptr);
    ASSERT_EQ(log.records().size(), 1U);
    EXPECT_EQ(log.records().at(0).text, badRegion);
}

TEST(DemosaicBuffers, OfNoSampleTypeAreRefusedInSilence)
{
    SxImageInfo info = TestImage(Layout{.width = 8, .height = 6}).buf();
    info.bayerGrid = BayerBGGR;
    info.dataType = typeCode(12);
    const LogCapture log;
    EXPECT_EQ(DemosaicAllocBuffer(info), nullptr);
    EXPECT_TRUE(log.records().empty());
}

TEST(DemosaicBuffers, OfNothingMayBeFreed)
{
    DemosaicFreeBuffer(nullptr);
}

TEST(DemosaicBuffers, AreKeptAndGiveTheSameResultAgain)
{
    DemosaicArgs args;
    TestImage expected(Layout{.width = 4, .height = 6, .channels = 3, .type = UInt16});
    oracle::demosaic<std::uint16_t>(args.src, args.roi, BayerRGGB, expected);
    const Block block(DemosaicAllocBuffer(args.src.buf(), args.roi));
    ASSERT_NE(block, nullptr);
    args.buffer = block.get();
    const AllocationFailure nothingMore(0);
    for (int frame = 0; frame < 3; ++frame) {
        args.dst.fillBytes(static_cast<std::uint8_t>(frame));
        ASSERT_EQ(args.call(), ResultOk);
        EXPECT_EQ(args.dst.bytes(), expected.bytes());
    }
}

TEST(DemosaicBuffers, LimitTheSamplesByTheirOwnDepth)
{
    DemosaicArgs args;
    SxImageInfo shallow = args.src.buf();
    shallow.bitsPerSample = 10;
    const Block block(DemosaicAllocBuffer(shallow, args.roi));
    args.buffer = block.get();
    ASSERT_EQ(args.call(), ResultOk);
    args.src->bitsPerSample = 10;
    TestImage expected(Layout{.width = 4, .height = 6, .channels = 3, .type = UInt16});
    oracle::demosaic<std::uint16_t>(args.src, args.roi, BayerRGGB, expected);
    EXPECT_EQ(args.dst.bytes(), expected.bytes());
}

TEST(DemosaicValues, OfOneCellAreItsColoursEverywhere)
{
    TestImage src(Layout{.width = 2, .height = 2});
    src.setAll<std::uint8_t>({10, 21, 32, 43});
    src->bayerGrid = BayerRGGB;
    TestImage dst(Layout{.width = 2, .height = 2, .channels = 3});
    ASSERT_EQ(Demosaic(src, dst, nullptr), ResultOk);
    const std::vector<std::uint8_t> pixels{10, 26, 43, 10, 26, 43, 10, 26, 43, 10, 26, 43};
    EXPECT_EQ(dst.all<std::uint8_t>(), pixels);
}

TEST(DemosaicValues, AreInterpolatedBetweenEachCellAndTheOneBefore)
{
    TestImage src(Layout{.width = 4, .height = 2});
    src.setAll<std::uint8_t>({0, 10, 100, 50, 20, 7, 40, 9});  // B G B G over G R G R
    src->bayerGrid = BayerBGGR;
    TestImage dst(Layout{.width = 4, .height = 2, .channels = 4});
    ASSERT_EQ(Demosaic(src, dst, nullptr), ResultOk);
    // Red 7, 9; greens 10, 50 and 20, 40; blue 0, 100. Column 2 takes 3/4 of cell 0, column 3 of cell 1.
    const std::vector<std::uint8_t> row{7, 15, 0, 255, 7, 15, 0, 255, 7, 22, 25, 255, 8, 37, 75, 255};
    std::vector<std::uint8_t> both = row;
    both.insert(both.end(), row.begin(), row.end());
    EXPECT_EQ(dst.all<std::uint8_t>(), both);
}

TEST(DemosaicValues, OfTheFourthChannelAreTheTopOfTheDepth)
{
    TestImage src(Layout{.width = 2, .height = 2, .type = UInt16, .bits = 12});
    src.setAll<std::uint16_t>({5000, 6000, 100, 4095});
    src->bayerGrid = BayerRGGB;
    TestImage dst(Layout{.width = 2, .height = 2, .channels = 4, .type = UInt16});
    ASSERT_EQ(Demosaic(src, dst, nullptr), ResultOk);
    EXPECT_EQ(dst.get<std::uint16_t>(1, 1, 0), 4095) << "limited to the depth";
    EXPECT_EQ(dst.get<std::uint16_t>(1, 1, 1), (4095 + 100) / 2) << "limited before the greens are averaged";
    EXPECT_EQ(dst.get<std::uint16_t>(1, 1, 2), 4095);
    EXPECT_EQ(dst.get<std::uint16_t>(1, 1, 3), 4095);
}

struct Case {
    QRect roi;
    ExBayerGrid grid;
    int bits;
    int channels;
};

/// The operations that `Demosaic` stands for, one after the other.
void chain(const SxImageBuf& src, const QRect& roi, SxImageBuf& dst)
{
    SxImageBuf planar, full;
    ASSERT_EQ(AllocBuffer(planar, roi.width() / 2, roi.height() / 2, 4, src.dataType, 0, src.bitsPerSample,
                          Planar, false, CompressionNone),
              ResultOk);
    ASSERT_EQ(AllocBuffer(full, roi.width(), roi.height(), 4, src.dataType, 0, src.bitsPerSample, Planar,
                          false, CompressionNone),
              ResultOk);
    EXPECT_EQ(ConvertRawToPlanarRaw(src, roi, src.bayerGrid, planar), ResultOk);
    for (int plane = 0; plane < 4; ++plane) {
        SxImageBuf from = planeView(planar, plane), to = planeView(full, plane);
        from.packing = to.packing = Interleaved;
        EXPECT_FALSE(isFailure(Stretch(from, to, InterpolationLinear)));
    }
    const int threads = omp_get_max_threads();
    omp_set_num_threads(
        1);  // thousands of tiny images: waiting for a second thread would take most of the time
    EXPECT_EQ(ClampToColorDepth(full), ResultOk);
    omp_set_num_threads(threads);
    EXPECT_EQ(DemosaicSimple(full, QRect(0, 0, full.width, full.height), dst, src.bayerGrid), ResultOk);
    FreeBuffer(planar);
    FreeBuffer(full);
}

template <class T>
void compareWithTwinAndChain(const Case& c)
{
    constexpr ExImageDataType type = sizeof(T) == 1 ? UInt8 : UInt16;
    TestImage src(
        Layout{.width = c.roi.right() + 2, .height = c.roi.bottom() + 2, .type = type, .padding = 3});
    src.fillRandom(static_cast<std::uint32_t>(c.roi.width()));
    src->bayerGrid = c.grid;
    src->bitsPerSample = c.bits;
    const Layout layout{
        .width = c.roi.width(), .height = c.roi.height(), .channels = c.channels, .type = type, .padding = 1};
    TestImage expected(layout), chained(layout);
    oracle::demosaic<T>(src, c.roi, c.grid, expected);
    chain(src, c.roi, chained);
    ASSERT_EQ(chained.bytes(), expected.bytes());
    forEachTarget([&] {
        TestImage dst(layout);
        ASSERT_EQ(Demosaic(src, c.roi, dst, nullptr), ResultOk);
        ASSERT_EQ(dst.bytes(), expected.bytes())
            << c.roi.width() << " x " << c.roi.height() << " at " << c.roi.x() << ", " << c.roi.y()
            << ", grid " << c.grid << ", " << c.bits << " bits, " << c.channels << " channels of "
            << sizeof(T) << " bytes";
    });
}

template <class T>
class DemosaicTargets : public testing::Test {
};
using MosaicSamples = testing::Types<std::uint8_t, std::uint16_t>;
TYPED_TEST_SUITE(DemosaicTargets, MosaicSamples);

TYPED_TEST(DemosaicTargets, EqualTheTwinAndTheChainForEveryGridOriginAndWidth)
{
    for (const ExBayerGrid grid : grids)
        for (const int x : {0, 1})
            for (const int y : {0, 1})
                for (int width = 2; width <= 140; width += 2 + 2 * (width / 20))
                    compareWithTwinAndChain<TypeParam>(
                        {QRect(x, y, width, 6), grid, 8 * int(sizeof(TypeParam)), 3 + width / 2 % 2});
}

TYPED_TEST(DemosaicTargets, EqualTheTwinAndTheChainForEveryHeight)
{
    for (int height = 2; height <= 20; height += 2)
        for (const int channels : {3, 4})
            compareWithTwinAndChain<TypeParam>({QRect(2, 3, 70, height), BayerGBRG, 8, channels});
}

TYPED_TEST(DemosaicTargets, EqualTheTwinAndTheChainForEveryDepth)
{
    for (const int bits :
         {-40, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 30, 31, 32, 64, 1024, most})
        for (const int channels : {3, 4})
            for (const int width : {6, 66})
                compareWithTwinAndChain<TypeParam>({QRect(1, 0, width, 4), BayerGRBG, bits, channels});
}

TEST(DemosaicTargetsOfBytes, EqualTheTwinForEveryPairOfBytes)
{
    TestImage src(Layout{.width = 1024, .height = 512});
    for (int y = 0; y < 512; ++y)
        for (int x = 0; x < 1024; ++x)
            src.set<std::uint8_t>(x, y, static_cast<std::uint8_t>(x / 2 % 2 == 0 ? x / 4 : y / 2));
    src->bayerGrid = BayerRGGB;
    const Layout layout{.width = 1024, .height = 512, .channels = 3};
    TestImage expected(layout);
    oracle::demosaic<std::uint8_t>(src, QRect(0, 0, 1024, 512), BayerRGGB, expected);
    forEachTarget([&] {
        TestImage dst(layout);
        ASSERT_EQ(Demosaic(src, dst, nullptr), ResultOk);
        EXPECT_EQ(dst.bytes(), expected.bytes());
    });
}

}  // namespace
}  // namespace ko::test
