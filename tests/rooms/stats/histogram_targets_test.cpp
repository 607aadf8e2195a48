// Every form of histogram against its naive twin, on every processor, from small images that are counted
// directly to large ones that go through working tables.
#include "oracle/histogram.h"
#include "rooms/stats/histogram_args.h"
#include "support/targets.h"

#include <ko/stats/histogram.h>

#include <gtest/gtest.h>

namespace ko::test {
namespace {

void expectEqual(ResultCode rc, const CxImageHistogram& hist, const oracle::Counts& expected,
                 const char* operation, const Layout& form)
{
    ASSERT_EQ(rc, ResultOk) << operation;
    EXPECT_TRUE(expected == hist) << operation << " " << form.width << " x " << form.height << " x "
                                  << form.channels << " type " << form.type << " packing " << form.packing
                                  << " bits " << form.bits;
}

/// Half noise, half solid blocks, so that every way of reading masks is taken.
void fillMask(TestImage& mask, std::uint32_t seed)
{
    std::mt19937 random(seed);
    mask.forEachSample([&](int x, int y, int c) {
        const bool noisy = (x / 64 + y) % 3 == 0;
        const std::uint8_t solid = (x / 128 + y / 2) % 2 == 0 ? 255 : 0;
        mask.set<std::uint8_t>(x, y, c, noisy ? static_cast<std::uint8_t>(random() % 2 * 7) : solid);
    });
}

class Comparison {
public:
    explicit Comparison(const Layout& form)
        : m_form(form), m_src(form), m_mask(Layout{.width = form.width, .height = form.height})
    {
        m_src.fillRandom(static_cast<std::uint32_t>(form.width + form.height));
        fillMask(m_mask, static_cast<std::uint32_t>(form.width));
        // A flat band, and a sample beyond the depth where the type has room for one.
        for (int y = 0; y < form.height / 3; ++y)
            for (int x = 0; x < form.width; ++x)
                for (int c = 0; c < form.channels; ++c)
                    m_src.set<std::uint8_t>(x, y, c, 3);
        if (form.height > 0 && form.width > 0)
            m_src.set<std::uint8_t>(form.width - 1, form.height - 1, 0, 255);
    }

    void allChannels()
    {
        run("Histogram", m_form.channels, oracle::everywhere(), oracle::allChannels(m_src),
            [&](CxImageHistogram& hist) { return Histogram(m_src, hist); });
        run("HistogramMasked", m_form.channels, oracle::whereSet(m_mask), oracle::allChannels(m_src),
            [&](CxImageHistogram& hist) { return HistogramMasked(m_src, m_mask, hist); });
        const QRect roi(m_form.width / 3, m_form.height / 4, m_form.width / 2, m_form.height / 2);
        run("Histogram roi", m_form.channels, oracle::inside(roi), oracle::allChannels(m_src),
            [&](CxImageHistogram& hist) { return Histogram(m_src, roi, hist); });
        run("HistogramMasked roi", m_form.channels,
            oracle::both(oracle::inside(roi), oracle::whereSet(m_mask)), oracle::allChannels(m_src),
            [&](CxImageHistogram& hist) { return HistogramMasked(m_src, m_mask, roi, hist); });
    }

    void oneChannel(int channel)
    {
        const auto planes = oracle::oneChannel(m_src, channel, 1);
        run("Histogram channel", 2, oracle::everywhere(), planes,
            [&](CxImageHistogram& hist) { return Histogram(m_src, channel, hist, 1); });
        run("HistogramMasked channel", 2, oracle::whereSet(m_mask), planes,
            [&](CxImageHistogram& hist) { return HistogramMasked(m_src, m_mask, channel, hist, 1); });
    }

