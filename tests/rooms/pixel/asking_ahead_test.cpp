// The loops that ask for memory ahead, which run where a trial on the machine says that this pays.
#include "base/kernel_loops.h"
#include "support/targets.h"
#include "support/test_image.h"

#include <ko/pixel.h>

#include <gtest/gtest.h>

#include <vector>

namespace ko::test {
namespace {

/// What `run(src, dst)` makes of images that the caches need not hold.
template <class Run>
std::vector<std::uint8_t> resultOf(const Run& run, ExImageDataType type, bool isAsking)
{
    const Layout layout{.width = 701, .height = 500, .type = type};
    TestImage src(layout), dst(layout);
    src.fillBytes(3);
    dst.fillBytes(5);
    const bool before = fetchingPays.exchange(isAsking);
    EXPECT_EQ(run(src.buf(), dst.buf()), ResultOk);
    fetchingPays = before;
    return dst.bytes();
}

template <class Run>
void expectSameBytes(const Run& run)
{
    forEachTarget([&] {
        for (const ExImageDataType type : {UInt8, UInt16})
            EXPECT_EQ(resultOf(run, type, true), resultOf(run, type, false)) << type;
    });
}

TEST(AskingAhead, ChangesNoByteOfLogic)
{
    QVariant value(5);
    for (const auto operation : {&And, &Or, &Xor})
        expectSameBytes([&](const SxImageBuf& src, SxImageBuf& dst) { return operation(src, dst, &value); });
}

TEST(AskingAhead, ChangesNoByteOfThresholds)
{
    QVariant threshold(100), low(3), high(250);
    expectSameBytes([&](const SxImageBuf& src, SxImageBuf& dst) {
        return ThresholdBinary(src, dst, &threshold, &low, &high);
    });
}

}  // namespace
}  // namespace ko::test
