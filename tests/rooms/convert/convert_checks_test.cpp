#include "support/check_table.h"
#include "support/failing_new.h"
#include "support/test_image.h"

#include <ko/convert.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace ko::test {
namespace {

constexpr auto unknownKind = static_cast<NormalizationType>(2);
constexpr auto unknownPacking = static_cast<ExPixelPacking>(2);

/// What all conversions take, valid for three interleaved channels.
template <ExImageDataType From, class S>
struct Args {
    TestImage src{Layout{.channels = 3, .type = From}};
    TestImage mask{Layout{}};
    TestImage dst{Layout{.channels = 3, .type = UInt8}};
    NormalizationType kind = NormalizeSeparate;
    S low[4] = {77, 77, 77, 77};
    S high[4] = {77, 77, 77, 77};
    std::vector<std::uint8_t> before;

    Args()
    {
        src.fillBytes(0);
        src.set<S>(1, 1, 1, S{9});
        mask.fillBytes(1);
        dst.fillBytes(200);
        before = dst.bytes();
    }
    bool outputsUntouched() const
    {
        for (int i = 0; i < 4; ++i)
            if (low[i] != S{77} || high[i] != S{77})
                return false;
        return dst.bytes() == before;
    }
};

struct DoubleArgs : Args<Float64, double> {
    ResultCode call() { return ConvertDoubleToU(src, dst, kind, low, high, false); }
};
struct FloatArgs : Args<Float32, float> {
    ResultCode call() { return ConvertFloatToU(src, dst, kind, low, high, false); }
};
struct DisplayArgs : Args<Float32, float> {
    ResultCode call() { return ConvertFloatToU8(src, dst, kind, low, high); }
};
struct MaskedDisplayArgs : Args<Float32, float> {
    ResultCode call() { return ConvertFloatToU8(src, mask, dst, kind, low, high); }
};
struct MaskedDoubleArgs : Args<Float64, double> {
    ResultCode call() { return ConvertDoubleToUMasked(src, mask, dst, kind, low, high); }
};
struct IntegerArgs : Args<Int32, int> {
    ResultCode call() { return ConvertI32ToU(src, dst, kind, low, high); }
};
struct ScaleArgs : Args<Float64, double> {
    ResultCode call() { return ScaleDoubleFloatToU(src, dst, 0, 1); }
};

/// Ways to spoil a source and a destination that every conversion refuses alike.
template <class A>
std::vector<CheckRow<A>> sourceRows()
{
    return {
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src of negative width", [](auto& a) { a.src->width = -1; }, ResultBadArg1},
        {"src of another type", [](auto& a) { a.src->dataType = UInt8; }, ResultBadArg1},
        {"src of type 0", [](auto& a) { a.src->dataType = typeCode(0); }, ResultBadArg1},
    };
}

template <class A>
std::vector<CheckRow<A>> destinationRows(ResultCode code)
{
    return {
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, code},
        {"dst narrower", [](auto& a) { a.dst->width = 3; }, code},
        {"dst lower", [](auto& a) { a.dst->height = 2; }, code},
        {"dst of other channels", [](auto& a) { a.dst->channels = 4; }, code},
        {"dst of another packing", [](auto& a) { a.dst->packing = Planar; }, code},
    };
}

template <class A>
std::vector<CheckRow<A>> shortRows(ResultCode dst)
{
    return {
        {"rows of src beyond their stride", [](auto& a) { a.src->stride = 11; }, ResultBadArg1},
        {"rows of dst beyond their stride", [](auto& a) { a.dst->stride = 11; }, dst},
    };
}

template <class A>
void append(std::vector<CheckRow<A>>& rows, std::vector<CheckRow<A>> more)
{
    rows.insert(rows.end(), more.begin(), more.end());
}

template <class A>
std::vector<CheckRow<A>> kindRows(ResultCode code)
{
    return {
        {"normalisation 2", [](auto& a) { a.kind = unknownKind; }, code},
        {"normalisation -1", [](auto& a) { a.kind = static_cast<NormalizationType>(-1); }, code},
    };
}

template <class A>
std::vector<CheckRow<A>> mosaicRow(ResultCode code)
{
    return {{"several channels of a mosaic", [](auto& a) { a.src->bayerGrid = BayerRGGB; }, code}};
}

template <class A>
void setPackings(A& a, ExPixelPacking packing)
{
    a.src->packing = a.dst->packing = packing;
}

template <class A>
void runClampedChecks()
{
    auto rows = sourceRows<A>();
    append(rows, destinationRows<A>(ResultBadArg2));
    append<A>(rows,
              {{"packing 2", [](auto& a) { setPackings(a, unknownPacking); }, ResultUnsupportedType},
               {"dst signed", [](auto& a) { a.dst->dataType = Int8; }, ResultUnsupportedType},
               {"dst of floats", [](auto& a) { a.dst->dataType = Float32; }, ResultUnsupportedType},
               {"dst of type 0", [](auto& a) { a.dst->dataType = typeCode(0); }, ResultUnsupportedType},
               {"dst of type 12", [](auto& a) { a.dst->dataType = typeCode(12); }, ResultUnsupportedType}});
    append(rows, shortRows<A>(ResultBadArg2));
    append(rows, mosaicRow<A>(ResultFailed));
    append(rows, kindRows<A>(ResultFailed));
    runCheckTable<A>(rows);
}

