#include "rooms/pipeline/stage.h"
#include "support/allocation_failure.h"
#include "support/log_capture.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

namespace ko::test {
namespace {

using ::testing::ElementsAre;

bool give(IxPipeItem& item, int number = 0)
{
    return item.onDataAvailable(makeFrame(number).release(), nullptr);
}

/// Remembers the numbers of the frames; the first one waits for the gate.
class Slow : public Stage {
public:
    Slow()
        : Stage([this](CxImageData& frame) {
              if (numbers.empty()) {
                  arrived.open();
                  gate.wait();
              }
              numbers.push_back(frame.frameNo());
              return true;
          })
    {
    }
    ~Slow() override
    {
        gate.open();
        retire();
    }

    Gate arrived;
    Gate gate;
    std::vector<int> numbers;
};

TEST(Flow, DropsFramesOfferedToAStoppedItem)
{
    Stage stage;
    EXPECT_FALSE(give(stage));
    EXPECT_FALSE(stage.onDataAvailable(nullptr, nullptr));
    const SxPipeStatistics counts = stage.statistics();
    EXPECT_EQ(1U, counts.received);
    EXPECT_EQ(1U, counts.dropped);
    const LogCapture log;
    const QString name = stage.name();
    ASSERT_TRUE(stage.setState(IxPipeItem::StateStarted));
    ASSERT_TRUE(stage.setState(IxPipeItem::StateStopped));
    ASSERT_EQ(1U, log.records().size());
    EXPECT_EQ(QtWarningMsg, log.records()[0].type);
    EXPECT_EQ(name + ": 1 frames dropped, 0 failed", log.records()[0].text);
}

TEST(Flow, DropsTheOldestWaitingFrameOfAFullQueue)
{
    const LogCapture log;
    Slow slow;
    ASSERT_TRUE(slow.setQueue(2, QueueDropsOldest));
    ASSERT_TRUE(slow.setState(IxPipeItem::StateStarted));
    EXPECT_TRUE(give(slow, 0));
    slow.arrived.wait();
    for (int number = 1; number <= 5; ++number)
        EXPECT_TRUE(give(slow, number));
    EXPECT_EQ(2U, slow.statistics().waiting);
    EXPECT_FALSE(slow.waitUntilIdle(1));
    slow.gate.open();
    EXPECT_TRUE(slow.waitUntilIdle(-1));
    EXPECT_THAT(slow.numbers, ElementsAre(0, 4, 5));
    const SxPipeStatistics counts = slow.statistics();
    EXPECT_EQ(6U, counts.received);
    EXPECT_EQ(3U, counts.processed);
    EXPECT_EQ(3U, counts.dropped);
    EXPECT_EQ(0U, counts.failed + counts.waiting);
    ASSERT_TRUE(slow.setState(IxPipeItem::StateStopped));
    ASSERT_EQ(1U, log.records().size());
    EXPECT_EQ(slow.name() + ": 3 frames dropped, 0 failed", log.records()[0].text);
}

TEST(Flow, BlocksTheProducerOfAFullQueue)
{
    Slow slow;
    ASSERT_TRUE(slow.setQueue(2, QueueBlocks));
    ASSERT_TRUE(slow.setState(IxPipeItem::StateStarted));
    give(slow, 0);
    slow.arrived.wait();
    std::thread producer([&] {
        for (int number = 1; number <= 5; ++number)
            EXPECT_TRUE(give(slow, number));
    });
    while (slow.statistics().received < 4)
        std::this_thread::yield();
    EXPECT_EQ(2U, slow.statistics().waiting);
    slow.gate.open();
    producer.join();
    EXPECT_TRUE(slow.waitUntilIdle(-1));
    EXPECT_THAT(slow.numbers, ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_EQ(0U, slow.statistics().dropped);
}

TEST(Flow, LetsTheProducerOfAFullQueueGoOnWhenOneFrameIsTaken)
{
    std::array<Gate, 3> gates;
    Stage slow([&](CxImageData& frame) {
        gates.at(static_cast<std::size_t>(frame.frameNo())).wait();
        return true;
    });
    ASSERT_TRUE(slow.setQueue(8, QueueBlocks));
    ASSERT_TRUE(slow.setState(IxPipeItem::StateStarted));
    gates[2].open();
    give(slow, 0);
    while (slow.statistics().waiting > 0)
        std::this_thread::yield();
    for (int i = 0; i < 8; ++i)
        give(slow, i == 0 ? 1 : 2);
    std::thread producer([&] { EXPECT_TRUE(give(slow, 2)); });
    while (slow.statistics().received < 10)
        std::this_thread::yield();
    gates[0].open();
    producer.join();  // while the worker is held up by the next frame
    EXPECT_EQ(8U, slow.statistics().waiting);
    gates[1].open();
    EXPECT_TRUE(slow.waitUntilIdle(-1));
}

TEST(Flow, BringsAFrameThoughTheSenderIsHeldUpByTheNextOne)
{
    constexpr int count = 6;
    std::array<Gate, count> seen;
    Gate isFull;
    Stage sender([&](CxImageData& frame) {
        const auto number = static_cast<std::size_t>(frame.frameNo());
        (number == 0 ? isFull : seen.at(number - 1)).wait();
        return true;
    });
    CxFrameSink sink([&](CxImageData& frame) { seen.at(static_cast<std::size_t>(frame.frameNo())).open(); });
    ASSERT_TRUE(sender.addSuccessor(&sink));
    ASSERT_TRUE(StartPipe(sender));
    for (int number = 0; number < count; ++number)
        give(sender, number);
    isFull.open();
    EXPECT_TRUE(DrainPipe(sender));
    EXPECT_EQ(std::uint64_t{count}, sink.statistics().processed);
}

TEST(Flow, LetsSeveralThreadsWaitAndGiveUpUntilAPipeIsIdle)
{
    Slow slow;
    Stage last;
    ASSERT_TRUE(slow.addSuccessor(&last));
    ASSERT_TRUE(StartPipe(slow));
    give(slow, 0);
    slow.arrived.wait();
    std::vector<std::thread> threads;
    std::atomic<int> drained{0};
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] { drained += DrainPipe(slow); });
    for (int i = 0; i < 20; ++i) {
        EXPECT_FALSE(DrainPipe(slow, i % 2));
        EXPECT_FALSE(slow.waitUntilIdle(0));
        EXPECT_TRUE(last.waitUntilIdle(0));
    }
    EXPECT_EQ(0, drained);
    slow.gate.open();
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(3, drained);
    EXPECT_EQ(1U, last.statistics().processed);
    EXPECT_TRUE(DrainPipe(slow, 0));
}

TEST(Flow, EndsTheWaitForAnItemThatIsStopped)
{
    Slow slow;
    ASSERT_TRUE(slow.setState(IxPipeItem::StateStarted));
    give(slow, 0);
    give(slow, 1);
    slow.arrived.wait();
    std::thread waiting([&] { EXPECT_TRUE(slow.waitUntilIdle(-1)); });
    std::thread stopping([&] { EXPECT_TRUE(slow.setState(IxPipeItem::StateStopped)); });
    while (slow.statistics().dropped == 0)
        std::this_thread::yield();
    slow.gate.open();
    waiting.join();
    stopping.join();
}

TEST(Flow, OfAStoppedItemDropsWhatWaits)
{
    Slow slow;
    ASSERT_TRUE(slow.setState(IxPipeItem::StateStarted));
    for (int number = 0; number < 4; ++number)
        give(slow, number);
    slow.arrived.wait();
    std::thread stopper([&] { slow.setState(IxPipeItem::StateStopped); });
    while (slow.statistics().dropped < 3)
        std::this_thread::yield();
    slow.gate.open();
    stopper.join();
    EXPECT_THAT(slow.numbers, ElementsAre(0));
    EXPECT_EQ(3U, slow.statistics().dropped);
}

TEST(Flow, LetsAnItemStopThatWaitsForRoomBehindIt)
{
    Stage fast;
    Slow slow;
    ASSERT_TRUE(slow.setQueue(1, QueueBlocks));
    ASSERT_TRUE(fast.addSuccessor(&slow));
    ASSERT_TRUE(StartPipe(fast));
    for (int number = 0; number < 3; ++number)
        give(fast, number);
    while (slow.statistics().received < 3)
        std::this_thread::yield();
    EXPECT_TRUE(fast.setState(IxPipeItem::StateStopped)) << "although the next item stands still";
    EXPECT_EQ(3U, fast.statistics().processed);
    EXPECT_EQ(1U, slow.statistics().dropped);
    slow.gate.open();
    EXPECT_TRUE(slow.waitUntilIdle(-1));
    EXPECT_THAT(slow.numbers, ElementsAre(0, 1));
}

TEST(Flow, CountsAndReportsFramesThatFailAndDeletesThem)
{
    const LogCapture log;
    Stage stage([](CxImageData& frame) {
        if (frame.frameNo() == 2)
            throw std::runtime_error("no good");
        return frame.frameNo() != 1;
    });
    ASSERT_TRUE(stage.setState(IxPipeItem::StateStarted));
    for (int number = 0; number < 4; ++number)
        give(stage, number);
    ASSERT_TRUE(stage.waitUntilIdle(-1));
    ASSERT_TRUE(stage.setState(IxPipeItem::StateStopped));
    const SxPipeStatistics counts = stage.statistics();
    EXPECT_EQ(2U, counts.processed);
    EXPECT_EQ(2U, counts.failed);
    ASSERT_EQ(3U, log.records().size());
    EXPECT_EQ(stage.name() + ": 0 frames dropped, 1 failed", log.records()[0].text);
    EXPECT_EQ(stage.name() + ": frame failed: no good", log.records()[1].text);
    EXPECT_EQ(log.records()[0].text, log.records()[2].text)
        << "the second within a second is told at the end";
}

TEST(Flow, CountsFramesThatFailWithExceptionsOfAnyType)
{
    const LogCapture log;
    Stage stage([](CxImageData&) -> bool { throw 7; });
    ASSERT_TRUE(stage.setState(IxPipeItem::StateStarted));
    give(stage);
    ASSERT_TRUE(stage.waitUntilIdle(-1));
    ASSERT_TRUE(stage.setState(IxPipeItem::StateStopped));
    EXPECT_EQ(1U, stage.statistics().failed);
    ASSERT_LE(1U, log.records().size());
    EXPECT_EQ(stage.name() + ": frame failed: unknown exception", log.records()[0].text);
}

TEST(Flow, GivesTheOriginalToTheLastSuccessorAndCopiesToTheOthers)
{
    const std::uint8_t* seen[3] = {};
    Stage first;
    Stage ends[3];
    for (int i = 0; i < 3; ++i) {
        ends[i].work = [&, i](CxImageData& frame) {
            seen[i] = frame.image().data;
            // Whoever shared its pixels with another one would find that one's mark, or race with it.
            const bool isUnmarked = frame.image().data[0] == 0;
            frame.image().data[0] = 1;
            return isUnmarked && frame.image().width == 8 && frame.frameNo() == 5;
        };
        ASSERT_TRUE(first.addSuccessor(&ends[i]));
    }
    const std::uint8_t* original = nullptr;
    first.work = [&](CxImageData& frame) {
        original = frame.image().data;
        return true;
    };
    ASSERT_TRUE(StartPipe(first));
    give(first, 5);
    ASSERT_TRUE(DrainPipe(first));
    ASSERT_TRUE(StopPipe(first));
    EXPECT_EQ(original, seen[2]);
    for (Stage& end : ends)
        EXPECT_EQ(1U, end.statistics().processed);
    EXPECT_NE(original, seen[0]);
    EXPECT_NE(original, seen[1]);
}

TEST(Flow, CountsCopiesThatCouldNotBeMadeAsDropped)
{
    Stage first;
    Stage ends[2];
    ASSERT_TRUE(first.addSuccessor(&ends[0]));
    ASSERT_TRUE(first.addSuccessor(&ends[1]));
    ASSERT_TRUE(StartPipe(first));
    auto frame = makeFrame();
    const AllocationFailure none(0);
    first.onDataAvailable(frame.release(), nullptr);
    ASSERT_TRUE(DrainPipe(first));
    EXPECT_EQ(1U, ends[0].statistics().dropped);
    EXPECT_EQ(1U, ends[1].statistics().processed);
}

TEST(Flow, CountsFramesThatRefuseToBeCopiedAsDropped)
{
    struct Uncopyable : CxImageData {
        CxImageData* clone() const override { throw std::runtime_error("no copies"); }
    };
    Stage first;
    Stage ends[2];
    ASSERT_TRUE(first.addSuccessor(&ends[0]));
    ASSERT_TRUE(first.addSuccessor(&ends[1]));
    ASSERT_TRUE(StartPipe(first));
    first.onDataAvailable(new Uncopyable, nullptr);
    ASSERT_TRUE(DrainPipe(first));
    EXPECT_EQ(1U, ends[0].statistics().dropped);
    EXPECT_EQ(1U, ends[1].statistics().processed);
}

TEST(Flow, MeasuresFramesPerSecond)
{
    Stage stage([](CxImageData&) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        return true;
    });
    ASSERT_TRUE(stage.setState(IxPipeItem::StateStarted));
    for (int i = 0; i < 3; ++i)
        give(stage);
    ASSERT_TRUE(stage.waitUntilIdle(-1));
    EXPECT_GT(stage.calcFps(), 0);
    EXPECT_LT(stage.calcFps(), 501);
}

