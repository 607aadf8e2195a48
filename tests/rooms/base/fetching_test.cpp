#include "base/fetching.h"
#include "support/failing_new.h"

#include <gtest/gtest.h>

#include <array>

namespace ko::test {
namespace {

TEST(Fetching, MayAskForMemoryThatIsNotThere)
{
    const bool before = fetchingPays.exchange(true);
    const std::array<std::uint8_t, 64> bytes{};
    fetchAhead<std::uint8_t, false>(bytes.data(), 1000);
    fetchAhead<std::uint8_t, true, std::uintptr_t{1} << 46>(bytes.data(), 1000);
    fetchingPays = before;
}

TEST(Fetching, IsTriedForLargeImagesOnly)
{
    const bool before = fetchingPays.exchange(true);
    prepareFetching(1023);
    EXPECT_TRUE(fetchingPays) << "not decided yet";
    prepareFetching(1024);
    const bool decided = fetchingPays.exchange(!fetchingPays);
    prepareFetching(4096);
    EXPECT_NE(fetchingPays, decided) << "decided again";
    fetchingPays = before;
}

TEST(Fetching, IsLeftOutWithoutMemoryToTryItOn)
{
    for (const int successes : {0, 1}) {
        bool isFaster = true;
        {
            const NewFailure failure(successes);
            isFaster = FetchTrial().isFasterFetching();
        }
        EXPECT_FALSE(isFaster) << successes;
    }
}

}  // namespace
}  // namespace ko::test
