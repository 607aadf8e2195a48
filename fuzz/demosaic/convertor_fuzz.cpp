// The convertor as a pipe would use it, but on this thread.
#include "fuzz/demosaic/families.h"
#include "fuzz/support/refusal.h"

#include <ko/bayer.h>
#include <ko/demosaic/convertor.h>

#include <memory>

namespace ko::fuzz {

namespace {

constexpr std::initializer_list<ExBayerGrid> grids = {BayerBGGR, BayerRGGB, BayerGBRG, BayerGRBG, BayerNone};

class Convertor : public CxDemosaicConvertor {
public:
    using CxDemosaicConvertor::processData;
};

void configure(ByteReader& in, Convertor& convertor)
{
    const auto source = in.code({CxDemosaicConvertor::GridFromImage, CxDemosaicConvertor::GridFromSettings});
    const ExBayerGrid grid = in.code(grids);
    const auto algorithm = in.code({CxDemosaicConvertor::AlgorithmSimple});
    require(convertor.setBayerGridSource(source) && convertor.bayerGridSource() == source, "another source");
    const bool isSet = convertor.setBayerGrid(grid);
    require(convertor.bayerGrid() == (isSet ? grid : BayerNone), "another grid");
    require(convertor.setAlgorithm(algorithm) && convertor.algorithm() == algorithm, "another algorithm");
}

void addRows(Outcome& out, const SxImageBuf& image)
{
    out.add(static_cast<const SxImageInfo&>(image));
    const auto bytes = static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.channels) *
                       static_cast<std::size_t>(bytesPerSample(image.dataType));
    for (int y = 0; y < image.height; ++y)
        out.addBytes({image.data + std::ptrdiff_t{y} * image.stride, bytes});
}

void convert(ByteReader& in, Outcome& out)
{
    Convertor convertor;
    configure(in, convertor);
    Layout layout = anyLayout(in, {{UInt8, UInt16, UInt8, UInt16, Int16}, {1, 1, 1, 3}});
    layout.width &= in.oneIn(8) ? ~0 : ~1;
    layout.height &= in.oneIn(8) ? ~0 : ~1;
    FuzzImage mosaic(in, layout);
    if (mosaic.isSound())
        mosaic->bayerGrid = in.code(grids);
    const Refusal refusal(std::int64_t{mosaic->width} * mosaic->height > 100000);
    auto frame = std::make_unique<CxImageData>();
    frame->setImageShallow(mosaic, in.integer(), in.raw<std::uint64_t>(), {});
    frame->metadata().set(QStringLiteral("exposure"), 5);

    IxData* output = nullptr;
    const bool isConverted = convertor.processData(frame.get(), output);
    require(isConverted == (output != nullptr), "status and output contradict each other");
    require(mosaic.isUntouched(), "the mosaic has changed");
    out.add(isConverted);
    if (!isConverted)
        return;
    static_cast<void>(frame.release());
    const std::unique_ptr<IxData> owned(output);
    auto& colour = dynamic_cast<CxImageData&>(*output);
    require(colour.metadata().value(QStringLiteral("exposure")) == 5, "the metadata is lost");
    addRows(out, colour.image());
}

void query(ByteReader& in, Outcome& out)
{
    Convertor convertor;
    configure(in, convertor);
    const FuzzImage image(in, anyLayout(in, {everyType, everyChannels}));
    SxImageInfo info = image.buf();
    info.bayerGrid = in.code(grids);
    const CxImageDataInfo described(info);
    const IxDataInfo plain;
    const IxDataInfo* const asked[] = {&described, &described, &described, &plain, nullptr};
    CxMetadata before, after;
    before.set(QStringLiteral("gain"), in.integer());
    IxDataInfo* answer = nullptr;
    const IxDataInfo* const input = asked[in.below(5)];
    const CxMetadata* const from = in.flag() ? &before : nullptr;
    CxMetadata* const to = in.flag() ? &after : nullptr;
    const bool isKnown = convertor.queryOutputDataInfo(input, answer, from, to);
    require(!isKnown || from == nullptr || to == nullptr || before == after, "the metadata is lost");
    require(isKnown == (answer != nullptr), "status and answer contradict each other");
    const std::unique_ptr<IxDataInfo> owned(answer);
    out.add(isKnown);
    if (isKnown)
        out.add(dynamic_cast<CxImageDataInfo&>(*answer).info());
}

}  // namespace

Cases convertorCases()
{
    return {{"convertor: convert", &convert}, {"convertor: query", &query}};
}

}  // namespace ko::fuzz
