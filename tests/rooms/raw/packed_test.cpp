#include "oracle/raw.h"
#include "support/check_table.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/raw.h>

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <random>

namespace ko::test {
namespace {

constexpr ExPackedLayout layouts[] = {Mono10p,   Mono12p,   Mono14p,   Mono10Packed,    Mono12Packed,
                                      Csi2Raw10, Csi2Raw12, Csi2Raw14, Mono16BigEndian, Mono16MsbAligned};
constexpr std::size_t most = std::numeric_limits<std::size_t>::max();

ExPackedLayout layoutCode(int code)
{
    return static_cast<ExPackedLayout>(code);
}

using Bytes = std::vector<std::uint8_t>;

/// Memory of exactly this size, so that AddressSanitizer sees every byte too many.
class ExactBytes {
public:
    explicit ExactBytes(std::size_t size, unsigned seed = 0) : m_bytes(new std::uint8_t[size]), m_size(size)
    {
        std::minstd_rand random(seed + 1);
        for (std::size_t i = 0; i < size; ++i)
            m_bytes[i] = static_cast<std::uint8_t>(random() >> 8);
    }
    std::uint8_t* data() { return m_bytes.get(); }
    std::size_t size() const { return m_size; }
    Bytes copy() const { return Bytes(m_bytes.get(), m_bytes.get() + m_size); }

private:
    std::unique_ptr<std::uint8_t[]> m_bytes;
    std::size_t m_size;
};

struct UnpackArgs {
    ExactBytes packed{3 * 7};
    TestImage dst{Layout{.width = 4, .height = 3, .type = UInt16, .bits = 12}};
    const void* data = packed.data();
    std::size_t bytes = packed.size();
    std::size_t pitch = 7;
    ExPackedLayout layout = Mono12p;
    Bytes before = dst.bytes();

    ResultCode call() { return UnpackSamples(data, bytes, pitch, layout, dst); }
    bool outputsUntouched() const { return dst.bytes() == before; }
};

TEST(UnpackSamplesChecks, RunInOrderAndLeaveTheDestinationAlone)
{
    runCheckTable<UnpackArgs>({
        {"data null", [](auto& a) { a.data = nullptr; }, ResultBadArg1},
        {"layout -1", [](auto& a) { a.layout = layoutCode(-1); }, ResultBadArg4},
        {"layout 10", [](auto& a) { a.layout = layoutCode(10); }, ResultBadArg4},
        {"dst absent", [](auto& a) { a.dst->data = nullptr; }, ResultBadArg5},
        {"dst of negative width", [](auto& a) { a.dst->width = -1; }, ResultBadArg5},
        {"dst not mono", [](auto& a) { a.dst->channels = 2; }, ResultBadArg5},
        {"dst of signed words", [](auto& a) { a.dst->dataType = Int16; }, ResultBadArg5},
        {"dst of bytes", [](auto& a) { a.dst->dataType = UInt8; }, ResultBadArg5},
        {"dst of another depth", [](auto& a) { a.dst->bitsPerSample = 10; }, ResultBadArg5},
        {"pitch shorter than a row", [](auto& a) { a.pitch = 5; }, ResultBadArg3},
        {"memory one byte short", [](auto& a) { a.bytes = 2 * 7 + 5; }, ResultBadArg2},
        {"no memory", [](auto& a) { a.bytes = 0; }, ResultBadArg2},
        {"dst rows beyond their stride", [](auto& a) { a.dst->stride = 7; }, ResultBadArg5},
    });
}

TEST(UnpackSamplesChecks, TakeAnyDepthOfWordsUpToSixteen)
{
    for (const ExPackedLayout layout : {Mono16BigEndian, Mono16MsbAligned}) {
        for (const int bits : {-1, 0, 1, 9, 16, 17}) {
            UnpackArgs args;
            args.dst->width = 3;
            args.layout = layout;
            args.dst->bitsPerSample = bits;
            EXPECT_EQ(args.call(), bits < 1 || bits > 16 ? ResultBadArg5 : ResultOk) << bits;
        }
    }
}

struct PackArgs {
    TestImage src{Layout{.width = 4, .height = 3, .type = UInt16, .bits = 12}};
    ExactBytes packed{3 * 7};
    Bytes before = packed.copy();
    void* data = packed.data();
    std::size_t bytes = packed.size();
    std::size_t pitch = 7;
    ExPackedLayout layout = Csi2Raw12;

