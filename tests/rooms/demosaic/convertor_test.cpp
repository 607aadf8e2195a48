#include "support/allocation_failure.h"
#include "support/failing_new.h"
#include "support/log_capture.h"
#include "support/mosaics.h"

#include <ko/bayer.h>
#include <ko/demosaic.h>

#include <gmock/gmock.h>

#include <cstring>
#include <limits>
#include <memory>

namespace ko::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Frame = std::unique_ptr<IxData>;

class Convertor : public CxDemosaicConvertor {
public:
    using CxDemosaicConvertor::processData;

    /// Null on failure, with the input still there.
    Frame convert(Frame& input)
    {
        IxData* output = nullptr;
        if (!processData(input.get(), output))
            return nullptr;
        static_cast<void>(input.release());
        return Frame(output);
    }
};

struct Mosaic {
    int width = 4, height = 2, channels = 1;
    ExImageDataType type = UInt8;
    int bits = 8;
    ExBayerGrid grid = BayerRGGB;
    int stride = 0;
};

SxImageInfo infoOf(const Mosaic& mosaic)
{
    SxImageInfo info;
    info.width = mosaic.width;
    info.height = mosaic.height;
    info.stride = mosaic.stride;
    info.channels = mosaic.channels;
    info.bitsPerSample = mosaic.bits;
    info.dataType = mosaic.type;
    info.bayerGrid = mosaic.grid;
    return info;
}

/// Samples 0, 1, 2, ... in raster order.
template <class T = std::uint8_t>
std::unique_ptr<CxImageData> frameOf(const Mosaic& mosaic)
{
    SxImageBuf image;
    EXPECT_EQ(ResultOk, AllocBuffer(infoOf(mosaic), image, true));
    for (int y = 0; y < mosaic.height; ++y)
        for (int x = 0; x < mosaic.width * mosaic.channels; ++x) {
            const T value = static_cast<T>(y * mosaic.width + x);
            std::memcpy(image.data + std::ptrdiff_t{y} * image.stride + x * sizeof(T), &value, sizeof(T));
        }
    auto frame = std::make_unique<CxImageData>();
    frame->setImageShallow(image, 7, 12345678901234U, QDateTime::fromSecsSinceEpoch(1000));
    return frame;
}

SxImageBuf& imageOf(const Frame& frame)
{
    return qobject_cast<CxImageData*>(frame.get())->image();
}

std::vector<std::string> messages(const LogCapture& log)
{
    std::vector<std::string> texts;
    for (const LogCapture::Record& record : log.records()) {
        EXPECT_EQ(QtCriticalMsg, record.type);
        texts.push_back(record.text.toStdString());
    }
    return texts;
}

std::string line(const std::string& message)
{
    return "ERROR | \"" + message + "\"";
}

/// What the query says of an image format; null where it refuses.
std::unique_ptr<CxImageDataInfo> query(CxDemosaicConvertor& convertor, const Mosaic& mosaic)
{
    const CxImageDataInfo input(infoOf(mosaic));
    IxDataInfo* output = nullptr;
    const bool isDescribed = convertor.queryOutputDataInfo(&input, output, nullptr, nullptr);
    EXPECT_EQ(isDescribed, output != nullptr);
    return std::unique_ptr<CxImageDataInfo>(dynamic_cast<CxImageDataInfo*>(output));
}

TEST(ConvertorSettings, StartWithTheGridOfTheImageAndTheSimpleAlgorithm)
{
    Convertor convertor;
    EXPECT_EQ(BayerNone, convertor.bayerGrid());
    EXPECT_EQ(CxDemosaicConvertor::GridFromImage, convertor.bayerGridSource());
    EXPECT_EQ(CxDemosaicConvertor::AlgorithmSimple, convertor.algorithm());
    EXPECT_FALSE(convertor.name().isEmpty());
    EXPECT_EQ(convertor.name(), convertor.myThread()->objectName());
    EXPECT_EQ(IxPipeItem::ExFlags(), convertor.flags());
    EXPECT_EQ(IxPipeItem::StateStopped, convertor.state_noLock());
}

