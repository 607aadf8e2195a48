#include "oracle/background.h"
#include "support/check_table.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/tone.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <random>

namespace ko::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// Gains that the call is to take over.
double* gainsOf(const std::vector<double>& values)
{
    auto* const gains = new double[values.size()];
    std::copy(values.begin(), values.end(), gains);
    return gains;
}

struct CorrectArgs {
    TestImage src{Layout{.channels = 3}};
    TestImage background{Layout{.channels = 3}};
    TestImage dst{Layout{.channels = 3}};
    double reference = 1;
    double target = 1;
    std::unique_ptr<double[]> gains{gainsOf({1, 1, 1})};
    Bytes before;

    CorrectArgs()
    {
        src.fillBytes(9);
        background.fillBytes(3);
        dst.fillBytes(200);
        before = dst.bytes();
    }
    /// Where a check fails the gains stay ours, and a second owner would free them twice.
    ResultCode call()
    {
        const ResultCode rc = CorrectBackground(src, background, dst, reference, target, gains.get());
        if (!isFailure(rc))
            (void)gains.release();
        return rc;
    }
    bool outputsUntouched() const { return dst.bytes() == before; }
};

TEST(CorrectBackgroundChecks, RunInOrderLeaveTheDestinationAloneAndTheGainsToTheCaller)
{
    runCheckTable<CorrectArgs>({
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src signed", [](auto& a) { a.src->dataType = Int8; }, ResultBadArg1},
        {"src of type 0", [](auto& a) { a.src->dataType = typeCode(0); }, ResultBadArg1},
        {"src of two channels", [](auto& a) { a.src->channels = 2; }, ResultBadArg1},
        {"src of five channels", [](auto& a) { a.src->channels = 5; }, ResultBadArg1},
        {"src planar", [](auto& a) { a.src->packing = Planar; }, ResultBadArg1},
        {"background absent", [](auto& a) { a.background->data = nullptr; }, ResultBadArg2},
        {"background narrower", [](auto& a) { a.background->width = 3; }, ResultBadArg2},
        {"background lower", [](auto& a) { a.background->height = 2; }, ResultBadArg2},
        {"background of other channels", [](auto& a) { a.background->channels = 4; }, ResultBadArg2},
        {"background of other depth", [](auto& a) { a.background->bitsPerSample = 7; }, ResultBadArg2},
        {"background with a mosaic", [](auto& a) { a.background->bayerGrid = BayerRGGB; }, ResultBadArg2},
        {"background of another type", [](auto& a) { a.background->dataType = Int8; }, ResultBadArg2},
        {"background planar", [](auto& a) { a.background->packing = Planar; }, ResultBadArg2},
        {"background of another format", [](auto& a) { a.background->pixelFormat = 2; }, ResultBadArg2},
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, ResultBadArg3},
        {"dst lower", [](auto& a) { a.dst->height = 2; }, ResultBadArg3},
        {"dst of other depth", [](auto& a) { a.dst->bitsPerSample = 7; }, ResultBadArg3},
        {"dst of another type", [](auto& a) { a.dst->dataType = UInt16; }, ResultBadArg3},
        {"reference level negative", [](auto& a) { a.reference = -1e-300; }, ResultBadArg4},
        {"target level negative", [](auto& a) { a.target = -infinity; }, ResultBadArg5},
        {"rows of src beyond their stride", [](auto& a) { a.src->stride = 11; }, ResultBadArg1},
        {"rows of the background beyond their stride", [](auto& a) { a.background->stride = 11; },
         ResultBadArg2},
        {"rows of dst beyond their stride", [](auto& a) { a.dst->stride = 11; }, ResultBadArg3},
    });
}

struct InPlaceArgs {
    TestImage background{Layout{.channels = 3}};
    TestImage image{Layout{.channels = 4}};
    int count = 3;
    std::vector<double> factors{1, 1, 1};
    const double* given = factors.data();
    Bytes before;

    InPlaceArgs()
    {
        background.fillBytes(3);
        image.fillBytes(200);
        before = image.bytes();
    }
    ResultCode call() { return BackgroundCorrection(background, image, count, given); }
    bool outputsUntouched() const { return image.bytes() == before; }
};

