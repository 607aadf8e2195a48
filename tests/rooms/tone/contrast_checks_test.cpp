#include "support/check_table.h"
#include "support/test_image.h"

#include <ko/tone.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// Arguments of every member; each takes what it needs.
struct ContrastArgs {
    TestImage src, dst, mask;
    Bytes before;
    int srcChannel = 1;
    int dstChannel = 2;
    int low = 10;
    int high = 200;

    ContrastArgs(const Layout& from, const Layout& to, const Layout& over = {})
        : src(from), dst(to), mask(over)
    {
        src.fillRandom(1);
        dst.fillBytes(99);
        mask.fillBytes(1);
        before = dst.bytes();
    }
    bool outputsUntouched() const { return dst.bytes() == before; }
};

constexpr Layout colour{.channels = 3};
constexpr Layout planes{.channels = 4, .packing = Planar};

template <class Args>
using Row = CheckRow<Args>;

/// Rows that spoil a member by name; every table is put together from them.
template <class Args>
void appendSource(std::vector<Row<Args>>& rows, ResultCode code)
{
    rows.push_back({"src absent", [](auto& a) { a.src->data = nullptr; }, code});
    rows.push_back({"src of negative width", [](auto& a) { a.src->width = -1; }, code});
}

template <class Args>
void appendDestination(std::vector<Row<Args>>& rows, ResultCode code)
{
    rows.push_back({"dst absent", [](auto& a) { a.dst->data = nullptr; }, code});
    rows.push_back({"dst narrower", [](auto& a) { a.dst->width = 3; }, code});
    rows.push_back({"dst lower", [](auto& a) { a.dst->height = 2; }, code});
    rows.push_back({"dst of another type", [](auto& a) { a.dst->dataType = Int8; }, code});
}

template <class Args>
void appendPackingAndBits(std::vector<Row<Args>>& rows, ResultCode code)
{
    rows.push_back({"dst of another packing",
                    [](auto& a) { a.dst->packing = ExPixelPacking(1 - a.dst->packing); }, code});
    rows.push_back({"dst of other bits", [](auto& a) { a.dst->bitsPerSample = 7; }, code});
}

template <class Args>
void appendMask(std::vector<Row<Args>>& rows, ResultCode code)
{
    rows.push_back({"mask absent", [](auto& a) { a.mask->data = nullptr; }, code});
    rows.push_back({"mask not mono", [](auto& a) { a.mask->channels = 2; }, code});
    rows.push_back({"mask not UInt8", [](auto& a) { a.mask->dataType = Int8; }, code});
    rows.push_back({"mask narrower", [](auto& a) { a.mask->width = 3; }, code});
    rows.push_back({"mask lower", [](auto& a) { a.mask->height = 2; }, code});
}

template <class Args>
void appendLevels(std::vector<Row<Args>>& rows, ResultCode badLow, ResultCode badHigh)
{
    rows.push_back({"low negative", [](auto& a) { a.low = -1; }, badLow});
    rows.push_back({"low above the top", [](auto& a) { a.low = 256; }, badLow});
    rows.push_back({"high negative", [](auto& a) { a.high = -1; }, badHigh});
    rows.push_back({"high above the top", [](auto& a) { a.high = 256; }, badHigh});
}

template <class Args>
void appendOrderedLevels(std::vector<Row<Args>>& rows, ResultCode badLow, ResultCode badHigh)
{
    rows.push_back({"low negative", [](auto& a) { a.low = -1; }, badLow});
    rows.push_back({"both above the top", [](auto& a) { a.low = a.high = 256; }, badLow});
    rows.push_back({"low above high", [](auto& a) { a.low = 257; }, badLow});
    rows.push_back({"high above the top", [](auto& a) { a.high = 256; }, badHigh});
}

template <class Args>
void setTypes(Args& a, int code)
{
    a.src->dataType = a.dst->dataType = typeCode(code);
}

template <class Args>
void appendTypes(std::vector<Row<Args>>& rows)
{
    rows.push_back({"floats", [](auto& a) { setTypes(a, Float32); }, ResultUnsupportedType});
    rows.push_back({"four bytes", [](auto& a) { setTypes(a, UInt32); }, ResultUnsupportedType});
    rows.push_back({"type 0", [](auto& a) { setTypes(a, 0); }, ResultUnsupportedType});
    rows.push_back({"type 12", [](auto& a) { setTypes(a, 12); }, ResultUnsupportedType});
}

template <class Args>
void appendStrides(std::vector<Row<Args>>& rows, ResultCode badDst)
{
    rows.push_back({"src rows beyond their stride", [](auto& a) { a.src->stride = 3; }, ResultBadArg1});
    rows.push_back({"dst rows beyond their stride", [](auto& a) { a.dst->stride = 3; }, badDst});
}