TEST(ConvertorSettings, AreRefusedWhileStartedAndAcceptedAgainAfterwards)
{
    Convertor convertor;
    ASSERT_TRUE(convertor.setState(IxPipeItem::StateStarted));
    {
        const LogCapture log;
        EXPECT_FALSE(convertor.setAlgorithm(static_cast<CxDemosaicConvertor::ExDemosaicAlgorithm>(7)));
        EXPECT_FALSE(convertor.setBayerGrid(BayerGBRG));
        EXPECT_FALSE(convertor.setBayerGrid(BayerNone));
        EXPECT_FALSE(convertor.setBayerGridSource(CxDemosaicConvertor::GridFromSettings));
        EXPECT_THAT(messages(log), ::testing::Each(line("The pipe item is started.")));
        EXPECT_EQ(4U, log.records().size());
    }
    EXPECT_EQ(BayerNone, convertor.bayerGrid());
    EXPECT_EQ(CxDemosaicConvertor::GridFromImage, convertor.bayerGridSource());
    EXPECT_EQ(CxDemosaicConvertor::AlgorithmSimple, convertor.algorithm());

    ASSERT_TRUE(convertor.setState(IxPipeItem::StateStopped));
    EXPECT_TRUE(convertor.setBayerGrid(BayerGBRG));
    EXPECT_EQ(BayerGBRG, convertor.bayerGrid());
}

TEST(ConvertorSettings, TakeExactlyTheFourGrids)
{
    Convertor convertor;
    for (const ExBayerGrid grid : grids) {
        EXPECT_TRUE(convertor.setBayerGrid(grid));
        EXPECT_EQ(grid, convertor.bayerGrid());
    }
    for (const int grid : {4, 5, -1, INT_MIN, INT_MAX}) {
        const LogCapture log;
        EXPECT_FALSE(convertor.setBayerGrid(static_cast<ExBayerGrid>(grid)));
        EXPECT_THAT(messages(log), ElementsAre(line("Unsupported Bayer grid.")));
        EXPECT_EQ(BayerGRBG, convertor.bayerGrid());
    }
}

TEST(ConvertorSettings, TakeAnyAlgorithmAndGridSource)
{
    Convertor convertor;
    EXPECT_TRUE(convertor.setAlgorithm(static_cast<CxDemosaicConvertor::ExDemosaicAlgorithm>(-3)));
    EXPECT_EQ(-3, convertor.algorithm());
    EXPECT_TRUE(convertor.setBayerGridSource(static_cast<CxDemosaicConvertor::ExBayerGridSource>(9)));
    EXPECT_EQ(9, convertor.bayerGridSource());
}

TEST(ConvertorSettings, AreNotPersisted)
{
    Convertor convertor;
    const QVariantMap before = convertor.saveSettings();
    ASSERT_TRUE(convertor.setBayerGrid(BayerBGGR));
    EXPECT_EQ(before, convertor.saveSettings());
}

TEST(ConvertorQuery, RefusesNullWithoutAMessage)
{
    Convertor convertor;
    const LogCapture log;
    IxDataInfo* output = nullptr;
    EXPECT_FALSE(convertor.queryOutputDataInfo(nullptr, output, nullptr, nullptr));
    EXPECT_EQ(nullptr, output);
    EXPECT_THAT(messages(log), IsEmpty());
}

TEST(ConvertorQuery, RefusesFormatsThatAreNotOfImages)
{
    struct Other : IxDataInfo {
    } other;
    Convertor convertor;
    const LogCapture log;
    IxDataInfo* output = nullptr;
    EXPECT_FALSE(convertor.queryOutputDataInfo(&other, output, nullptr, nullptr));
    EXPECT_EQ(nullptr, output);
    EXPECT_THAT(messages(log), ElementsAre(line("Unsupported data info.")));
}

TEST(ConvertorQuery, RefusesWhatIsNoMosaicThatCanBeConverted)
{
    const Mosaic refused[] = {
        {.grid = BayerNone},
        {.grid = static_cast<ExBayerGrid>(-1)},
        {.channels = 0},
        {.channels = 2},
        {.channels = 3},
        {.type = Int8},
        {.type = Int16},
        {.type = Float32},
        {.type = static_cast<ExImageDataType>(0)},
        {.width = 5},
        {.height = 3},
    };
    Convertor convertor;
    for (const Mosaic& mosaic : refused) {
        const LogCapture log;
        EXPECT_EQ(nullptr, query(convertor, mosaic));
        EXPECT_THAT(messages(log), ElementsAre(line("Invalid input image.")));
    }
}