    ResultCode call() { return PackSamples(src, layout, data, bytes, pitch); }
    bool outputsUntouched() const { return packed.copy() == before; }
};

TEST(PackSamplesChecks, RunInOrderAndLeaveTheMemoryAlone)
{
    runCheckTable<PackArgs>({
        {"layout -1", [](auto& a) { a.layout = layoutCode(-1); }, ResultBadArg2},
        {"layout 10", [](auto& a) { a.layout = layoutCode(10); }, ResultBadArg2},
        {"src absent", [](auto& a) { a.src->data = nullptr; }, ResultBadArg1},
        {"src of negative height", [](auto& a) { a.src->height = -1; }, ResultBadArg1},
        {"src not mono", [](auto& a) { a.src->channels = 3; }, ResultBadArg1},
        {"src of floats", [](auto& a) { a.src->dataType = Float32; }, ResultBadArg1},
        {"src of another depth", [](auto& a) { a.src->bitsPerSample = 14; }, ResultBadArg1},
        {"data null", [](auto& a) { a.data = nullptr; }, ResultBadArg3},
        {"pitch shorter than a row", [](auto& a) { a.pitch = 5; }, ResultBadArg5},
        {"memory one byte short", [](auto& a) { a.bytes = 2 * 7 + 5; }, ResultBadArg4},
        {"src rows beyond their stride", [](auto& a) { a.src->stride = 7; }, ResultBadArg1},
    });
}

TEST(UnpackSamplesChecks, AddUpRowsInSixtyFourBits)
{
    UnpackArgs args;
    args.pitch = most;
    EXPECT_EQ(args.call(), ResultBadArg2);
    args.bytes = most;
    EXPECT_EQ(args.call(), ResultBadArg2) << "three rows of the largest pitch";
    args.pitch = most / 2;
    EXPECT_EQ(args.call(), ResultBadArg2) << "the last row would end behind it";
    EXPECT_TRUE(args.outputsUntouched());
}

// UndefinedBehaviorSanitizer sees where the pitch leads.
TEST(UnpackSamplesChecks, TakeAnyPitchForRowsOfNoBytes)
{
    TestImage words({.width = 0, .height = 3, .type = UInt16, .bits = 12});
    std::uint8_t byte = 0;
    EXPECT_EQ(UnpackSamples(&byte, 0, most, Mono12p, words), ResultOk);
    EXPECT_EQ(PackSamples(words, Mono12p, &byte, 0, most), ResultOk);
}

TEST(PackedLayouts, TellTheirSizes)
{
    struct Row {
        ExPackedLayout layout;
        int bits;
        std::size_t bytes[6];  // of 0, 1, 2, 3, 4 and 9 samples
    };
    const Row rows[] = {
        {Mono10p, 10, {0, 2, 3, 4, 5, 12}},         {Mono12p, 12, {0, 2, 3, 5, 6, 14}},
        {Mono14p, 14, {0, 2, 4, 6, 7, 16}},         {Mono10Packed, 10, {0, 3, 3, 6, 6, 15}},
        {Mono12Packed, 12, {0, 3, 3, 6, 6, 15}},    {Csi2Raw10, 10, {0, 5, 5, 5, 5, 15}},
        {Csi2Raw12, 12, {0, 3, 3, 6, 6, 15}},       {Csi2Raw14, 14, {0, 7, 7, 7, 7, 21}},
        {Mono16BigEndian, 16, {0, 2, 4, 6, 8, 18}}, {Mono16MsbAligned, 16, {0, 2, 4, 6, 8, 18}},
    };
    constexpr int widths[] = {0, 1, 2, 3, 4, 9};
    for (const Row& row : rows) {
        EXPECT_EQ(packedBitsPerSample(row.layout), row.bits) << row.layout;
        for (std::size_t i = 0; i < 6; ++i)
            EXPECT_EQ(packedRowBytes(row.layout, widths[i]), row.bytes[i]) << row.layout << ", " << widths[i];
        EXPECT_EQ(packedRowBytes(row.layout, -1), 0U);
    }
    EXPECT_EQ(packedRowBytes(Mono14p, std::numeric_limits<int>::max()), 3758096383U);
    for (const int code : {-1, 10}) {
        EXPECT_EQ(packedBitsPerSample(layoutCode(code)), 0);
        EXPECT_EQ(packedRowBytes(layoutCode(code), 8), 0U);
    }
}

std::vector<std::uint16_t> unpacked(ExPackedLayout layout, int bits, int width, const Bytes& packed)
{
    TestImage dst(Layout{.width = width, .height = 1, .type = UInt16, .bits = bits});
    EXPECT_EQ(UnpackSamples(packed.data(), packed.size(), 0, layout, dst), ResultOk);
    return dst.all<std::uint16_t>();
}

TEST(UnpackSamplesValues, LieWhereTheFormatsPutThem)
{
    using Samples = std::vector<std::uint16_t>;
    EXPECT_EQ(unpacked(Mono10p, 10, 4, {0x01, 0x08, 0x30, 0x00, 0x01}),
              (Samples{0x001, 0x002, 0x003, 0x004}));
    EXPECT_EQ(unpacked(Mono12p, 12, 2, {0x21, 0x63, 0x54}), (Samples{0x321, 0x546}));
    EXPECT_EQ(unpacked(Mono14p, 14, 2, {0xFF, 0x3F, 0x00, 0x08}), (Samples{0x3FFF, 0x2000}));
    EXPECT_EQ(unpacked(Mono10Packed, 10, 2, {0x40, 0x31, 0x80}), (Samples{0x101, 0x203}));
    EXPECT_EQ(unpacked(Mono12Packed, 12, 2, {0x32, 0x41, 0x65}), (Samples{0x321, 0x654}));
    EXPECT_EQ(unpacked(Csi2Raw10, 10, 4, {0x40, 0x80, 0xC0, 0xFF, 0xE4}),
              (Samples{0x100, 0x201, 0x302, 0x3FF}));
    EXPECT_EQ(unpacked(Csi2Raw12, 12, 2, {0x32, 0x65, 0x41}), (Samples{0x321, 0x654}));
    EXPECT_EQ(unpacked(Csi2Raw14, 14, 4, {0x80, 0x40, 0x00, 0xFF, 0x41, 0x20, 0xFC}),
              (Samples{0x2001, 0x1001, 0x0002, 0x3FFF}));
    EXPECT_EQ(unpacked(Mono16BigEndian, 12, 2, {0x0A, 0xBC, 0xFE, 0x01}), (Samples{0x0ABC, 0xFE01}));
    EXPECT_EQ(unpacked(Mono16MsbAligned, 12, 2, {0xC0, 0xAB, 0x1F, 0xFE}), (Samples{0xABC, 0xFE1}));
}

TEST(PackSamplesValues, BeyondTheDepthAreLimited)
{
    TestImage src(Layout{.width = 3, .height = 1, .type = UInt16, .bits = 12});
    src.setAll<std::uint16_t>({0x0FFF, 0x1000, 0xFFFF});
    const auto packed = [&](ExPackedLayout layout) {
        Bytes bytes(packedRowBytes(layout, 3), 0x55);
        EXPECT_EQ(PackSamples(src, layout, bytes.data(), bytes.size(), 0), ResultOk);
        return bytes;
    };
    EXPECT_EQ(packed(Mono12p), (Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0x0F}));
    EXPECT_EQ(packed(Csi2Raw12), (Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x0F}));
    EXPECT_EQ(packed(Mono16BigEndian), (Bytes{0x0F, 0xFF, 0x0F, 0xFF, 0x0F, 0xFF}));
    EXPECT_EQ(packed(Mono16MsbAligned), (Bytes{0xF0, 0xFF, 0xF0, 0xFF, 0xF0, 0xFF}));
}

