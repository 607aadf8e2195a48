#include "support/bench_image.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <random>

namespace ko::bench {

namespace {

constexpr std::int64_t lineBytes = 64;

bool isFloat(ExImageDataType type)
{
    return type == Float32 || type == Float64;
}

int matDepth(ExImageDataType type)
{
    switch (type) {
    case Int8:
        return CV_8S;
    case UInt8:
        return CV_8U;
    case Int16:
        return CV_16S;
    case UInt16:
        return CV_16U;
    case Int32:
        return CV_32S;
    case Float32:
        return CV_32F;
    case Float64:
        return CV_64F;
    default:
        CV_Error(cv::Error::StsUnsupportedFormat, "the peer has no such sample type");
    }
}

/// Samples of a scene as fractions of the range, 0...1.
class SceneSampler {
public:
    SceneSampler(Scene scene, int width, int height) : m_scene(scene), m_width(width), m_height(height) {}

    double at(int x, int y, int channel)
    {
        const double u = (x + 0.5) / m_width;
        const double v = (y + 0.5) / m_height;
        switch (m_scene) {
        case Scene::Camera: {
            const double light = 0.15 + 0.4 * u + 0.25 * v + 0.1 * channel / 3;
            return std::clamp(light + m_noise(m_random), 0.0, 1.0);
        }
        case Scene::Flat:
            return 0.5;
        case Scene::Random:
            return m_uniform(m_random);
        case Scene::Disc:
            return (u - 0.5) * (u - 0.5) + (v - 0.5) * (v - 0.5) < 0.25 ? 1 : 0;
        case Scene::Zero:
            break;
        }
        return 0;
    }

private:
    Scene m_scene;
    int m_width;
    int m_height;
    std::mt19937 m_random{20240229};
    std::normal_distribution<double> m_noise{0, 0.01};
    std::uniform_real_distribution<double> m_uniform{0, 1};
};

void storeFraction(std::uint8_t* sample, const SxImageBuf& image, double fraction)
{
    if (image.dataType == Float32) {
        const auto value = static_cast<float>(fraction);
        std::memcpy(sample, &value, sizeof(value));
    } else if (image.dataType == Float64) {
        std::memcpy(sample, &fraction, sizeof(fraction));
    } else {
        const std::uint64_t top = (std::uint64_t{1} << image.bitsPerSample) - 1;
        const auto value = static_cast<std::uint64_t>(fraction * static_cast<double>(top) + 0.5);
        std::memcpy(sample, &value, static_cast<std::size_t>(bytesPerSample(image.dataType)));
    }
}

int bitsOf(const Format& format)
{
    if (format.bits != 0)
        return format.bits;
    // Wide integers stay below the sign bit and exact in a double.
    const int container = 8 * bytesPerSample(format.type);
    return isFloat(format.type) ? container : std::min(container, 31);
}

}  // namespace

BenchImage::BenchImage(const Format& format, Scene scene) : m_record(std::make_shared<SxImageBuf>())
{
    SxImageBuf& image = *m_record;
    image.width = format.size;
    image.height = format.height != 0 ? format.height : format.size;
    image.channels = format.channels;
    image.bitsPerSample = bitsOf(format);
    image.dataType = format.type;
    image.packing = format.packing;
    image.bayerGrid = format.bayerGrid;
    const int size = bytesPerSample(format.type);
    const int perRow = format.packing == Interleaved ? format.channels : 1;
    const std::int64_t row = std::int64_t{format.size} * perRow * size;
    image.stride = static_cast<std::int32_t>((row + lineBytes - 1) / lineBytes * lineBytes + lineBytes);

    const std::size_t bytes = imageByteSize(image);
    m_memory.reset(static_cast<std::uint8_t*>(std::aligned_alloc(lineBytes, bytes)), &std::free);
    if (!m_memory)
        throw std::bad_alloc();
    image.data = m_memory.get();
    std::memset(image.data, 0, bytes);
    if (scene == Scene::Zero)
        return;
    // Drawing huge scenes would take longer than measuring: they repeat.
    constexpr int mostDrawn = 2048;
    SceneSampler sampler(scene, image.width, std::min(image.height, mostDrawn));
    const int planes = format.channels / perRow;
    for (int plane = 0; plane < planes; ++plane)
        for (int y = 0; y < image.height; ++y) {
            std::uint8_t* sample = image.data + (std::int64_t{plane} * image.height + y) * image.stride;
            if (y >= mostDrawn) {
                std::memcpy(sample, sample - std::int64_t{mostDrawn} * image.stride,
                            static_cast<std::size_t>(row));
                continue;
            }
            for (int i = 0; i < image.width * perRow; ++i, sample += size)
                storeFraction(sample, image, sampler.at(i / perRow, y, plane + i % perRow));
        }
}

cv::Mat BenchImage::mat(int plane) const
{
    const SxImageBuf& image = *m_record;
    const int channels = image.packing == Interleaved ? image.channels : 1;
    return cv::Mat(image.height, image.width, CV_MAKETYPE(matDepth(image.dataType), channels),
                   image.data + std::int64_t{plane} * image.height * image.stride,
                   static_cast<std::size_t>(image.stride));
}

std::size_t BenchImage::pixelBytes() const
{
    const SxImageBuf& image = *m_record;
    return static_cast<std::size_t>(std::int64_t{image.width} * image.height * image.channels *
                                    bytesPerSample(image.dataType));
}

}  // namespace ko::bench
