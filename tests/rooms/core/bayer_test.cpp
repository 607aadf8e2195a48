#include "base/dispatch.h"
#include "core/bayer_cell.h"
#include "oracle/bayer.h"
#include "support/check_table.h"
#include "support/mosaics.h"
#include "support/targets.h"

#include <ko/bayer.h>

#include <gtest/gtest.h>

#include <limits>

namespace ko::test {
namespace {

constexpr int most = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();

struct SplitArgs {
    TestImage src{Layout{.width = 8, .height = 6, .type = UInt16}};
    TestImage planar{Layout{.width = 2, .height = 2, .channels = 4, .type = UInt16, .packing = Planar}};
    QRect roi{1, 1, 4, 4};
    ExBayerGrid grid = BayerRGGB;
    std::vector<std::uint8_t> before = planar.bytes();

    SplitArgs() { src.fillRandom(1); }
    ResultCode call() { return ConvertRawToPlanarRaw(src, roi, grid, planar); }
    bool outputsUntouched() const { return planar.bytes() == before; }
    void setType(ExImageDataType type) { src->dataType = planar->dataType = type; }
};

TEST(ConvertRawToPlanarRawChecks, RunInOrderAndLeaveThePlanesAlone)
{
    runCheckTable<SplitArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src of negative height", [](auto& a) { a.src->height = -6; }, ResultBadArg1},
        {"src not mono", [](auto& a) { a.src->channels = 4; }, ResultBadArg1},
        {"roi right of src", [](auto& a) { a.roi.moveLeft(5); }, ResultBadArg2},
        {"roi above src", [](auto& a) { a.roi.moveTop(-1); }, ResultBadArg2},
        {"roi of odd width", [](auto& a) { a.roi.setWidth(3); }, ResultBadArg2},
        {"roi of odd height", [](auto& a) { a.roi.setHeight(5); }, ResultBadArg2},
        {"roi of negative size", [](auto& a) { a.roi.setCoords(4, 0, -1, 1); }, ResultBadArg2},
        {"roi of all coordinates", [](auto& a) { a.roi.setCoords(least, least, most, most); }, ResultBadArg2},
        {"grid of no mosaic", [](auto& a) { a.grid = BayerNone; }, ResultBadArg3},
        {"grid 5", [](auto& a) { a.grid = gridCode(5); }, ResultBadArg3},
        {"negative grid", [](auto& a) { a.grid = gridCode(-1); }, ResultBadArg3},
        {"planar absent", [](auto& a) { a.planar->data = nullptr; }, ResultBadArg4},
        {"three planes", [](auto& a) { a.planar->channels = 3; }, ResultBadArg4},
        {"planes interleaved", [](auto& a) { a.planar->packing = Interleaved; }, ResultBadArg4},
        {"planes of another type", [](auto& a) { a.planar->dataType = Int16; }, ResultBadArg4},
        {"planes too wide", [](auto& a) { a.planar->width = 3; }, ResultBadArg4},
        {"planes too low", [](auto& a) { a.planar->height = 1; }, ResultBadArg4},
        {"type Int16", [](auto& a) { a.setType(Int16); }, ResultUnsupportedType},
        {"type Float32", [](auto& a) { a.setType(Float32); }, ResultUnsupportedType},
        {"type of 16 bytes", [](auto& a) { a.setType(Sample128); }, ResultUnsupportedType},
        {"type 0", [](auto& a) { a.setType(typeCode(0)); }, ResultUnsupportedType},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 15; }, ResultBadArg1},
        {"planar rows beyond their stride", [](auto& a) { a.planar->stride = 3; }, ResultBadArg4},
    });
}

/// Arguments for a mosaic source and, with `Channels` 4, for planes.
template <int Channels>
struct SimpleArgs {
    TestImage src{Layout{.width = 8, .height = 6, .channels = Channels, .packing = Planar}};
    TestImage dst{Layout{.width = Channels == 1 ? 2 : 4, .height = Channels == 1 ? 2 : 4, .channels = 3}};
    QRect rect{1, 1, 4, 4};
    ExBayerGrid grid = BayerRGGB;
    std::vector<std::uint8_t> before = dst.bytes();