TEST(ConvertDoubleToUChecks, RunInOrderAndWriteNothing)
{
    runClampedChecks<DoubleArgs>();
}

TEST(ConvertFloatToUChecks, RunInOrderAndWriteNothing)
{
    runClampedChecks<FloatArgs>();
}

TEST(ConvertDoubleToUChecks, OfOneChannelInAnUnknownPackingFailInTheStatistics)
{
    DoubleArgs args;
    args.src->channels = args.dst->channels = 1;
    setPackings(args, unknownPacking);
    EXPECT_EQ(args.call(), ResultFailed);
    EXPECT_TRUE(args.outputsUntouched());
}

TEST(ConvertFloatToU8Checks, RunInOrderAndWriteNothing)
{
    auto rows = sourceRows<DisplayArgs>();
    append(rows, destinationRows<DisplayArgs>(ResultBadArg2));
    append<DisplayArgs>(rows,
                        {{"dst of words", [](auto& a) { a.dst->dataType = UInt16; }, ResultBadArg2},
                         {"dst of type 0", [](auto& a) { a.dst->dataType = typeCode(0); }, ResultBadArg2}});
    append(rows, kindRows<DisplayArgs>(ResultBadArg3));
    append(rows, shortRows<DisplayArgs>(ResultBadArg2));
    append(rows, mosaicRow<DisplayArgs>(ResultBadArg3));
    append<DisplayArgs>(rows,
                        {{"packing 2", [](auto& a) { setPackings(a, unknownPacking); }, ResultBadArg3}});
    runCheckTable<DisplayArgs>(rows);
}

TEST(ConvertFloatToU8MaskedChecks, RunInOrderAndWriteNothing)
{
    using A = MaskedDisplayArgs;
    auto rows = sourceRows<A>();
    append<A>(rows, {{"mask absent", [](auto& a) { a.mask->data = nullptr; }, ResultBadArg2},
                     {"mask of words", [](auto& a) { a.mask->dataType = UInt16; }, ResultBadArg2},
                     {"mask narrower", [](auto& a) { a.mask->width = 3; }, ResultBadArg2},
                     {"mask lower", [](auto& a) { a.mask->height = 2; }, ResultBadArg2}});
    append(rows, destinationRows<A>(ResultBadArg3));
    append<A>(rows,
              {{"dst signed", [](auto& a) { a.dst->dataType = Int8; }, ResultBadArg3},
               {"normalisation 2", [](auto& a) { a.kind = unknownKind; }, ResultBadArg4},
               {"rows of src beyond their stride", [](auto& a) { a.src->stride = 11; }, ResultBadArg1},
               {"rows of the mask beyond their stride", [](auto& a) { a.mask->stride = 3; }, ResultBadArg2},
               {"rows of dst beyond their stride", [](auto& a) { a.dst->stride = 11; }, ResultBadArg3},
               {"mask of two channels", [](auto& a) { a.mask->channels = 2; }, ResultBadArg4},
               {"packing 2", [](auto& a) { setPackings(a, unknownPacking); }, ResultBadArg4}});
    runCheckTable<A>(rows);
}

TEST(ConvertDoubleToUMaskedChecks, RunInOrderAndWriteNothing)
{
    using A = MaskedDoubleArgs;
    auto rows = sourceRows<A>();
    append<A>(rows, {{"mask absent", [](auto& a) { a.mask->data = nullptr; }, ResultBadArg2},
                     {"mask narrower", [](auto& a) { a.mask->width = 3; }, ResultBadArg2},
                     {"mask lower", [](auto& a) { a.mask->height = 2; }, ResultBadArg2},
                     {"mask of two channels", [](auto& a) { a.mask->channels = 2; }, ResultBadArg2}});
    append(rows, destinationRows<A>(ResultBadArg3));
    append<A>(rows,
              {{"dst of 32 bits", [](auto& a) { a.dst->dataType = UInt32; }, ResultBadArg3},
               {"dst of type 0", [](auto& a) { a.dst->dataType = typeCode(0); }, ResultBadArg3},
               {"rows of src beyond their stride", [](auto& a) { a.src->stride = 11; }, ResultBadArg1},
               {"rows of the mask beyond their stride", [](auto& a) { a.mask->stride = 3; }, ResultBadArg2},
               {"rows of dst beyond their stride", [](auto& a) { a.dst->stride = 11; }, ResultBadArg3},
               {"mask of words", [](auto& a) { a.mask->dataType = UInt16; }, ResultFailed},
               {"packing 2", [](auto& a) { setPackings(a, unknownPacking); }, ResultFailed},
               {"normalisation 2", [](auto& a) { a.kind = unknownKind; }, ResultFailed}});
    runCheckTable<A>(rows);
}

