// The classes of the pipeline as programs see them: members by their exact types, and use from outside.
#include "exported.h"

#include <ko/koimproc.h>

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

namespace ko::test {
namespace {

/// Whether `Member` is exactly a `Signature`.
template <class Signature, class Member>
constexpr bool is(Member)
{
    return std::is_same_v<Signature, Member>;
}

static_assert(std::is_base_of_v<QObject, IxPipeItem> && std::is_abstract_v<IxPipeItem>);
static_assert(IxPipeItem::StateStopped == 0 && IxPipeItem::StateStarted == 1);
static_assert(is<QString (IxPipeItem::*)() const>(&IxPipeItem::name));
static_assert(is<QThread* (IxPipeItem::*)() const>(&IxPipeItem::myThread));
static_assert(is<IxPipeItem::ExState (IxPipeItem::*)() const>(&IxPipeItem::state_noLock));
static_assert(is<bool (IxPipeItem::*)() const>(&IxPipeItem::isStarted));
static_assert(is<bool (IxPipeItem::*)() const>(&IxPipeItem::isStopped));
static_assert(is<bool (IxPipeItem::*)(IxPipeItem::ExState)>(&IxPipeItem::setState));

static_assert(std::is_default_constructible_v<CxMetadata> && std::is_copy_constructible_v<CxMetadata> &&
              std::is_copy_assignable_v<CxMetadata>);
static_assert(std::is_base_of_v<QObject, IxData> && std::has_virtual_destructor_v<IxData>);
static_assert(is<void (IxData::*)(const CxMetadata&)>(&IxData::setMetadata));
static_assert(std::has_virtual_destructor_v<IxDataInfo>);
static_assert(std::is_base_of_v<IxDataInfo, CxImageDataInfo> &&
              std::is_constructible_v<CxImageDataInfo, const SxImageInfo&> &&
              !std::is_convertible_v<const SxImageInfo&, CxImageDataInfo>);
static_assert(is<const SxImageInfo& (CxImageDataInfo::*)() const>(&CxImageDataInfo::info));

static_assert(std::is_base_of_v<IxData, CxImageData> && std::is_default_constructible_v<CxImageData> &&
              std::is_constructible_v<CxImageData, QObject*>);
static_assert(is<SxImageBuf& (CxImageData::*)()>(&CxImageData::image));
static_assert(is<IxDataInfo* (CxImageData::*)()>(&CxImageData::dataInfo));
static_assert(is<int (CxImageData::*)() const>(&CxImageData::frameNo));
static_assert(is<void (CxImageData::*)(int)>(&CxImageData::setFrameNo));
static_assert(is<std::uint64_t (CxImageData::*)() const>(&CxImageData::timestamp));
static_assert(is<void (CxImageData::*)(std::uint64_t)>(&CxImageData::setTimestamp));
static_assert(is<QDateTime (CxImageData::*)() const>(&CxImageData::dateTime));
static_assert(is<void (CxImageData::*)(const SxImageBuf&, int, std::uint64_t, const QDateTime&)>(
    &CxImageData::setImageShallow));

using Convertor = CxDemosaicConvertor;
static_assert(std::is_base_of_v<IxPipeItem, IxDataProcessor> &&
              std::is_base_of_v<IxDataProcessor, Convertor>);
static_assert(std::is_same_v<std::underlying_type_t<Convertor::ExDemosaicAlgorithm>, std::int32_t>);
static_assert(std::is_same_v<std::underlying_type_t<Convertor::ExBayerGridSource>, std::int32_t>);
static_assert(is<Convertor::ExDemosaicAlgorithm (Convertor::*)()>(&Convertor::algorithm));
static_assert(is<ExBayerGrid (Convertor::*)()>(&Convertor::bayerGrid));
static_assert(is<Convertor::ExBayerGridSource (Convertor::*)()>(&Convertor::bayerGridSource));
static_assert(is<bool (Convertor::*)(Convertor::ExDemosaicAlgorithm)>(&Convertor::setAlgorithm));
static_assert(is<bool (Convertor::*)(ExBayerGrid)>(&Convertor::setBayerGrid));
static_assert(is<bool (Convertor::*)(Convertor::ExBayerGridSource)>(&Convertor::setBayerGridSource));
static_assert(is<bool (Convertor::*)(const IxDataInfo*, IxDataInfo*&, const CxMetadata*, CxMetadata*)>(
    &Convertor::queryOutputDataInfo));

SxImageBuf mosaic()
{
    SxImageInfo info;
    info.width = 8;
    info.height = 6;
    info.channels = 1;
    info.bitsPerSample = 8;
    info.dataType = UInt8;
    info.bayerGrid = BayerRGGB;
    SxImageBuf image;
    EXPECT_EQ(ResultOk, AllocBuffer(info, image, true));
    return image;
}

/// A stage of a program's own between those of the library.
class Counter : public IxDataProcessor {
public:
    ~Counter() override { retire(); }

    int count = 0;

protected:
    bool processData(IxData* input, IxData*& output) override
    {
        ++count;
        return IxDataProcessor::processData(input, output);
    }
};

TEST(PipelineApi, CarriesFramesThroughTheConvertorAndAStageOfAProgram)
{
    int colourFrames = 0;
    CxFrameSource source;
    CxDemosaicConvertor convertor;
    Counter counter;
    CxFrameSink sink([&](CxImageData& frame) { colourFrames += frame.image().channels == 3; });
    ASSERT_TRUE(source.addSuccessor(&convertor));
    ASSERT_TRUE(convertor.addSuccessor(&counter));
    ASSERT_TRUE(counter.addSuccessor(&sink));
    ASSERT_TRUE(StartPipe(source));
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(source.push(mosaic()));
    EXPECT_TRUE(DrainPipe(source));
    EXPECT_TRUE(StopPipe(source));
    EXPECT_EQ(5, counter.count);
    EXPECT_EQ(5, colourFrames);
    EXPECT_EQ(5U, convertor.statistics().processed);
}

TEST(PipelineApi, IsExportedWithTheExactSignatures)
{
    expectExports("libkocore.so.1", {
                                        {"StartPipe", exported<bool(IxPipeItem&)>(&StartPipe)},
                                        {"DrainPipe", exported<bool(IxPipeItem&, int)>(&DrainPipe)},
                                        {"StopPipe", exported<bool(IxPipeItem&)>(&StopPipe)},
                                    });
}

TEST(PipelineApi, TellsClassesApartAcrossTheLibraries)
{
    CxDemosaicConvertor convertor;
    QObject* const object = &convertor;
    EXPECT_STREQ("ko::CxDemosaicConvertor", object->metaObject()->className());
    EXPECT_STREQ("ko::IxDataProcessor", object->metaObject()->superClass()->className());
    EXPECT_NE(nullptr, qobject_cast<IxPipeItem*>(object));

    CxImageData frame;
    frame.setImageShallow(mosaic(), 0, 0, {});
    const std::unique_ptr<IxDataInfo> input(frame.dataInfo());
    IxDataInfo* output = nullptr;
    ASSERT_TRUE(convertor.queryOutputDataInfo(input.get(), output, nullptr, nullptr));
    const std::unique_ptr<IxDataInfo> owned(output);
    ASSERT_NE(nullptr, dynamic_cast<CxImageDataInfo*>(output));
    EXPECT_EQ(4, dynamic_cast<CxImageDataInfo*>(output)->info().width);
}

}  // namespace
}  // namespace ko::test