    SimpleArgs() { src.fillRandom(1); }
    ResultCode call() { return DemosaicSimple(src, rect, dst, grid); }
    bool outputsUntouched() const { return dst.bytes() == before; }
    void setType(ExImageDataType type) { src->dataType = dst->dataType = type; }
};

template <class Args>
std::vector<CheckRow<Args>> simpleChecks()
{
    return {
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src of negative width", [](auto& a) { a.src->width = -8; }, ResultBadArg1},
        {"src of three channels", [](auto& a) { a.src->channels = 3; }, ResultBadArg1},
        {"rect right of src", [](auto& a) { a.rect.moveLeft(5); }, ResultBadArg2},
        {"rect above src", [](auto& a) { a.rect.moveTop(-1); }, ResultBadArg2},
        {"rect of negative size", [](auto& a) { a.rect.setCoords(0, 4, 1, -1); }, ResultBadArg2},
        {"rect of all coordinates", [](auto& a) { a.rect.setCoords(least, least, most, most); },
         ResultBadArg2},
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, ResultBadArg3},
        {"dst of two channels", [](auto& a) { a.dst->channels = 2; }, ResultBadArg3},
        {"dst planar", [](auto& a) { a.dst->packing = Planar; }, ResultBadArg3},
        {"dst of another type", [](auto& a) { a.dst->dataType = Int8; }, ResultBadArg3},
        {"dst too wide", [](auto& a) { a.dst->width += 1; }, ResultBadArg3},
        {"dst too low", [](auto& a) { a.dst->height -= 1; }, ResultBadArg3},
        {"grid of no mosaic", [](auto& a) { a.grid = BayerNone; }, ResultBadArg4},
        {"negative grid", [](auto& a) { a.grid = gridCode(-1); }, ResultBadArg4},
        {"type Int8", [](auto& a) { a.setType(Int8); }, ResultUnsupportedType},
        {"type UInt32", [](auto& a) { a.setType(UInt32); }, ResultUnsupportedType},
        {"type 12", [](auto& a) { a.setType(typeCode(12)); }, ResultUnsupportedType},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 7; }, ResultBadArg1},
        {"dst rows beyond their stride", [](auto& a) { a.dst->stride = 5; }, ResultBadArg3},
    };
}

TEST(DemosaicSimpleChecks, RunInOrderAndLeaveTheDestinationAlone)
{
    runCheckTable<SimpleArgs<1>>(simpleChecks<SimpleArgs<1>>());
    runCheckTable<SimpleArgs<4>>(simpleChecks<SimpleArgs<4>>());
}

TEST(DemosaicSimpleChecks, WantWholeCellsOfAMosaicOnly)
{
    for (const QRect& odd : {QRect(0, 0, 3, 4), QRect(0, 0, 4, 3)}) {
        SimpleArgs<1> args;
        args.rect = odd;
        args.grid = BayerNone;
        EXPECT_EQ(args.call(), ResultBadArg2);
        EXPECT_TRUE(args.outputsUntouched());
    }
    SimpleArgs<4> planes;
    planes.rect = QRect(0, 0, 3, 5);
    TestImage dst(Layout{.width = 3, .height = 5, .channels = 3});
    EXPECT_EQ(DemosaicSimple(planes.src, planes.rect, dst, BayerGRBG), ResultOk);
}

TEST(DemosaicSimpleChecks, RefuseFourInterleavedChannels)
{
    TestImage src(Layout{.channels = 4});
    TestImage dst(Layout{.channels = 3});
    EXPECT_EQ(DemosaicSimple(src, QRect(0, 0, 4, 3), dst, BayerRGGB), ResultBadArg1);
}

