// Packed samples and the white balance.
#include "fuzz/support/run.h"
#include "oracle/raw.h"

#include <ko/raw.h>

#include <algorithm>

namespace ko::fuzz {

namespace {

ExPackedLayout anyPackedLayout(ByteReader& in)
{
    return in.code({Mono10p, Mono12p, Mono14p, Mono10Packed, Mono12Packed, Csi2Raw10, Csi2Raw12, Csi2Raw14,
                    Mono16BigEndian, Mono16MsbAligned});
}

/// Packed rows over exactly as much memory as is claimed: as many bytes as the rows take, or any number.
struct PackedMemory {
    std::size_t rowBytes, pitch, between;
    std::vector<std::uint8_t> bytes;

    PackedMemory(ByteReader& in, ExPackedLayout layout, const Layout& samples)
        : rowBytes(packedRowBytes(layout, samples.width)),
          pitch(in.oneIn(8) ? in.raw<std::uint64_t>()
                : in.flag() ? 0
                            : rowBytes + static_cast<std::size_t>(in.below(9))),
          between(pitch == 0 || rowBytes == 0 ? rowBytes : pitch)
    {
        const std::size_t rows = static_cast<std::size_t>(samples.height);
        const std::size_t needed = rows == 0 || between > 4096 ? 0 : (rows - 1) * between + rowBytes;
        bytes.resize(in.oneIn(8) ? static_cast<std::size_t>(in.below(4096)) : needed);
        std::uint32_t state = in.raw<std::uint32_t>();
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>((state = state * 1664525U + 1013904223U) >> 24);
        bytes.shrink_to_fit();
    }
};

/// A layout of words, of the depth that the packed layout has but for one in eight.
Layout anyWords(ByteReader& in, ExPackedLayout layout)
{
    Layout words = anyLayout(in, {{UInt16, UInt16, UInt16, Int16}, {1, 1, 1, 3}});
    const int bits = packedBitsPerSample(layout);
    if (bits != 0 && !in.oneIn(8))
        words.bits = bits < 16 ? bits : in.between(1, 16);
    return words;
}

void unpack(ByteReader& in, Outcome& out)
{
    const ExPackedLayout layout = anyPackedLayout(in);
    const Layout words = anyWords(in, layout);
    FuzzImage dst(in, words);
    const PackedMemory packed(in, layout, words);
    const std::uint8_t empty = 0;
    const std::uint8_t* const data = packed.bytes.empty() ? &empty : packed.bytes.data();
    const ResultCode rc =
        UnpackSamples(in.oneIn(16) ? nullptr : data, packed.bytes.size(), packed.pitch, layout, dst);
    addCall(out, rc, dst);
    if (rc != ResultOk || !out.isJudged() || !dst.isSound())
        return;
    Twin expected(dst);
    oracle::unpack(data, packed.between, layout, expected);
    expected.requireEqual(dst);
}

void pack(ByteReader& in, Outcome& out)
{
    const ExPackedLayout layout = anyPackedLayout(in);
    const Layout words = anyWords(in, layout);
    const FuzzImage src(in, words);
    PackedMemory packed(in, layout, words);
    const std::vector<std::uint8_t> before = packed.bytes;
    std::uint8_t empty = 0;
    std::uint8_t* const data = packed.bytes.empty() ? &empty : packed.bytes.data();
    const ResultCode rc =
        PackSamples(src, layout, in.oneIn(16) ? nullptr : data, packed.bytes.size(), packed.pitch);
    require(src.isUntouched(), "a source has changed");
    require(!isFailure(rc) || packed.bytes == before, "the memory has changed in spite of the failure");
    out.add(rc);
    out.addBytes(packed.bytes);
    if (rc != ResultOk || !out.isJudged() || !src.isSound() || packed.bytes.empty())
        return;
    std::vector<std::uint8_t> expected = before;
    oracle::pack(Twin(src), layout, expected.data(), packed.rowBytes, packed.between);
    require(expected == packed.bytes, "other bytes than the twin");
}

void sizes(ByteReader& in, Outcome& out)
{
    const ExPackedLayout layout = anyPackedLayout(in);
    out.add(packedBitsPerSample(layout));
    out.add(packedRowBytes(layout, in.integer()));
}

struct Balance {
    std::vector<double> gains = std::vector<double>(4);
    std::vector<int> blackLevels = std::vector<int>(4);

    explicit Balance(ByteReader& in)
    {
        for (double& gain : gains)
            gain = in.oneIn(16) ? in.real() : in.below(65536) / 4096.0;
        for (int& black : blackLevels)
            black = in.oneIn(16) ? in.integer() : in.below(4096);
        if (in.flag())
            blackLevels.clear();
    }
    ResultCode call(const FuzzImage& src, FuzzImage& dst, bool hasGains) const
    {
        return WhiteBalance(src, dst, hasGains ? gains.data() : nullptr,
                            blackLevels.empty() ? nullptr : blackLevels.data());
    }
};

constexpr std::initializer_list<ExImageDataType> balancedTypes = {UInt8, UInt16, UInt8, UInt16, Int16};

void judge(const FuzzImage& src, const FuzzImage& dst, const Balance& balance)
{
    Twin expected(dst);
    if (src.layout().type == UInt8)
        oracle::whiteBalance<std::uint8_t>(Twin(src), expected, balance.gains, balance.blackLevels);
    else
        oracle::whiteBalance<std::uint16_t>(Twin(src), expected, balance.gains, balance.blackLevels);
    expected.requireEqual(dst);
}

void setGrid(ByteReader& in, FuzzImage& image)
{
    if (image.isSound())
        image->bayerGrid = in.code({BayerNone, BayerRGGB, BayerBGGR});
}

void whiteBalance(ByteReader& in, Outcome& out)
{
    Layout layout = anyLayout(in, {balancedTypes, {1, 3, 4, 2}});
    layout.packing = in.oneIn(16) ? Planar : Interleaved;
    FuzzImage src(in, layout);
    setGrid(in, src);
    FuzzImage dst(in, like(in, layout));
    const Balance balance(in);
    const ResultCode rc = balance.call(src, dst, !in.oneIn(16));
    addCall(out, rc, dst, src);
    if (rc == ResultOk && out.isJudged() && areSound(src, dst))
        judge(src, dst, balance);
}

void whiteBalanceInPlace(ByteReader& in, Outcome& out)
{
    Layout layout = anyLayout(in, {balancedTypes, {1, 3, 4}});
    layout.packing = Interleaved;
    FuzzImage image(in, layout);
    setGrid(in, image);
    const Balance balance(in);
    const ResultCode rc = balance.call(image, image, true);
    addCall(out, rc, image);
    if (rc == ResultOk && out.isJudged() && image.isSound())
        judge(image, image, balance);
}

Cases rawCases()
{
    return {{"raw: unpack", &unpack},
            {"raw: pack", &pack},
            {"raw: sizes", &sizes},
            {"raw: whiteBalance", &whiteBalance},
            {"raw: whiteBalanceInPlace", &whiteBalanceInPlace}};
}

}  // namespace

}  // namespace ko::fuzz

KO_FUZZ_ROOM(ko::fuzz::rawCases())
