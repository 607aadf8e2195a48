// The binary layout of the public records, and what a default-constructed one holds.
#include <ko/koimproc.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

namespace ko::test {
namespace {

template <class Enum>
constexpr bool isSigned32 = sizeof(Enum) == 4 && std::is_signed_v<std::underlying_type_t<Enum>>;

static_assert(isSigned32<ExImageDataType>);
static_assert(isSigned32<ExPixelPacking>);
static_assert(isSigned32<ExBayerGrid>);
static_assert(isSigned32<ExPixelCompression>);
static_assert(isSigned32<ExPackedLayout>);
static_assert(isSigned32<Interpolation>);
static_assert(isSigned32<ExChamferMask>);
static_assert(isSigned32<NormalizationType>);
static_assert(isSigned32<CxDemosaicConvertor::ExDemosaicAlgorithm>);
static_assert(isSigned32<CxDemosaicConvertor::ExBayerGridSource>);
static_assert(std::is_same_v<std::underlying_type_t<ResultCode>, std::uint32_t>);

static_assert(sizeof(SxImageInfo) == 48 && alignof(SxImageInfo) == 4);
static_assert(std::is_standard_layout_v<SxImageInfo>);
static_assert(offsetof(SxImageInfo, width) == 0);
static_assert(offsetof(SxImageInfo, height) == 4);
static_assert(offsetof(SxImageInfo, stride) == 8);
static_assert(offsetof(SxImageInfo, channels) == 12);
static_assert(offsetof(SxImageInfo, bitsPerSample) == 16);
static_assert(offsetof(SxImageInfo, dataType) == 20);
static_assert(offsetof(SxImageInfo, packing) == 24);
static_assert(offsetof(SxImageInfo, pixelFormat) == 28);
static_assert(offsetof(SxImageInfo, bayerGrid) == 32);
static_assert(offsetof(SxImageInfo, reserved) == 36);

static_assert(sizeof(SxImageBuf) == 88 && alignof(SxImageBuf) == 8);
static_assert(std::is_base_of_v<SxImageInfo, SxImageBuf>);
static_assert(std::is_trivially_copyable_v<SxImageBuf>);

static_assert(sizeof(_point_<int>) == 8 && offsetof(_point_<int>, x) == 0 && offsetof(_point_<int>, y) == 4);

static_assert(sizeof(SxSnakeParams) == 64 && alignof(SxSnakeParams) == 8);
static_assert(std::is_standard_layout_v<SxSnakeParams>);
static_assert(offsetof(SxSnakeParams, edgeFraction) == 0);
static_assert(offsetof(SxSnakeParams, weightContinuity) == 8);
static_assert(offsetof(SxSnakeParams, weightCurvature) == 16);
static_assert(offsetof(SxSnakeParams, weightDistance) == 24);
static_assert(offsetof(SxSnakeParams, weightGradient) == 32);
static_assert(offsetof(SxSnakeParams, refine) == 40);
static_assert(offsetof(SxSnakeParams, refineInterval) == 44);
static_assert(offsetof(SxSnakeParams, loopDistance) == 48);
static_assert(offsetof(SxSnakeParams, pointSpacing) == 52);
static_assert(offsetof(SxSnakeParams, maxIterations) == 56);

static_assert(sizeof(SxMoments) == 24 && alignof(SxMoments) == 8);
static_assert(std::is_standard_layout_v<SxMoments>);
static_assert(offsetof(SxMoments, count) == 0);
static_assert(offsetof(SxMoments, sum) == 8);
static_assert(offsetof(SxMoments, squares) == 16);
static_assert(sizeof(SxAccumulator) == 544 && alignof(SxAccumulator) == 8);

static_assert(sizeof(CxImageHistogram) == 24 && std::is_standard_layout_v<CxImageHistogram>);
static_assert(offsetof(CxImageHistogram, bins) == 0);
static_assert(offsetof(CxImageHistogram, planes) == 8);
static_assert(offsetof(CxImageHistogram, levels) == 12);
static_assert(offsetof(CxImageHistogram, extraBins) == 16);

static_assert(sizeof(SxPipeStatistics) == 40 && std::is_standard_layout_v<SxPipeStatistics>);
static_assert(offsetof(SxPipeStatistics, received) == 0);
static_assert(offsetof(SxPipeStatistics, processed) == 8);
static_assert(offsetof(SxPipeStatistics, failed) == 16);
static_assert(offsetof(SxPipeStatistics, dropped) == 24);
static_assert(offsetof(SxPipeStatistics, waiting) == 32);

// The classes that programs derive from or hold by value; a size that changes breaks what is already
// compiled.
static_assert(sizeof(CxImageHistogram2D) == 32);
static_assert(sizeof(CxImageHistogramSparse2D) == 24);
static_assert(sizeof(CxMetadata) == 8);
static_assert(sizeof(IxDataInfo) == 8);
static_assert(sizeof(CxImageDataInfo) == 56);
static_assert(sizeof(IxData) == 24);
static_assert(sizeof(CxImageData) == 136);
static_assert(sizeof(IxPipeItem) == 32);
static_assert(sizeof(IxDataProcessor) == 32);
static_assert(sizeof(CxFrameSource) == 48);
static_assert(sizeof(CxFrameSink) == 64);
static_assert(sizeof(CxDemosaicConvertor) == 48);

template <class Record>
std::ptrdiff_t offsetIn(const Record& record, const void* member)
{
    return static_cast<const char*>(member) - reinterpret_cast<const char*>(&record);
}

TEST(Records, PlaceTheMemoryWordsBehindTheInfo)
{
    // Measured on an object: offsetof is not portable for a record with a base.
    const SxImageBuf image;
    EXPECT_EQ(offsetIn(image, static_cast<const SxImageInfo*>(&image)), 0);
    EXPECT_EQ(offsetIn(image, &image.data), 48);
    EXPECT_EQ(offsetIn(image, &image.allocation), 56);
    EXPECT_EQ(offsetIn(image, &image.memoryTag), 64);
    EXPECT_EQ(offsetIn(image, &image.bookkeeping), 72);
}

TEST(Records, PlaceThePlanesOfAnAccumulatorBeforeItsNumbers)
{
    const SxAccumulator sums;
    const SxImageBuf* const planes[] = {&sums.sum,     &sums.squares, &sums.minimum,
                                        &sums.maximum, &sums.above,   &sums.counts};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(offsetIn(sums, planes[i]), 88 * i);
    EXPECT_EQ(offsetIn(sums, &sums.frames), 528);
    EXPECT_EQ(offsetIn(sums, &sums.level), 536);
}

TEST(Records, StartEmptyWithColourPixelsAndNoMosaic)
{
    const SxImageBuf image;
    EXPECT_EQ(image.width, 0);
    EXPECT_EQ(image.height, 0);
    EXPECT_EQ(image.stride, 0);
    EXPECT_EQ(image.channels, 0);
    EXPECT_EQ(image.bitsPerSample, 0);
    EXPECT_EQ(image.dataType, 0);
    EXPECT_EQ(image.packing, Interleaved);
    EXPECT_EQ(image.pixelFormat, 1);
    EXPECT_EQ(image.bayerGrid, BayerNone);
    for (const std::int32_t word : image.reserved)
        EXPECT_EQ(word, 0);
    EXPECT_EQ(image.data, nullptr);
    EXPECT_EQ(image.allocation, 0U);
    EXPECT_EQ(image.memoryTag, 0U);
    for (const std::uint64_t word : image.bookkeeping)
        EXPECT_EQ(word, 0U);
}

TEST(Records, StartTheSnakeWithItsUsualSettings)
{
    const SxSnakeParams params;
    EXPECT_EQ(params.edgeFraction, 0.2);
    EXPECT_EQ(params.weightContinuity, 0.5);
    EXPECT_EQ(params.weightCurvature, 0.5);
    EXPECT_EQ(params.weightDistance, 2.0);
    EXPECT_EQ(params.weightGradient, 1.0);
    EXPECT_EQ(params.refine, 1);
    EXPECT_EQ(params.refineInterval, 5);
    EXPECT_EQ(params.loopDistance, 2);
    EXPECT_EQ(params.pointSpacing, 5);
    EXPECT_EQ(params.maxIterations, 200);
}

TEST(Records, NumberTheirCodesForGood)
{
    EXPECT_EQ(Int8, 1);
    EXPECT_EQ(UInt8, 2);
    EXPECT_EQ(Int16, 3);
    EXPECT_EQ(UInt16, 4);
    EXPECT_EQ(Int32, 5);
    EXPECT_EQ(UInt32, 6);
    EXPECT_EQ(Float32, 7);
    EXPECT_EQ(Float64, 8);
    EXPECT_EQ(Sample128, 9);
    EXPECT_EQ(Int64, 10);
    EXPECT_EQ(UInt64, 11);
    EXPECT_EQ(Interleaved, 0);
    EXPECT_EQ(Planar, 1);
    EXPECT_EQ(BayerBGGR, 0);
    EXPECT_EQ(BayerRGGB, 1);
    EXPECT_EQ(BayerGBRG, 2);
    EXPECT_EQ(BayerGRBG, 3);
    EXPECT_EQ(BayerNone, 4);
    EXPECT_EQ(CompressionNone, 0);
    EXPECT_EQ(InterpolationNearest, 0);
    EXPECT_EQ(InterpolationLinear, 1);
    EXPECT_EQ(ChamferChessboard, 0);
    EXPECT_EQ(Chamfer3x3, 1);
    EXPECT_EQ(Chamfer5x5, 2);
    EXPECT_EQ(Chamfer7x7, 3);
    EXPECT_EQ(Chamfer13x13, 4);
    EXPECT_EQ(NormalizeSeparate, 0);
    EXPECT_EQ(NormalizeJoint, 1);
    EXPECT_EQ(CxDemosaicConvertor::AlgorithmSimple, 0);
    EXPECT_EQ(CxDemosaicConvertor::GridFromImage, 0);
    EXPECT_EQ(CxDemosaicConvertor::GridFromSettings, 1);
    EXPECT_EQ(IxPipeItem::StateStopped, 0);
    EXPECT_EQ(IxPipeItem::StateStarted, 1);
    EXPECT_EQ(ResultOk, 0U);
    EXPECT_EQ(ResultFailed, 0xA0000000U);
    EXPECT_EQ(ResultIncompatible, 0xA000000DU);
    EXPECT_EQ(ResultOutOfRange, 0xA0004309U);
    EXPECT_EQ(ResultUnsupportedType, 0xA000430CU);
    EXPECT_EQ(ResultBadArg1, 0xA0004313U);
    EXPECT_EQ(ResultBadArg2, 0xA0004314U);
    EXPECT_EQ(ResultBadArg3, 0xA0004315U);
    EXPECT_EQ(ResultBadArg4, 0xA0004316U);
    EXPECT_EQ(ResultBadArg5, 0xA0004317U);
    EXPECT_EQ(ResultBadArg6, 0xA0004318U);
    EXPECT_EQ(ResultBadArg7, 0xA0004319U);
}

}  // namespace
}  // namespace ko::test
