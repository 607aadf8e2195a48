#include <ko/gstreamer.h>

#include "support/log_capture.h"

#include <ko/cpp/image.h>

#include <gmock/gmock.h>

#include <QCoreApplication>

#include <gst/gst.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <numeric>
#include <thread>
#include <utility>
#include <vector>

namespace ko::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr int patience = 60000;  // milliseconds

/// A source with a function behind it.
class SourceRun {
public:
    explicit SourceRun(
        const QString& description, CxFrameSink::Callback callback = [](CxImageData&) {})
        : source(description), sink(std::move(callback))
    {
        source.addSuccessor(&sink);
    }

    /// Starts, waits until every frame has arrived, stops.
    void toTheEnd()
    {
        ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
        EXPECT_TRUE(source.waitUntilEnded(patience));
        EXPECT_TRUE(DrainPipe(source, patience));
        EXPECT_TRUE(StopPipe(source));
    }

    CxGstSource source;
    CxFrameSink sink;
};

/// Keeps the last frame beyond its own life.
class Keeper : public IxDataProcessor {
public:
    explicit Keeper(std::unique_ptr<IxData>& frame) : m_frame(frame) {}
    ~Keeper() override { retire(); }

protected:
    bool processData(IxData* input, IxData*&) override
    {
        m_frame.reset(input);
        return true;
    }

private:
    std::unique_ptr<IxData>& m_frame;
};

QString errorOf(const QString& description)
{
    const LogCapture log;
    CxGstSource source(description);
    EXPECT_FALSE(StartPipe(source));
    EXPECT_TRUE(source.isStopped());
    EXPECT_FALSE(source.errorText().contains(QLatin1Char('\n')));
    return source.errorText();
}

/// The format of frames that consist of zeros and have these caps. The size is odd.
SxImageInfo formatOf(const QString& caps)
{
    SxImageInfo info;
    SourceRun run(
        QStringLiteral("fakesrc num-buffers=1 sizetype=fixed sizemax=1000 filltype=zero format=time ! "
                       "%1, width=7, height=3, framerate=1/1")
            .arg(caps),
        [&](CxImageData& frame) { info = frame.image(); });
    run.toTheEnd();
    EXPECT_EQ("", run.source.errorText().toStdString());
    return info;
}

TEST(GstSource, SendsTheFramesOfAStreamInOrder)
{
    std::vector<int> numbers;
    std::vector<std::uint64_t> times;
    SourceRun run(
        QStringLiteral(
            "videotestsrc num-buffers=5 ! video/x-bayer,format=grbg,width=8,height=4,framerate=10/1"),
        [&](CxImageData& frame) {
            numbers.push_back(frame.frameNo());
            times.push_back(frame.timestamp());
            EXPECT_TRUE(frame.dateTime().isValid());
        });
    run.toTheEnd();
    EXPECT_THAT(numbers, ElementsAre(0, 1, 2, 3, 4));
    EXPECT_THAT(times, ElementsAre(0U, 100000000U, 200000000U, 300000000U, 400000000U));
    EXPECT_TRUE(run.source.hasEnded());
    EXPECT_EQ("", run.source.errorText().toStdString());
    const SxGstStatistics counts = run.source.gstStatistics();
    EXPECT_EQ(5U, counts.received);
    EXPECT_EQ(5U, counts.delivered);
    EXPECT_EQ(0U, counts.dropped);
}

TEST(GstSource, StartsAnewWithEveryStart)
{
    std::vector<int> numbers;
    SourceRun run(QStringLiteral("videotestsrc num-buffers=2 ! video/x-raw,format=GRAY8"),
                  [&](CxImageData& frame) { numbers.push_back(frame.frameNo()); });
    run.toTheEnd();
    ASSERT_TRUE(run.source.setDescription(QStringLiteral("nosuchelement")));
    {
        const LogCapture log;
        EXPECT_FALSE(StartPipe(run.source));
    }
    EXPECT_NE("", run.source.errorText().toStdString());
    ASSERT_TRUE(
        run.source.setDescription(QStringLiteral("videotestsrc num-buffers=1 ! video/x-raw,format=RGB")));
    run.toTheEnd();
    EXPECT_EQ("", run.source.errorText().toStdString());
    EXPECT_THAT(numbers, ElementsAre(0, 1, 0));
}