TEST(ConvertorQuery, DescribesHalfTheSizeInThreeChannels)
{
    Convertor convertor;
    SxImageInfo input = infoOf({.width = 640, .height = 480, .type = UInt16, .bits = 12, .stride = 4096});
    input.pixelFormat = 5;
    input.packing = Planar;
    input.reserved[0] = 9;
    const CxImageDataInfo held(input);
    IxDataInfo* output = nullptr;
    ASSERT_TRUE(convertor.queryOutputDataInfo(&held, output, nullptr, nullptr));
    const std::unique_ptr<IxDataInfo> owned(output);
    const SxImageInfo info = dynamic_cast<CxImageDataInfo&>(*output).info();
    EXPECT_EQ(320, info.width);
    EXPECT_EQ(240, info.height);
    EXPECT_EQ(1920, info.stride);
    EXPECT_EQ(3, info.channels);
    EXPECT_EQ(12, info.bitsPerSample);
    EXPECT_EQ(UInt16, info.dataType);
    EXPECT_EQ(Interleaved, info.packing);
    EXPECT_EQ(1, info.pixelFormat);
    EXPECT_EQ(BayerNone, info.bayerGrid);
    EXPECT_THAT(info.reserved, ElementsAre(0, 0, 0));
}

TEST(ConvertorQuery, RoundsRowsUpTo32Bytes)
{
    Convertor convertor;
    const auto strideFor = [&](int width) { return query(convertor, {.width = width})->info().stride; };
    EXPECT_EQ(320, strideFor(202));
    EXPECT_EQ(0, strideFor(0));
    EXPECT_EQ(32, strideFor(2));
    EXPECT_EQ(32, strideFor(20));
    EXPECT_EQ(64, strideFor(22));
    EXPECT_EQ(96, strideFor(64));
}

TEST(ConvertorQuery, HasNoSizeForAnotherAlgorithm)
{
    Convertor convertor;
    ASSERT_TRUE(convertor.setAlgorithm(static_cast<CxDemosaicConvertor::ExDemosaicAlgorithm>(7)));
    const SxImageInfo info = query(convertor, {})->info();
    EXPECT_EQ(0, info.width);
    EXPECT_EQ(0, info.height);
    EXPECT_EQ(0, info.stride);
    EXPECT_EQ(3, info.channels);
}

TEST(ConvertorQuery, CopiesMetadataWhereBothAreGiven)
{
    Convertor convertor;
    CxMetadata from;
    from.set("exposure", 20);
    CxMetadata to;
    to.set("gain", 2);
    const CxImageDataInfo input(infoOf({}));
    const auto queryWith = [&](const CxMetadata* source, CxMetadata* target) {
        IxDataInfo* output = nullptr;
        EXPECT_TRUE(convertor.queryOutputDataInfo(&input, output, source, target));
        delete output;
    };
    queryWith(nullptr, &to);
    queryWith(&from, nullptr);
    EXPECT_EQ(QStringList("gain"), to.names());
    queryWith(&from, &to);
    EXPECT_EQ(from, to);
}

TEST(ConvertorQuery, TakesTheGridFromTheSettingsForEverySourceButZero)
{
    Convertor convertor;
    ASSERT_TRUE(convertor.setBayerGridSource(static_cast<CxDemosaicConvertor::ExBayerGridSource>(-1)));
    const LogCapture log;
    EXPECT_EQ(nullptr, query(convertor, {})) << "the settings have no grid yet";
    ASSERT_TRUE(convertor.setBayerGrid(BayerGBRG));
    EXPECT_NE(nullptr, query(convertor, {.grid = BayerNone}));
}

TEST(ConvertorFrames, BecomeOnePixelPerCell)
{
    Convertor convertor;
    Frame input = frameOf({});  // rows 0 1 2 3 and 4 5 6 7, red at 0 and 2
    const Frame output = convertor.convert(input);
    ASSERT_NE(nullptr, output);
    const SxImageBuf& image = imageOf(output);
    EXPECT_EQ(2, image.width);
    EXPECT_EQ(1, image.height);
    EXPECT_EQ(32, image.stride);
    EXPECT_THAT(std::vector<int>(image.data, image.data + 6), ElementsAre(0, 2, 5, 2, 4, 7));
}