TEST(BackgroundCorrectionChecks, RunInOrderAndLeaveTheImageAlone)
{
    runCheckTable<InPlaceArgs>({
        {"background absent", [](auto& a) { a.background->data = nullptr; }, ResultBadArg1},
        {"image absent", [](auto& a) { a.image->data = nullptr; }, ResultBadArg2},
        {"image narrower", [](auto& a) { a.image->width = 3; }, ResultBadArg2},
        {"image lower", [](auto& a) { a.image->height = 2; }, ResultBadArg2},
        {"image planar", [](auto& a) { a.image->packing = Planar; }, ResultBadArg2},
        {"image of another type", [](auto& a) { a.image->dataType = UInt16; }, ResultBadArg2},
        {"image mono", [](auto& a) { a.image->channels = 1; }, ResultBadArg2},
        {"background of two channels", [](auto& a) { a.background->channels = 2; }, ResultBadArg2},
        {"background mono", [](auto& a) { a.background->channels = 1; }, ResultBadArg2},
        {"image of five channels", [](auto& a) { a.image->channels = 5; }, ResultBadArg2},
        {"count above the background's", [](auto& a) { a.count = 4; }, ResultBadArg3},
        {"factors null", [](auto& a) { a.given = nullptr; }, ResultBadArg3},
        {"both signed", [](auto& a) { a.image->dataType = a.background->dataType = Int8; },
         ResultUnsupportedType},
        {"both of type 12", [](auto& a) { a.image->dataType = a.background->dataType = typeCode(12); },
         ResultUnsupportedType},
        {"colour in packing 2",
         [](auto& a) { a.image->packing = a.background->packing = static_cast<ExPixelPacking>(2); },
         ResultUnsupportedType},
        {"rows of the background beyond their stride", [](auto& a) { a.background->stride = 11; },
         ResultBadArg1},
        {"rows of the image beyond their stride", [](auto& a) { a.image->stride = 15; }, ResultBadArg2},
    });
}

/// One row over another.
template <class T>
std::vector<T> corrected(ExImageDataType type, int bits, std::initializer_list<T> samples,
                         std::initializer_list<T> below, double reference, double target, double* gains)
{
    const Layout layout{.width = static_cast<int>(samples.size()), .height = 1, .type = type, .bits = bits};
    TestImage src(layout), background(layout), dst(layout);
    src.setAll<T>(samples);
    background.setAll<T>(below);
    EXPECT_EQ(CorrectBackground(src, background, dst, reference, target, gains), ResultOk);
    return dst.all<T>();
}

TEST(CorrectBackgroundValues, ScaleToTheTopWithoutGains)
{
    EXPECT_EQ(corrected<std::uint8_t>(UInt8, 0, {7, 7, 7, 0}, {7, 0, 14, 9}, 0, 0, nullptr),
              (Bytes{255, 0, 127, 0}));
    EXPECT_EQ(corrected<std::uint16_t>(UInt16, 12, {7, 8, 7}, {7, 7, 14}, 0, 0, nullptr),
              (Words{4095, 4095, 2047}));
    EXPECT_EQ(corrected<std::uint16_t>(UInt16, 16, {7, 7}, {7, 14}, 0, 5, nullptr), (Words{65535, 32767}))
        << "one level of 0 gives no ratio";
}

TEST(CorrectBackgroundValues, FollowTheRatioOfTheLevelsAndTheGain)
{
    EXPECT_EQ(corrected<std::uint8_t>(UInt8, 0, {7}, {7}, 100, 50, nullptr), Bytes{127});
    EXPECT_EQ(corrected<std::uint8_t>(UInt8, 0, {7}, {7}, 100, 50, gainsOf({10})), Bytes{5});
    EXPECT_EQ(corrected<std::uint8_t>(UInt8, 0, {7}, {7}, 0, 50, gainsOf({10})), Bytes{10});
    EXPECT_EQ(corrected<std::uint8_t>(UInt8, 0, {7}, {7}, nan, 50, gainsOf({10})), Bytes{10});
}

TEST(CorrectBackgroundValues, MultiplyFromLeftToRight)
{
    const double third = 1.0 / 49, gain = 49;
    ASSERT_LT(third * gain, 1);
    EXPECT_EQ(corrected<std::uint8_t>(UInt8, 0, {1}, {49}, 1, 1, gainsOf({gain})), Bytes{0});
    EXPECT_EQ(corrected<std::uint8_t>(UInt8, 0, {49}, {1}, 49, 1, gainsOf({1})),
              Bytes{static_cast<std::uint8_t>(49 * third)});
}

