// Every exported operation on different images from several threads at once gives what one thread gives.
#include "support/every_loop_shared.h"
#include "threads/call.h"

#include <ko/threads.h>

#include <gtest/gtest.h>

#include <barrier>
#include <thread>

namespace ko::test {
namespace {

constexpr unsigned threadCount = 4;

using Record = std::vector<std::uint8_t>;

/// What the operations do on one thread, one after the other.
std::vector<Record> alone(const Operations& operations, unsigned seed)
{
    std::vector<Record> records;
    for (const Operation& operation : operations) {
        Call call(seed);
        operation.run(call);
        EXPECT_TRUE(call.allDone()) << operation.name << " should have had something to do";
        records.push_back(call.record());
    }
    return records;
}

/// Runs all operations on every thread, thread t from the operation `lag` * t on, and only then on one
/// thread: tables that are made at the first use are made while others want them too.
void runTogether(std::size_t lag)
{
    const EveryLoopShared everyLoopShared;
    const Operations operations = allOperations();
    std::vector<std::vector<Record>> together(threadCount, std::vector<Record>(operations.size()));
    std::barrier meeting(threadCount);
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < threadCount; ++t)
        threads.emplace_back([&, t] {
            for (std::size_t i = 0; i < operations.size(); ++i) {
                const std::size_t which = (i + lag * t) % operations.size();
                Call call(t);
                meeting.arrive_and_wait();
                operations[which].run(call);
                together[t][which] = call.record();
            }
        });
    for (std::thread& thread : threads)
        thread.join();

    for (unsigned t = 0; t < threadCount; ++t) {
        const std::vector<Record> expected = alone(operations, t);
        for (std::size_t i = 0; i < operations.size(); ++i)
            EXPECT_TRUE(expected[i] == together[t][i]) << operations[i].name << " on thread " << t;
    }
}

TEST(Exports, OfOneKindAreSafeOnSeveralThreads)
{
    runTogether(0);
}

TEST(Exports, OfDifferentKindsAreSafeOnSeveralThreads)
{
    runTogether(7);
}

TEST(Exports, GiveTheSameBytesWhereSeveralThreadsAreAllowed)
{
    const std::vector<Operation> operations = allOperations();
    for (unsigned seed = 0; seed < 3; ++seed) {
        const std::vector<Record> expected = alone(operations, seed);
        for (const int threads : {2, 7}) {
            const CallThreads allowed(threads);
            const std::vector<Record> together = alone(operations, seed);
            for (std::size_t i = 0; i < operations.size(); ++i)
                EXPECT_TRUE(expected[i] == together[i]) << operations[i].name << " on " << threads;
        }
    }
}

TEST(Exports, GiveOtherResultsForOtherImages)
{
    const Operations operations = allOperations();
    const std::vector<Record> one = alone(operations, 0);
    const std::vector<Record> other = alone(operations, 1);
    std::size_t same = 0;
    for (std::size_t i = 0; i < operations.size(); ++i)
        same += one[i] == other[i];
    EXPECT_GE(5U, same) << "only operations without images give the same every time";
}

}  // namespace
}  // namespace ko::test
