// The C++ layer, as programs use it; compiled as C++17 and as C++20.
// Indices are checked in debug builds, and this is one.
#undef NDEBUG
#include <ko/cpp.h>
#include <ko/koimproc.h>

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>
#if __cplusplus >= 202002L
#include <ranges>
#include <span>
#endif

namespace ko {
namespace {

template <class Body>
ResultCode codeThrownBy(const Body& body)
{
    try {
        body();
    } catch (const Error& error) {
        return error.code();
    }
    return ResultOk;
}

static_assert(!std::is_copy_constructible_v<Image> && !std::is_copy_assignable_v<Image>);
static_assert(std::is_nothrow_move_constructible_v<Image> && std::is_nothrow_move_assignable_v<Image>);
static_assert(std::is_convertible_v<Image&, SxImageBuf&>);
static_assert(!std::is_convertible_v<const Image&, SxImageBuf&>);
static_assert(!std::is_copy_constructible_v<DemosaicBuffer> &&
              std::is_nothrow_move_constructible_v<DemosaicBuffer>);
static_assert(!std::is_copy_constructible_v<DemosaicCentredBuffer> &&
              std::is_nothrow_move_assignable_v<DemosaicCentredBuffer> &&
              !std::is_convertible_v<int, DemosaicCentredBuffer>);
static_assert(!std::is_copy_constructible_v<MedianBuffer> && std::is_nothrow_move_assignable_v<MedianBuffer>);

using Samples = ImageView<std::uint16_t>;
using ConstSamples = ImageView<const std::uint16_t>;
static_assert(std::is_convertible_v<Samples, ConstSamples> && !std::is_convertible_v<ConstSamples, Samples>);
static_assert(std::is_constructible_v<ConstSamples, const SxImageBuf&>);
static_assert(!std::is_constructible_v<Samples, const SxImageBuf&>);
static_assert(std::is_convertible_v<Samples&, SxImageBuf&> &&
              !std::is_convertible_v<ConstSamples&, SxImageBuf&>);
static_assert(std::is_convertible_v<const ConstSamples&, const SxImageBuf&>);
static_assert(std::is_same_v<decltype(std::declval<ConstSamples>()(0, 0)), const std::uint16_t&>);
static_assert(std::is_same_v<decltype(std::declval<const Image&>().view<float>()), ImageView<const float>>);
static_assert(std::is_same_v<decltype(std::declval<Image&>().view<float>()), ImageView<float>>);

#if __cplusplus >= 202002L
static_assert(std::ranges::contiguous_range<SampleRow<int>> && std::ranges::borrowed_range<SampleRow<int>>);
static_assert(std::ranges::input_range<Samples>);
#endif

TEST(Statuses, HaveNamesAndSayWhichArgument)
{
    EXPECT_STREQ("ResultOk: done", toString(ResultOk));
    EXPECT_STREQ("ResultOk: done", toString(static_cast<ResultCode>(1)));
    EXPECT_STREQ("ResultBadArg3: argument 3 is invalid", toString(ResultBadArg3));
    EXPECT_STREQ("unknown status", toString(static_cast<ResultCode>(7)));
    for (const ResultCode code :
         {ResultFailed, ResultIncompatible, ResultOutOfRange, ResultUnsupportedType, ResultBadArg1,
          ResultBadArg2, ResultBadArg4, ResultBadArg5, ResultBadArg6, ResultBadArg7})
        EXPECT_EQ(0, std::strncmp(toString(code), "Result", 6));
    EXPECT_EQ(0, argumentOf(ResultOk));
    EXPECT_EQ(0, argumentOf(ResultUnsupportedType));
    EXPECT_EQ(1, argumentOf(ResultBadArg1));
    EXPECT_EQ(7, argumentOf(ResultBadArg7));
}

TEST(Statuses, AreThrownWhenTheyAreFailures)
{
    orThrow(ResultOk);
    orThrow(static_cast<ResultCode>(1));
    try {
        orThrow(ResultBadArg2);
        FAIL() << "a failure is an exception";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(toString(ResultBadArg2), error.what());
        EXPECT_EQ(2, dynamic_cast<const Error&>(error).argument());
    }
    EXPECT_EQ(0, Error(ResultFailed).argument());
}

TEST(Images, AreAllocatedOrThrow)
{
    Image image(5, 4, 3, UInt16, 12);
    EXPECT_TRUE(image);
    EXPECT_EQ(64, image->stride);
    EXPECT_EQ(12, image->bitsPerSample);
    EXPECT_EQ(Interleaved, image->packing);
    EXPECT_EQ(16, Image(1, 1, 1, Int16)->bitsPerSample);
    EXPECT_EQ(ResultFailed, codeThrownBy([] { Image(-1, 1, 1, UInt8); }));
    EXPECT_EQ(ResultFailed, codeThrownBy([] { Image(1, 1, 1, static_cast<ExImageDataType>(12)); }));
    EXPECT_EQ(ResultFailed, codeThrownBy([] { Image(1 << 30, 1 << 30, 1, UInt8); }));
}

TEST(Images, ChooseTheirStride)
{
    SxImageInfo format = *Image(5, 4, 1, UInt8);
    format.stride = 7;
    EXPECT_EQ(64, Image(format)->stride);
    EXPECT_EQ(64, Image::zeros(format)->stride);
}

TEST(Images, CanBeCleared)
{
    {  // Memory that has been in use is what the next image gets.
        Image used(64, 64, 1, UInt8);
        std::memset(used->data, 0xA5, imageByteSize(used));
    }
    const Image image = Image::zeros(64, 64, 1, UInt8);
    for (const auto row : image.view<std::uint8_t>())
        for (const std::uint8_t sample : row)
            ASSERT_EQ(0, sample);
}

TEST(Images, CanHaveNoPixels)
{
    Image image(0, 0, 1, UInt8);
    EXPECT_TRUE(image);
    int rows = 0;
    for ([[maybe_unused]] const auto row : image.view<std::uint8_t>())
        ++rows;
    EXPECT_EQ(0, rows);
    Image rowsOnly(0, 3, 1, UInt8);
    for (const auto row : rowsOnly.view<std::uint8_t>()) {
        EXPECT_TRUE(row.empty());
        ++rows;
    }
    EXPECT_EQ(3, rows);
}

TEST(Images, AreEmptyWhenMadeWithoutArgumentsOrMovedFrom)
{
    Image image(5, 4, 1, UInt8);
    const std::uint8_t* const data = image->data;
    Image other(std::move(image));
    EXPECT_EQ(data, other->data);
    EXPECT_FALSE(image);  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(0, image->width);
    Image third(2, 2, 1, UInt8);
    third = std::move(other);
    EXPECT_EQ(data, third->data);
    EXPECT_FALSE(other);  // NOLINT(bugprone-use-after-move)
    EXPECT_FALSE(Image());
    EXPECT_EQ(ResultBadArg1, Binarize(image, third, 1)) << "an empty image is absent";
    EXPECT_EQ(ResultBadArg1, codeThrownBy([&] { image.view<std::uint8_t>(); }));
    third = Image(3, 3, 1, UInt8);
    EXPECT_EQ(3, third->width) << "and can be assigned to again";
}

TEST(Images, SurviveBeingMovedToThemselves)
{
    Image image(5, 4, 1, UInt8);
    const std::uint8_t* const data = image->data;
    Image& same = image;
    image = std::move(same);
    EXPECT_EQ(data, image->data);
    image.view<std::uint8_t>()(4, 3) = 1;
}

TEST(Images, GiveTheirMemoryAwayAndTakeItOver)
{
    Image image(5, 4, 1, UInt8);
    SxImageBuf record = image.release();
    EXPECT_NE(nullptr, record.data);
    EXPECT_FALSE(image);
    EXPECT_EQ(nullptr, image.release().data) << "once";
    const Image owner = Image::owning(record);
    EXPECT_EQ(record.data, owner->data);
}

TEST(Images, ReceiveWhatOperationsAllocate)
{
    Image mask(5, 4, 1, UInt8);
    orThrow(EllipseMaskMono(mask.renew(), 8, 6, 0.0, 0, 255));
    EXPECT_EQ(255, mask.view<std::uint8_t>()(mask->width / 2, mask->height / 2));
}

TEST(Views, SeeTheSamplesOfARecord)
{
    Image image = Image::zeros(5, 4, 3, UInt16);
    const auto view = image.view<std::uint16_t>();
    EXPECT_EQ(5, view.width());
    EXPECT_EQ(4, view.height());
    EXPECT_EQ(3, view.channels());
    EXPECT_EQ(15U, view.row(2).size());
    view(4, 3, 2) = 77;
    EXPECT_EQ(77, view.row(3)[14]);
    EXPECT_EQ(77, *(view.row(3).end() - 1));
    std::uint16_t sample = 0;
    std::memcpy(&sample, image->data + 3 * image->stride + 28, sizeof(sample));
    EXPECT_EQ(77, sample);
    const Image& constant = image;
    EXPECT_EQ(77, constant.view<std::uint16_t>()(4, 3, 2));
}

TEST(Views, GoOverEveryRowOfEveryPlane)
{
    SxImageInfo format = *Image(5, 4, 3, UInt8);
    format.packing = Planar;
    Image image(format);
    std::uint8_t next = 0;
    for (const auto row : image.view<std::uint8_t>()) {
        ASSERT_EQ(5U, row.size());
        for (std::uint8_t& sample : row)
            sample = next;
        ++next;
    }
    EXPECT_EQ(12, next);
    const auto view = image.view<std::uint8_t>();
    EXPECT_EQ(3, view.planes());
    EXPECT_EQ(11, view(4, 3, 2));
    EXPECT_EQ(4, view.row(0, 1)[0]);
    const auto plane = view.plane(1);
    EXPECT_EQ(1, plane.channels());
    EXPECT_EQ(7, plane(0, 3));
    EXPECT_EQ(ResultBadArg1, codeThrownBy([&] { view.plane(3); }));
    EXPECT_EQ(ResultBadArg1, codeThrownBy([&] { view.plane(-1); }));
    EXPECT_EQ(ResultUnsupportedType, codeThrownBy([&] { view.region(QRect(0, 0, 1, 1)); }));
}

TEST(Views, OfOneMemorySeeTheSameSamples)
{
    Image image = Image::zeros(4, 4, 1, Int32);
    const auto one = image.view<std::int32_t>();
    const ImageView<const std::int32_t> other = one;
    const auto part = one.region(QRect(1, 2, 2, 2));
    one(2, 3) = -5;
    EXPECT_EQ(-5, other(2, 3));
    EXPECT_EQ(-5, part(1, 1));
}

TEST(Views, RefuseWhatTheyCannotSee)
{
    const Image image(4, 4, 1, UInt16);
    EXPECT_EQ(ResultUnsupportedType, codeThrownBy([&] { image.view<std::uint8_t>(); }));
    EXPECT_EQ(ResultUnsupportedType, codeThrownBy([&] { image.view<std::int16_t>(); }));
    SxImageBuf odd = *image;
    odd.data += 1;
    EXPECT_EQ(ResultBadArg1, codeThrownBy([&] { ImageView<std::uint16_t>{odd}; })) << "an odd address";
    odd = *image;
    odd.stride = 9;
    EXPECT_EQ(ResultBadArg1, codeThrownBy([&] { ImageView<std::uint16_t>{odd}; })) << "odd rows";
    odd.height = 1;
    EXPECT_EQ(ResultOk, codeThrownBy([&] { ImageView<std::uint16_t>{odd}; })) << "a single row has no next";
    odd.stride = 7;
    EXPECT_EQ(ResultBadArg1, codeThrownBy([&] { ImageView<std::uint16_t>{odd}; })) << "short rows";
    odd = *image;
    odd.width = -1;
    EXPECT_EQ(ResultBadArg1, codeThrownBy([&] { ImageView<std::uint16_t>{odd}; })) << "a negative width";
}

TEST(Views, SeeAProgramsOwnSamples)
{
    std::vector<std::uint16_t> samples(6 * 4, 1000);
    ImageView<std::uint16_t> raw(samples.data(), 6, 4);
    raw->bitsPerSample = 12;
    raw->bayerGrid = BayerRGGB;
    Image colour(6, 4, 3, UInt16, 12);
    orThrow(Demosaic(raw, colour, nullptr));
    EXPECT_EQ(1000, colour.view<std::uint16_t>()(3, 2, 1));

    const std::array<std::uint8_t, 8> padded{1, 2, 0, 0, 3, 4, 0, 0};
    const ImageView<const std::uint8_t> view(padded.data(), 2, 2, 1, 0, 4);
    EXPECT_EQ(4, view(1, 1));
    EXPECT_EQ(8, view->bitsPerSample);
    EXPECT_EQ(ResultBadArg1, codeThrownBy([] { ImageView<const float>(nullptr, 2, 2); }));
    EXPECT_EQ(ResultBadArg1,
              codeThrownBy([&] { ImageView<const std::uint8_t>(padded.data(), 1 << 30, 2, 1 << 30); }))
        << "rows longer than any stride";
}

TEST(Views, AreImagesForOperations)
{
    Image image = Image::zeros(6, 4, 1, UInt8);
    const Image source = [] {
        Image ones(3, 2, 1, UInt8);
        std::memset(ones->data, 1, imageByteSize(ones));
        return ones;
    }();
    orThrow(Binarize(source, image.view<std::uint8_t>().region(QRect(2, 1, 3, 2)), 9));
    const auto all = image.view<std::uint8_t>();
    EXPECT_EQ(9, all(4, 2));
    EXPECT_EQ(0, all(5, 2));
    EXPECT_EQ(0, all(4, 3));
}

TEST(Views, OfAPartKnowTheColoursOfItsPixels)
{
    for (const ExBayerGrid grid : {BayerBGGR, BayerRGGB, BayerGBRG, BayerGRBG}) {
        // Red is 200 and everything else 0, wherever the part begins.
        std::array<std::uint8_t, 16> samples{};
        ImageView<std::uint8_t> mosaic(samples.data(), 4, 4);
        mosaic->bayerGrid = grid;
        const int redX = grid == BayerRGGB || grid == BayerGBRG ? 0 : 1;
        const int redY = grid == BayerRGGB || grid == BayerGRBG ? 0 : 1;
        for (const int y : {redY, redY + 2})
            for (const int x : {redX, redX + 2})
                mosaic(x, y) = 200;
        for (const QPoint corner : {QPoint(0, 0), QPoint(1, 0), QPoint(0, 1), QPoint(1, 1)}) {
            const auto part = mosaic.region(QRect(corner, QSize(2, 2)));
            Image pixel(1, 1, 3, UInt8);
            orThrow(DemosaicSimple(part, QRect(0, 0, 2, 2), pixel, part->bayerGrid));
            EXPECT_EQ(200, pixel.view<std::uint8_t>()(0, 0, 0)) << grid << corner.x() << corner.y();
            EXPECT_EQ(0, pixel.view<std::uint8_t>()(0, 0, 1));
        }
    }
}

TEST(Views, OfAPartStayInside)
{
    const Image image(4, 4, 1, UInt8);
    const auto view = image.view<std::uint8_t>();
    EXPECT_EQ(0, view.region(QRect(4, 4, 0, 0)).width());
    for (const QRect part : {QRect(3, 0, 2, 1), QRect(0, -1, 1, 2), QRect(0, 0, -1, 1), QRect(0, 3, 1, 2)})
        EXPECT_EQ(ResultBadArg1, codeThrownBy([&] { view.region(part); }));
}

TEST(Views, SeeSamplesWithoutAnArithmetic)
{
    Image image = Image::zeros(2, 2, 1, Sample128);
    const auto view = image.view<Bytes128>();
    view(1, 1).bytes[15] = 3;
    Image copy(*image);
    orThrow(CopyBuffer(image, QRect(0, 0, 2, 2), copy, QPoint(0, 0), false));
    EXPECT_EQ(3, copy.view<Bytes128>()(1, 1).bytes[15]);
}

TEST(Views, OwnNothing)
{
    Image image = Image::zeros(4, 4, 1, UInt8);
    auto view = image.view<std::uint8_t>();
    FreeBuffer(view);
    EXPECT_EQ(0, image.view<std::uint8_t>()(3, 3)) << "the memory is still there";
}

// Without the style `threadsafe`, which starts the program once more: in an emulator the system cannot. Suites of this
// name run first, while there are no other threads.
TEST(ViewsDeathTest, CheckIndicesInDebugBuilds)
{
    Image image = Image::zeros(4, 3, 1, UInt8);
    const auto view = image.view<std::uint8_t>();
    EXPECT_DEATH(view(4, 0), "x < width");
    EXPECT_DEATH(view(0, -1), "y >= 0");
    EXPECT_DEATH(view(0, 0, 1), "channel < channels");
    EXPECT_DEATH(view.row(3), "y < height");
    EXPECT_DEATH(view.row(0)[4], "index");
}

TEST(WorkBuffers, ServeTheirOperation)
{
    std::vector<std::uint8_t> samples(8 * 6, 50);
    ImageView<std::uint8_t> raw(samples.data(), 8, 6);
    raw->bayerGrid = BayerGRBG;
    const DemosaicBuffer whole(raw);
    Image colour(8, 6, 3, UInt8);
    orThrow(Demosaic(raw, colour, whole.get()));
    DemosaicBuffer part(raw, QRect(2, 2, 4, 2));
    Image small(4, 2, 3, UInt8);
    orThrow(Demosaic(raw, QRect(2, 2, 4, 2), small, part.get()));
    EXPECT_EQ(ResultFailed, Demosaic(raw, colour, part.get())) << "made for another size";
    const DemosaicBuffer moved(std::move(part));
    EXPECT_EQ(nullptr, part.get());  // NOLINT(bugprone-use-after-move)
    orThrow(Demosaic(raw, QRect(2, 2, 4, 2), small, part.get()));

    DemosaicCentredBuffer centred(4);
    orThrow(DemosaicMalvar(raw, QRect(3, 1, 4, 2), small, centred.get()));
    centred = DemosaicCentredBuffer(8);
    orThrow(DemosaicMenon(raw, colour, centred.get()));

    MedianBuffer median(raw, 1);
    Image smooth(8, 6, 1, UInt8);
    smooth->bayerGrid = BayerGRBG;
    orThrow(Median(raw, smooth, 1, median.get()));
    median = MedianBuffer(raw, 2);
    orThrow(Median(raw, smooth, 2, median.get()));
}

TEST(WorkBuffers, ThrowWhereThereCanBeNone)
{
    const Image mono(8, 6, 1, UInt8);
    EXPECT_EQ(ResultFailed, codeThrownBy([&] { DemosaicBuffer{*mono}; })) << "no mosaic";
    EXPECT_EQ(ResultFailed, codeThrownBy([] { DemosaicCentredBuffer(-1); }));
    EXPECT_EQ(ResultBadArg2, codeThrownBy([&] { MedianBuffer(*mono, -1); }));
}

#if __cplusplus >= 202002L
TEST(Views, GiveRowsThatAreSpans)
{
    Image image = Image::zeros(4, 3, 1, UInt8);
    const std::span<std::uint8_t> row = image.view<std::uint8_t>().row(1);
    row[3] = 8;
    EXPECT_EQ(8, image.view<std::uint8_t>()(3, 1));
}
#endif

}  // namespace
}  // namespace ko