TEST(Flow, OfSourceAndSinkCarriesImages)
{
    std::vector<int> numbers;
    std::vector<std::uint64_t> times;
    SxImageBuf kept;
    CxFrameSource source;
    CxFrameSink sink([&](CxImageData& frame) {
        numbers.push_back(frame.frameNo());
        times.push_back(frame.timestamp());
        EXPECT_TRUE(frame.dateTime().isValid());
        if (frame.frameNo() == 1)
            kept = std::exchange(frame.image(), SxImageBuf());
        if (frame.frameNo() == 2)
            throw std::runtime_error("enough");
    });
    ASSERT_TRUE(source.addSuccessor(&sink));
    ASSERT_TRUE(StartPipe(source));
    for (int i = 0; i < 3; ++i) {
        SxImageBuf image;
        ASSERT_EQ(ResultOk, AllocBuffer(image, 4, 4, 1, UInt8, 0, 8, Interleaved, true, CompressionNone));
        EXPECT_TRUE(source.push(image));
    }
    EXPECT_FALSE(source.push(std::unique_ptr<CxImageData>()));
    ASSERT_TRUE(DrainPipe(source));
    ASSERT_TRUE(StopPipe(source));
    EXPECT_THAT(numbers, ElementsAre(0, 1, 2));
    EXPECT_LE(times[0], times[2]);
    EXPECT_EQ(2U, sink.statistics().processed);
    EXPECT_EQ(1U, sink.statistics().failed);
    EXPECT_NE(nullptr, kept.data);
    FreeBuffer(kept);
}