TEST(ConvertorFrames, KeepNumberTimestampAndMetadataButTakeTheDateOfNow)
{
    Convertor convertor;
    auto mosaic = frameOf<std::uint16_t>({.width = 640, .height = 480, .type = UInt16, .bits = 12});
    mosaic->metadata().set("exposure", 20);
    Frame input = std::move(mosaic);
    const QDateTime before = QDateTime::currentDateTime();
    const Frame output = convertor.convert(input);
    ASSERT_NE(nullptr, output);
    auto& frame = dynamic_cast<CxImageData&>(*output);
    EXPECT_EQ(nullptr, frame.parent());
    EXPECT_EQ(7, frame.frameNo());
    EXPECT_EQ(12345678901234U, frame.timestamp());
    EXPECT_EQ(20, frame.metadata().value("exposure"));
    EXPECT_LE(before, frame.dateTime());
    EXPECT_GE(QDateTime::currentDateTime(), frame.dateTime());
    EXPECT_EQ(320, frame.image().width);
    EXPECT_EQ(1920, frame.image().stride);
}

TEST(ConvertorFrames, WithoutAGridPassOnceTheSettingsHaveOne)
{
    Convertor convertor;
    Frame input = frameOf({.grid = BayerNone});
    {
        const LogCapture log;
        EXPECT_EQ(nullptr, convertor.convert(input));
        EXPECT_THAT(messages(log), ElementsAre(line("Invalid input image.")));
    }
    ASSERT_TRUE(convertor.setBayerGridSource(CxDemosaicConvertor::GridFromSettings));
    ASSERT_TRUE(convertor.setBayerGrid(BayerGBRG));
    const Frame output = convertor.convert(input);
    ASSERT_NE(nullptr, output);
    const SxImageBuf& image = imageOf(output);
    EXPECT_THAT(std::vector<int>(image.data, image.data + 3), ElementsAre(4, 2, 1));
}

TEST(ConvertorFrames, WithoutPixelsBecomeFramesWithoutPixels)
{
    Convertor convertor;
    Frame input = frameOf({.width = 0, .height = 0});
    EXPECT_NE(nullptr, convertor.convert(input));
}

TEST(ConvertorFrames, ThatAreNoImagesAreRefused)
{
    Convertor convertor;
    Frame nothing;
    Frame other = std::make_unique<IxData>();
    for (Frame* input : {&nothing, &other}) {
        const LogCapture log;
        EXPECT_EQ(nullptr, convertor.convert(*input));
        EXPECT_THAT(messages(log), ElementsAre(line("Invalid input data.")));
    }
}

TEST(ConvertorFrames, ThatFailStayWithTheCallerAndLeaveTheOutputAlone)
{
    Convertor convertor;
    const std::unique_ptr<CxImageData> input = frameOf({.width = 3});
    IxData marker;
    IxData* output = &marker;
    const LogCapture log;
    EXPECT_FALSE(convertor.processData(input.get(), output));
    EXPECT_EQ(&marker, output);
    EXPECT_NE(nullptr, input->image().data);
}

TEST(ConvertorFrames, FailToDebayerizeForAnotherAlgorithmAndWithoutImage)
{
    Convertor convertor;
    Frame absent = frameOf({});
    FreeBuffer(imageOf(absent));
    Frame present = frameOf({});
    const LogCapture log;
    EXPECT_EQ(nullptr, convertor.convert(absent));
    ASSERT_TRUE(convertor.setAlgorithm(static_cast<CxDemosaicConvertor::ExDemosaicAlgorithm>(7)));
    EXPECT_EQ(nullptr, convertor.convert(present));
    EXPECT_THAT(messages(log), ElementsAre(line("Failed to debayerize the image."),
                                           line("Failed to debayerize the image.")));
}

TEST(ConvertorFrames, FailToAllocateForNegativeAndTooLargeSizes)
{
    Convertor convertor;
    for (const int width : {-2, 1 << 30}) {
        auto frame = std::make_unique<CxImageData>();
        static_cast<SxImageInfo&>(frame->image()) = infoOf({.width = width, .height = 2, .type = UInt16});
        Frame input = std::move(frame);
        const LogCapture log;
        EXPECT_EQ(nullptr, convertor.convert(input));
        EXPECT_THAT(messages(log), ElementsAre(line("Failed to alloc the output image.")));
    }
}