    void stencil()
    {
        if (m_form.width < 3 || m_form.height < 3)
            return;
        TestImage stencil(Layout{.width = m_form.width - 2, .height = m_form.height - 1});
        fillMask(stencil, 5);
        const QPoint pos(2, 1);
        const auto set = oracle::whereSet(stencil, 2, 1);
        const auto all = oracle::allChannels(m_src);
        run("stencil", m_form.channels, set, all,
            [&](CxImageHistogram& hist) { return Histogram(m_src, stencil, pos, hist); });
        int count = -1;
        const int selected =
            run("masked stencil", m_form.channels, oracle::both(set, oracle::whereSet(m_mask)), all,
                [&](CxImageHistogram& hist) {
                    return HistogramMasked(m_src, m_mask, stencil, pos, hist, count);
                });
        EXPECT_EQ(count, selected);
        const int last = m_form.channels - 1;
        run("stencil channel", m_form.channels, set, oracle::oneChannel(m_src, last, 0),
            [&](CxImageHistogram& hist) { return Histogram(m_src, stencil, pos, last, hist, 0); });
    }

    void colours()
    {
        if (m_form.channels != 3 && m_form.channels != 4)
            return;
        expectColours("RGBGray", oracle::everywhere(),
                      [&](CxImageHistogram& hist) { return HistogramRGBGrayFromRGB(m_src, hist); });
        expectColours("RGBGray masked", oracle::whereSet(m_mask), [&](CxImageHistogram& hist) {
            return HistogramGrayFromRGBMasked(m_src, hist, m_mask);
        });
        TestImage masks(
            Layout{.width = m_form.width, .height = m_form.height, .channels = 3, .packing = Planar});
        fillMask(masks, 9);
        CxImageHistogram hist = newHistogram(4);
        oracle::Counts expected(4, levels());
        oracle::grayAndColours(m_src, masks, expected);
        expectEqual(HistogramRGBGrayFromRGBMasked(m_src, masks, hist), hist, expected, "colour masks",
                    m_form);
        if (m_form.channels == 4)
            rawPlanar();
    }

private:
    int levels() const { return 1 << m_form.bits; }

    CxImageHistogram newHistogram(int planes) const
    {
        CxImageHistogram hist;
        hist.resize(planes, levels(), 0);
        return hist;
    }

    template <class Call>
    int run(const char* operation, int planes, const oracle::Selects& selects, const std::vector<int>& to,
            Call&& call)
    {
        CxImageHistogram hist = newHistogram(planes);
        oracle::Counts expected(planes, levels());
        const int selected = oracle::histogram(m_src, selects, to, expected);
        expectEqual(call(hist), hist, expected, operation, m_form);
        return selected;
    }

    template <class Call>
    void expectColours(const char* operation, const oracle::Selects& selects, Call&& call)
    {
        CxImageHistogram hist = newHistogram(4);
        oracle::Counts expected(4, levels());
        oracle::grayAndColours(m_src, selects, expected);
        expectEqual(call(hist), hist, expected, operation, m_form);
    }

    void rawPlanar()
    {
        CxImageHistogram grayOnly = newHistogram(1);
        oracle::Counts gray(1, levels());
        if (m_form.packing == Interleaved) {
            oracle::gray(m_src, oracle::everywhere(), {0, 1, 2}, 0, gray);
            expectEqual(HistogramGrayFromRGB(m_src, grayOnly, 0), grayOnly, gray, "gray", m_form);
            return;
        }
        if (bytesPerSample(m_form.type) == 1) {
            oracle::gray(m_src, oracle::everywhere(), {0, 1, 3}, 0, gray);
            expectEqual(HistogramGrayFromRGB(m_src, grayOnly, 0), grayOnly, gray, "planar gray", m_form);
        }
        CxImageHistogram hist = newHistogram(4), masked = newHistogram(4);
        oracle::Counts expected(4, levels()), expectedMasked(4, levels());
        oracle::rawPlanar(m_src, oracle::everywhere(), expected);
        oracle::rawPlanar(m_src, oracle::whereSet(m_mask), expectedMasked);
        expectEqual(HistogramRGBGrayFromRawPlanar(m_src, hist), hist, expected, "raw", m_form);
        expectEqual(HistogramRGBGrayFromRawPlanarMasked(m_src, m_mask, masked), masked, expectedMasked,
                    "raw masked", m_form);
    }