TEST(Flow, CopiesNoPixelsOnTheWayToASingleSuccessor)
{
    SxImageBuf image;
    ASSERT_EQ(ResultOk, AllocBuffer(image, 4, 4, 1, UInt8, 0, 8, Interleaved, true, CompressionNone));
    const std::uint8_t* arrived = nullptr;
    CxFrameSource source;
    Stage middle;
    CxFrameSink sink([&](CxImageData& frame) { arrived = frame.image().data; });
    ASSERT_TRUE(source.addSuccessor(&middle));
    ASSERT_TRUE(middle.addSuccessor(&sink));
    ASSERT_TRUE(StartPipe(source));
    EXPECT_TRUE(source.push(image));
    ASSERT_TRUE(DrainPipe(source));
    ASSERT_TRUE(StopPipe(source));
    EXPECT_EQ(image.data, arrived);
}

TEST(Flow, RefusesDataThatASinkCannotUse)
{
    CxFrameSink sink([](CxImageData&) {});
    ASSERT_TRUE(sink.setState(IxPipeItem::StateStarted));
    EXPECT_TRUE(sink.onDataAvailable(new IxData, nullptr));
    ASSERT_TRUE(sink.waitUntilIdle(-1));
    EXPECT_EQ(1U, sink.statistics().failed);
}

