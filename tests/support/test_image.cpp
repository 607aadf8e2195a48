#include "support/test_image.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace ko::test {

namespace {

constexpr std::size_t guard = 64;
constexpr std::uint8_t guardByte = 0xA5;

int containerBits(ExImageDataType type)
{
    return 8 * bytesPerSample(type);
}

}  // namespace

TestImage::TestImage(const Layout& layout) : m_layout(layout)
{
    const int size = bytesPerSample(layout.type);
    const bool planar = layout.packing == Planar;
    const int rowSamples = planar ? layout.width : layout.width * layout.channels;
    m_buf.width = layout.width;
    m_buf.height = layout.height;
    m_buf.channels = layout.channels;
    m_buf.stride = rowSamples * size + layout.padding;
    m_buf.bitsPerSample = layout.bits != 0 ? layout.bits : containerBits(layout.type);
    m_buf.dataType = layout.type;
    m_buf.packing = layout.packing;
    const std::size_t pixels = imageByteSize(m_buf);
    const std::size_t lead = guard + static_cast<std::size_t>(layout.misalignment);
    m_memory.assign(lead + pixels + guard, guardByte);
    m_memory.shrink_to_fit();
    m_isSample.assign(m_memory.size(), false);
    m_buf.data = m_memory.data() + lead;
    forEachSample([&](int x, int y, int c) {
        const auto at = static_cast<std::size_t>(sample(x, y, c) - m_memory.data());
        std::fill_n(m_isSample.begin() + static_cast<std::ptrdiff_t>(at), size, true);
        std::memset(m_memory.data() + at, 0, static_cast<std::size_t>(size));
    });
}

std::uint8_t* TestImage::sample(int x, int y, int channel)
{
    return const_cast<std::uint8_t*>(static_cast<const TestImage*>(this)->sample(x, y, channel));
}

const std::uint8_t* TestImage::sample(int x, int y, int channel) const
{
    const int size = bytesPerSample(m_layout.type);
    const bool planar = m_layout.packing == Planar;
    const int rowSamples = planar ? m_layout.width : m_layout.width * m_layout.channels;
    const std::ptrdiff_t stride = rowSamples * size + m_layout.padding;
    const std::size_t lead = guard + static_cast<std::size_t>(m_layout.misalignment);
    const std::uint8_t* const first = m_memory.data() + lead;
    if (planar)
        return first + (static_cast<std::ptrdiff_t>(channel) * m_layout.height + y) * stride + x * size;
    return first + y * stride + (x * m_layout.channels + channel) * size;
}

void TestImage::fillRandom(std::uint32_t seed)
{
    std::mt19937_64 random(seed);
    const int size = bytesPerSample(m_layout.type);
    const bool isFloat = m_layout.type == Float32 || m_layout.type == Float64;
    const int bits = m_buf.bitsPerSample;
    forEachSample([&](int x, int y, int c) {
        std::uint64_t value = random();
        if (!isFloat && bits < 64)
            value &= (std::uint64_t{1} << bits) - 1;
        if (m_layout.type == Float32)
            set<float>(x, y, c, static_cast<float>(static_cast<std::int32_t>(value)) / 1024.0F);
        else if (m_layout.type == Float64)
            set<double>(x, y, c, static_cast<double>(static_cast<std::int64_t>(value)) / 65536.0);
        else
            std::memcpy(sample(x, y, c), &value, static_cast<std::size_t>(std::min(size, 8)));
    });
}

void TestImage::fillSparse(std::uint32_t seed)
{
    std::mt19937 random(seed);
    constexpr double floats[] = {0.0, -0.0, 1.0, -3.5, std::numeric_limits<double>::quiet_NaN(), 1e-30};
    constexpr std::uint64_t integers[] = {0, 0, 0, 1, 7, ~std::uint64_t{0}, 0x80};
    forEachSample([&](int x, int y, int c) {
        if (m_layout.type == Float32)
            set<float>(x, y, c, static_cast<float>(floats[random() % 6]));
        else if (m_layout.type == Float64)
            set<double>(x, y, c, floats[random() % 6]);
        else {
            const std::uint64_t value = integers[random() % 7];
            std::memcpy(sample(x, y, c), &value,
                        static_cast<std::size_t>(std::min(bytesPerSample(m_layout.type), 8)));
        }
    });
}

void TestImage::fillBytes(std::uint8_t byte)
{
    for (std::size_t i = 0; i < m_memory.size(); ++i) {
        if (m_isSample[i])
            m_memory[i] = byte;
    }
}

bool TestImage::guardsIntact() const
{
    for (std::size_t i = 0; i < m_memory.size(); ++i) {
        if (!m_isSample[i] && m_memory[i] != guardByte)
            return false;
    }
    return true;
}

}  // namespace ko::test