TEST(BayerCells, TurnWithOddOrigins)
{
    const auto redAt = [](ExBayerGrid grid, int x, int y) {
        const BayerCell cell = cellFrom(grid, x, y);
        return std::pair(cell.redColumn, cell.redRow);
    };
    EXPECT_EQ(redAt(BayerBGGR, 0, 0), std::pair(1, 1));
    EXPECT_EQ(redAt(BayerRGGB, 4, 2), std::pair(0, 0));
    EXPECT_EQ(redAt(BayerGBRG, 0, 0), std::pair(0, 1));
    EXPECT_EQ(redAt(BayerGRBG, 0, 0), std::pair(1, 0));
    EXPECT_EQ(redAt(BayerRGGB, 1, 0), std::pair(1, 0));
    EXPECT_EQ(redAt(BayerRGGB, 0, 1), std::pair(0, 1));
    EXPECT_EQ(redAt(BayerRGGB, 1, 1), std::pair(1, 1));
}

/// The samples of one cell, in raster order.
constexpr std::initializer_list<std::uint8_t> cell = {10, 21, 32, 43};

TEST(ConvertRawToPlanarRawValues, AreRedFirstGreenBlueOtherGreenOfEachArrangement)
{
    const std::vector<std::uint8_t> expected[] = {
        {43, 21, 10, 32}, {10, 21, 43, 32}, {32, 10, 21, 43}, {21, 10, 32, 43}};
    TestImage src(Layout{.width = 2, .height = 2});
    src.setAll<std::uint8_t>(cell);
    for (const ExBayerGrid grid : grids) {
        TestImage planar(Layout{.width = 1, .height = 1, .channels = 4, .packing = Planar});
        ASSERT_EQ(ConvertRawToPlanarRaw(src, wholeOf(src), grid, planar), ResultOk);
        EXPECT_EQ(planar.all<std::uint8_t>(), expected[grid]) << grid;
    }
}