template <class Args>
void appendMaskStride(std::vector<Row<Args>>& rows, ResultCode code)
{
    rows.push_back({"mask rows beyond their stride", [](auto& a) { a.mask->stride = 3; }, code});
}

template <bool Masked>
struct InPlaceArgs : ContrastArgs {
    InPlaceArgs() : ContrastArgs(colour, colour) {}
    ResultCode call()
    {
        return Masked ? ThresholdAndStretchHistogramMasked(dst, mask, dstChannel, low, high)
                      : ThresholdAndStretchHistogram(dst, dstChannel, low, high);
    }
};

template <bool Masked>
void runInPlaceTable()
{
    using Args = InPlaceArgs<Masked>;
    std::vector<Row<Args>> rows{
        {"image absent", [](auto& a) { a.dst->data = nullptr; }, ResultBadArg1},
        {"image of negative height", [](auto& a) { a.dst->height = -1; }, ResultBadArg1},
        {"no channels", [](auto& a) { a.dst->channels = 0; }, ResultBadArg1},
        {"packing 2", [](auto& a) { a.dst->packing = static_cast<ExPixelPacking>(2); }, ResultBadArg1},
    };
    if (Masked)
        appendMask(rows, ResultBadArg2);
    const ResultCode badChannel = Masked ? ResultBadArg3 : ResultBadArg2;
    rows.push_back({"channel negative", [](auto& a) { a.dstChannel = -1; }, badChannel});
    rows.push_back({"channel beyond the last by two", [](auto& a) { a.dstChannel = 4; }, badChannel});
    appendTypes(rows);
    rows.push_back({"rows beyond their stride", [](auto& a) { a.dst->stride = 11; }, ResultBadArg1});
    if (Masked)
        appendMaskStride(rows, ResultBadArg2);
    runCheckTable(rows);
}

TEST(ThresholdAndStretchHistogramChecks, OfTheInPlaceFormRunInOrder)
{
    runInPlaceTable<false>();
}

TEST(ThresholdAndStretchHistogramMaskedChecks, OfTheInPlaceFormRunInOrder)
{
    runInPlaceTable<true>();
}

template <bool Masked>
struct CopyArgs : ContrastArgs {
    CopyArgs() : ContrastArgs(colour, colour) {}
    ResultCode call()
    {
        return Masked ? ThresholdAndStretchHistogramMasked(src, srcChannel, dst, dstChannel, mask, low, high)
                      : ThresholdAndStretchHistogram(src, srcChannel, dst, dstChannel, low, high);
    }
};

template <bool Masked>
void runCopyTable()
{
    using Args = CopyArgs<Masked>;
    std::vector<Row<Args>> rows;
    appendSource(rows, ResultBadArg1);
    rows.push_back({"source channel negative", [](auto& a) { a.srcChannel = -1; }, ResultBadArg2});
    rows.push_back({"source channel too high", [](auto& a) { a.srcChannel = 3; }, ResultBadArg2});
    appendDestination(rows, ResultBadArg3);
    appendPackingAndBits(rows, ResultBadArg3);
    rows.push_back({"destination channel negative", [](auto& a) { a.dstChannel = -1; }, ResultBadArg4});
    rows.push_back({"destination channel too high", [](auto& a) { a.dstChannel = 3; }, ResultBadArg4});
    if (Masked)
        appendMask(rows, ResultBadArg5);
    appendLevels(rows, Masked ? ResultBadArg6 : ResultBadArg5, Masked ? ResultBadArg7 : ResultBadArg6);
    appendTypes(rows);
    rows.push_back({"packing 2",
                    [](auto& a) { a.src->packing = a.dst->packing = static_cast<ExPixelPacking>(2); },
                    ResultUnsupportedType});
    appendStrides(rows, ResultBadArg3);
    if (Masked)
        appendMaskStride(rows, ResultBadArg5);
    runCheckTable(rows);
}

TEST(ThresholdAndStretchHistogramChecks, OfTheCopyFormRunInOrder)
{
    runCopyTable<false>();
}

TEST(ThresholdAndStretchHistogramMaskedChecks, OfTheCopyFormRunInOrder)
{
    runCopyTable<true>();
}

template <bool Masked>
struct GrayArgs : ContrastArgs {
    GrayArgs() : ContrastArgs(colour, colour) {}
    ResultCode call()
    {
        return Masked ? ThresholdAndStretchHistogramGrayMasked(src, mask, dst, low, high)
                      : ThresholdAndStretchHistogramGray(src, dst, low, high);
    }
};