TEST(ConvertorFrames, FailWhenPixelMemoryRunsOut)
{
    Convertor convertor;
    Frame input = frameOf({});
    const LogCapture log;
    const AllocationFailure none(0);
    EXPECT_EQ(nullptr, convertor.convert(input));
    EXPECT_THAT(messages(log), ElementsAre(line("Failed to alloc the output image.")));
}

TEST(ConvertorFrames, FailWithoutLeakWhereverTheHeapRunsOut)
{
    Convertor convertor;
    Frame output;
    for (int granted = 0; !output; ++granted) {
        ASSERT_LT(granted, 100);
        Frame input = frameOf({});
        const LogCapture log;
        const NewFailure heap(granted);
        output = convertor.convert(input);
        if (NewFailure::hasStruck())
            output.reset();
        else
            ASSERT_NE(nullptr, output);
    }
}

TEST(ConvertorSettings, AreRefusedWithoutALineWhereTheHeapHasRunOut)
{
    if (!NewFailure::reachesLibraries())
        GTEST_SKIP() << "Qt would have the memory for a line.";
    Convertor idle, started;
    ASSERT_TRUE(started.setState(IxPipeItem::StateStarted));
    // Its thread needs memory until it waits for the next frame.
    ASSERT_TRUE(started.onDataAvailable(frameOf({}).release(), nullptr));
    ASSERT_TRUE(started.waitUntilIdle(-1));
    const IxDataInfo noImage;
    const CxImageDataInfo oddImage(infoOf({.width = 3}));
    IxDataInfo* description = nullptr;
    IxData* output = nullptr;
    const LogCapture log;
    int refused = 0;
    {
        const NewFailure none(0);
        refused += !idle.setBayerGrid(static_cast<ExBayerGrid>(9));
        refused += !idle.queryOutputDataInfo(&noImage, description, nullptr, nullptr);
        refused += !idle.queryOutputDataInfo(&oddImage, description, nullptr, nullptr);
        refused += !idle.processData(nullptr, output);
        refused += !started.setAlgorithm(CxDemosaicConvertor::AlgorithmSimple);
        refused += !started.setBayerGrid(BayerGBRG);
        refused += !started.setBayerGridSource(CxDemosaicConvertor::GridFromSettings);
    }
    EXPECT_EQ(refused, 7);
    EXPECT_THAT(messages(log), IsEmpty());
}

TEST(ConvertorFrames, FailWhereTheQueryOfADerivedClassRefusesOrDescribesNoImage)
{
    class Odd : public Convertor {
    public:
        bool refuses = true;
        bool queryOutputDataInfo(const IxDataInfo*, IxDataInfo*& output, const CxMetadata*,
                                 CxMetadata*) override
        {
            if (!refuses)
                output = new IxDataInfo;
            return !refuses;
        }
    } odd;
    Frame input = frameOf({});
    const LogCapture log;
    EXPECT_EQ(nullptr, odd.convert(input));
    odd.refuses = false;
    EXPECT_EQ(nullptr, odd.convert(input));
    EXPECT_THAT(messages(log), ElementsAre(line("Failed to query the output format of the data."),
                                           line("Failed to alloc the output image.")));
}

TEST(ConvertorFrames, TakeMetadataFromTheQueryOfADerivedClass)
{
    class Tagging : public Convertor {
    public:
        bool queryOutputDataInfo(const IxDataInfo* input, IxDataInfo*& output, const CxMetadata* from,
                                 CxMetadata* to) override
        {
            const bool isDone = Convertor::queryOutputDataInfo(input, output, from, to);
            to->set("tag", 1);
            return isDone;
        }
    } tagging;
    Frame input = frameOf({});
    const Frame output = tagging.convert(input);
    ASSERT_NE(nullptr, output);
    EXPECT_EQ(1, output->metadata().value("tag"));
}