TEST(ConvertDoubleToUMaskedChecks, PassAPlanarMaskOfAPlanarSourceWhichTheStatisticsThenRefuse)
{
    TestImage src(Layout{.channels = 3, .type = Float64, .packing = Planar});
    TestImage dst(Layout{.channels = 3, .packing = Planar}), mask(Layout{.channels = 3, .packing = Planar});
    src.fillBytes(0);
    mask.fillBytes(1);
    const auto convert = [&] {
        return ConvertDoubleToUMasked(src, mask, dst, NormalizeJoint, nullptr, nullptr);
    };
    EXPECT_EQ(convert(), ResultFailed);
    mask->packing = Interleaved;
    EXPECT_EQ(convert(), ResultBadArg2);
    mask->channels = 1;
    EXPECT_EQ(convert(), ResultOk) << "one channel is laid out alike under any packing";
}

TEST(ConvertI32ToUChecks, RunInOrderAndWriteNothing)
{
    using A = IntegerArgs;
    auto rows = sourceRows<A>();
    append(rows, destinationRows<A>(ResultBadArg2));
    append<A>(rows,
              {{"dst of type 0", [](auto& a) { a.dst->dataType = typeCode(0); }, ResultBadArg2},
               {"dst of type 12", [](auto& a) { a.dst->dataType = typeCode(12); }, ResultBadArg2},
               {"dst of 32 bits", [](auto& a) { a.dst->dataType = UInt32; }, ResultUnsupportedType},
               {"dst signed", [](auto& a) { a.dst->dataType = Int8; }, ResultUnsupportedType},
               {"dst of 16 bytes", [](auto& a) { a.dst->dataType = Sample128; }, ResultUnsupportedType}});
    append<A>(rows, {{"packing 2", [](auto& a) { setPackings(a, unknownPacking); }, ResultUnsupportedType}});
    append(rows, shortRows<A>(ResultBadArg2));
    append(rows, mosaicRow<A>(ResultFailed));
    append(rows, kindRows<A>(ResultFailed));
    runCheckTable<A>(rows);
}

TEST(ScaleDoubleFloatToUChecks, RunInOrderAndWriteNothing)
{
    using A = ScaleArgs;
    auto rows = sourceRows<A>();
    append<A>(rows, {{"src of no width", [](auto& a) { a.src->width = 0; }, ResultBadArg1},
                     {"src of no height", [](auto& a) { a.src->height = 0; }, ResultBadArg1},
                     {"src of no channels", [](auto& a) { a.src->channels = 0; }, ResultBadArg1},
                     {"src of no depth", [](auto& a) { a.src->bitsPerSample = 0; }, ResultBadArg1}});
    append(rows, destinationRows<A>(ResultBadArg2));
    append<A>(rows, {{"dst of no depth", [](auto& a) { a.dst->bitsPerSample = 0; }, ResultBadArg2},
                     {"dst signed", [](auto& a) { a.dst->dataType = Int8; }, ResultBadArg2},
                     {"dst of type 0", [](auto& a) { a.dst->dataType = typeCode(0); }, ResultBadArg2},
                     {"packing 2", [](auto& a) { setPackings(a, unknownPacking); }, ResultUnsupportedType}});
    append(rows, shortRows<A>(ResultBadArg2));
    runCheckTable<A>(rows);
}

/// Has memory run out at the first allocation of a call, at the second and so on, until none is refused.
template <class A>
void expectFailedWhereverMemoryRunsOut()
{
    ResultCode rc = ResultFailed;
    int granted = 0;
    for (bool hasStruck = true; hasStruck; ++granted) {
        ASSERT_LT(granted, 100);
        A args;
        {
            const NewFailure failure(granted);
            rc = args.call();
            hasStruck = NewFailure::hasStruck();
        }
        EXPECT_EQ(rc, hasStruck ? ResultFailed : ResultOk) << "after " << granted << " allocations";
    }
    EXPECT_GT(granted, 2);
}

TEST(ExhaustedMemory, IsAFailureAndNoFaultOfAnArgument)
{
    expectFailedWhereverMemoryRunsOut<DoubleArgs>();
    expectFailedWhereverMemoryRunsOut<FloatArgs>();
    expectFailedWhereverMemoryRunsOut<DisplayArgs>();
    expectFailedWhereverMemoryRunsOut<MaskedDisplayArgs>();
    expectFailedWhereverMemoryRunsOut<MaskedDoubleArgs>();
    expectFailedWhereverMemoryRunsOut<IntegerArgs>();
    expectFailedWhereverMemoryRunsOut<ScaleArgs>();
}

}  // namespace
}  // namespace ko::test
