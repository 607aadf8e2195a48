#include <ko/demosaic/convertor.h>

#include "base/checks.h"
#include "base/log.h"
#include "core/frame_date.h"

#include <ko/bayer.h>
#include <ko/cpp/image.h>

#include <exception>
#include <memory>
#include <new>
#include <utility>

namespace ko {

namespace {

bool refuse(const QString& message)
{
    logError(message);
    return false;
}

std::unique_ptr<CxImageData> frameOf(Image image, const CxImageData& input, const CxMetadata& metadata)
{
    auto frame = std::make_unique<CxImageData>();
    frame->setImageShallow(image, 0, 0, currentFrameDate());
    static_cast<void>(image.release());
    frame->setTimestamp(input.timestamp());
    frame->setFrameNo(input.frameNo());
    frame->setMetadata(metadata);
    return frame;
}

}  // namespace

CxDemosaicConvertor::CxDemosaicConvertor()
{
    myThread()->setObjectName(name());
}

CxDemosaicConvertor::~CxDemosaicConvertor()
{
    retire();
}

CxDemosaicConvertor::ExDemosaicAlgorithm CxDemosaicConvertor::algorithm()
{
    const QMutexLocker lock(&m_mutex);
    return m_algorithm;
}

ExBayerGrid CxDemosaicConvertor::bayerGrid()
{
    const QMutexLocker lock(&m_mutex);
    return m_bayerGrid;
}

CxDemosaicConvertor::ExBayerGridSource CxDemosaicConvertor::bayerGridSource()
{
    const QMutexLocker lock(&m_mutex);
    return m_bayerGridSource;
}

bool CxDemosaicConvertor::setAlgorithm(ExDemosaicAlgorithm algorithm)
{
    const QMutexLocker lock(&m_mutex);
    if (!maySet())
        return false;
    m_algorithm = algorithm;
    return true;
}

bool CxDemosaicConvertor::setBayerGrid(ExBayerGrid bayerGrid)
{
    const QMutexLocker lock(&m_mutex);
    if (!maySet())
        return false;
    if (!isSupportedGrid(bayerGrid))
        return refuse(QStringLiteral("Unsupported Bayer grid."));
    m_bayerGrid = bayerGrid;
    return true;
}

bool CxDemosaicConvertor::setBayerGridSource(ExBayerGridSource source)
{
    const QMutexLocker lock(&m_mutex);
    if (!maySet())
        return false;
    m_bayerGridSource = source;
    return true;
}

bool CxDemosaicConvertor::maySet() const
{
    if (state_noLock() == StateStarted)
        return refuse(QStringLiteral("The pipe item is started."));
    return true;
}

ExBayerGrid CxDemosaicConvertor::gridToUse(const SxImageInfo& info) const
{
    return m_bayerGridSource != GridFromImage ? m_bayerGrid : info.bayerGrid;
}

bool CxDemosaicConvertor::isSupportedGrid(ExBayerGrid grid) const
{
    return static_cast<std::uint32_t>(grid) <= BayerGRBG;
}

bool CxDemosaicConvertor::checkInput(const SxImageInfo& info) const
{
    return isSupportedGrid(gridToUse(info)) && info.channels == 1 &&
           (info.dataType == UInt8 || info.dataType == UInt16) && info.width % 2 == 0 && info.height % 2 == 0;
}

SxImageInfo CxDemosaicConvertor::outputInfo(const SxImageInfo& input) const
{
    SxImageInfo info;
    if (m_algorithm == AlgorithmSimple) {
        info.width = input.width / 2;
        info.height = input.height / 2;
    }
    info.channels = 3;
    info.bitsPerSample = input.bitsPerSample;
    info.dataType = input.dataType;
    // A row that does not fit 31 bits gives a stride shorter than it, which the allocation refuses.
    const std::int64_t row = std::int64_t{bytesPerSample(info.dataType)} * info.width * info.channels;
    info.stride = static_cast<std::int32_t>((row + 31) & ~std::int64_t{31});
    return info;
}

bool CxDemosaicConvertor::queryOutputDataInfo(const IxDataInfo* input, IxDataInfo*& output,
                                              const CxMetadata* inputMetadata, CxMetadata* outputMetadata)
{
    if (input == nullptr)
        return false;
    const auto* const imageInfo = dynamic_cast<const CxImageDataInfo*>(input);
    if (imageInfo == nullptr)
        return refuse(QStringLiteral("Unsupported data info."));
    if (!checkInput(imageInfo->info()))
        return refuse(QStringLiteral("Invalid input image."));
    auto* const described = new (std::nothrow) CxImageDataInfo(outputInfo(imageInfo->info()));
    if (described == nullptr)
        return false;
    output = described;
    if (inputMetadata != nullptr && outputMetadata != nullptr)
        *outputMetadata = *inputMetadata;
    return true;
}

bool CxDemosaicConvertor::processData(IxData* input, IxData*& output)
{
    auto* const frame = qobject_cast<CxImageData*>(input);
    if (frame == nullptr)
        return refuse(QStringLiteral("Invalid input data."));
    try {
        std::unique_ptr<CxImageData> converted = convert(*frame);
        if (!converted)
            return false;
        output = converted.release();
    } catch (const std::exception&) {
        return false;
    }
    delete frame;
    return true;
}

std::unique_ptr<CxImageData> CxDemosaicConvertor::convert(CxImageData& input)
{
    const auto fail = [](const QString& message) {
        logError(message);
        return nullptr;
    };
    const SxImageBuf& mosaic = input.image();
    const ExBayerGrid grid = gridToUse(mosaic);
    if (!checkInput(mosaic))
        return fail(QStringLiteral("Invalid input image."));

    const std::unique_ptr<IxDataInfo> inputInfo(input.dataInfo());
    const CxMetadata inputMetadata = input.metadata();
    CxMetadata outputMetadata;
    IxDataInfo* described = nullptr;
    const bool isDescribed = queryOutputDataInfo(dynamic_cast<CxImageDataInfo*>(inputInfo.get()), described,
                                                 &inputMetadata, &outputMetadata);
    const std::unique_ptr<IxDataInfo> description(described);
    if (!isDescribed)
        return fail(QStringLiteral("Failed to query the output format of the data."));

    Image colour;
    const auto* const colourInfo = dynamic_cast<const CxImageDataInfo*>(description.get());
    if (colourInfo == nullptr || isFailure(AllocBuffer(colourInfo->info(), colour, false)))
        return fail(QStringLiteral("Failed to alloc the output image."));
    if (isFailure(DemosaicSimple(mosaic, wholeOf(mosaic), colour, grid)))
        return fail(QStringLiteral("Failed to debayerize the image."));
    return frameOf(std::move(colour), input, outputMetadata);
}

}  // namespace ko