/// a -> b -> c and a -> c; the order of what happens to them.
struct Triangle {
    std::vector<std::string> calls;  // outlives the workers that write to it
    Stage a, b, c;

    Triangle()
    {
        a.addSuccessor(&c);
        a.addSuccessor(&b);
        b.addSuccessor(&c);
        watch(a, "a");
        watch(b, "b");
        watch(c, "c");
    }
    void watch(Stage& stage, const std::string& name)
    {
        stage.onSetupStart = [this, name] { return calls.push_back("start " + name), true; };
        stage.onSetupStop = [this, name] { calls.push_back("stop " + name); };
        stage.onStarted = [this, name] { calls.push_back("started " + name); };
        stage.onStopped = [this, name] { calls.push_back("stopped " + name); };
    }
};

TEST(Pipe, StartsFromTheLastToTheFirstAndStopsFromTheFirstToTheLast)
{
    Triangle pipe;
    EXPECT_TRUE(StartPipe(pipe.a));
    EXPECT_TRUE(StopPipe(pipe.a));
    EXPECT_THAT(pipe.calls,
                ElementsAre("start c", "start b", "start a", "started c", "started b", "started a", "stop a",
                            "stop b", "stop c", "stopped a", "stopped b", "stopped c"));
}

TEST(Pipe, StopsWhatItHasStartedWhenOneRefuses)
{
    Triangle pipe;
    pipe.a.onSetupStart = [] { return false; };
    ASSERT_TRUE(pipe.c.setState(IxPipeItem::StateStarted));
    EXPECT_FALSE(StartPipe(pipe.a));
    EXPECT_TRUE(pipe.a.isStopped());
    EXPECT_TRUE(pipe.b.isStopped());
    EXPECT_TRUE(pipe.c.isStarted()) << "it was started before";
    EXPECT_THAT(pipe.calls, ElementsAre("start c", "start b", "stop b"));
}