    const Layout m_form;
    TestImage m_src;
    TestImage m_mask;
};

void compareAll(const Layout& form)
{
    Comparison comparison(form);
    comparison.allChannels();
    comparison.oneChannel(form.channels - 1);
    comparison.stencil();
    comparison.colours();
}

template <class Visit>
void forEachFormat(Visit&& visit)
{
    for (const ExPixelPacking packing : {Interleaved, Planar}) {
        for (const int channels : {1, 2, 3, 4, 5}) {
            visit(channels, UInt8, packing, 8);
            visit(channels, UInt8, packing, 5);
            visit(channels, UInt16, packing, 6);
        }
    }
}

TEST(HistogramTargets, EqualTheTwinForSmallImages)
{
    forEachTarget([] {
        forEachFormat([](int channels, ExImageDataType type, ExPixelPacking packing, int bits) {
            for (const int width : {0, 1, 2, 3, 15, 16, 63, 64, 65, 127, 130, 200})
                compareAll({width, 5, channels, type, packing, bits, 3, width % 3});
        });
    });
}

TEST(HistogramTargets, EqualTheTwinForImagesThatTakeWorkingTables)
{
    forEachFormat([](int channels, ExImageDataType type, ExPixelPacking packing, int bits) {
        if (channels <= 4 && bits != 5)
            compareAll({451, 301, channels, type, packing, bits});
    });
    compareAll({451, 301, 1, UInt8, Interleaved, 5});
    compareAll({451, 301, 1, UInt16, Interleaved, 12});
    compareAll({451, 301, 1, UInt16, Interleaved, 16});
    compareAll({4099, 33, 3, UInt16, Interleaved, 16});
}

/// Hardly any two pairs of bytes are alike in the upper half, so that they are counted otherwise from some row on. In the
/// lower half counts become large.
template <class T>
void compareScattered(ExImageDataType type, int channels, int height = 501)
{
    const Layout form{.width = 501, .height = height, .channels = channels, .type = type};
    TestImage src(form);
    src.fillRandom(11);
    std::mt19937 random(4);
    for (int y = form.height / 2; y < form.height; ++y)
        for (int x = 0; x < form.width; ++x)
            for (int c = 0; c < channels; ++c)
                src.set<T>(x, y, c, static_cast<T>(random() % 3 * 0x5501));
    const int levels = 1 << (8 * sizeof(T));
    CxImageHistogram hist;
    hist.resize(channels, levels, 0);
    oracle::Counts expected(channels, levels);
    oracle::histogram(src, oracle::everywhere(), oracle::allChannels(src), expected);
    expectEqual(Histogram(src, hist), hist, expected, "Histogram", form);
}

TEST(HistogramTargets, EqualTheTwinForScatteredLevels)
{
    for (const int channels : {1, 2, 3, 4}) {
        compareScattered<std::uint8_t>(UInt8, channels);
        compareScattered<std::uint16_t>(UInt16, channels);
    }
    compareScattered<std::uint8_t>(UInt8, 3, 1401);  // pairs of bytes of three planes
}

TEST(HistogramTargets, EqualTheTwinForRowsOfSeveralRuns)
{
    forEachFormat([](int channels, ExImageDataType type, ExPixelPacking packing, int bits) {
        compareAll({8203, 4, channels, type, packing, bits});
    });
}

/// Large enough for seven bands of rows, of different heights.
TEST(HistogramThreads, EqualTheTwinWhereSeveralAreAllowed)
{
    forEachThreadCount([] {
        compareAll({1201, 803, 1, UInt16, Interleaved, 12});
        compareAll({1201, 803, 3, UInt8, Interleaved, 8});
        compareAll({1201, 803, 4, UInt8, Planar, 8});
    });
}

}  // namespace
}  // namespace ko::test