TEST(CorrectBackgroundValues, KeepLowBitsOfWhatDoesNotFitAndTakeNanForTheTop)
{
    EXPECT_EQ(corrected<std::uint8_t>(UInt8, 0, {6, 200, 0}, {2, 1, 5}, 0, 0, gainsOf({-1})),
              (Bytes{253, 56, 0}));
    EXPECT_EQ(corrected<std::uint8_t>(UInt8, 12, {2, 8}, {1, 2}, 0, 0, gainsOf({129})), (Bytes{2, 4}));
    EXPECT_EQ(corrected<std::uint8_t>(UInt8, 0, {6, 0, 6}, {2, 2, 0}, 0, 0, gainsOf({infinity})),
              (Bytes{255, 255, 0}));
    EXPECT_EQ(corrected<std::uint8_t>(UInt8, 0, {6, 0}, {2, 2}, 0, 0, gainsOf({-infinity})), (Bytes{0, 255}));
}

TEST(CorrectBackgroundValues, LeaveAFourthChannelAsItWas)
{
    const Layout layout{.width = 2, .height = 1, .channels = 4};
    TestImage src(layout), background(layout), dst(layout);
    src.fillBytes(8);
    background.fillBytes(4);
    dst.fillBytes(77);
    ASSERT_EQ(CorrectBackground(src, background, dst, 0, 0, gainsOf({1, 2, 3})), ResultOk);
    EXPECT_EQ(dst.all<std::uint8_t>(), (Bytes{2, 4, 6, 77, 2, 4, 6, 77}));
}

TEST(CorrectBackgroundValues, TakeTheGainsOverForAnImageWithoutPixelsToo)
{
    const Layout layout{.width = 0, .height = 3};
    TestImage src(layout), background(layout), dst(layout);
    EXPECT_EQ(CorrectBackground(src, background, dst, 0, 0, gainsOf({1})), ResultOk)
        << "the leak checker of the sanitizer looks after this";
}

template <class T>
std::vector<T> correctedInPlace(ExImageDataType type, int bits, std::initializer_list<T> samples,
                                std::initializer_list<T> below, double factor)
{
    const Layout layout{.width = static_cast<int>(samples.size()), .height = 1, .type = type, .bits = bits};
    TestImage image(layout), background(layout);
    image.setAll<T>(samples);
    background.setAll<T>(below);
    EXPECT_EQ(BackgroundCorrection(background, image, 1, &factor), ResultOk);
    return image.all<T>();
}

TEST(BackgroundCorrectionValues, KeepSamplesOverABackgroundOf0AndLimitTheOthers)
{
    EXPECT_EQ(correctedInPlace<std::uint8_t>(UInt8, 0, {7, 7, 7, 0}, {7, 0, 1, 9}, 50),
              (Bytes{50, 7, 255, 0}));
    EXPECT_EQ(correctedInPlace<std::uint8_t>(UInt8, 4, {7}, {1}, 50), Bytes{255}) << "whatever the depth";
    EXPECT_EQ(correctedInPlace<std::uint16_t>(UInt16, 12, {7, 7, 7}, {7, 0, 1}, 4000),
              (Words{4000, 7, 4096}));
    EXPECT_EQ(correctedInPlace<std::uint16_t>(UInt16, 16, {7, 7, 60000}, {7, 0, 1}, 40), (Words{0, 7, 0}));
    EXPECT_EQ(correctedInPlace<std::uint16_t>(UInt16, 16, {9}, {3}, -2), Words{65530});
}

TEST(BackgroundCorrectionValues, LeaveTheChannelsFromTheCountOnAlone)
{
    const double factors[] = {1, 2, 3, 4};
    for (const ExPixelPacking packing : {Interleaved, Planar}) {
        TestImage background(Layout{.width = 2, .height = 1, .channels = 3, .packing = packing});
        TestImage image(Layout{.width = 2, .height = 1, .channels = 4, .packing = packing});
        background.fillBytes(4);
        image.fillBytes(8);
        for (const int count : {0, -1, std::numeric_limits<int>::min()}) {
            ASSERT_EQ(BackgroundCorrection(background, image, count, factors), ResultOk);
            EXPECT_EQ(image.all<std::uint8_t>(), Bytes(8, 8));
        }
        ASSERT_EQ(BackgroundCorrection(background, image, 2, factors), ResultOk);
        EXPECT_EQ(image.all<std::uint8_t>(), (Bytes{2, 4, 8, 8, 2, 4, 8, 8}));
        EXPECT_TRUE(image.guardsIntact());
    }
}

