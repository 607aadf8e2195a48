// Images for benches: memory shared by all copies, seen as ours or as the peer's.
#pragma once

#include <ko/image.h>

#include <opencv2/core/mat.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace ko::bench {

struct Format {
    int size = 0;  ///< width, and height unless that is given
    int height = 0;
    ExImageDataType type = UInt8;
    int bits = 0;  ///< 0: all bits of the container
    int channels = 1;
    ExPixelPacking packing = Interleaved;
    ExBayerGrid bayerGrid = BayerNone;
};

enum class Scene {
    Camera,  ///< a smooth gradient with sensor noise; neighbours differ by a little
    Flat,    ///< every sample at half of the range
    Random,  ///< every sample equally likely
    Disc,    ///< 0 outside and all bits set inside the inscribed circle
    Zero,
};

/// Rows start at multiples of 64 bytes with padding behind them, as cameras deliver them. Float samples take
/// the integer scene divided by the top value. The same format and scene always give the same samples.
class BenchImage {
public:
    explicit BenchImage(const Format& format, Scene scene = Scene::Zero);

    operator SxImageBuf&() const { return *m_record; }
    SxImageBuf* operator->() const { return m_record.get(); }

    /// The same pixels as the peer sees them. Planar images: the first plane, or `mat(c)`.
    cv::Mat mat(int plane = 0) const;
    /// Bytes of the samples, padding left out.
    std::size_t pixelBytes() const;

private:
    std::shared_ptr<std::uint8_t> m_memory;
    std::shared_ptr<SxImageBuf> m_record;
};

}  // namespace ko::bench
