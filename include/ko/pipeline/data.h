// Frames and the description of their format.
#pragma once

#include <ko/export.h>
#include <ko/image.h>
#include <ko/pipeline/metadata.h>

#include <QDateTime>
#include <QObject>

#include <cstdint>

namespace ko {

/// Format of a kind of frames.
class KO_EXPORT IxDataInfo {
public:
    IxDataInfo() = default;
    virtual ~IxDataInfo();

    /// A copy that the caller owns; null from a class that cannot be copied.
    virtual IxDataInfo* clone() const;

protected:
    IxDataInfo(const IxDataInfo&) = default;             ///< for `clone` of derived classes
    IxDataInfo& operator=(const IxDataInfo&) = default;  ///< for derived classes
};

/// Format of image frames.
class KO_EXPORT CxImageDataInfo : public IxDataInfo {
public:
    /// Copies the format.
    explicit CxImageDataInfo(const SxImageInfo& info) : m_info(info) {}

    /// The format.
    const SxImageInfo& info() const { return m_info; }
    CxImageDataInfo* clone() const override;

private:
    SxImageInfo m_info;
};

/// A frame. Whoever holds the pointer owns it; it is used by one thread at a time and may be deleted by
/// another one than made it. Frames given to an item have no QObject parent.
class KO_EXPORT IxData : public QObject {
    Q_OBJECT

public:
    /// A frame without metadata.
    explicit IxData(QObject* parent = nullptr);

    /// What travels with the frame.
    CxMetadata& metadata() { return m_metadata; }
    /// The same for reading.
    const CxMetadata& metadata() const { return m_metadata; }
    /// Replaces all of it.
    void setMetadata(const CxMetadata& metadata) { m_metadata = metadata; }

    /// The frame's format, owned by the caller; null where there is none.
    virtual IxDataInfo* dataInfo();

    /// An independent copy without parent, owned by the caller. Null when memory runs out and from a class
    /// that cannot be copied: such frames reach one successor only.
    virtual IxData* clone() const;

private:
    CxMetadata m_metadata;
};

/// An image on its way through a pipe.
class KO_EXPORT CxImageData : public IxData {
    Q_OBJECT

public:
    /// A frame without image, number 0, timestamp 0 and an invalid date.
    explicit CxImageData(QObject* parent = nullptr);

    /// Releases the image with `FreeBuffer`: memory from `AllocBuffer` is freed, a program's own is not.
    ~CxImageData() override;

    /// The image, which belongs to the frame. To keep its pixels beyond the frame, take the record out:
    /// `SxImageBuf mine = std::exchange(frame.image(), SxImageBuf());`
    SxImageBuf& image() { return m_image; }

    /// A `CxImageDataInfo` of the image.
    IxDataInfo* dataInfo() override;

    /// Copies the pixels too. Null for an image that `CopyBuffer` cannot copy.
    CxImageData* clone() const override;

    /// Number of the frame as its source counts.
    int frameNo() const { return m_frameNo; }
    /// Numbers the frame.
    void setFrameNo(int frameNo) { m_frameNo = frameNo; }

    /// Time of the frame in units of whoever made it.
    std::uint64_t timestamp() const { return m_timestamp; }
    /// Stamps the frame.
    void setTimestamp(std::uint64_t timestamp) { m_timestamp = timestamp; }

    /// Date of the frame, invalid unless `setImageShallow` gave one.
    QDateTime dateTime() const { return m_dateTime; }

    /// Adopts an image without copying its pixels; the caller's record is from now on only a view. The image
    /// held before is released, unless it is the same memory.
    void setImageShallow(const SxImageBuf& image, int frameNo, std::uint64_t timestamp,
                         const QDateTime& dateTime);

private:
    SxImageBuf m_image;
    int m_frameNo = 0;
    std::uint64_t m_timestamp = 0;
    QDateTime m_dateTime;
};

}  // namespace ko