/// Every number of the type over every background in reach, by which quotients of every kind occur.
void fillPairs(TestImage& samples, TestImage& below, std::uint32_t seed)
{
    std::mt19937 random(seed);
    samples.fillRandom(seed);
    below.fillRandom(seed + 1);
    samples.forEachSample([&](int x, int y, int c) {
        if (random() % 4 == 0)
            std::memcpy(below.sample(x, y, c), samples.sample(x, y, c),
                        static_cast<std::size_t>(bytesPerSample(samples.buf().dataType)));
        else if (random() % 4 == 0)
            std::memset(below.sample(x, y, c), 0,
                        static_cast<std::size_t>(bytesPerSample(samples.buf().dataType)));
    });
}

template <class T>
void compareCorrect(const Layout& layout, const std::vector<double>& gains, double reference, double target)
{
    TestImage src(layout), background(layout), below(layout), dst(layout), expected(layout);
    for (TestImage* image : {&background, &below})
        fillPairs(src, *image, static_cast<std::uint32_t>(layout.width + 100 * layout.channels));
    dst.fillBytes(99);
    expected.fillBytes(99);
    ASSERT_EQ(CorrectBackground(src, background, dst, reference, target, gainsOf(gains)), ResultOk);
    oracle::correctBackground<T>(src, background, expected, target / reference, gains);
    ASSERT_EQ(dst.bytes(), expected.bytes())
        << layout.width << " x " << layout.channels << " type " << layout.type;
    oracle::correctBackground<T>(src, below, below, target / reference, gains);
    ASSERT_EQ(CorrectBackground(src, background, background, reference, target, gainsOf(gains)), ResultOk);
    ASSERT_EQ(background.bytes(), below.bytes()) << "into the background's memory, " << layout.width;
}

template <class T>
void compareInPlace(const Layout& layout, int count, const std::vector<double>& factors)
{
    TestImage image(layout), expected(layout), background(layout);
    fillPairs(image, background, static_cast<std::uint32_t>(layout.width));
    fillPairs(expected, background, static_cast<std::uint32_t>(layout.width));
    ASSERT_EQ(BackgroundCorrection(background, image, count, factors.data()), ResultOk);
    oracle::backgroundCorrection<T>(background, expected, count, factors);
    ASSERT_EQ(image.bytes(), expected.bytes())
        << layout.width << " x " << layout.channels << " count " << count;
}

template <class T>
void compareAll(ExImageDataType type)
{
    const std::vector<double> gains[] = {
        {100, 200, 150.5, 9}, {1, 2, 3, 4}, {-7, 4000, 0, 1e20}, {1e-3, 1, 7e4, 1}};
    for (int width = 0; width <= 70; ++width) {
        const Layout layout{.width = width, .height = 2, .type = type, .padding = width % 5};
        compareCorrect<T>(layout, gains[width % 4], 3, 2);
        compareInPlace<T>(layout, 1, gains[width % 4]);
    }
    for (const int channels : {3, 4}) {
        for (int bits = 4; bits <= 16; ++bits) {
            Layout layout{.width = 41, .height = 2, .channels = channels, .type = type, .bits = bits};
            compareCorrect<T>(layout, gains[bits % 4], 1, 1);
            for (int count = 0; count <= channels; ++count)
                compareInPlace<T>(layout, count, gains[bits % 4]);
            layout.packing = Planar;
            compareInPlace<T>(layout, channels, gains[bits % 4]);
        }
    }
}

TEST(CorrectBackgroundTargets, AndThoseOfBackgroundCorrectionEqualTheTwins)
{
    forEachTarget([] {
        compareAll<std::uint8_t>(UInt8);
        compareAll<std::uint16_t>(UInt16);
    });
}