TEST(GstSource, KnowsTheFormatsOfMosaics)
{
    const SxImageInfo bytes = formatOf(QStringLiteral("video/x-bayer, format=gbrg"));
    EXPECT_EQ(7, bytes.width);
    EXPECT_EQ(3, bytes.height);
    EXPECT_EQ(1, bytes.channels);
    EXPECT_EQ(UInt8, bytes.dataType);
    EXPECT_EQ(8, bytes.bitsPerSample);
    EXPECT_EQ(BayerGBRG, bytes.bayerGrid);
    const struct {
        const char* order;
        ExBayerGrid grid;
    } orders[] = {{"bggr", BayerBGGR}, {"gbrg", BayerGBRG}, {"grbg", BayerGRBG}, {"rggb", BayerRGGB}};
    for (const auto& [order, grid] : orders)
        for (const int bits : {10, 12, 14, 16})
            for (const char* const end : {"le", "be"}) {
                const QString caps =
                    QStringLiteral("video/x-bayer, format=%1%2%3").arg(order).arg(bits).arg(end);
                const SxImageInfo words = formatOf(caps);
                EXPECT_EQ(UInt16, words.dataType) << caps.toStdString();
                EXPECT_EQ(bits, words.bitsPerSample) << caps.toStdString();
                EXPECT_EQ(grid, words.bayerGrid) << caps.toStdString();
            }
}

TEST(GstSource, KnowsTheFormatsOfPictures)
{
    const struct {
        const char* name;
        int channels;
        ExImageDataType type;
    } formats[] = {{"GRAY8", 1, UInt8}, {"GRAY16_LE", 1, UInt16}, {"RGB", 3, UInt8},
                   {"RGBx", 4, UInt8},  {"RGBA", 4, UInt8},       {"RGBA64_LE", 4, UInt16}};
    for (const auto& [name, channels, type] : formats) {
        const SxImageInfo info = formatOf(QStringLiteral("video/x-raw, format=%1").arg(name));
        EXPECT_EQ(7, info.width) << name;
        EXPECT_EQ(channels, info.channels) << name;
        EXPECT_EQ(type, info.dataType) << name;
        EXPECT_EQ(type == UInt8 ? 8 : 16, info.bitsPerSample) << name;
        EXPECT_EQ(BayerNone, info.bayerGrid) << name;
    }
}

TEST(GstSource, RefusesDescriptionsThatAreNone)
{
    EXPECT_THAT(errorOf({}).toStdString(), HasSubstr("is no pipeline"));
    EXPECT_THAT(errorOf(QStringLiteral("videotestsrc ! ! \n identity")).toStdString(),
                HasSubstr("syntax error"));
    EXPECT_EQ("\"nosuchelement\" is no pipeline: no element \"nosuchelement\"",
              errorOf(QStringLiteral("nosuchelement")).toStdString());
    EXPECT_THAT(errorOf(QStringLiteral("videotestsrc nosuchproperty=1")).toStdString(),
                HasSubstr("nosuchproperty"));
    EXPECT_THAT(errorOf(QStringLiteral("videotestsrc ! fakesink")).toStdString(),
                HasSubstr("its end delivers no format"));
    EXPECT_THAT(errorOf(QStringLiteral("audiotestsrc ! pngenc")).toStdString(), HasSubstr("could not link"));
    EXPECT_THAT(errorOf(QStringLiteral("audiotestsrc")).toStdString(),
                HasSubstr("its end delivers no format"));
}