TEST(Pipe, KeepsItemsThatOthersFeed)
{
    Stage a;
    Stage b;
    Stage shared;
    ASSERT_TRUE(a.addSuccessor(&shared));
    ASSERT_TRUE(b.addSuccessor(&shared));
    ASSERT_TRUE(StartPipe(a));
    ASSERT_TRUE(StartPipe(b));
    EXPECT_TRUE(StopPipe(a));
    EXPECT_TRUE(a.isStopped());
    EXPECT_TRUE(shared.isStarted());
    EXPECT_TRUE(StopPipe(b));
    EXPECT_TRUE(shared.isStopped());
}

TEST(Pipe, CanBeStoppedByItsLastWorker)
{
    Stage first;
    Stage last;
    ASSERT_TRUE(first.addSuccessor(&last));
    last.work = [&](CxImageData&) {
        EXPECT_FALSE(DrainPipe(first)) << "it would wait for itself";
        EXPECT_FALSE(StopPipe(first));
        return true;
    };
    ASSERT_TRUE(StartPipe(first));
    give(first);
    while (first.isStarted() || last.isStarted())
        std::this_thread::yield();
    EXPECT_EQ(1U, last.statistics().processed);
}

TEST(Pipe, IsLeftCleanlyByARunningItem)
{
    const LogCapture log;
    Stage first;
    Stage last;
    {
        Slow slow;
        ASSERT_TRUE(slow.setQueue(1, QueueBlocks));
        ASSERT_TRUE(first.addSuccessor(&slow));
        ASSERT_TRUE(slow.addSuccessor(&last));
        ASSERT_TRUE(StartPipe(first));
        for (int number = 0; number < 5; ++number)
            give(first, number);
        slow.arrived.wait();
    }
    ASSERT_TRUE(first.waitUntilIdle(-1));
    ASSERT_TRUE(last.waitUntilIdle(-1));
    EXPECT_EQ(5U, first.statistics().processed);
    EXPECT_LE(1U, last.statistics().processed);
    EXPECT_TRUE(first.isStarted());
}

}  // namespace
}  // namespace ko::test