TEST(CorrectBackgroundTargets, DivideEveryPairOfBytesExactly)
{
    const Layout layout{.width = 256, .height = 256};
    TestImage src(layout), background(layout);
    src.forEachSample([&](int x, int y, int) {
        src.set<std::uint8_t>(x, y, static_cast<std::uint8_t>(x));
        background.set<std::uint8_t>(x, y, static_cast<std::uint8_t>(y));
    });
    forEachTarget([&] {
        for (const double gain : {255.0,
                                  1.0,
                                  2.0,
                                  3.0,
                                  7.0,
                                  49.0,
                                  100.0,
                                  127.5,
                                  128.0,
                                  254.99,
                                  0.0,
                                  -0.0,
                                  1e-3,
                                  -1.5,
                                  1e18,
                                  1e19,
                                  std::ldexp(1.0, -60),
                                  std::ldexp(1.0, -61),
                                  infinity,
                                  nan}) {
            TestImage dst(layout), expected(layout);
            ASSERT_EQ(CorrectBackground(src, background, dst, 0, 0, gainsOf({gain})), ResultOk);
            oracle::correctBackground<std::uint8_t>(src, background, expected, 1.0, {gain});
            ASSERT_EQ(dst.bytes(), expected.bytes()) << gain;
        }
    });
}

TEST(CorrectBackgroundTargets, DivideEveryPairOfBytesOfFewerBitsAndInPlace)
{
    const Layout layout{.width = 257, .height = 256, .bits = 5};
    TestImage src(layout), background(layout);
    src.forEachSample([&](int x, int y, int) {
        src.set<std::uint8_t>(x, y, static_cast<std::uint8_t>(x));
        background.set<std::uint8_t>(x, y, static_cast<std::uint8_t>(y));
    });
    const auto copyTo = [&](TestImage& image) {
        ASSERT_EQ(CopyBuffer(src, QRect(0, 0, 257, 256), image, QPoint(0, 0), true), ResultOk);
    };
    forEachTarget([&] {
        for (const double gain : {0.5, 31.0, 99.5, 255.0}) {
            TestImage image(layout), expected(layout);
            copyTo(image);
            oracle::correctBackground<std::uint8_t>(src, background, expected, 1.0, {gain});
            ASSERT_EQ(CorrectBackground(image, background, image, 0, 0, gainsOf({gain})), ResultOk);
            ASSERT_EQ(image.bytes(), expected.bytes()) << gain;
            copyTo(image);
            copyTo(expected);
            oracle::backgroundCorrection<std::uint8_t>(background, expected, 1, {gain});
            ASSERT_EQ(BackgroundCorrection(background, image, 1, &gain), ResultOk);
            ASSERT_EQ(image.bytes(), expected.bytes()) << gain;
        }
    });
}

TEST(CorrectBackgroundTargets, DivideWordsExactly)
{
    forEachTarget([&] {
        for (const double gain : {65535.0, 3.0, 49.0, 1021.0, 32768.0}) {
            const Layout layout{.width = 512, .height = 128, .type = UInt16};
            TestImage src(layout), background(layout), dst(layout), expected(layout);
            fillPairs(src, background, static_cast<std::uint32_t>(gain));
            ASSERT_EQ(CorrectBackground(src, background, dst, 0, 0, gainsOf({gain})), ResultOk);
            oracle::correctBackground<std::uint16_t>(src, background, expected, 1.0, {gain});
            EXPECT_EQ(dst.all<std::uint16_t>(), expected.all<std::uint16_t>()) << gain;
        }
    });
}

/// Images of many samples whose products with the gain are often whole numbers, or far above the depth.
void fillWholes(TestImage& src, TestImage& background, int bits)
{
    std::mt19937 random(static_cast<std::uint32_t>(bits));
    src.forEachSample([&](int x, int y, int c) {
        // Every second four rows have no sample above the depth.
        const bool isHigh = y % 8 < 4 && random() % 64 == 0;
        const unsigned shift = isHigh ? 0 : 32 - static_cast<unsigned>(bits);
        auto below = static_cast<std::uint16_t>(random() >> shift);
        if (y % 4 == 1)
            below %= 64;
        auto sample = static_cast<std::uint16_t>(random() >> shift);
        if (y % 4 == 2)
            sample = static_cast<std::uint16_t>(below + x % 5 - 2);
        if (y % 4 == 3)
            sample = static_cast<std::uint16_t>(below * (x % 7) / (x % 3 + 1));
        src.set<std::uint16_t>(x, y, c, sample);
        background.set<std::uint16_t>(x, y, c, below);
    });
}

