#include "support/bench_image.h"
#include "support/rows.h"

#include <ko/raw.h>

namespace ko::bench {
namespace {

/// Rows of packed samples one after the other.
BenchImage packedFrame(ExPackedLayout layout, int size)
{
    return BenchImage({.size = static_cast<int>(packedRowBytes(layout, size)), .height = size},
                      Scene::Random);
}

/// Samples of the depth that the layout has, of 12 bits where it has words.
BenchImage frame(ExPackedLayout layout, int size, Scene scene)
{
    const int bits = packedBitsPerSample(layout) < 16 ? packedBitsPerSample(layout) : 12;
    return BenchImage({.size = size, .type = UInt16, .bits = bits}, scene);
}

/// The loop that a program writes at first: the bits of each group of samples by hand.
template <ExPackedLayout Layout>
void unpackRow(const std::uint8_t* packed, std::uint16_t* samples, int width)
{
    for (int x = 0; x < width; x += Layout == Mono12p || Layout == Mono12Packed ? 2 : 4) {
        if constexpr (Layout == Mono12p) {
            samples[x] = static_cast<std::uint16_t>(packed[0] | (packed[1] & 15) << 8);
            samples[x + 1] = static_cast<std::uint16_t>(packed[1] >> 4 | packed[2] << 4);
            packed += 3;
        } else if constexpr (Layout == Mono12Packed) {
            samples[x] = static_cast<std::uint16_t>(packed[0] << 4 | (packed[1] & 15));
            samples[x + 1] = static_cast<std::uint16_t>(packed[2] << 4 | packed[1] >> 4);
            packed += 3;
        } else if constexpr (Layout == Csi2Raw10) {
            for (int i = 0; i < 4; ++i)
                samples[x + i] = static_cast<std::uint16_t>(packed[i] << 2 | (packed[4] >> 2 * i & 3));
            packed += 5;
        } else if constexpr (Layout == Mono10p) {
            samples[x] = static_cast<std::uint16_t>(packed[0] | (packed[1] & 3) << 8);
            samples[x + 1] = static_cast<std::uint16_t>(packed[1] >> 2 | (packed[2] & 15) << 6);
            samples[x + 2] = static_cast<std::uint16_t>(packed[2] >> 4 | (packed[3] & 63) << 4);
            samples[x + 3] = static_cast<std::uint16_t>(packed[3] >> 6 | packed[4] << 2);
            packed += 5;
        } else if constexpr (Layout == Mono14p) {
            samples[x] = static_cast<std::uint16_t>(packed[0] | (packed[1] & 63) << 8);
            samples[x + 1] =
                static_cast<std::uint16_t>(packed[1] >> 6 | packed[2] << 2 | (packed[3] & 15) << 10);
            samples[x + 2] =
                static_cast<std::uint16_t>(packed[3] >> 4 | packed[4] << 4 | (packed[5] & 3) << 12);
            samples[x + 3] = static_cast<std::uint16_t>(packed[5] >> 2 | packed[6] << 6);
            packed += 7;
        } else {
            for (int i = 0; i < 4; ++i, packed += 2)
                samples[x + i] =
                    static_cast<std::uint16_t>(Layout == Mono16BigEndian ? packed[0] << 8 | packed[1]
                                                                         : (packed[1] << 8 | packed[0]) >> 4);
        }
    }
}

template <ExPackedLayout Layout>
Work unpack(int size)
{
    const BenchImage packed = packedFrame(Layout, size), dst = frame(Layout, size, Scene::Zero);
    const auto pitch = static_cast<std::size_t>(packed->stride);
    return {
        .ours =
            [=] {
                return UnpackSamples(packed->data, pitch * static_cast<std::size_t>(size), pitch, Layout,
                                     dst);
            },
        .peer = {"loop",
                 [=, in = packed.mat(), out = dst.mat()]() mutable {
                     for (int y = 0; y < size; ++y)
                         unpackRow<Layout>(in.ptr(y), out.ptr<std::uint16_t>(y), size);
                 }},
        .limit = {.read = packed.pixelBytes(), .written = dst.pixelBytes()},
    };
}

/// The loop for the two layouts of pairs and for words.
template <ExPackedLayout Layout>
void packRow(const std::uint16_t* samples, std::uint8_t* packed, int width)
{
    if constexpr (Layout == Mono16BigEndian) {
        for (int x = 0; x < width; ++x) {
            packed[2 * x] = static_cast<std::uint8_t>(samples[x] >> 8);
            packed[2 * x + 1] = static_cast<std::uint8_t>(samples[x]);
        }
        return;
    }
    for (int x = 0; x < width; x += 2, packed += 3) {
        const unsigned first = samples[x], second = samples[x + 1];
        packed[0] = static_cast<std::uint8_t>(Layout == Mono12p ? first : first >> 4);
        packed[1] = static_cast<std::uint8_t>(Layout == Mono12p ? first >> 8 | second << 4
                                                                : (first & 15) | second << 4);
        packed[2] = static_cast<std::uint8_t>(second >> 4);
    }
}

template <ExPackedLayout Layout, bool HasPeer = true>
Work pack(int size)
{
    const BenchImage src = frame(Layout, size, Scene::Camera), packed = packedFrame(Layout, size);
    const auto pitch = static_cast<std::size_t>(packed->stride);
    Work work{
        .ours =
            [=] {
                return PackSamples(src, Layout, packed->data, pitch * static_cast<std::size_t>(size), pitch);
            },
        .limit = {.read = src.pixelBytes(), .written = packed.pixelBytes()},
    };
    if constexpr (HasPeer)
        work.peer = {"loop", [=, in = src.mat(), out = packed.mat()]() mutable {
                         for (int y = 0; y < size; ++y)
                             packRow<Layout>(in.ptr<std::uint16_t>(y), out.ptr(y), size);
                     }};
    return work;
}

const Rows rows{
    {"UnpackSamples", "Mono10p", &unpack<Mono10p>},
    {"UnpackSamples", "Mono12p", &unpack<Mono12p>},
    {"UnpackSamples", "Mono14p", &unpack<Mono14p>},
    {"UnpackSamples", "Mono12Packed", &unpack<Mono12Packed>},
    {"UnpackSamples", "Csi2Raw10", &unpack<Csi2Raw10>},
    {"UnpackSamples", "Mono16BigEndian", &unpack<Mono16BigEndian>},
    {"UnpackSamples", "Mono16MsbAligned", &unpack<Mono16MsbAligned>},
    {"PackSamples", "Mono12p", &pack<Mono12p>},
    {"PackSamples", "Mono12Packed", &pack<Mono12Packed>},
    {"PackSamples", "Csi2Raw10", &pack<Csi2Raw10, false>},
    {"PackSamples", "Mono16BigEndian", &pack<Mono16BigEndian>},
};

}  // namespace
}  // namespace ko::bench
