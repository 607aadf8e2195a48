#include "base/joined_rows.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <vector>

namespace ko::test {
namespace {

/// The bytes that the loop hands out, counted where they lie.
void expectEachPixelOnce(const Layout& layout)
{
    const TestImage image(layout), other(layout);
    std::vector<std::atomic<int>> visits(static_cast<std::size_t>(layout.width) *
                                         static_cast<std::size_t>(layout.height));
    runsStatic(
        workOn(image.buf(), other.buf()),
        [&](std::int64_t y, std::int64_t width) noexcept {
            for (std::int64_t x = 0; x < width; ++x)
                ++visits[static_cast<std::size_t>(y * layout.width + x)];
        },
        image.buf(), other.buf());
    for (const std::atomic<int>& count : visits)
        ASSERT_EQ(count, 1);
}

TEST(JoinedRows, VisitEveryPixelOnce)
{
    forEachThreadCount([] {
        for (const int padding : {0, 1})
            for (const int width : {0, 1, 64, 131, 20000})
                for (const int height : {0, 1, 2, 299})
                    expectEachPixelOnce({.width = width, .height = height, .padding = padding});
    });
}

std::int64_t runCount(const SxImageBuf& image, const SxImageBuf& other)
{
    std::int64_t runs = 0;
    runsStatic(
        workOn(image), [&](std::int64_t, std::int64_t) noexcept { ++runs; }, image, other);
    return runs;
}

TEST(JoinedRows, AreJoinedWhereNoImageHasGaps)
{
    const TestImage gapless(Layout{.width = 64, .height = 64, .padding = 0});
    const TestImage wide(Layout{.width = 64, .height = 64, .type = Float64, .padding = 0});
    const TestImage padded(Layout{.width = 64, .height = 64, .padding = 1});
    EXPECT_EQ(runCount(gapless, gapless), 1);
    EXPECT_EQ(runCount(gapless, wide), 2) << "as long as the longest row allows";
    EXPECT_EQ(runCount(wide, gapless), 2);
    EXPECT_EQ(runCount(gapless, padded), 64);
    EXPECT_EQ(runCount(padded, gapless), 64);
}

}  // namespace
}  // namespace ko::test
