// The processor targets that these tests run on.
#include "stats/select_kernels.h"
#include "support/targets.h"

#include <bit>
#include <cstdio>
#include <map>

namespace {

TEST(Targets, AreNamedAndHaveKernelsOfTheirOwn)
{
    std::map<const ko::SelectKernels*, const char*> tables;
    // A target without kernels takes those of one lane, which come last.
    ko::test::forEachTarget([&] { tables[&ko::selectKernels()] = hwy::TargetName(hwy::SupportedTargets()); });
    std::printf("kernels for");
    for (const auto& [table, name] : tables)
        std::printf(" %s", name);
    std::printf("\n");
#if HWY_ARCH_X86
    constexpr std::int64_t vectors = HWY_SSE4 | HWY_AVX2 | HWY_AVX3;
    const auto supported = static_cast<std::uint64_t>(hwy::SupportedTargets() & vectors);
    EXPECT_EQ(1U + std::popcount(supported), tables.size());
#else
    EXPECT_EQ(1U, tables.size());
#endif
}

}  // namespace
