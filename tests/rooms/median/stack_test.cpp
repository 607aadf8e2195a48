#include "support/small_stack.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/median.h>

#include <QThread>

#include <gtest/gtest.h>
#include <omp.h>

#include <memory>

namespace ko::test {
namespace {

void filterOnSmallStack(const TestImage& src, const Layout& layout, int radius)
{
    TestImage dst(layout), expected(layout);
    ASSERT_EQ(Median(src, expected, radius, nullptr), ResultOk);
    forEachTarget([&] {
        ResultCode rc = ResultFailed;
        const std::unique_ptr<QThread> thread(QThread::create([&] {
            omp_set_num_threads(1);
            rc = Median(src, dst, radius, nullptr);
        }));
        thread->setStackSize(smallStack());
        thread->start();
        thread->wait();
        ASSERT_EQ(rc, ResultOk);
        ASSERT_TRUE(dst.bytes() == expected.bytes()) << "type " << layout.type << " radius " << radius;
    });
}

TEST(MedianStack, NeedNotHaveMoreThan64KiB)
{
    for (const ExImageDataType type : {UInt8, UInt16})
        for (const int channels : {1, 3})
            for (int radius = 0; radius <= 10; ++radius) {
                const Layout layout{.width = 150, .height = 40, .channels = channels, .type = type};
                TestImage src(layout);
                src.fillBytes(7);
                filterOnSmallStack(src, layout, radius);
                src.fillRandom(static_cast<std::uint32_t>(radius));
                filterOnSmallStack(src, layout, radius);
            }
}

}  // namespace
}  // namespace ko::test
