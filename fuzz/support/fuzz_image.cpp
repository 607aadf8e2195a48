#include "fuzz/support/fuzz_image.h"

#include <algorithm>
#include <cstring>

namespace ko::fuzz {

namespace {

constexpr std::size_t mostMemory = std::size_t{1} << 19;

/// Samples that a contradictory record may claim. Its rows may lie over each other, each a byte behind the one before:
/// half a megabyte then holds 60 thousand million samples.
constexpr double mostSamples = 1 << 17;

/// Numbers without pattern, the same for the same seed everywhere.
class Noise {
public:
    explicit Noise(std::uint32_t seed) : m_state(seed) {}
    std::uint64_t operator()()
    {
        m_state += 0x9E3779B97F4A7C15U;
        std::uint64_t mixed = (m_state ^ (m_state >> 30)) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBU;
        return mixed ^ (mixed >> 31);
    }

private:
    std::uint64_t m_state;
};

int anyExtent(ByteReader& in)
{
    switch (in.below(8)) {
    case 5:
        return in.below(41);
    case 6:
        return in.below(3);
    case 7:
        return in.below(201);
    default:
        return in.below(20);
    }
}

int anyBits(ByteReader& in, ExImageDataType type)
{
    return in.oneIn(4) ? in.between(1, 8 * bytesPerSample(type)) : 0;
}

void storeFloat(std::uint8_t* at, ExImageDataType type, double value)
{
    if (type == Float32)
        storeSample<float>(at, 0, static_cast<float>(value));
    else
        storeSample<double>(at, 0, value);
}

}  // namespace

Layout anyLayout(ByteReader& in, const Choice& choice)
{
    Layout layout;
    layout.width = anyExtent(in);
    layout.height = std::min(anyExtent(in), 2000 / std::max(layout.width, 1));
    layout.type = in.pick(choice.types);
    layout.channels = in.pick(choice.channels);
    layout.packing = in.flag() ? Planar : Interleaved;
    layout.bits = anyBits(in, layout.type);
    return like(in, layout);
}

Layout smallLayout(ByteReader& in, const Choice& choice)
{
    Layout layout = anyLayout(in, choice);
    if (in.digest() % 8 != 0) {
        layout.width = std::min(layout.width, 12);
        layout.height = std::min(layout.height, 12);
    }
    return layout;
}

Layout like(ByteReader& in, const Layout& layout)
{
    Layout result = layout;
    result.padding = in.below(10);
    result.misalignment = in.below(9);
    return result;
}

Layout like(ByteReader& in, const Layout& layout, ExImageDataType type, int channels, int bits)
{
    Layout result = like(in, layout);
    result.type = type;
    result.channels = channels;
    result.bits = bits;
    return result;
}

FuzzImage::FuzzImage(ByteReader& in, const Layout& layout) : m_layout(layout)
{
    const int size = bytesPerSample(layout.type);
    const int rowSamples = layout.packing == Planar ? layout.width : layout.width * layout.channels;
    m_buf.width = layout.width;
    m_buf.height = layout.height;
    m_buf.channels = layout.channels;
    m_buf.stride = rowSamples * size + layout.padding;
    m_buf.bitsPerSample = layout.bits != 0 ? layout.bits : 8 * size;
    m_buf.dataType = layout.type;
    m_buf.packing = layout.packing;
    m_isSound = !in.oneIn(8);
    if (!m_isSound)
        contradict(in);
    const bool isAbsent = !m_isSound && in.oneIn(8);
    allocate(layout.misalignment);
    fill(in);
    m_before.assign(m_first, m_first + m_size);
    if (isAbsent)
        m_buf.data = nullptr;
}

void FuzzImage::contradict(ByteReader& in)
{
    switch (in.below(10)) {
    case 0:
        m_buf.width = in.integer();
        break;
    case 1:
        m_buf.height = in.integer();
        break;
    case 2:
        m_buf.stride = in.flag() ? in.integer() : m_buf.stride - m_layout.padding - in.between(1, 8);
        break;
    case 3:
        m_buf.channels = in.pick({0, -1, 1, 2, 3, 4, 5, 70000});
        break;
    case 4:
        m_buf.dataType = in.flag() ? in.pick(everyType) : test::typeCode(in.pick({0, 12, -1, 1 << 30}));
        break;
    case 5:
        m_buf.packing = static_cast<ExPixelPacking>(in.pick({0, 1, 2, -1}));
        break;
    case 6:
        m_buf.bitsPerSample = in.integer();
        break;
    case 7:
        m_buf.bayerGrid = static_cast<ExBayerGrid>(in.pick({0, 1, 2, 3, 4, 5, -1, 70000}));
        break;
    case 8:
        m_buf.pixelFormat = in.integer();
        break;
    default:
        m_buf.width = in.integer();
        m_buf.height = in.integer();
        m_buf.stride = in.integer();
        m_buf.channels = in.pick({1, 3, 4, 70000});
        break;
    }
    // Rows of no bytes need no memory, so a record may claim 2^31 of them in each of 70,000 planes. To
    // walk them would take hours.
    if (m_buf.stride == 0)
        m_buf.height = std::min(m_buf.height, 100);
}

void FuzzImage::allocate(int misalignment)
{
    const std::size_t bytes = imageByteSize(m_buf);
    const double samples = double{1} * m_buf.width * m_buf.height * m_buf.channels;
    if (bytes > mostMemory || (!m_isSound && samples > mostSamples)) {
        require(!m_isSound, "a layout that a fuzzer has no memory for");
        return;
    }
    m_size = bytes;
    m_memory = std::make_unique<std::uint8_t[]>(bytes + static_cast<std::size_t>(misalignment));
    m_first = m_memory.get() + misalignment;
    m_buf.data = m_first;
}

void FuzzImage::fill(ByteReader& in)
{
    const std::uint8_t seed = in.byte();
    Noise noise(seed);
    for (std::size_t i = 0; i < m_size; i += sizeof(std::uint64_t)) {
        const std::uint64_t bytes = noise();
        std::memcpy(m_first + i, &bytes, std::min(sizeof(bytes), m_size - i));
    }
    if (m_isSound)
        fillSamples(in);
}

void FuzzImage::fillSamples(ByteReader& in)
{
    const bool isFloat = m_layout.type == Float32 || m_layout.type == Float64;
    const auto size = static_cast<std::size_t>(bytesPerSample(m_layout.type));
    const int mode = in.below(6);
    if (mode == 0)
        return;
    std::uint64_t few[4] = {};
    double fewReals[4] = {};
    for (int i = 0; i < 4 && mode <= 2; ++i) {
        few[i] = in.byte() * (mode == 1 ? 1U : 0x0101010101010101U);
        fewReals[i] = isFloat ? in.real() : 0.0;
    }
    Noise noise(in.byte());
    const std::uint64_t range = mode == 5 ? 3 : ~std::uint64_t{0};
    const std::uint64_t depth =
        m_buf.bitsPerSample < 64 ? (std::uint64_t{1} << m_buf.bitsPerSample) - 1 : ~std::uint64_t{0};
    const int planes = m_layout.packing == Planar ? m_layout.channels : 1;
    const int rowSamples = m_layout.width * (planes == 1 ? m_layout.channels : 1);
    for (std::int64_t row = 0; row < std::int64_t{m_layout.height} * planes; ++row) {
        for (int x = 0; x < rowSamples; ++x) {
            std::uint8_t* const at = m_first + row * m_buf.stride + static_cast<std::size_t>(x) * size;
            const std::uint64_t drawn = noise();
            std::uint64_t value = mode <= 2 ? few[drawn % 4] : mode == 3 ? 0 : drawn & range & depth;
            if (isFloat) {
                storeFloat(at, m_layout.type,
                           mode <= 2 ? fewReals[drawn % 4]
                                     : static_cast<double>(static_cast<std::int32_t>(value)) / 64.0);
                continue;
            }
            std::memset(at, 0, size);
            std::memcpy(at, &value, std::min(size, sizeof(value)));
        }
    }
}

bool FuzzImage::isUntouched() const
{
    return std::equal(m_before.begin(), m_before.end(), m_first, m_first + m_size);
}

Twin::Twin(const FuzzImage& image) : TestImage(image.layout())
{
    static_cast<SxImageInfo&>(buf()) = image.buf();
    const std::span<const std::uint8_t> memory = image.memoryBefore();
    std::copy(memory.begin(), memory.end(), buf().data);
}

void Twin::requireEqual(const FuzzImage& image) const
{
    const std::span<const std::uint8_t> memory = image.memory();
    require(std::equal(memory.begin(), memory.end(), buf().data), "the image differs from its naive twin's");
}

std::size_t resultsOf(const FuzzImage& image)
{
    return static_cast<std::size_t>(std::max(image->channels, 4));
}

QRect anyRect(ByteReader& in, const Layout& layout)
{
    if (in.oneIn(8)) {
        QRect rect;
        const int corners[] = {in.integer(), in.integer(), in.integer(), in.integer()};
        rect.setCoords(corners[0], corners[1], corners[2], corners[3]);
        return rect;
    }
    const int x = in.below(layout.width + 1), y = in.below(layout.height + 1);
    return {x, y, in.below(layout.width - x + 1), in.below(layout.height - y + 1)};
}

QPoint anyPoint(ByteReader& in, const Layout& layout)
{
    if (in.oneIn(8))
        return {in.integer(), in.integer()};
    return {in.below(layout.width + 1), in.below(layout.height + 1)};
}

}  // namespace ko::fuzz