template <bool Masked>
void runGrayTable()
{
    using Args = GrayArgs<Masked>;
    std::vector<Row<Args>> rows;
    appendSource(rows, ResultBadArg1);
    appendDestination(rows, ResultBadArg2);
    appendPackingAndBits(rows, ResultBadArg2);
    appendOrderedLevels(rows, ResultBadArg3, ResultBadArg4);
    appendTypes(rows);
    rows.push_back({"packing 2",
                    [](auto& a) { a.src->packing = a.dst->packing = static_cast<ExPixelPacking>(2); },
                    ResultUnsupportedType});
    appendStrides(rows, ResultBadArg2);
    runCheckTable(rows);
}

TEST(ThresholdAndStretchHistogramGrayChecks, RunInOrder)
{
    runGrayTable<false>();
}

TEST(ThresholdAndStretchHistogramGrayMaskedChecks, RunInOrder)
{
    runGrayTable<true>();
}

template <bool Masked>
struct RawArgs : ContrastArgs {
    RawArgs() : ContrastArgs(planes, planes, Layout{.width = 5, .channels = 3}) {}
    ResultCode call()
    {
        return Masked ? ThresholdAndStretchHistogramGrayRawPlanarMasked(src, mask, dst, low, high)
                      : ThresholdAndStretchHistogramGrayRawPlanar(src, dst, low, high);
    }
};

template <bool Masked>
void runRawTable()
{
    using Args = RawArgs<Masked>;
    std::vector<Row<Args>> rows{
        {"src neither present nor of four channels nor planar",
         [](auto& a) {
             a.src->data = nullptr;
             a.src->channels = 3;
             a.src->packing = Interleaved;
         },
         ResultBadArg1},
    };
    const ResultCode badDst = Masked ? ResultBadArg3 : ResultBadArg2;
    if (Masked) {
        rows.push_back({"mask absent", [](auto& a) { a.mask->data = nullptr; }, ResultBadArg2});
        rows.push_back({"mask mono UInt8", [](auto& a) { a.mask->channels = 1; }, ResultBadArg2});
        rows.push_back({"mask of src's size", [](auto& a) { a.mask->width = 4; }, ResultBadArg2});
    }
    appendDestination(rows, badDst);
    appendPackingAndBits(rows, badDst);
    appendOrderedLevels(rows, Masked ? ResultBadArg4 : ResultBadArg3, Masked ? ResultBadArg5 : ResultBadArg4);
    appendTypes(rows);
    appendStrides(rows, badDst);
    runCheckTable(rows);
}

TEST(ThresholdAndStretchHistogramGrayRawPlanarChecks, RunInOrder)
{
    runRawTable<false>();
}

TEST(ThresholdAndStretchHistogramGrayRawPlanarMaskedChecks, RefuseTheMasksThatOthersWant)
{
    runRawTable<true>();
}

template <bool Masked>
struct GreenArgs : ContrastArgs {
    GreenArgs() : ContrastArgs(planes, planes) {}
    ResultCode call()
    {
        return Masked
                   ? ThresholdAndStretchHistogramGreenRawPlanarMasked(src, dst, dstChannel, mask, low, high)
                   : ThresholdAndStretchHistogramGreenRawPlanar(src, dst, dstChannel, low, high);
    }
};

template <bool Masked>
void runGreenTable()
{
    using Args = GreenArgs<Masked>;
    std::vector<Row<Args>> rows;
    appendSource(rows, ResultBadArg1);
    rows.push_back({"src of three channels", [](auto& a) { a.src->channels = 3; }, ResultBadArg1});
    rows.push_back({"src interleaved", [](auto& a) { a.src->packing = Interleaved; }, ResultBadArg1});
    appendDestination(rows, ResultBadArg2);
    rows.push_back({"dst without channels", [](auto& a) { a.dst->channels = 0; }, ResultBadArg2});
    rows.push_back({"dst interleaved", [](auto& a) { a.dst->packing = Interleaved; }, ResultBadArg2});
    rows.push_back({"channel negative", [](auto& a) { a.dstChannel = -1; }, ResultBadArg3});
    rows.push_back({"channel too high", [](auto& a) { a.dstChannel = 4; }, ResultBadArg3});
    if (Masked)
        appendMask(rows, ResultBadArg4);
    appendTypes(rows);
    appendStrides(rows, ResultBadArg2);
    if (Masked)
        appendMaskStride(rows, ResultBadArg4);
    runCheckTable(rows);
}

TEST(ThresholdAndStretchHistogramGreenRawPlanarChecks, RunInOrder)
{
    runGreenTable<false>();
}

TEST(ThresholdAndStretchHistogramGreenRawPlanarMaskedChecks, RunInOrder)
{
    runGreenTable<true>();
}

}  // namespace
}  // namespace ko::test