TEST(CorrectBackgroundTargets, DivideManyWordsExactly)
{
    struct Case {
        int bits;
        double gain;
    };
    // Gains of which doubles reach every whole product, and others.
    for (const Case& one : {Case{12, 4095}, Case{12, 2047.5}, Case{10, 1023}, Case{12, 1}, Case{12, 4096},
                            Case{12, 3000.5}, Case{12, 0.5}, Case{12, 65535}, Case{12, 32767.5},
                            Case{12, 100}, Case{16, 65535}, Case{16, 32767.5}, Case{16, 65536}}) {
        const Layout layout{
            .width = 1025, .height = one.bits < 16 ? 70 : 1040, .type = UInt16, .bits = one.bits};
        TestImage src(layout), background(layout), expected(layout);
        fillWholes(src, background, one.bits);
        oracle::correctBackground<std::uint16_t>(src, background, expected, 1.0, {one.gain});
        forEachTarget([&] {
            TestImage dst(layout);
            ASSERT_EQ(CorrectBackground(src, background, dst, 0, 0, gainsOf({one.gain})), ResultOk);
            ASSERT_EQ(dst.bytes(), expected.bytes()) << one.bits << " bits, gain " << one.gain;
        });
    }
}

TEST(CorrectBackgroundTargets, DivideManyPixelsExactly)
{
    const std::vector<double> gains{4095, 2047.5, 1023, 511.5};
    for (const int channels : {1, 3, 4}) {
        const Layout layout{.width = 1025, .height = 70, .channels = channels, .type = UInt16, .bits = 12};
        TestImage src(layout), background(layout), corrected(layout), replaced(layout);
        fillWholes(src, background, 12);
        oracle::correctBackground<std::uint16_t>(src, background, corrected, 1.0, gains);
        fillWholes(replaced, background, 12);
        oracle::backgroundCorrection<std::uint16_t>(background, replaced, channels, gains);
        forEachTarget([&] {
            TestImage dst(layout), image(layout);
            ASSERT_EQ(CorrectBackground(src, background, dst, 0, 0, gainsOf(gains)), ResultOk);
            ASSERT_EQ(dst.bytes(), corrected.bytes()) << channels;
            fillWholes(image, background, 12);
            ASSERT_EQ(BackgroundCorrection(background, image, channels, gains.data()), ResultOk);
            ASSERT_EQ(image.bytes(), replaced.bytes()) << channels;
        });
    }
}

TEST(CorrectBackgroundTargets, DecideExactlyWhereProductsComeCloseToWholeNumbers)
{
    std::mt19937 random(7);
    for (const int bits : {8, 12, 16}) {
        const ExImageDataType type = bits == 8 ? UInt8 : UInt16;
        const int top = (1 << bits) - 1;
        const Layout layout{.width = 800, .height = 3, .type = type, .bits = bits};
        for (int round = 0; round < 40; ++round) {
            // The quotient of two samples times the gain is a whole number, or the double next to it.
            const int a = static_cast<int>(random() % 30) + 1, b = static_cast<int>(random() % 30) + 1;
            const int whole = static_cast<int>(random() % static_cast<unsigned>(top)) + 1;
            double gain = whole / (static_cast<double>(a) / b);
            gain = round % 3 == 0 ? gain : std::nextafter(gain, round % 3 == 1 ? 0 : infinity);
            TestImage src(layout), background(layout);
            src.forEachSample([&](int x, int y, int) {
                const int times = (x % (top / 30)) + 1;
                const int sample = y < 2 ? a * times : x, below = y < 2 ? b * times : y + x / 7;
                std::memcpy(src.sample(x, y), &sample, static_cast<std::size_t>(bytesPerSample(type)));
                std::memcpy(background.sample(x, y), &below, static_cast<std::size_t>(bytesPerSample(type)));
            });
            forEachTarget([&] {
                TestImage dst(layout), expected(layout);
                ASSERT_EQ(CorrectBackground(src, background, dst, 0, 0, gainsOf({gain})), ResultOk);
                if (bits == 8)
                    oracle::correctBackground<std::uint8_t>(src, background, expected, 1.0, {gain});
                else
                    oracle::correctBackground<std::uint16_t>(src, background, expected, 1.0, {gain});
                ASSERT_EQ(dst.bytes(), expected.bytes()) << bits << " bits, gain " << gain;
            });
        }
    }
}

