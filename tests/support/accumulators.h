// Accumulators over images with guard bytes, and the same by the naive twin.
#pragma once

#include "oracle/accumulate.h"
#include "support/test_image.h"

#include <ko/stats/accumulate.h>

#include <gtest/gtest.h>

#include <deque>
#include <vector>

namespace ko::test {

/// All six planes for frames of one layout, empty to begin with.
class TestAccumulator {
public:
    explicit TestAccumulator(const Layout& frame)
        : sum(with(frame, UInt64)),
          squares(with(frame, UInt64)),
          minimum(with(frame, frame.type)),
          maximum(with(frame, frame.type)),
          above(with(frame, UInt32)),
          counts(with(frame, UInt32))
    {
        sums.sum = sum;
        sums.squares = squares;
        sums.minimum = minimum;
        sums.maximum = maximum;
        sums.above = above;
        sums.counts = counts;
        EXPECT_EQ(ClearAccumulator(sums), ResultOk);
    }

    template <class T>
    oracle::SampleHistory at(int x, int y, int c) const
    {
        return {sum.get<std::uint64_t>(x, y, c),   squares.get<std::uint64_t>(x, y, c),
                minimum.get<T>(x, y, c),           maximum.get<T>(x, y, c),
                above.get<std::uint32_t>(x, y, c), counts.get<std::uint32_t>(x, y, c)};
    }
    template <class T>
    void set(int x, int y, int c, const oracle::SampleHistory& history)
    {
        sum.set(x, y, c, history.sum);
        squares.set(x, y, c, history.squares);
        minimum.set(x, y, c, static_cast<T>(history.minimum));
        maximum.set(x, y, c, static_cast<T>(history.maximum));
        above.set(x, y, c, history.above);
        counts.set(x, y, c, history.count);
    }

    /// All memory of all planes.
    std::vector<std::uint8_t> bytes() const
    {
        std::vector<std::uint8_t> all;
        for (const TestImage* const plane : {&sum, &squares, &minimum, &maximum, &above, &counts}) {
            const std::vector<std::uint8_t> own = plane->bytes();
            all.insert(all.end(), own.begin(), own.end());
        }
        return all;
    }

    TestImage sum, squares, minimum, maximum, above, counts;
    SxAccumulator sums;

private:
    static Layout with(Layout layout, ExImageDataType type)
    {
        layout.type = type;
        layout.bits = 0;
        return layout;
    }
};

/// Frames of one layout and masks of them, with samples of their own.
struct TestSeries {
    TestSeries(const Layout& layout, int count, bool hasMasks)
    {
        for (int f = 0; f < count; ++f) {
            Layout own = layout;
            own.padding += f % 3;
            images.emplace_back(own).fillRandom(static_cast<std::uint32_t>(100 * f + layout.width));
            frames.append(images.back());
            frameTwins.push_back(&images.back());
            if (!hasMasks)
                continue;
            const Layout plain{.width = layout.width, .height = layout.height, .padding = f % 2};
            images.emplace_back(plain).fillSparse(static_cast<std::uint32_t>(f));
            masks.append(images.back());
            maskTwins.push_back(&images.back());
        }
    }

    std::deque<TestImage> images;
    QVector<SxImageBuf> frames, masks;
    std::vector<const TestImage*> frameTwins, maskTwins;
};

}  // namespace ko::test