TEST(GstSource, RefusesWhatCannotBeOpened)
{
    EXPECT_THAT(errorOf(QStringLiteral("filesrc location=nosuchfile ! pngdec")).toStdString(),
                HasSubstr("filesrc0: Resource not found. (No such file \"nosuchfile\")"));
    EXPECT_THAT(errorOf(QStringLiteral("v4l2src device=/dev/nosuchdevice")).toStdString(),
                HasSubstr("'/dev/nosuchdevice'"));
}

TEST(GstSource, TellsHowAStreamFailed)
{
    const struct {
        const char* description;
        const char* error;
    } streams[] = {
        {"videotestsrc num-buffers=9 ! identity error-after=3", "Failed after iterations as requested"},
        {"videotestsrc ! capssetter replace=true caps=video/x-raw,format=RGB", "takes its format"},
        {"videotestsrc ! jpegenc ! decodebin", "takes its format"},
    };
    for (const auto& [description, error] : streams) {
        SourceRun run(QString::fromUtf8(description));
        ASSERT_TRUE(StartPipe(run.source)) << run.source.errorText().toStdString();
        EXPECT_TRUE(run.source.waitUntilEnded(patience));
        EXPECT_THAT(run.source.errorText().toStdString(), HasSubstr(error));
        EXPECT_TRUE(run.source.isStarted());
        EXPECT_TRUE(StopPipe(run.source));
        EXPECT_TRUE(run.source.hasEnded());
    }
}

TEST(GstSource, SaysThatFramesHaveNoFormat)
{
    SourceRun run(QStringLiteral("fakesrc num-buffers=3 sizetype=fixed sizemax=100 ! identity"));
    ASSERT_TRUE(StartPipe(run.source));
    EXPECT_TRUE(run.source.waitUntilEnded(patience));
    EXPECT_THAT(run.source.errorText().toStdString(), HasSubstr("frames come without a format"));
    EXPECT_TRUE(StopPipe(run.source));
}

TEST(GstSource, RefusesDescriptionsWithItsOwnElement)
{
    // The first source of a program makes the element known.
    SourceRun(QStringLiteral("videotestsrc num-buffers=1 ! video/x-raw,format=GRAY8")).toTheEnd();
    EXPECT_THAT(errorOf(QStringLiteral("videotestsrc ! koframesink videotestsrc")).toStdString(),
                HasSubstr("cannot be a part of a description"));
}

TEST(GstSource, DropsBuffersThatAreTooShort)
{
    const LogCapture log;
    SourceRun run(QStringLiteral("fakesrc num-buffers=3 sizetype=fixed sizemax=27 format=time ! "
                                 "video/x-bayer, format=rggb, width=7, height=4"));
    run.toTheEnd();
    const SxGstStatistics counts = run.source.gstStatistics();
    EXPECT_EQ(3U, counts.received);
    EXPECT_EQ(0U, counts.delivered);
    EXPECT_EQ(3U, counts.dropped);
}

/// Sends one buffer through a source and returns the samples that arrive.
std::vector<int> samplesOf(const char* caps, const std::vector<std::uint8_t>& bytes)
{
    std::vector<int> samples;
    const QString file = QStringLiteral("ko_gstreamer_test_%1.raw").arg(QCoreApplication::applicationPid());
    static_cast<void>(g_file_set_contents(file.toUtf8().constData(),
                                          reinterpret_cast<const char*>(bytes.data()),
                                          static_cast<gssize>(bytes.size()), nullptr));
    SourceRun run(QStringLiteral("filesrc location=%1 blocksize=%2 ! %3")
                      .arg(file)
                      .arg(bytes.size())
                      .arg(QLatin1String(caps)),
                  [&](CxImageData& frame) {
                      const SxImageBuf& image = frame.image();
                      for (int y = 0; y < image.height; ++y)
                          for (int x = 0; x < image.width * image.channels; ++x)
                              samples.push_back(image.dataType == UInt8
                                                    ? ImageView<const std::uint8_t>(image).row(y)[x]
                                                    : ImageView<const std::uint16_t>(image).row(y)[x]);
                  });
    run.toTheEnd();
    EXPECT_EQ("", run.source.errorText().toStdString());
    std::remove(file.toUtf8().constData());
    return samples;
}

