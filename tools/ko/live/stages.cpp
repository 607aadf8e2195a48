#include "live/stages.h"

#include "io/parts.h"

#include <memory>

namespace ko::tool {

bool Tap::processData(IxData* input, IxData*& output)
{
    if (m_broadcast)
        m_broadcast->offer(dynamic_cast<CxImageData&>(*input).image());
    ++m_frames;
    output = input;
    return true;
}

Colouring::Colouring(Method method, std::function<void(const std::string&)> fail)
    : m_demosaicer(method), m_fail(std::move(fail))
{
}

bool Colouring::processData(IxData* input, IxData*& output)
try {
    auto& mosaic = dynamic_cast<CxImageData&>(*input);
    if (mosaic.image().bayerGrid == BayerNone) {
        output = input;
        return true;
    }
    Frame frame;
    Image colours =
        m_demosaicer.run(mosaic.image(), wholeOf(mosaic.image()), "; another --method takes it", frame);
    auto result = std::make_unique<CxImageData>();
    result->setImageShallow(colours.release(), mosaic.frameNo(), mosaic.timestamp(), mosaic.dateTime());
    result->setMetadata(mosaic.metadata());
    delete input;
    output = result.release();
    return true;
} catch (const std::exception& error) {
    m_fail(error.what());
    return false;
}

}  // namespace ko::tool
