#include "threads/call.h"

#include <algorithm>
#include <map>

namespace ko::test {

namespace {

constexpr int levels = 256;

void append(std::vector<std::uint8_t>& to, const void* data, std::size_t count)
{
    const auto* const first = static_cast<const std::uint8_t*>(data);
    to.insert(to.end(), first, first + count);
}

}  // namespace

TestImage& Call::image(ExImageDataType type, int channels, ExPixelPacking packing)
{
    return image({.width = width, .height = height, .channels = channels, .type = type, .packing = packing});
}

TestImage& Call::image(const Layout& layout)
{
    TestImage& made = m_images.emplace_back(layout);
    made.fillRandom(m_seed * 100 + ++m_filled);
    return made;
}

TestImage& Call::mosaic(ExImageDataType type)
{
    TestImage& made = image(type);
    made->bayerGrid = BayerRGGB;
    return made;
}

TestImage& Call::mask(int channels)
{
    TestImage& made = image(UInt8, channels, channels > 1 ? Planar : Interleaved);
    made.fillSparse(m_seed * 100 + m_filled);
    return made;
}

TestImage& Call::stencil()
{
    TestImage& made = image({.width = 5, .height = 4});
    made.fillSparse(m_seed * 100 + m_filled);
    return made;
}

CxImageHistogram& Call::histogram(int planes)
{
    m_histograms.emplace_back().resize(planes, levels, 0);
    return m_histograms.back();
}

CxImageHistogram2D& Call::dense(int planes)
{
    return m_dense.emplace_back(planes, levels);
}

CxImageHistogramSparse2D& Call::sparse(int planes)
{
    return m_sparse.emplace_back(planes, levels);
}

void Call::status(ResultCode code)
{
    value(static_cast<std::uint32_t>(code));
    m_allDone = m_allDone && !isFailure(code);
}

void Call::bytes(const void* data, std::size_t count)
{
    append(m_values, data, count);
}

void Call::release(SxImageBuf& image)
{
    const auto row = static_cast<std::size_t>(bytesPerSample(image.dataType)) * image.channels * image.width;
    for (int y = 0; y < image.height; ++y)
        bytes(image.data + std::ptrdiff_t{y} * image.stride, row);
    FreeBuffer(image);
}

std::vector<std::uint8_t> Call::record() const
{
    std::vector<std::uint8_t> all = m_values;
    for (const TestImage& image : m_images) {
        const std::vector<std::uint8_t> bytes = image.bytes();
        append(all, bytes.data(), bytes.size());
    }
    for (const CxImageHistogram& histogram : m_histograms)
        for (int plane = 0; plane < histogram.planes; ++plane)
            append(all, histogram.bins[plane], sizeof(std::uint32_t) * histogram.levels);
    for (const CxImageHistogram2D& histogram : m_dense)
        for (int plane = 0; plane < histogram.planes(); ++plane)
            for (int row = 0; row < levels; ++row)
                append(all, histogram[plane][row], sizeof(int) * levels);
    for (CxImageHistogramSparse2D histogram : m_sparse)
        for (int plane = 0; plane < histogram.planes(); ++plane)
            for (int row = 0; row < levels; ++row)
                for (const auto& [column, count] :
                     std::map(histogram[plane].rows()[row].begin(), histogram[plane].rows()[row].end())) {
                    const int entry[] = {plane, row, column, count};
                    append(all, entry, sizeof(entry));
                }
    return all;
}

}  // namespace ko::test
