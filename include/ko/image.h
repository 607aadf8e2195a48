// Image records and the operations on their memory.
#pragma once

#include <ko/export.h>
#include <ko/result.h>

#include <QPoint>
#include <QRect>

#include <cstddef>
#include <cstdint>

namespace ko {

/// Container of one sample. Of the integers up to 6, odd codes are signed and even ones unsigned; 10 is signed and
/// 11 unsigned. `Sample128` can be stored and copied, but no operation computes with it.
enum ExImageDataType : std::int32_t {
    Int8 = 1,       ///< one byte
    UInt8 = 2,      ///< one byte: cameras of 8 bits, and masks
    Int16 = 3,      ///< two bytes
    UInt16 = 4,     ///< two bytes: cameras of 9 to 16 bits
    Int32 = 5,      ///< four bytes: gradients and distances
    UInt32 = 6,     ///< four bytes
    Float32 = 7,    ///< IEEE 754 single precision
    Float64 = 8,    ///< IEEE 754 double precision
    Sample128 = 9,  ///< sixteen bytes, for storage only
    Int64 = 10,     ///< eight bytes
    UInt64 = 11,    ///< eight bytes
};

/// Order of the samples of a multi-channel image; a mono image looks the same either way.
enum ExPixelPacking : std::int32_t {
    Interleaved = 0,  ///< sample (x, y, c) at data + y * stride + (x * channels + c) * bytes per sample
    Planar = 1,       ///< sample (x, y, c) at data + (c * height + y) * stride + x * bytes per sample
};

/// Colour-filter arrangement of a raw mosaic: the colours of the cell positions (x even, y even),
/// (x odd, y even), (x even, y odd), (x odd, y odd).
enum ExBayerGrid : std::int32_t {
    BayerBGGR = 0,  ///< blue first
    BayerRGGB = 1,  ///< red first
    BayerGBRG = 2,  ///< green first, red below it
    BayerGRBG = 3,  ///< green first, blue below it
    BayerNone = 4,  ///< not a mosaic
};

/// Compression of pixel memory.
enum ExPixelCompression : std::int32_t {
    CompressionNone = 0,  ///< the only one there is
};

/// Geometry and sample format of an image.
struct SxImageInfo {
    std::int32_t width = 0;          ///< pixels per row
    std::int32_t height = 0;         ///< rows
    std::int32_t stride = 0;         ///< bytes from a row to the next; 0 lets `AllocBuffer` choose
    std::int32_t channels = 0;       ///< samples per pixel
    std::int32_t bitsPerSample = 0;  ///< significant bits, independent of the container
    ExImageDataType dataType = static_cast<ExImageDataType>(0);  ///< container of a sample
    ExPixelPacking packing = Interleaved;                        ///< order of the samples
    std::int32_t pixelFormat = 1;       ///< 1: the first three of 3 or 4 channels are colour
    ExBayerGrid bayerGrid = BayerNone;  ///< arrangement of a raw mosaic
    std::int32_t reserved[3] = {};      ///< copied unchanged
};

/// An image: its format, its pixel memory and the bookkeeping of that memory.
///
/// A plain record: copying it makes a second view of the same pixels and frees nothing. A program may fill
/// one by hand over memory of its own and leave the bookkeeping words 0.
struct SxImageBuf : SxImageInfo {
    std::uint8_t* data = nullptr;       ///< first row; null means no image
    std::uint64_t allocation = 0;       ///< set by `AllocBuffer`, 0 for memory of the program's own
    std::uint64_t memoryTag = 0;        ///< 0: ordinary memory; other tags are reserved
    std::uint64_t bookkeeping[2] = {};  ///< set by `AllocBuffer`
};

/// Bytes of one sample of a type code; 0 for a code outside 1...11.
KO_EXPORT int bytesPerSample(int dataType);

/// Bytes of pixel memory: stride * height, times channels for any packing but `Interleaved`.
/// 0 when a factor is not positive; saturates where the product does not fit.
KO_EXPORT std::size_t imageByteSize(const SxImageInfo& info);

/// Allocates the pixel memory of a new image and fills the whole record.
///
/// The memory is aligned to 64 bytes and followed by at least 64 readable zero bytes. What `out` held before
/// is overwritten, not freed. The record gets `pixelFormat` 1 and `bayerGrid` `BayerNone`.
///
/// @param out            record to fill; release it with `FreeBuffer`
/// @param width, height  0 or more
/// @param channels       1 or more
/// @param dataType       1...11
/// @param stride         bytes per row, at least the row's samples; 0 chooses the row length rounded up to 64
/// @param bitsPerSample  stored as given
/// @param packing        `Interleaved` or `Planar`
/// @param flag           true clears the pixel memory, false leaves it undefined
/// @param compression    `CompressionNone`; anything else is refused
/// @returns `ResultOk`; `ResultFailed` for geometry that cannot exist, for 1 TiB and more, and when memory
///          runs out
/// On failure the record holds the format asked for, `data` is null and the bookkeeping words are cleared.
/// An image without pixels has an address too.
KO_EXPORT ResultCode AllocBuffer(SxImageBuf& out, int width, int height, int channels,
                                 ExImageDataType dataType, int stride, int bitsPerSample,
                                 ExPixelPacking packing, bool flag, ExPixelCompression compression);

/// Allocates the pixel memory of an image of the given format, with the rules of the long form; every word of
/// the info is kept, a stride of 0 replaced by the chosen one. `info` may be `out` itself.
KO_EXPORT ResultCode AllocBuffer(const SxImageInfo& info, SxImageBuf& out, bool flag);

/// Releases the memory of an image made by `AllocBuffer` and nulls `data` and the bookkeeping words.
///
/// Safe on an empty record, twice on the same record, on a record whose `data` was moved to a row or plane of
/// the image (its memory stays with the image) and on a record over the program's own memory, whatever its
/// bookkeeping words hold. A copy with the same `data`, a view of the first plane included, is the image
/// itself to this function: free one of them and drop the other. Different images may be freed from different
/// threads at the same time.
KO_EXPORT void FreeBuffer(SxImageBuf& image);

/// Copies a rectangle of an image into another image of the same channels, sample type and packing.
///
/// @param srcRect  inside `src`; may be empty
/// @param dst      must not overlap `src`
/// @param dstPos   where its top left corner goes; the whole rectangle must fit into `dst`
/// @param flag     has no effect
/// @returns `ResultOk`; `ResultFailed`, with nothing written, for an absent image, one without channels or of
///          an unknown sample type, a rectangle outside either image or differing formats
/// Runs on the calling thread.
KO_EXPORT ResultCode CopyBuffer(const SxImageBuf& src, const QRect& srcRect, SxImageBuf& dst,
                                const QPoint& dstPos, bool flag);

/// Copies bytes between the memories of two images, which may overlap.
///
/// @param dst             where they go
/// @param src             where they come from
/// @param bytes           how many; with 0 nothing is looked at
/// @param dstTag, srcTag  the `memoryTag`s; every tag is treated as ordinary memory
/// @returns `ResultOk`; `ResultFailed`, with nothing written, when bytes are to be copied from or to null or
///          are more than any object can have
KO_EXPORT ResultCode MemCpy(void* dst, const void* src, std::uint64_t bytes, std::uint64_t dstTag,
                            std::uint64_t srcTag);

/// Copies one channel of an image into one channel of an image of the same size and sample type; the packings
/// may differ. Source and destination may be the same image.
///
/// @param src         may hold its channels as pixels or as planes
/// @param srcChannel  from 0
/// @param dst         is there already; its other channels stay as they are
/// @param dstChannel  from 0
/// @returns `ResultOk`; `ResultFailed`, with nothing written, for an absent image, one of an unknown sample
///          type, a channel that does not exist or differing sizes or types
/// Runs on the calling thread.
KO_EXPORT ResultCode CopyChannel(const SxImageBuf& src, int srcChannel, SxImageBuf& dst, int dstChannel);

/// Physical position of a logical channel: its own number for every image, even where `image` has no such
/// channel.
KO_EXPORT int ChannelIndexLogicalToPhysical(int channel, const SxImageBuf& image);

/// Bytes of the processor's second-level cache; 0 when the system does not know it.
KO_EXPORT unsigned L2CacheSize();

}  // namespace ko
