// One call of an operation on images of its own, with a record of everything that it wrote.
#pragma once

#include "support/test_image.h"

#include <ko/koimproc.h>

#include <QList>
#include <QSize>
#include <QVariant>

#include <array>
#include <deque>
#include <string>
#include <vector>

namespace ko::test {

class Call {
public:
    /// Size and samples of the images follow from the seed.
    explicit Call(unsigned seed) : Call(seed, {16 + 4 * static_cast<int>(seed % 5), 18}) {}
    Call(unsigned seed, const QSize& size) : width(size.width()), height(size.height()), m_seed(seed) {}

    const int width;
    const int height;
    const QRect region{2, 2, 12, 10};

    /// A new image of random samples, which belongs to the call.
    TestImage& image(ExImageDataType type = UInt8, int channels = 1, ExPixelPacking packing = Interleaved);
    TestImage& image(const Layout& layout);
    TestImage& mosaic(ExImageDataType type = UInt8);

    /// A floating-point image of ordinary numbers: random bytes would be infinities and NaNs now and then, and a
    /// range of that size leaves nothing of the other samples.
    template <class T>
    TestImage& numbers(ExImageDataType type, int channels)
    {
        TestImage& made = image(type, channels);
        int next = 0;
        made.forEachSample([&](int x, int y, int c) {
            made.set<T>(x, y, c, static_cast<T>((next = (next * 37 + width) % 1009)) / 7);
        });
        return made;
    }

    /// A mask that selects about half of the pixels; `channels` above 1 make it planar.
    TestImage& mask(int channels = 1);
    TestImage& stencil();

    CxImageHistogram& histogram(int planes);
    CxImageHistogram2D& dense(int planes);
    CxImageHistogramSparse2D& sparse(int planes);

    /// Remembers a status; `allDone` tells whether any was a failure.
    void status(ResultCode code);
    bool allDone() const { return m_allDone; }

    template <class T>
    void value(const T& number)
    {
        static_assert(std::is_arithmetic_v<T>);
        bytes(&number, sizeof(number));
    }
    void value(const QVariant& number) { value(number.toDouble()); }
    void value(const QPoint& point) { value(point.x()), value(point.y()); }
    template <class T, std::size_t Count>
    void value(const std::array<T, Count>& numbers)
    {
        for (const T& number : numbers)
            value(number);
    }
    void bytes(const void* data, std::size_t count);

    /// Remembers the samples of an image that the library has allocated, and releases it.
    void release(SxImageBuf& image);

    /// Statuses and values, then all images, padding and guards included, and all histograms.
    std::vector<std::uint8_t> record() const;

private:
    unsigned m_seed;
    unsigned m_filled = 0;
    bool m_allDone = true;
    std::vector<std::uint8_t> m_values;
    std::deque<TestImage> m_images;
    std::deque<CxImageHistogram> m_histograms;
    std::deque<CxImageHistogram2D> m_dense;
    std::deque<CxImageHistogramSparse2D> m_sparse;
};

struct Operation {
    const char* name;
    void (*run)(Call& call);
};

/// All exported operations, room by room; some take part more than once, with other samples.
using Operations = std::vector<Operation>;
Operations coreOperations();
Operations pipelineOperations();
Operations masksOperations();
Operations histogramOperations();
Operations statsOperations();
Operations toneOperations();
Operations pixelOperations();
Operations convertOperations();
Operations filtersOperations();
Operations medianOperations();
Operations rawOperations();
Operations demosaicOperations();
Operations snakeOperations();
/// Those of all rooms.
Operations allOperations();

}  // namespace ko::test