TEST(ConvertRawToPlanarRawValues, FollowTheColoursOfTheWholeImageFromOddOrigins)
{
    // RGGB: rows R G R G, G B G B, R G R G
    TestImage src(Layout{.width = 4, .height = 3});
    src.setAll<std::uint8_t>({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    const std::pair<QPoint, std::vector<std::uint8_t>> expected[] = {
        {{1, 0}, {3, 2, 6, 7}}, {{0, 1}, {9, 5, 6, 10}}, {{1, 1}, {11, 7, 6, 10}}, {{2, 0}, {3, 4, 8, 7}}};
    for (const auto& [origin, samples] : expected) {
        TestImage planar(Layout{.width = 1, .height = 1, .channels = 4, .packing = Planar});
        ASSERT_EQ(ConvertRawToPlanarRaw(src, QRect(origin, QSize(2, 2)), BayerRGGB, planar), ResultOk);
        EXPECT_EQ(planar.all<std::uint8_t>(), samples) << origin.x() << ", " << origin.y();
    }
}

TEST(ConvertRawToPlanarRawValues, DoNotDependOnTheMosaicThatTheRecordNames)
{
    SplitArgs args;
    args.src->bayerGrid = BayerNone;
    EXPECT_EQ(args.call(), ResultOk);
}

TEST(ConvertRawToPlanarRawValues, OfAnEmptyRegionAreNone)
{
    SplitArgs args;
    for (const QRect& roi : {QRect(), QRect(100, 100, 0, 0), QRect(2, 2, 0, 0)}) {
        args.roi = roi;
        args.planar->width = args.planar->height = 0;
        EXPECT_EQ(args.call(), ResultOk);
        EXPECT_TRUE(args.outputsUntouched());
    }
}

TEST(DemosaicSimpleValues, AreOnePixelPerCellWithTheLowerMeanOfTheGreens)
{
    const std::vector<std::uint8_t> expected[] = {{43, 26, 10}, {10, 26, 43}, {32, 26, 21}, {21, 26, 32}};
    TestImage src(Layout{.width = 2, .height = 2});
    src.setAll<std::uint8_t>(cell);
    for (const ExBayerGrid grid : grids) {
        TestImage dst(Layout{.width = 1, .height = 1, .channels = 3});
        ASSERT_EQ(DemosaicSimple(src, wholeOf(src), dst, grid), ResultOk);
        EXPECT_EQ(dst.all<std::uint8_t>(), expected[grid]) << grid;
    }
}

TEST(DemosaicSimpleValues, TakeTheFullRangeOfGreens)
{
    TestImage src(Layout{.width = 2, .height = 2, .type = UInt16});
    src.setAll<std::uint16_t>({0, 65535, 65534, 0});
    TestImage dst(Layout{.width = 1, .height = 1, .channels = 3, .type = UInt16});
    ASSERT_EQ(DemosaicSimple(src, wholeOf(src), dst, BayerRGGB), ResultOk);
    EXPECT_EQ(dst.get<std::uint16_t>(0, 0, 1), 65534);
}

TEST(DemosaicSimpleValues, OfTheFourthChannelAreTheTopOfTheDepth)
{
    struct {
        ExImageDataType type;
        int bits;
        unsigned expected;
    } const rows[] = {
        {UInt8, 8, 255},    {UInt8, 5, 31},     {UInt8, 12, 255},    {UInt8, 0, 0},
        {UInt8, most, 255}, {UInt16, 12, 4095}, {UInt16, 16, 65535}, {UInt16, 17, 65535},
        {UInt16, 1, 1},     {UInt16, -1, 0},    {UInt16, least, 0},  {UInt16, 64, 65535},
    };
    for (const auto& row : rows) {
        TestImage src(Layout{.width = 70, .height = 2, .type = row.type});
        src->bitsPerSample = row.bits;
        TestImage dst(Layout{.width = 35, .height = 1, .channels = 4, .type = row.type});
        ASSERT_EQ(DemosaicSimple(src, wholeOf(src), dst, BayerRGGB), ResultOk);
        for (const int x : {0, 34})
            EXPECT_EQ(row.type == UInt8 ? dst.get<std::uint8_t>(x, 0, 3) : dst.get<std::uint16_t>(x, 0, 3),
                      row.expected)
                << row.bits << " bits of type " << row.type;
    }
}

TEST(DemosaicSimpleValues, CombineThePlanesOfASplitIntoTheColoursOfItsCells)
{
    for (const ExBayerGrid grid : grids) {
        TestImage src(Layout{.width = 7, .height = 7, .type = UInt16, .bits = 12});
        src.fillRandom(9);
        TestImage planar(
            Layout{.width = 3, .height = 3, .channels = 4, .type = UInt16, .packing = Planar, .bits = 12});
        const Layout colour{.width = 3, .height = 3, .channels = 4, .type = UInt16};
        TestImage direct(colour), combined(colour);
        const QRect region(1, 0, 6, 6);
        ASSERT_EQ(ConvertRawToPlanarRaw(src, region, grid, planar), ResultOk);
        ASSERT_EQ(DemosaicSimple(planar, wholeOf(planar), combined, grid), ResultOk);
        ASSERT_EQ(DemosaicSimple(src, region, direct, grid), ResultOk);
        EXPECT_EQ(combined.bytes(), direct.bytes());
    }
}

TEST(DemosaicSimpleValues, OfAnEmptyRegionAreNone)
{
    SimpleArgs<1> mosaic;
    mosaic.rect = QRect();
    mosaic.dst->width = mosaic.dst->height = 0;
    EXPECT_EQ(mosaic.call(), ResultOk);
    EXPECT_TRUE(mosaic.outputsUntouched());
    SimpleArgs<4> planes;
    planes.rect = QRect(50, 50, 0, 0);
    planes.dst->width = planes.dst->height = 0;
    EXPECT_EQ(planes.call(), ResultOk);
    EXPECT_TRUE(planes.outputsUntouched());
}

struct Variant {
    ExImageDataType type;
    int cells;
    QPoint origin;
    int padding;
};

template <class Body>
void forEachVariant(const Body& body)
{
    forEachTarget([&] {
        for (const ExImageDataType type : {UInt8, UInt16})
            for (int cells = 0; cells <= 135; ++cells)
                for (const QPoint& origin : {QPoint(0, 0), QPoint(1, 0), QPoint(2, 1)})
                    body(Variant{type, cells, origin, cells % 3 == 0 ? 0 : cells % 7});
    });
}

Layout mosaicOf(const Variant& variant)
{
    return {.width = 2 * variant.cells + variant.origin.x() + variant.cells % 2,
            .height = 4 + variant.origin.y(),
            .type = variant.type,
            .padding = variant.padding};
}

TEST(ConvertRawToPlanarRawTargets, EqualTheTwinForEveryWidthOriginAndStride)
{
    forEachVariant([](const Variant& variant) {
        TestImage src(mosaicOf(variant));
        src.fillRandom(static_cast<std::uint32_t>(variant.cells));
        const Layout planes{.width = variant.cells,
                            .height = 2,
                            .channels = 4,
                            .type = variant.type,
                            .packing = Planar,
                            .padding = variant.padding + 1,
                            .misalignment = 3};
        TestImage planar(planes), expected(planes);
        const QRect roi(variant.origin, QSize(2 * variant.cells, 4));
        const ExBayerGrid grid = grids[variant.cells % 4];
        (void)dispatch(ByTypeOf<UInt8, UInt16>{}, variant.type, {}, [&]<class T>(std::type_identity<T>) {
            oracle::rawToPlanes<T>(src, roi, grid, expected);
        });
        ASSERT_EQ(ConvertRawToPlanarRaw(src, roi, grid, planar), ResultOk);
        ASSERT_EQ(planar.bytes(), expected.bytes()) << variant.type << " cells " << variant.cells;
    });
}

/// `twin(type, expected)` makes what the region becomes, in pixels of three and of four channels.
template <class Twin>
void compareSimple(const Variant& variant, int height, const SxImageBuf& src, const QRect& rect,
                   ExBayerGrid grid, const Twin& twin)
{
    for (const int channels : {3, 4}) {
        const Layout colour{.width = variant.cells,
                            .height = height,
                            .channels = channels,
                            .type = variant.type,
                            .padding = variant.padding,
                            .misalignment = 3};
        TestImage dst(colour), expected(colour);
        (void)dispatch(ByTypeOf<UInt8, UInt16>{}, variant.type, {}, [&](auto type) { twin(type, expected); });
        ASSERT_EQ(DemosaicSimple(src, rect, dst, grid), ResultOk);
        ASSERT_EQ(dst.bytes(), expected.bytes()) << variant.type << " width " << variant.cells;
    }
}

TEST(DemosaicSimpleTargets, EqualTheTwinForEveryWidthOriginAndStrideOfAMosaic)
{
    forEachVariant([](const Variant& variant) {
        TestImage src(mosaicOf(variant));
        src.fillRandom(static_cast<std::uint32_t>(variant.cells));
        const QRect rect(variant.origin, QSize(2 * variant.cells, 4));
        const ExBayerGrid grid = grids[variant.cells % 4];
        compareSimple(variant, 2, src, rect, grid, [&]<class T>(std::type_identity<T>, TestImage& expected) {
            oracle::simpleFromMosaic<T>(src, rect, expected, grid);
        });
    });
}

TEST(DemosaicSimpleTargets, EqualTheTwinForEveryWidthOriginAndStrideOfPlanes)
{
    forEachVariant([](const Variant& variant) {
        TestImage src(Layout{.width = variant.cells + 2,
                             .height = 4,
                             .channels = 4,
                             .type = variant.type,
                             .packing = Planar,
                             .bits = 7,
                             .padding = variant.padding});
        src.fillRandom(static_cast<std::uint32_t>(variant.cells));
        const QRect rect(variant.origin, QSize(variant.cells, 3));
        compareSimple(variant, 3, src, rect, BayerRGGB,
                      [&]<class T>(std::type_identity<T>, TestImage& expected) {
                          oracle::simpleFromPlanes<T>(src, rect, expected);
                      });
    });
}

}  // namespace
}  // namespace ko::test