TEST(ConvertorClass, HasAMetaObjectWithoutMembersOfItsOwn)
{
    const QMetaObject& meta = CxDemosaicConvertor::staticMetaObject;
    EXPECT_STREQ("ko::CxDemosaicConvertor", meta.className());
    EXPECT_EQ(&IxDataProcessor::staticMetaObject, meta.superClass());
    EXPECT_EQ(meta.methodOffset(), meta.methodCount());
    EXPECT_EQ(meta.propertyOffset(), meta.propertyCount());
    EXPECT_EQ(meta.enumeratorOffset(), meta.enumeratorCount());
    EXPECT_EQ(meta.classInfoOffset(), meta.classInfoCount());
    Convertor convertor;
    QObject& object = convertor;
    EXPECT_EQ(&convertor, qobject_cast<CxDemosaicConvertor*>(&object));
    EXPECT_EQ(&convertor, qobject_cast<IxPipeItem*>(&object));
    EXPECT_EQ(QString("text"), CxDemosaicConvertor::tr("text"));
}

/// Position of a virtual operation in the table, counted from the first of `IxPipeItem`'s own.
template <class Member>
std::ptrdiff_t slotOf(Member member)
{
    std::ptrdiff_t offset;
    static_assert(sizeof(member) >= sizeof(offset));
    std::memcpy(&offset, &member, sizeof(offset));
    return (offset - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

class Slots : public CxDemosaicConvertor {
public:
    static std::vector<std::ptrdiff_t> all()
    {
        return {slotOf(&Slots::disconnectNotify),
                slotOf(&Slots::title),
                slotOf(&Slots::setName),
                slotOf(&Slots::queryOutputDataInfo),
                slotOf(&Slots::currentOutputDataInfo),
                slotOf(&Slots::currentInputDataInfo),
                slotOf(&Slots::calcFps),
                slotOf(&Slots::isStarted),
                slotOf(&Slots::isStopped),
                slotOf(&Slots::isValid),
                slotOf(&Slots::loadSettings),
                slotOf(&Slots::saveSettings),
                slotOf(&Slots::hasConfigurationWidget),
                slotOf(&Slots::configurationWidget),
                slotOf(&Slots::setState),
                slotOf(&Slots::addFlags),
                slotOf(&Slots::addSuccessor),
                slotOf(&Slots::removeSuccessor),
                slotOf(&Slots::addPrecedessor),
                slotOf(&Slots::removePrecedessor),
                slotOf(&Slots::acceptAsSuccessor),
                slotOf(&Slots::acceptAsPrecedessor),
                slotOf(&Slots::setupStart),
                slotOf(&Slots::setupStop),
                slotOf(&Slots::processData),
                slotOf(&Slots::acceptsData),
                slotOf(&Slots::onDataAvailable),
                slotOf(&Slots::onPipeStarted),
                slotOf(&Slots::onPipeStopped)};
    }
};

TEST(ConvertorClass, KeepsTheOrderOfItsVirtualOperations)
{
    const std::vector<std::ptrdiff_t> offsets = Slots::all();
    for (std::size_t i = 1; i < offsets.size(); ++i)
        EXPECT_EQ(offsets[i - 1] + 1, offsets[i]) << "operation " << i;
}

TEST(ConvertorPipe, ConvertsEveryFrameOfAStream)
{
    std::vector<int> numbers;
    CxFrameSource source;
    CxDemosaicConvertor convertor;
    CxFrameSink sink([&](CxImageData& frame) {
        numbers.push_back(frame.frameNo());
        EXPECT_EQ(3, frame.image().channels);
    });
    ASSERT_TRUE(source.addSuccessor(&convertor));
    ASSERT_TRUE(convertor.addSuccessor(&sink));
    ASSERT_TRUE(StartPipe(source));
    for (int i = 0; i < 20; ++i) {
        auto frame = frameOf({});
        frame->setFrameNo(i);
        EXPECT_TRUE(source.push(std::move(frame)));
    }
    EXPECT_TRUE(DrainPipe(source));
    EXPECT_TRUE(StopPipe(source));
    ASSERT_EQ(20U, numbers.size());
    EXPECT_EQ(19, numbers.back());
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
}

TEST(ConvertorFrames, OfTheLowestWidthFailWithoutAnAlgorithmToo)
{
    const LogCapture log;
    Convertor convertor;
    ASSERT_TRUE(convertor.setAlgorithm(static_cast<CxDemosaicConvertor::ExDemosaicAlgorithm>(1)));
    Frame frame = frameOf({});
    imageOf(frame).width = std::numeric_limits<int>::min();
    EXPECT_EQ(nullptr, convertor.convert(frame));
}

}  // namespace
}  // namespace ko::test
