#include <ko/pipeline/data.h>

#include <memory>

namespace ko {

IxDataInfo::~IxDataInfo() = default;

IxDataInfo* IxDataInfo::clone() const
{
    return nullptr;
}

CxImageDataInfo* CxImageDataInfo::clone() const
{
    return new CxImageDataInfo(*this);
}

IxData::IxData(QObject* parent) : QObject(parent) {}

IxDataInfo* IxData::dataInfo()
{
    return nullptr;
}

IxData* IxData::clone() const
{
    return nullptr;
}

CxImageData::CxImageData(QObject* parent) : IxData(parent) {}

CxImageData::~CxImageData()
{
    FreeBuffer(m_image);
}

IxDataInfo* CxImageData::dataInfo()
{
    return new CxImageDataInfo(m_image);
}

CxImageData* CxImageData::clone() const
{
    auto copy = std::make_unique<CxImageData>();
    copy->setMetadata(metadata());
    copy->m_frameNo = m_frameNo;
    copy->m_timestamp = m_timestamp;
    copy->m_dateTime = m_dateTime;
    if (m_image.data == nullptr) {
        static_cast<SxImageInfo&>(copy->m_image) = m_image;
        return copy.release();
    }
    if (isFailure(AllocBuffer(m_image, copy->m_image, false)) ||
        isFailure(CopyBuffer(m_image, QRect(0, 0, m_image.width, m_image.height), copy->m_image, QPoint(0, 0),
                             true)))
        return nullptr;
    return copy.release();
}

void CxImageData::setImageShallow(const SxImageBuf& image, int frameNo, std::uint64_t timestamp,
                                  const QDateTime& dateTime)
{
    // The argument may be this frame's own record.
    const SxImageBuf adopted = image;
    if (m_image.data != adopted.data)
        FreeBuffer(m_image);
    m_image = adopted;
    m_frameNo = frameNo;
    m_timestamp = timestamp;
    m_dateTime = dateTime;
}

}  // namespace ko
