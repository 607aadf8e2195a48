#include "stream_frame.h"

#include <ko/raw.h>

#include <limits>
#include <utility>

namespace ko {

namespace {

/// Marks a record over a buffer. `AllocBuffer` writes 0 there, so that an image allocated into the frame is told
/// from the buffer's even when it got the same address.
constexpr std::uint64_t streamMemoryTag = 1;

constexpr guint64 popMicroseconds = 20'000;

void freeMemory(gpointer record)
{
    auto* const memory = static_cast<SxImageBuf*>(record);
    FreeBuffer(*memory);
    delete memory;
}

}  // namespace

SxImageBuf& memoryOf(ArvBuffer* buffer)
{
    return *const_cast<SxImageBuf*>(static_cast<const SxImageBuf*>(arv_buffer_get_user_data(buffer)));
}

StreamBuffers::StreamBuffers(GObjectPointer<ArvStream> stream, std::size_t bytes,
                             std::shared_ptr<CameraCounts> counts)
    : m_stream(std::move(stream)), m_bytes(bytes), m_counts(std::move(counts))
{
}

ArvBuffer* StreamBuffers::newBuffer() const
{
    auto memory = std::make_unique<SxImageBuf>();
    if (m_bytes > std::numeric_limits<int>::max() - 64 ||
        isFailure(AllocBuffer(*memory, static_cast<int>(m_bytes), 1, 1, UInt8, 0, 8, Interleaved, false,
                              CompressionNone)))
        return nullptr;
    memory->memoryTag = streamMemoryTag;
    std::uint8_t* const data = memory->data;
    return arv_buffer_new_full(m_bytes, data, memory.release(), &freeMemory);
}

bool StreamBuffers::provide(int count)
{
    for (int i = 0; i < count; ++i) {
        ArvBuffer* const buffer = newBuffer();
        if (buffer == nullptr)
            return false;
        arv_stream_push_buffer(m_stream.get(), buffer);
    }
    return true;
}

void StreamBuffers::close()
{
    GObjectPointer<ArvStream> ended;
    const std::lock_guard lock(m_mutex);
    ended.swap(m_stream);
}

ArvBuffer* StreamBuffers::pop()
{
    return arv_stream_timeout_pop_buffer(m_stream.get(), popMicroseconds);
}

void StreamBuffers::giveBack(ArvBuffer* buffer)
{
    const std::lock_guard lock(m_mutex);
    if (memoryOf(buffer).data == nullptr) {
        g_object_unref(buffer);
        buffer = m_stream ? newBuffer() : nullptr;
        ++m_counts->replaced;
    }
    if (buffer == nullptr)
        return;
    if (m_stream)
        arv_stream_push_buffer(m_stream.get(), buffer);
    else
        g_object_unref(buffer);
}

std::uint64_t StreamBuffers::underruns() const
{
    guint64 completed = 0;
    guint64 failures = 0;
    guint64 underruns = 0;
    arv_stream_get_statistics(m_stream.get(), &completed, &failures, &underruns);
    return underruns;
}

bool imageIn(ArvBuffer* buffer, StreamImage& image)
{
    // Aravis answers what a buffer holds for those alone that it has received whole.
    const ArvBufferPayloadType payload = arv_buffer_get_payload_type(buffer);
    if (arv_buffer_get_status(buffer) != ARV_BUFFER_STATUS_SUCCESS ||
        (payload != ARV_BUFFER_PAYLOAD_TYPE_IMAGE && payload != ARV_BUFFER_PAYLOAD_TYPE_EXTENDED_CHUNK_DATA))
        return false;
    image.format = findPixelFormat(arv_buffer_get_image_pixel_format(buffer));
    image.width = arv_buffer_get_image_width(buffer);
    image.height = arv_buffer_get_image_height(buffer);
    image.x = arv_buffer_get_image_x(buffer);
    image.y = arv_buffer_get_image_y(buffer);
    if (image.format == nullptr || image.width < 1 || image.height < 1 ||
        arv_buffer_get_image_data(buffer, &image.bytes) != memoryOf(buffer).data)
        return false;

    gint padding = 0;
    gint below = 0;
    arv_buffer_get_image_padding(buffer, &padding, &below);
    const auto width = static_cast<std::size_t>(image.width);
    const auto height = static_cast<std::size_t>(image.height);
    const std::size_t samples = width * static_cast<std::size_t>(image.format->channels);
    const std::size_t row = image.format->layout ? packedRowBytes(*image.format->layout, image.width)
                                                 : samples * (image.format->bits > 8 ? 2 : 1);
    image.pitch = row + static_cast<std::size_t>(padding > 0 ? padding : 0);
    if (image.pitch > std::numeric_limits<std::int32_t>::max())
        return false;
    if (image.format->layout && image.pitch * (height - 1) + row > image.bytes) {
        // Rows that are not filled up to whole bytes follow each other as one.
        image.pitch = 0;
        return width * height <= std::numeric_limits<std::int32_t>::max() / 2 &&
               packedRowBytes(*image.format->layout, static_cast<int>(width * height)) <= image.bytes;
    }
    return image.pitch * (height - 1) + row <= image.bytes;
}

StreamFrame::StreamFrame(std::shared_ptr<StreamBuffers> home, ArvBuffer* buffer, const StreamImage& source)
    : m_home(std::move(home)), m_buffer(buffer), m_source(source)
{
    SxImageBuf& record = image();
    record = memoryOf(buffer);
    if (isPacked())
        return;
    record.width = source.width;
    record.height = source.height;
    record.stride = static_cast<std::int32_t>(source.pitch);
    record.channels = source.format->channels;
    record.bitsPerSample = source.format->bits;
    record.dataType = source.format->bits > 8 ? UInt16 : UInt8;
    record.bayerGrid = source.format->grid;
}

StreamFrame::~StreamFrame()
{
    SxImageBuf& memory = memoryOf(m_buffer);
    const bool isOurs = image().data == memory.data && image().memoryTag == streamMemoryTag;
    // Otherwise the record has been taken out or freed: the memory is not the buffer's any more.
    (isOurs ? image() : memory) = SxImageBuf();
    m_home->giveBack(m_buffer);
}

std::unique_ptr<CxImageData> StreamFrame::unpacked()
{
    auto frame = std::make_unique<CxImageData>();
    const bool isOneRow = m_source.pitch == 0;
    SxImageBuf words;
    if (isFailure(AllocBuffer(words, m_source.width, m_source.height, 1, UInt16,
                              isOneRow ? m_source.width * 2 : 0, m_source.format->bits, Interleaved, false,
                              CompressionNone)))
        return nullptr;
    words.bayerGrid = m_source.format->grid;
    frame->setImageShallow(words, frameNo(), timestamp(), dateTime());
    frame->setMetadata(metadata());
    if (isOneRow) {
        words.width *= words.height;
        words.stride *= words.height;
        words.height = 1;
    }
    if (isFailure(UnpackSamples(memoryOf(m_buffer).data, m_source.bytes, m_source.pitch,
                                *m_source.format->layout, words)))
        return nullptr;
    return frame;
}

}  // namespace ko