TEST(UnpackSamplesValues, OfOneLongRowGiveRowsThatShareBytes)
{
    TestImage dst(Layout{.width = 3, .height = 2, .type = UInt16, .bits = 12, .padding = 0});
    SxImageBuf row = dst.buf();
    row.width = 6;
    row.height = 1;
    row.stride = 12;
    const Bytes packed{0x01, 0x20, 0x00, 0x03, 0x40, 0x00, 0x05, 0x60, 0x00};
    ASSERT_EQ(UnpackSamples(packed.data(), packed.size(), 0, Mono12p, row), ResultOk);
    EXPECT_EQ(dst.all<std::uint16_t>(), (std::vector<std::uint16_t>{1, 2, 3, 4, 5, 6}));
}

int depthOf(ExPackedLayout layout, int width)
{
    return packedBitsPerSample(layout) < 16 ? packedBitsPerSample(layout) : 1 + width % 16;
}

struct Case {
    ExPackedLayout layout;
    int width;
    int height;
    std::size_t gap;  ///< bytes between the rows
};

std::ostream& operator<<(std::ostream& out, const Case& c)
{
    return out << "layout " << c.layout << ", " << c.width << " x " << c.height << ", " << c.gap << " apart";
}

std::size_t bytesOf(const Case& c)
{
    const std::size_t row = packedRowBytes(c.layout, c.width);
    return c.height == 0 ? 0 : static_cast<std::size_t>(c.height - 1) * (row + c.gap) + row;
}

