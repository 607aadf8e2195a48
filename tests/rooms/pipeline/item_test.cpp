#include "rooms/pipeline/stage.h"

#include "support/log_capture.h"

#include <gmock/gmock.h>

#include <array>
#include <thread>
#include <vector>

#include <pthread.h>

namespace ko::test {
namespace {

using ::testing::ElementsAre;

void ignore(CxImageData&) {}

TEST(ItemSettings, NameTheItemAndItsWorker)
{
    Stage one;
    Stage other;
    EXPECT_NE(one.name(), other.name());
    EXPECT_EQ(one.name(), one.title());
    EXPECT_EQ(one.name(), one.myThread()->objectName());
    EXPECT_TRUE(one.setName("debayer"));
    EXPECT_EQ(QString("debayer"), one.name());
    EXPECT_EQ(QString("debayer"), one.title());
    EXPECT_EQ(QString("debayer"), one.myThread()->objectName());
}

TEST(ItemSettings, NameTheThreadForDebuggers)
{
    std::array<char, 16> name{};
    Stage stage;
    stage.onSetupStop = [&] { pthread_getname_np(pthread_self(), name.data(), name.size()); };
    ASSERT_TRUE(stage.setName("debayer"));
    ASSERT_TRUE(stage.setState(IxPipeItem::StateStarted));
    ASSERT_TRUE(stage.setState(IxPipeItem::StateStopped));
    EXPECT_STREQ("debayer", name.data());
}

TEST(ItemSettings, StartWithAQueueThatBlocksAndNoFlags)
{
    const Stage stage;
    EXPECT_EQ(8, stage.queueCapacity());
    EXPECT_EQ(QueueBlocks, stage.queuePolicy());
    EXPECT_EQ(IxPipeItem::ExFlags(), stage.flags());
    EXPECT_TRUE(stage.isValid());
    EXPECT_TRUE(stage.isStopped());
    EXPECT_EQ(0, stage.calcFps());
}

TEST(ItemSettings, RefuseQueuesThatCannotBe)
{
    Stage stage;
    EXPECT_FALSE(stage.setQueue(0, QueueBlocks));
    EXPECT_FALSE(stage.setQueue(-1, QueueDropsOldest));
    EXPECT_FALSE(stage.setQueue(1, static_cast<ExQueuePolicy>(2)));
    EXPECT_EQ(8, stage.queueCapacity());
    EXPECT_TRUE(stage.setQueue(1, QueueDropsOldest));
    EXPECT_EQ(1, stage.queueCapacity());
    EXPECT_EQ(QueueDropsOldest, stage.queuePolicy());
}

TEST(ItemSettings, SurviveSavingAndLoading)
{
    Stage saved;
    ASSERT_TRUE(saved.setName("a"));
    ASSERT_TRUE(saved.setQueue(3, QueueDropsOldest));
    Stage loaded;
    EXPECT_TRUE(loaded.loadSettings(saved.saveSettings()));
    EXPECT_EQ(saved.saveSettings(), loaded.saveSettings());
    EXPECT_EQ(QString("a"), loaded.myThread()->objectName());
    EXPECT_EQ(3, loaded.queueCapacity());
    EXPECT_EQ(QueueDropsOldest, loaded.queuePolicy());
}

TEST(ItemSettings, LoadWhatTheMapHasOrNothingAtAll)
{
    Stage stage;
    const QVariantMap before = stage.saveSettings();
    EXPECT_TRUE(stage.loadSettings({{"unknown", 1}}));
    EXPECT_EQ(before, stage.saveSettings());
    for (const QVariantMap& bad : {QVariantMap{{"name", "x"}, {"queueCapacity", 0}},
                                   QVariantMap{{"name", "x"}, {"queueCapacity", "many"}},
                                   QVariantMap{{"name", "x"}, {"queuePolicy", 2}},
                                   QVariantMap{{"name", QVariantMap()}, {"queueCapacity", 5}}}) {
        EXPECT_FALSE(stage.loadSettings(bad));
        EXPECT_EQ(before, stage.saveSettings());
    }
    EXPECT_TRUE(stage.loadSettings({{"queueCapacity", 5}}));
    EXPECT_EQ(5, stage.queueCapacity());
    EXPECT_EQ(before["name"], stage.name());
}

TEST(ItemSettings, AreRefusedWhileStarted)
{
    Stage stage;
    const QVariantMap before = stage.saveSettings();
    ASSERT_TRUE(stage.setState(IxPipeItem::StateStarted));
    EXPECT_FALSE(stage.setName("x"));
    EXPECT_FALSE(stage.setQueue(1, QueueBlocks));
    EXPECT_FALSE(stage.loadSettings({{"name", "x"}}));
    EXPECT_EQ(before, stage.saveSettings());
}

TEST(ItemSettings, KnowNoWidget)
{
    Stage stage;
    EXPECT_FALSE(stage.hasConfigurationWidget());
    EXPECT_EQ(nullptr, stage.configurationWidget(nullptr));
}

TEST(ItemState, FollowsStartAndStop)
{
    Stage stage;
    EXPECT_TRUE(stage.setState(IxPipeItem::StateStopped));
    EXPECT_TRUE(stage.setState(IxPipeItem::StateStarted));
    EXPECT_TRUE(stage.setState(IxPipeItem::StateStarted));
    EXPECT_TRUE(stage.isStarted());
    EXPECT_FALSE(stage.isStopped());
    EXPECT_EQ(IxPipeItem::StateStarted, stage.state_noLock());
    EXPECT_TRUE(stage.myThread()->isRunning());
    EXPECT_TRUE(stage.setState(IxPipeItem::StateStopped));
    EXPECT_TRUE(stage.isStopped());
}

TEST(ItemState, StaysStoppedWhereTheItemIsNotValidOrRefuses)
{
    CxFrameSink invalid(nullptr);
    Stage refusing;
    refusing.onSetupStart = [] { return false; };
    for (IxPipeItem* item : {static_cast<IxPipeItem*>(&invalid), static_cast<IxPipeItem*>(&refusing)}) {
        const LogCapture log;
        EXPECT_FALSE(item->setState(IxPipeItem::StateStarted));
        EXPECT_TRUE(item->isStopped());
        ASSERT_EQ(1U, log.records().size());
        EXPECT_EQ(QtWarningMsg, log.records()[0].type);
        EXPECT_EQ(item->name() + ": cannot be started", log.records()[0].text);
    }
    refusing.onSetupStart = []() -> bool { throw 7; };
    EXPECT_FALSE(refusing.setState(IxPipeItem::StateStarted));
    refusing.onSetupStart = nullptr;
    EXPECT_TRUE(refusing.setState(IxPipeItem::StateStarted));
}

TEST(ItemState, RunsTheSetupBeforeAndAfterTheWorkAndIsNotChangedFromThere)
{
    Stage stage;
    std::vector<std::string> calls;
    stage.onSetupStart = [&] {
        calls.push_back("start");
        EXPECT_FALSE(stage.setState(IxPipeItem::StateStarted));
        EXPECT_FALSE(stage.setState(IxPipeItem::StateStopped));
        return true;
    };
    stage.work = [&](CxImageData&) {
        calls.push_back("work");
        EXPECT_EQ(stage.myThread(), QThread::currentThread());
        return true;
    };
    stage.onSetupStop = [&] {
        calls.push_back("stop");
        EXPECT_TRUE(stage.isStarted());
        EXPECT_EQ(stage.myThread(), QThread::currentThread());
    };
    ASSERT_TRUE(stage.setState(IxPipeItem::StateStarted));
    EXPECT_TRUE(stage.onDataAvailable(makeFrame().release(), nullptr));
    EXPECT_TRUE(stage.waitUntilIdle(-1));
    EXPECT_TRUE(stage.setState(IxPipeItem::StateStopped));
    EXPECT_THAT(calls, ElementsAre("start", "work", "stop"));
}

TEST(ItemState, CanBeLeftByTheWorkerItself)
{
    Stage stage;
    stage.work = [&](CxImageData&) {
        EXPECT_TRUE(stage.setState(IxPipeItem::StateStopped));
        EXPECT_TRUE(stage.setState(IxPipeItem::StateStopped));
        EXPECT_FALSE(stage.setState(IxPipeItem::StateStarted)) << "it would have to wait for itself";
        EXPECT_TRUE(stage.isStarted());
        return true;
    };
    ASSERT_TRUE(stage.setState(IxPipeItem::StateStarted));
    EXPECT_TRUE(stage.onDataAvailable(makeFrame().release(), nullptr));
    ASSERT_TRUE(stage.waitUntilIdle(-1));
    EXPECT_TRUE(stage.setState(IxPipeItem::StateStopped));
    EXPECT_TRUE(stage.isStopped());
    EXPECT_EQ(1U, stage.statistics().processed);
}

/// Forgets to retire.
class Forgetful : public IxDataProcessor {
public:
    Forgetful() : IxDataProcessor(ExFlags()) {}

protected:
    bool processData(IxData*, IxData*&) override { return false; }
};

TEST(ItemState, IsMissedWhereTheDestructorOfAClassDoesNotRetire)
{
    LogCapture log;
    QString name;
    {
        Stage stage;
        const Forgetful item;
        name = item.name();
    }
    ASSERT_EQ(1U, log.records().size());
    EXPECT_EQ(QtWarningMsg, log.records()[0].type);
    EXPECT_EQ(name + ": destroyed without a call of retire in the destructor of its class",
              log.records()[0].text);
}

TEST(ItemConnections, NeedBothSidesToAccept)
{
    Stage stage;
    CxFrameSource source;
    CxFrameSink sink(&ignore);
    EXPECT_FALSE(stage.addSuccessor(nullptr));
    EXPECT_FALSE(stage.addPrecedessor(nullptr));
    EXPECT_FALSE(stage.acceptAsSuccessor(nullptr));
    EXPECT_FALSE(stage.acceptAsPrecedessor(nullptr));
    EXPECT_FALSE(stage.addSuccessor(&source)) << "takes no input";
    EXPECT_FALSE(sink.addSuccessor(&stage)) << "makes no output";
    EXPECT_TRUE(source.addSuccessor(&stage));
    EXPECT_TRUE(sink.addPrecedessor(&stage));
    EXPECT_FALSE(stage.addSuccessor(&sink)) << "connected already";
    EXPECT_TRUE(stage.removeSuccessor(&sink));
    EXPECT_FALSE(stage.removeSuccessor(&sink));
    EXPECT_TRUE(stage.addSuccessor(&sink));
    EXPECT_TRUE(sink.removePrecedessor(&stage));
    EXPECT_FALSE(sink.removePrecedessor(nullptr));
    EXPECT_FALSE(sink.removeSuccessor(nullptr));
}

TEST(ItemConnections, FollowFlagsAddedLater)
{
    Stage one;
    Stage other;
    other.addFlags(IxPipeItem::FlagNoInput);
    EXPECT_FALSE(one.addSuccessor(&other));
    other.addFlags(IxPipeItem::FlagNoOutput);
    EXPECT_FALSE(other.addSuccessor(&one));
    EXPECT_EQ(IxPipeItem::FlagNoInput | IxPipeItem::FlagNoOutput, other.flags());
}

TEST(ItemConnections, MakeNoCycles)
{
    Stage a;
    Stage b;
    Stage c;
    EXPECT_FALSE(a.addSuccessor(&a));
    ASSERT_TRUE(a.addSuccessor(&b));
    ASSERT_TRUE(b.addSuccessor(&c));
    EXPECT_FALSE(c.addSuccessor(&a));
    EXPECT_TRUE(a.addSuccessor(&c));
}

TEST(ItemConnections, StayWhileEitherSideIsStarted)
{
    Stage a;
    Stage b;
    Stage c;
    ASSERT_TRUE(a.addSuccessor(&b));
    ASSERT_TRUE(b.setState(IxPipeItem::StateStarted));
    EXPECT_FALSE(a.removeSuccessor(&b));
    EXPECT_FALSE(b.addSuccessor(&c));
    EXPECT_FALSE(c.addSuccessor(&b));
}

TEST(ItemConnections, EndWithEitherSide)
{
    Stage a;
    {
        Stage b;
        Stage c;
        ASSERT_TRUE(a.addSuccessor(&b));
        ASSERT_TRUE(c.addSuccessor(&a));
    }
    ASSERT_TRUE(StartPipe(a));
    EXPECT_TRUE(a.onDataAvailable(makeFrame().release(), nullptr));
    EXPECT_TRUE(DrainPipe(a));
    EXPECT_EQ(1U, a.statistics().processed);
}

TEST(ItemConnections, TestTheFormatOfTheLastFrameMade)
{
    class OnlyColour : public Stage {
    public:
        bool acceptsData(const IxDataInfo* info) override
        {
            const auto* const image = dynamic_cast<const CxImageDataInfo*>(info);
            return image != nullptr && image->info().channels == 3;
        }
    } colour;
    Stage stage;
    EXPECT_EQ(nullptr, stage.currentInputDataInfo());
    EXPECT_EQ(nullptr, stage.currentOutputDataInfo());
    ASSERT_TRUE(stage.setState(IxPipeItem::StateStarted));
    ASSERT_TRUE(stage.onDataAvailable(makeFrame().release(), nullptr));
    ASSERT_TRUE(stage.waitUntilIdle(-1));
    ASSERT_TRUE(stage.setState(IxPipeItem::StateStopped));

    for (IxDataInfo* current : {stage.currentInputDataInfo(), stage.currentOutputDataInfo()}) {
        const std::unique_ptr<IxDataInfo> info(current);
        ASSERT_NE(nullptr, dynamic_cast<CxImageDataInfo*>(current));
        EXPECT_EQ(8, dynamic_cast<CxImageDataInfo*>(current)->info().width);
    }
    Stage any;
    CxFrameSink sink(&ignore);
    EXPECT_FALSE(stage.addSuccessor(&colour)) << "the frames are mono";
    EXPECT_TRUE(stage.addSuccessor(&any));
    EXPECT_TRUE(stage.addSuccessor(&sink));
}

TEST(ItemQuery, PassesTheFormatAndTheMetadataThrough)
{
    Stage stage;
    SxImageInfo info;
    info.width = 12;
    const CxImageDataInfo input(info);
    CxMetadata from;
    from.set("gain", 1);
    CxMetadata to;
    IxDataInfo* output = nullptr;
    EXPECT_FALSE(stage.queryOutputDataInfo(nullptr, output, nullptr, nullptr));
    EXPECT_EQ(nullptr, output);
    const IxDataInfo withoutCopies;
    EXPECT_FALSE(stage.queryOutputDataInfo(&withoutCopies, output, nullptr, nullptr));
    EXPECT_EQ(nullptr, output);
    ASSERT_TRUE(stage.queryOutputDataInfo(&input, output, &from, &to));
    const std::unique_ptr<IxDataInfo> owned(output);
    EXPECT_EQ(12, dynamic_cast<CxImageDataInfo&>(*output).info().width);
    EXPECT_EQ(from, to);
}

}  // namespace
}  // namespace ko::test
