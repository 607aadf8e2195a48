#include "base/joined_rows.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <vector>

namespace ko::test {
namespace {

/// The bytes of one image that the loop hands out, counted where they lie; those of the other stand in the same rows.
void expectEachSampleOnce(const Layout& layout, int otherPadding)
{
    Layout otherLayout = layout;
    otherLayout.padding = otherPadding;
    const TestImage src(layout);
    TestImage dst(otherLayout);
    std::vector<std::atomic<int>> visits(imageByteSize(src.buf()));
    std::atomic<bool> areTogether = true;
    pairsStatic(src.buf(), dst.buf(), layout.width, [&](const RowPairs& pairs) noexcept {
        for (std::int64_t y = 0; y < pairs.rows; ++y) {
            const std::int64_t from = pairs.srcRow(y) - src.buf().data, to = pairs.dstRow(y) - dst.buf().data;
            if (layout.width != 0 && from / src.buf().stride != to / dst.buf().stride)
                areTogether = false;
            for (std::int64_t x = 0; x < pairs.samples; ++x)
                ++visits[static_cast<std::size_t>(from + x)];
        }
    });
    EXPECT_TRUE(areTogether);
    for (std::int64_t y = 0; y < layout.height; ++y)
        for (std::int64_t x = 0; x < src.buf().stride; ++x)
            ASSERT_EQ(visits[static_cast<std::size_t>(y * src.buf().stride + x)], x < layout.width ? 1 : 0);
}

TEST(JoinedRows, VisitEverySampleOnce)
{
    forEachThreadCount([] {
        for (const int padding : {0, 1})
            for (const int otherPadding : {0, 5})
                for (const int width : {0, 1, 64, 131, 20000})
                    for (const int height : {0, 1, 2, 299})
                        expectEachSampleOnce({.width = width, .height = height, .padding = padding},
                                             otherPadding);
    });
}

struct Handed {
    std::int64_t calls = 0;
    std::int64_t rows = 0;
};

Handed handedOut(const Layout& srcLayout, const Layout& dstLayout)
{
    const TestImage src(srcLayout);
    TestImage dst(dstLayout);
    Handed handed;
    pairsStatic(src.buf(), dst.buf(), srcLayout.width, [&](const RowPairs& pairs) noexcept {
        ++handed.calls;
        handed.rows += pairs.rows;
    });
    return handed;
}

TEST(JoinedRows, AreTakenTogether)
{
    const Layout gapless{.width = 64, .height = 64, .padding = 0};
    const Layout wide{.width = 64, .height = 64, .type = Float64, .padding = 0};
    const Layout padded{.width = 64, .height = 64, .padding = 1};
    EXPECT_EQ(handedOut(gapless, gapless).calls, 1);
    EXPECT_EQ(handedOut(gapless, gapless).rows, 1) << "as one row";
    EXPECT_EQ(handedOut(gapless, wide).calls, 2) << "as many as the longest row allows";
    EXPECT_EQ(handedOut(wide, gapless).calls, 2);
    EXPECT_EQ(handedOut(gapless, padded).calls, 1);
    EXPECT_EQ(handedOut(gapless, padded).rows, 64);
    EXPECT_EQ(handedOut(padded, gapless).rows, 64);
}

}  // namespace
}  // namespace ko::test