Layout layoutOf(const Case& c)
{
    return {.width = c.width,
            .height = c.height,
            .type = UInt16,
            .bits = depthOf(c.layout, c.width),
            .padding = c.width % 5};
}

void expectUnpacked(const Case& c)
{
    ExactBytes packed(bytesOf(c), static_cast<unsigned>(c.width));
    const std::size_t pitch = packedRowBytes(c.layout, c.width) + c.gap;
    TestImage dst(layoutOf(c)), expected(layoutOf(c));
    oracle::unpack(packed.data(), pitch, c.layout, expected);
    ASSERT_EQ(UnpackSamples(packed.data(), packed.size(), c.gap == 0 ? 0 : pitch, c.layout, dst), ResultOk);
    ASSERT_EQ(dst.bytes(), expected.bytes()) << c;
    if (packed.size() > 0) {
        const ResultCode truncated = UnpackSamples(packed.data(), packed.size() - 1, pitch, c.layout, dst);
        ASSERT_EQ(truncated, ResultBadArg2) << c;
    }
}

void expectPacked(const Case& c)
{
    TestImage src(layoutOf(c));
    src->bitsPerSample = 16;  // samples beyond the depth among them
    src.fillRandom(static_cast<std::uint32_t>(c.width));
    src->bitsPerSample = depthOf(c.layout, c.width);
    const std::size_t rowBytes = packedRowBytes(c.layout, c.width), pitch = rowBytes + c.gap;
    ExactBytes packed(bytesOf(c)), expected(bytesOf(c));
    oracle::pack(src, c.layout, expected.data(), rowBytes, pitch);
    ASSERT_EQ(PackSamples(src, c.layout, packed.data(), packed.size(), c.gap == 0 ? 0 : pitch), ResultOk);
    ASSERT_EQ(packed.copy(), expected.copy()) << c;
}

void expectRoundTrip(const Case& c)
{
    TestImage src(layoutOf(c)), again(layoutOf(c));
    src.fillRandom(5);
    Bytes packed(bytesOf(c));
    ASSERT_EQ(PackSamples(src, c.layout, packed.data(), packed.size(), 0), ResultOk);
    ASSERT_EQ(UnpackSamples(packed.data(), packed.size(), 0, c.layout, again), ResultOk);
    ASSERT_EQ(again.bytes(), src.bytes()) << c;
}

TEST(UnpackSamplesTargets, EqualTheTwinForEveryLayoutWidthAndPitch)
{
    forEachTarget([] {
        for (const ExPackedLayout layout : layouts)
            for (int width = 0; width <= 75; ++width)
                for (const std::size_t gap : {0, 1, 6})
                    expectUnpacked({layout, width, width % 4, gap});
    });
}

TEST(PackSamplesTargets, EqualTheTwinForEveryLayoutWidthAndPitch)
{
    forEachTarget([] {
        for (const ExPackedLayout layout : layouts)
            for (int width = 0; width <= 75; ++width)
                for (const std::size_t gap : {0, 1, 6})
                    expectPacked({layout, width, width % 4, gap});
    });
}

TEST(PackSamplesTargets, RoundTripEveryWidth)
{
    forEachTarget([] {
        for (const ExPackedLayout layout : layouts)
            for (int width = 1; width <= 300; width += 7)
                expectRoundTrip({layout, width, 3, 0});
    });
}

TEST(UnpackSamplesThreads, GiveTheSameBytesForAnyNumber)
{
    forEachThreadCount([] {
        for (const ExPackedLayout layout : layouts) {
            expectUnpacked({layout, 61, 50, 3});
            expectPacked({layout, 61, 50, 3});
        }
    });
}

}  // namespace
}  // namespace ko::test