TEST(GstSource, FindsTheRowsOfABuffer)
{
    const char* const caps = "video/x-bayer, format=rggb, width=3, height=2";
    // Filled up to multiples of four, without the last row's filling, and not filled up.
    EXPECT_THAT(samplesOf(caps, {1, 2, 3, 9, 4, 5, 6, 9}), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(samplesOf(caps, {1, 2, 3, 9, 4, 5, 6}), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(samplesOf(caps, {1, 2, 3, 4, 5, 6}), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST(GstSource, KnowsBothOrdersOfBytes)
{
    EXPECT_THAT(samplesOf("video/x-bayer, format=rggb12le, width=2, height=1", {1, 2, 3, 4}),
                ElementsAre(0x201, 0x403));
    EXPECT_THAT(samplesOf("video/x-bayer, format=rggb12be, width=2, height=1", {1, 2, 3, 4}),
                ElementsAre(0x102, 0x304));
}

TEST(GstSource, TakesFramesOverWithoutCopies)
{
    for (const char* const description :
         {"videotestsrc num-buffers=30 ! video/x-bayer,format=rggb,width=63,height=17",
          "videotestsrc num-buffers=30 ! video/x-raw,format=RGB,width=63,height=17",
          "videotestsrc num-buffers=30 ! video/x-raw,format=I420,width=63,height=17 ! videoconvert"}) {
        std::vector<const std::uint8_t*> places;
        SourceRun run(QString::fromUtf8(description),
                      [&](CxImageData& frame) { places.push_back(frame.image().data); });
        run.toTheEnd();
        EXPECT_EQ(30U, run.source.gstStatistics().delivered);
        EXPECT_EQ(0U, run.source.gstStatistics().copies) << description;
        std::sort(places.begin(), places.end());
        places.erase(std::unique(places.begin(), places.end()), places.end());
        EXPECT_GT(30U, places.size()) << "memory is used again";
    }
}

TEST(GstSource, CopiesFramesThatOthersUseToo)
{
    SourceRun run(
        QStringLiteral("videotestsrc num-buffers=5 ! video/x-raw,format=GRAY8 ! tee name=both ! queue ! "
                       "fakesink sync=false enable-last-sample=true both. ! identity"));
    run.toTheEnd();
    EXPECT_EQ(5U, run.source.gstStatistics().delivered);
    EXPECT_LT(0U, run.source.gstStatistics().copies);
}

TEST(GstSource, LeavesThePixelsToWhoTakesTheRecord)
{
    std::vector<Image> taken;
    std::vector<std::uint8_t> first;
    {
        // A ball that moves, so that memory which is written again differs.
        SourceRun run(QStringLiteral("videotestsrc num-buffers=30 pattern=ball ! "
                                     "video/x-raw,format=GRAY8,width=64,height=64"),
                      [&](CxImageData& frame) {
                          if (frame.frameNo() % 3 == 0)
                              taken.push_back(Image::owning(std::exchange(frame.image(), SxImageBuf())));
                          if (frame.frameNo() == 0)
                              first.assign(taken[0]->data, taken[0]->data + 64 * 64);
                          if (frame.frameNo() % 3 == 1)
                              FreeBuffer(frame.image());
                      });
        run.toTheEnd();
        EXPECT_EQ(0U, run.source.gstStatistics().copies);
    }
    ASSERT_EQ(10U, taken.size());
    EXPECT_TRUE(std::equal(first.begin(), first.end(), taken[0]->data));
    for (std::size_t i = 1; i < taken.size(); ++i)
        EXPECT_FALSE(std::equal(first.begin(), first.end(), taken[i]->data)) << i;
}

TEST(GstSource, SendsFramesThatOutliveIt)
{
    std::unique_ptr<IxData> kept;
    {
        CxGstSource source(
            QStringLiteral("videotestsrc num-buffers=9 pattern=snow ! video/x-raw,format=GRAY8,width=64"));
        Keeper keeper(kept);
        ASSERT_TRUE(source.addSuccessor(&keeper));
        ASSERT_TRUE(StartPipe(source));
        EXPECT_TRUE(source.waitUntilEnded(patience));
        EXPECT_TRUE(DrainPipe(source, patience));
    }
    ASSERT_TRUE(kept);
    const SxImageBuf& image = static_cast<CxImageData&>(*kept).image();
    EXPECT_EQ(64, image.width);
    EXPECT_NE(0, std::accumulate(image.data, image.data + imageByteSize(image), 0));
}

TEST(GstSource, HoldsTheStreamBackWhereFramesAreNotToBeDropped)
{
    int count = 0;
    SourceRun run(QStringLiteral("videotestsrc num-buffers=40 ! video/x-raw,format=GRAY8,width=16,height=16"),
                  [&](CxImageData&) {
                      ++count;
                      std::this_thread::sleep_for(std::chrono::milliseconds(1));
                  });
    ASSERT_TRUE(run.source.setQueue(1, QueueBlocks));
    ASSERT_TRUE(run.sink.setQueue(1, QueueBlocks));
    run.toTheEnd();
    EXPECT_EQ(40, count);
}

TEST(GstSource, CountsWhatItDropsForASlowPipe)
{
    const LogCapture log;
    SourceRun run(
        QStringLiteral("videotestsrc num-buffers=200 ! video/x-raw,format=GRAY8,width=16,height=16"),
        [&](CxImageData&) { std::this_thread::sleep_for(std::chrono::milliseconds(2)); });
    ASSERT_TRUE(run.source.setQueue(1, QueueDropsOldest));
    ASSERT_TRUE(run.sink.setQueue(1, QueueBlocks));
    run.toTheEnd();
    const SxGstStatistics counts = run.source.gstStatistics();
    EXPECT_EQ(200U, counts.received);
    EXPECT_LT(0U, counts.dropped);
    EXPECT_EQ(200U, counts.delivered + counts.dropped);
    EXPECT_EQ(counts.delivered, run.sink.statistics().processed);
}

TEST(GstSource, KeepsItsDescriptionAmongTheSettings)
{
    CxGstSource source;
    EXPECT_EQ("", source.description().toStdString());
    ASSERT_TRUE(source.loadSettings({{QStringLiteral("description"), QStringLiteral("videotestsrc")},
                                     {QStringLiteral("queueCapacity"), 3}}));
    EXPECT_EQ("videotestsrc", source.description().toStdString());
    EXPECT_EQ(QVariant(QStringLiteral("videotestsrc")),
              source.saveSettings().value(QStringLiteral("description")));
    EXPECT_FALSE(source.loadSettings({{QStringLiteral("description"), QVariantList{1, 2}}}));
    EXPECT_FALSE(source.loadSettings(
        {{QStringLiteral("description"), QStringLiteral("x")}, {QStringLiteral("queueCapacity"), 0}}));
    EXPECT_EQ("videotestsrc", source.description().toStdString());
    EXPECT_EQ(3, source.queueCapacity());
    ASSERT_TRUE(
        source.setDescription(QStringLiteral("videotestsrc is-live=true ! video/x-raw,format=GRAY8")));
    ASSERT_TRUE(StartPipe(source)) << source.errorText().toStdString();
    EXPECT_FALSE(source.setDescription(QStringLiteral("x")));
    EXPECT_FALSE(source.loadSettings({{QStringLiteral("description"), QStringLiteral("x")}}));
    EXPECT_TRUE(StopPipe(source));
}

}  // namespace
}  // namespace ko::test
