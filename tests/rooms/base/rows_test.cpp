#include "base/boundary.h"
#include "base/rows.h"
#include "support/targets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <limits>
#include <new>
#include <thread>
#include <utility>
#include <vector>

namespace ko::test {
namespace {

TEST(RowLoops, VisitEveryRowOnce)
{
    forEachThreadCount([] {
        for (const std::int64_t rows : {0, 1, 5, 101}) {
            std::vector<int> statically(static_cast<std::size_t>(rows)), dynamically = statically;
            const RowWork work{rows, 1};
            rowsStatic(work, [&](std::int64_t y) noexcept { ++statically[static_cast<std::size_t>(y)]; });
            rowsDynamic(work, [&](std::int64_t y) noexcept { ++dynamically[static_cast<std::size_t>(y)]; });
            EXPECT_EQ(statically, std::vector<int>(static_cast<std::size_t>(rows), 1));
            EXPECT_EQ(dynamically, statically);
        }
    });
}

TEST(RowLoops, GiveEachThreadOneBlockWhenStatic)
{
    const EveryLoopShared everyLoopShared;
    omp_set_num_threads(3);
    std::vector<int> owner(10);
    rowsStatic({10, 1},
               [&](std::int64_t y) noexcept { owner[static_cast<std::size_t>(y)] = omp_get_thread_num(); });
    EXPECT_TRUE(std::is_sorted(owner.begin(), owner.end()));
    EXPECT_EQ(owner.back(), 2);
}

TEST(RowShares, GiveAThreadItsOwnRowsFirst)
{
    RowShares shares(10, 3);
    std::vector<std::int64_t> taken;
    shares.takeRows(1, [&](std::int64_t y) noexcept { taken.push_back(y); });
    EXPECT_EQ(taken, (std::vector<std::int64_t>{3, 4, 5, 6, 7, 8, 9, 0, 1, 2}));
    taken.clear();
    shares.takeRows(0, [&](std::int64_t y) noexcept { taken.push_back(y); });
    EXPECT_TRUE(taken.empty());
}

TEST(RowShares, ServeMoreThreadsThanRows)
{
    RowShares shares(2, 7);
    std::vector<std::int64_t> taken;
    shares.takeRows(4, [&](std::int64_t y) noexcept { taken.push_back(y); });
    EXPECT_EQ(taken, (std::vector<std::int64_t>{1, 0}));
}

TEST(RowShares, AreSharedByMoreThreadsThanThereAreShares)
{
    constexpr int threads = RowShares::most + 6;
    RowShares shares(2 * RowShares::most, threads);
    std::vector<std::int64_t> taken;
    const auto take = [&](std::int64_t y) noexcept { taken.push_back(y); };
    shares.takeRows(threads - 1, take);
    EXPECT_EQ(taken.size(), 2U * RowShares::most);
    EXPECT_EQ(taken.front(), 10) << "the first row of the sixth share";
}

TEST(RowShares, HaveNothingForAHeightBelowZero)
{
    forEachThreadCount([] { rowsDynamic({-1, 1}, [](std::int64_t) noexcept { ADD_FAILURE(); }); });
}

TEST(RowLoops, LeaveTheRowsOfABusyThreadToTheOthers)
{
    constexpr std::int64_t rows = 100;
    const EveryLoopShared everyLoopShared;
    omp_set_num_threads(2);
    std::atomic<int> others{0};
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    rowsDynamic({rows, 1}, [&](std::int64_t y) noexcept {
        if (y != 0) {
            ++others;
            return;
        }
        while (others < rows - 1 && std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
        EXPECT_EQ(others, rows - 1);
    });
}

TEST(RowsByConsent, StayOnTheCallingThreadUnlessAllowed)
{
    omp_set_num_threads(7);
    const std::thread::id caller = std::this_thread::get_id();
    inBands(bandsByConsent({5, leastSharedWork}), 5,
            [&](int band, std::int64_t begin, std::int64_t end) noexcept {
                EXPECT_EQ(std::this_thread::get_id(), caller);
                EXPECT_EQ(band, 0);
                EXPECT_EQ(begin, 0);
                EXPECT_EQ(end, 5);
            });
}

TEST(RowsByConsent, ShareNoLoopThatIsShorterThanTheStartOfATeam)
{
    const CallThreads allowed(4);
    EXPECT_EQ(bandsByConsent({64, leastSharedWork / 64 - 1}), 1);
    EXPECT_EQ(bandsByConsent({64, leastSharedWork / 64}), 4);
    EXPECT_EQ(bandsByConsent({3, leastSharedWork}), 3);
    EXPECT_EQ(bandsByConsent({0, leastSharedWork}), 1);
}

TEST(RowsByConsent, VisitEveryRowOnceInBandsOnSeveralThreads)
{
    for (const int threads : {1, 2, 7, 64}) {
        const CallThreads allowed(threads);
        for (const std::int64_t rows : {0, 1, 5, 101}) {
            std::vector<int> visits(static_cast<std::size_t>(rows));
            rowsByConsent({rows, leastSharedWork},
                          [&](std::int64_t y) noexcept { ++visits[static_cast<std::size_t>(y)]; });
            EXPECT_EQ(visits, std::vector<int>(static_cast<std::size_t>(rows), 1));
        }
    }
    const CallThreads allowed(3);
    std::array<int, 3> owner{};
    inBands(3, 3, [&](int band, std::int64_t, std::int64_t) noexcept {
        owner[static_cast<std::size_t>(band)] = omp_get_thread_num();
    });
    EXPECT_EQ(owner, (std::array{0, 1, 2}));
}

TEST(CallThreads, NestAndAreOfOneThread)
{
    EXPECT_EQ(CallThreads::current(), 1);
    {
        const CallThreads outer(4);
        EXPECT_EQ(CallThreads::current(), 4);
        int elsewhere = 0;
        std::thread([&] { elsewhere = CallThreads::current(); }).join();
        EXPECT_EQ(elsewhere, 1);
        for (const auto& [asked, given] : {std::pair{2, 2}, {1, 1}, {0, 1}, {-7, 1}, {1000000, 64}}) {
            const CallThreads inner(asked);
            EXPECT_EQ(CallThreads::current(), given);
        }
        EXPECT_EQ(CallThreads::current(), 4);
        try {
            const CallThreads inner(3);
            throw 1;
        } catch (int) {
            EXPECT_EQ(CallThreads::current(), 4);
        }
    }
    EXPECT_EQ(CallThreads::current(), 1);
}

TEST(Reduction, CombinesOneSlotPerThread)
{
    forEachThreadCount([] {
        int parts = 0;
        std::int64_t sum = 0, twice = 0;
        reducePerThread<std::int64_t>(
            {100, 1}, 2,
            [](std::int64_t* slot, std::int64_t y) noexcept {
                slot[0] += y;
                slot[1] += 2 * y;
            },
            [&](const std::int64_t* slot) {
                ++parts;
                sum += slot[0];
                twice += slot[1];
            });
        EXPECT_EQ(parts, omp_get_max_threads());
        EXPECT_EQ(sum, 4950);
        EXPECT_EQ(twice, 9900);
    });
}

/// The threads in the team of a loop.
int teamOf(const RowWork& work)
{
    std::atomic<int> threads{0};
    rowsDynamic(work, [&](std::int64_t) noexcept { threads = omp_get_num_threads(); });
    int inStaticLoop = 0;
    rowsStatic(work, [&](std::int64_t y) noexcept {
        if (y == 0)
            inStaticLoop = omp_get_num_threads();
    });
    EXPECT_EQ(threads, inStaticLoop);
    return threads;
}

TEST(RowWork, IsSharedFromTheLeastThatIsWorthATeam)
{
    omp_set_num_threads(3);
    const std::int64_t least = leastSharedWork;
    EXPECT_EQ(teamOf({128, least / 128 - 1}), 1);
    EXPECT_EQ(teamOf({128, least / 128}), 3);
    EXPECT_EQ(teamOf({1, 10 * least}), 1) << "a single row has nothing to share";
    const RowWork row{1, least / 128};
    EXPECT_EQ(teamOf({64, row.times(2).bytes}), 3) << "rows that take twice as long";
    EXPECT_EQ(
        threadsFor({std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int64_t>::max()}), 3);
}

TEST(RowWork, OfSmallFramesStaysOnTheCallingThread)
{
    omp_set_num_threads(3);
    SxImageInfo frame;
    frame.width = 192;
    frame.height = 128;
    frame.channels = 1;
    frame.dataType = UInt8;
    SxImageInfo words = frame;
    words.dataType = UInt16;
    EXPECT_EQ(workOn(frame, words).rows, 128);
    EXPECT_EQ(workOn(frame, words).bytes, 3 * 192);
    EXPECT_EQ(teamOf(workOn(frame, words)), 1);
    frame.width = frame.height = 2048;
    EXPECT_EQ(teamOf(workOn(frame, frame)), 3);
}

TEST(Reduction, TakesOneSlotForWorkThatIsNotShared)
{
    omp_set_num_threads(3);
    int parts = 0;
    std::int64_t sum = 0;
    reducePerThread<std::int64_t>(
        {100, 1}, 1, [](std::int64_t* slot, std::int64_t y) noexcept { *slot += y; },
        [&](const std::int64_t* slot) {
            ++parts;
            sum += *slot;
        });
    EXPECT_EQ(parts, 1);
    EXPECT_EQ(sum, 4950);
}

TEST(ErrorBoundary, TurnsExhaustedMemoryIntoAStatus)
{
    EXPECT_EQ(guarded([]() -> ResultCode { throw std::bad_alloc(); }), ResultFailed);
    EXPECT_EQ(guarded([] { return ResultOutOfRange; }), ResultOutOfRange);
}

TEST(ErrorBoundary, HoldsWhatIsNoExceptionOfTheStandardLibrary)
{
    EXPECT_EQ(guarded([]() -> ResultCode { throw 7; }), ResultFailed);
}

}  // namespace
}  // namespace ko::test