TEST(CorrectBackgroundTargets, TreatLongRowsLikeShortOnes)
{
    forEachTarget([] {
        for (const int channels : {1, 3, 4}) {
            for (const int width : {255, 256, 257, 767, 768, 769, 1600}) {
                Layout layout{.width = width, .height = 2, .channels = channels, .type = UInt16, .bits = 12};
                compareCorrect<std::uint16_t>(layout, {4095, 2000.5, 3000}, 100, 90);
                for (int count = 1; count <= channels; ++count)
                    compareInPlace<std::uint16_t>(layout, count, {4095, 2000.5, 3000, 7});
                layout.packing = Planar;
                compareInPlace<std::uint16_t>(layout, channels, {4095, 2000.5, 3000, 7});
            }
        }
    });
}

TEST(CorrectBackgroundTargets, DivideExactlyWhereEveryProductIsAWholeNumber)
{
    forEachTarget([] {
        for (const int channels : {1, 3, 4}) {
            const Layout layout{.width = 900, .height = 2, .channels = channels, .type = UInt16, .bits = 12};
            TestImage src(layout), background(layout), dst(layout), expected(layout);
            src.forEachSample([&](int x, int y, int c) {
                const auto sample = static_cast<std::uint16_t>(x % 97 * 3 + y);
                src.set<std::uint16_t>(x, y, c, static_cast<std::uint16_t>(sample * (x % 5 + 1)));
                background.set<std::uint16_t>(x, y, c, x % 50 == 0 ? std::uint16_t{0} : sample);
            });
            const std::vector<double> gains{49, 700, 1};
            ASSERT_EQ(CorrectBackground(src, background, dst, 7, 3, gainsOf(gains)), ResultOk);
            oracle::correctBackground<std::uint16_t>(src, background, expected, 3.0 / 7, gains);
            ASSERT_EQ(dst.bytes(), expected.bytes()) << channels;
            const std::vector<double> factors{49, 4095, 1, 2};
            TestImage image(layout), twin(layout);
            ASSERT_EQ(CopyBuffer(src, QRect(0, 0, 900, 2), image, QPoint(0, 0), true), ResultOk);
            ASSERT_EQ(CopyBuffer(src, QRect(0, 0, 900, 2), twin, QPoint(0, 0), true), ResultOk);
            ASSERT_EQ(BackgroundCorrection(background, image, channels, factors.data()), ResultOk);
            oracle::backgroundCorrection<std::uint16_t>(background, twin, channels, factors);
            ASSERT_EQ(image.bytes(), twin.bytes()) << channels;
        }
    });
}

TEST(CorrectBackgroundTargets, MayReplaceTheSourceOrTheBackground)
{
    const Layout layout{.width = 1600, .height = 2};
    forEachTarget([&] {
        TestImage src(layout), background(layout), expected(layout);
        fillPairs(src, background, 5);
        oracle::correctBackground<std::uint8_t>(src, background, expected, 1.0, {255});
        TestImage same(layout), other(layout);
        fillPairs(same, other, 5);
        ASSERT_EQ(CorrectBackground(same, background, same, 0, 0, nullptr), ResultOk);
        EXPECT_EQ(same.all<std::uint8_t>(), expected.all<std::uint8_t>());
        ASSERT_EQ(CorrectBackground(src, other, other, 0, 0, nullptr), ResultOk);
        EXPECT_EQ(other.all<std::uint8_t>(), expected.all<std::uint8_t>());
    });
}

TEST(CorrectBackgroundTargets, CombineAnyRatioWithAnyGain)
{
    const double values[] = {1e-300, 1e-20, 0.7, 1e20, 1e300};
    forEachTarget([&] {
        for (const double ratio : values)
            for (const double gain : values)
                compareCorrect<std::uint8_t>({.width = 70, .height = 2, .channels = 3}, {gain, 3, 100}, 1,
                                             ratio);
    });
}

TEST(CorrectBackgroundThreads, GiveTheSameBytesForAnyNumber)
{
    forEachThreadCount([] {
        compareCorrect<std::uint16_t>({.width = 33, .height = 60, .channels = 3, .type = UInt16, .bits = 12},
                                      {4095, 2000, 3000}, 100, 90);
    });
}

}  // namespace
}  // namespace ko::test
