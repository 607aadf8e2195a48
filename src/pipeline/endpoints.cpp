#include <ko/pipeline/endpoints.h>

#include "core/frame_date.h"

#include <new>

namespace ko {

CxFrameSource::CxFrameSource() : IxDataProcessor(FlagNoInput) {}

CxFrameSource::~CxFrameSource()
{
    retire();
}

bool CxFrameSource::push(const SxImageBuf& image)
{
    const auto age = std::chrono::steady_clock::now() - m_made;
    const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(age).count();
    std::unique_ptr<CxImageData> frame;
    try {
        frame = std::make_unique<CxImageData>();
    } catch (const std::bad_alloc&) {
        SxImageBuf unwanted = image;
        FreeBuffer(unwanted);
        return false;
    }
    frame->setImageShallow(image, m_nextFrameNo++, static_cast<std::uint64_t>(microseconds),
                           currentFrameDate());
    return push(std::move(frame));
}

bool CxFrameSource::push(std::unique_ptr<CxImageData> frame)
{
    return onDataAvailable(frame.release(), nullptr);
}

CxFrameSink::CxFrameSink(Callback callback) : IxDataProcessor(FlagNoOutput), m_callback(std::move(callback))
{
}

CxFrameSink::~CxFrameSink()
{
    retire();
}

bool CxFrameSink::isValid() const
{
    return m_callback != nullptr;
}

bool CxFrameSink::acceptsData(const IxDataInfo* info)
{
    return dynamic_cast<const CxImageDataInfo*>(info) != nullptr;
}

bool CxFrameSink::processData(IxData* input, IxData*&)
{
    auto* const frame = qobject_cast<CxImageData*>(input);
    if (frame == nullptr)
        return false;
    m_callback(*frame);
    delete frame;
    return true;
}

}  // namespace ko
