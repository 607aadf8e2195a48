#include "rooms/pipeline/stage.h"

#include "support/quiet_test.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <random>
#include <thread>
#include <vector>

namespace ko::test {
namespace {

constexpr int producerCount = 4;
constexpr int framesPerProducer = 2500;

/// Counts frames that exist.
class CountedFrame : public CxImageData {
public:
    CountedFrame() { ++alive; }
    ~CountedFrame() override { --alive; }

    static inline std::atomic<int> alive{0};
};

std::unique_ptr<CxImageData> countedFrame(int number)
{
    auto frame = std::make_unique<CountedFrame>();
    frame->setImageShallow(Image::zeros(16, 4, 1, UInt8).release(), number, 0, {});
    return frame;
}

std::uint64_t settled(const SxPipeStatistics& counts)
{
    return counts.processed + counts.failed + counts.dropped;
}

/// Several threads push while others start and stop whole pipes and single items.
class Stress : public QuietTest, public ::testing::WithParamInterface<ExQueuePolicy> {
protected:
    void produce(CxFrameSource& source)
    {
        for (int p = 0; p < producerCount; ++p)
            m_producers.emplace_back([&source, p] {
                for (int i = 0; i < framesPerProducer; ++i) {
                    source.push(countedFrame(p * framesPerProducer + i));
                    if (i % 64 == 0)
                        std::this_thread::yield();
                }
            });
    }

    /// Until the producers are done, starts and stops things in an order that is different every time.
    void storm(CxFrameSource& source, const std::vector<IxPipeItem*>& items)
    {
        for (unsigned seed : {1U, 2U})
            m_storms.emplace_back([&, seed] {
                std::minstd_rand random(seed);
                while (!m_isCalm) {
                    IxPipeItem& item = *items[random() % items.size()];
                    switch (random() % 8) {
                    case 0:
                        StopPipe(source);
                        break;
                    case 1:
                        item.setState(IxPipeItem::StateStopped);
                        break;
                    case 2:
                        item.setState(IxPipeItem::StateStarted);
                        break;
                    case 3:
                        item.setQueue(1 + static_cast<int>(random() % 9), GetParam());
                        item.setName(QString::number(random()));
                        break;
                    default:
                        StartPipe(source);
                        std::this_thread::sleep_for(std::chrono::microseconds(random() % 500));
                    }
                }
            });
    }

    void finish()
    {
        for (std::thread& producer : m_producers)
            producer.join();
        m_isCalm = true;
        for (std::thread& thread : m_storms)
            thread.join();
    }

private:
    std::vector<std::thread> m_producers;
    std::vector<std::thread> m_storms;
    std::atomic<bool> m_isCalm{false};
};

TEST_P(Stress, AccountsForEveryFrameThroughStartAndStopStorms)
{
    std::atomic<std::uint64_t> seen{0};
    {
        CxFrameSource source;
        Stage picky([](CxImageData& frame) { return frame.frameNo() % 10 != 0; });
        CxFrameSink fast([&](CxImageData&) { ++seen; });
        CxFrameSink slow([&](CxImageData& frame) {
            ++seen;
            if (frame.frameNo() % 16 == 0)
                std::this_thread::sleep_for(std::chrono::microseconds(100));
        });
        ASSERT_TRUE(source.addSuccessor(&picky));
        ASSERT_TRUE(picky.addSuccessor(&slow));
        ASSERT_TRUE(picky.addSuccessor(&fast));
        const std::vector<IxPipeItem*> items{&source, &picky, &slow, &fast};
        for (IxPipeItem* item : items)
            ASSERT_TRUE(item->setQueue(4, GetParam()));
        ASSERT_TRUE(StartPipe(source));
        produce(source);
        storm(source, items);
        finish();

        ASSERT_TRUE(StopPipe(source));
        for (IxPipeItem* item : items) {
            EXPECT_TRUE(item->setState(IxPipeItem::StateStopped));
            EXPECT_EQ(item->statistics().received, settled(item->statistics())) << item->name().toStdString();
            EXPECT_EQ(0U, item->statistics().waiting);
        }
        EXPECT_EQ(std::uint64_t{producerCount * framesPerProducer}, source.statistics().received);
        EXPECT_EQ(source.statistics().processed, picky.statistics().received);
        EXPECT_EQ(picky.statistics().processed, fast.statistics().received);
        EXPECT_EQ(picky.statistics().processed, slow.statistics().received);
        EXPECT_EQ(seen, fast.statistics().processed + slow.statistics().processed);
        EXPECT_LT(0U, seen);
    }
    EXPECT_EQ(0, CountedFrame::alive);
}

TEST_P(Stress, LosesNothingButWhatItDropsWithoutStops)
{
    {
        std::atomic<std::uint64_t> seen{0};
        CxFrameSource source;
        Stage middle;
        CxFrameSink sink([&](CxImageData&) { ++seen; });
        ASSERT_TRUE(source.addSuccessor(&middle));
        ASSERT_TRUE(middle.addSuccessor(&sink));
        for (IxPipeItem* item : {static_cast<IxPipeItem*>(&source), static_cast<IxPipeItem*>(&middle),
                                 static_cast<IxPipeItem*>(&sink)})
            ASSERT_TRUE(item->setQueue(3, GetParam()));
        ASSERT_TRUE(StartPipe(source));
        produce(source);
        finish();
        ASSERT_TRUE(DrainPipe(source));
        const std::uint64_t dropped =
            source.statistics().dropped + middle.statistics().dropped + sink.statistics().dropped;
        EXPECT_EQ(std::uint64_t{producerCount * framesPerProducer}, seen + dropped);
        if (GetParam() == QueueBlocks) {
            EXPECT_EQ(0U, dropped);
        }
    }
    EXPECT_EQ(0, CountedFrame::alive);
}

TEST_P(Stress, SurvivesItemsThatAreDestroyedWhileTheyRun)
{
    for (int round = 0; round < 100; ++round) {
        std::optional<Stage> middle(std::in_place);
        CxFrameSource source;
        std::optional<CxFrameSink> sink(std::in_place, [](CxImageData&) {});
        ASSERT_TRUE(source.addSuccessor(&*middle));
        ASSERT_TRUE(middle->addSuccessor(&*sink));
        for (IxPipeItem* item : {static_cast<IxPipeItem*>(&*middle), static_cast<IxPipeItem*>(&*sink)})
            ASSERT_TRUE(item->setQueue(1, GetParam()));
        ASSERT_TRUE(StartPipe(source));
        std::thread producer([&] {
            for (int i = 0; i < 50; ++i)
                source.push(countedFrame(i));
        });
        if (round % 2 == 0)
            middle.reset();
        sink.reset();
        producer.join();
    }
    EXPECT_EQ(0, CountedFrame::alive);
}

INSTANTIATE_TEST_SUITE_P(BothPolicies, Stress, ::testing::Values(QueueBlocks, QueueDropsOldest),
                         [](const auto& policy) {
                             return policy.param == QueueBlocks ? "Blocking" : "Dropping";
                         });

}  // namespace
}  // namespace ko::test
