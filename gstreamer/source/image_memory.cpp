#include "source/image_memory.h"

#include <utility>

struct KoImageAllocator {
    GstAllocator parent;
};
struct KoImageAllocatorClass {
    GstAllocatorClass parent;
};

extern "C" {
G_DEFINE_TYPE(KoImageAllocator, ko_image_allocator, GST_TYPE_ALLOCATOR)
}

namespace ko::gst {

namespace {

/// GStreamer sees the first member.
struct ImageMemory {
    GstMemory memory;
    SxImageBuf image;  ///< owns the pixels; empty when a record that was taken out of a frame does
};

ImageMemory& imageMemory(GstMemory* memory)
{
    return *reinterpret_cast<ImageMemory*>(memory);
}

/// Elements know bytes alone. As an image of bytes, the memory can be of any size.
bool obtain(SxImageBuf& image, gsize bytes)
{
    constexpr int bytesPerRow = 4096;
    const gsize rows = (bytes + bytesPerRow - 1) / bytesPerRow;
    return rows <= G_MAXINT && !isFailure(AllocBuffer(image, bytesPerRow, static_cast<int>(rows), 1, UInt8, 0,
                                                      8, Interleaved, true, CompressionNone));
}

GstMemory* allocate(GstAllocator* allocator, gsize size, GstAllocationParams* params)
{
    const gsize bytes = params->prefix + size + params->padding;
    auto owned = std::make_unique<ImageMemory>();
    if (!obtain(owned->image, bytes))
        return nullptr;
    // The record alone knows who owns the pixels, so parts of them are copied, not shared.
    const auto flags = static_cast<GstMemoryFlags>(params->flags | GST_MEMORY_FLAG_NO_SHARE);
    gst_memory_init(&owned->memory, flags, allocator, nullptr, bytes, 63, params->prefix, size);
    return &owned.release()->memory;
}

void release(GstAllocator*, GstMemory* memory)
{
    const std::unique_ptr<ImageMemory> owned(&imageMemory(memory));
    FreeBuffer(owned->image);
}

/// Memory that went with a record is replaced where its buffer is used again.
gpointer map(GstMemory* memory, gsize, GstMapFlags)
{
    SxImageBuf& image = imageMemory(memory).image;
    if (image.data == nullptr && !obtain(image, memory->maxsize))
        return nullptr;
    return image.data;
}

void unmap(GstMemory*) {}

/// See `frameOver`.
class PooledFrame : public CxImageData {
public:
    PooledFrame(GstBuffer* buffer, ImageMemory& memory, const SxImageInfo& info)
        : m_buffer(gst_buffer_ref(buffer)), m_memory(memory)
    {
        SxImageBuf record = memory.image;
        static_cast<SxImageInfo&>(record) = info;
        setImageShallow(record, 0, 0, {});
    }
    ~PooledFrame() override
    {
        // A record of less may be a new image that happens to lie where this one was freed.
        if (image().data == m_memory.image.data && imageByteSize(image()) >= m_memory.memory.maxsize)
            image() = SxImageBuf();
        else
            m_memory.image = SxImageBuf();
        gst_buffer_unref(m_buffer);
    }

private:
    GstBuffer* const m_buffer;
    ImageMemory& m_memory;
};

/// The memory of a buffer that has nothing but one of ours.
ImageMemory* memoryOf(GstBuffer* buffer)
{
    if (!gst_buffer_is_writable(buffer) || gst_buffer_n_memory(buffer) != 1 ||
        !gst_buffer_is_all_memory_writable(buffer))
        return nullptr;
    GstMemory* const memory = gst_buffer_peek_memory(buffer, 0);
    const bool isOurs = G_TYPE_CHECK_INSTANCE_TYPE(memory->allocator, ko_image_allocator_get_type());
    return isOurs && memory->offset == 0 && imageMemory(memory).image.data != nullptr ? &imageMemory(memory)
                                                                                      : nullptr;
}

}  // namespace

void proposeImages(GstQuery* query, GstCaps* caps, const SxImageInfo& info, unsigned kept)
{
    const auto bytes = static_cast<guint>(imageByteSize(info));
    auto* const allocator = GST_ALLOCATOR(g_object_new(ko_image_allocator_get_type(), nullptr));
    gst_object_ref_sink(allocator);
    gst_query_add_allocation_param(query, allocator, nullptr);
    GstBufferPool* const pool = gst_buffer_pool_new();
    GstStructure* const config = gst_buffer_pool_get_config(pool);
    gst_buffer_pool_config_set_params(config, caps, bytes, kept, 0);
    gst_buffer_pool_config_set_allocator(config, allocator, nullptr);
    if (gst_buffer_pool_set_config(pool, config))
        gst_query_add_allocation_pool(query, pool, bytes, kept, 0);
    gst_object_unref(pool);
    gst_object_unref(allocator);
}

std::unique_ptr<CxImageData> frameOver(GstBuffer* buffer, const FrameFormat& format)
{
    ImageMemory* const memory = format.isBigEndian ? nullptr : memoryOf(buffer);
    if (memory == nullptr)
        return nullptr;
    const auto place = placeOf(buffer, format.info, memory->memory.size);
    SxImageInfo info = format.info;
    info.stride = place ? place->stride : 0;
    // What else lies in the memory would go with the record too.
    if (!place || place->offset != 0 || imageByteSize(info) != memory->memory.maxsize)
        return nullptr;
    return std::make_unique<PooledFrame>(buffer, *memory, info);
}

}  // namespace ko::gst

static void ko_image_allocator_class_init(KoImageAllocatorClass* type)
{
    type->parent.alloc = ko::gst::allocate;
    type->parent.free = ko::gst::release;
}

static void ko_image_allocator_init(KoImageAllocator* allocator)
{
    allocator->parent.mem_type = "KoImage";
    allocator->parent.mem_map = ko::gst::map;
    allocator->parent.mem_unmap = ko::gst::unmap;
    GST_OBJECT_FLAG_SET(&allocator->parent, GST_ALLOCATOR_FLAG_CUSTOM_ALLOC);
}
