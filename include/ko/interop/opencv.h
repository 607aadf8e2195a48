// Images as cv::Mat and matrices as images, without copying. Needs OpenCV's core module, which the libraries
// do not link; koimproc.h does not include this header.
//
// These sample types have views both ways, interleaved with up to 512 channels:
//
// | sample type | depth of the cv::Mat |
// |-------------|----------------------|
// | Int8        | `CV_8S`              |
// | UInt8       | `CV_8U`              |
// | Int16       | `CV_16S`             |
// | UInt16      | `CV_16U`             |
// | Int32       | `CV_32S`             |
// | Float32     | `CV_32F`             |
// | Float64     | `CV_64F`             |
//
// Everything else is refused: OpenCV has no `UInt32`, `Int64`, `UInt64` and `Sample128`, koimproc no
// `CV_16F`, and planar colour is no cv::Mat (one plane is: a copy of the record with `channels` 1 and `data`
// moved to the plane).
//
// Views keep the order of the channels, and a cv::Mat does not say which it has. The colours of koimproc have
// red first; `cv::imread`, `cv::imwrite` and `cv::imshow` have blue first. `cv::cvtColor` with
// `cv::COLOR_RGB2BGR` turns one into the other.
#pragma once

#include <ko/image.h>

#include <opencv2/core.hpp>

#include <cstddef>
#include <cstdint>
#include <limits>

namespace ko {

namespace detail {

struct MatEquivalent {
    ExImageDataType dataType;
    int depth;
};

inline constexpr MatEquivalent matEquivalents[] = {
    {Int8, CV_8S},   {UInt8, CV_8U},    {Int16, CV_16S},   {UInt16, CV_16U},
    {Int32, CV_32S}, {Float32, CV_32F}, {Float64, CV_64F},
};

/// Whether the pixels of an image lie as a cv::Mat needs them.
inline bool suits(const SxImageBuf& image, const MatEquivalent& equivalent)
{
    if (image.dataType != equivalent.dataType || image.channels < 1 || image.channels > CV_CN_MAX)
        return false;
    const int sampleBytes = bytesPerSample(image.dataType);
    const std::int64_t rowBytes = std::int64_t{image.width} * image.channels * sampleBytes;
    const bool isPlain = image.channels == 1 || image.packing == Interleaved;
    const bool isAligned =
        reinterpret_cast<std::uintptr_t>(image.data) % static_cast<std::uintptr_t>(sampleBytes) == 0 &&
        image.stride % sampleBytes == 0;
    return image.data && image.width > 0 && image.height > 0 && image.stride >= rowBytes && isPlain &&
           isAligned;
}

/// Whether the padding of the rows belongs to the matrix alone.
inline bool hasWholeRows(const cv::Mat& mat)
{
    cv::Size whole;
    cv::Point offset;
    mat.locateROI(whole, offset);
    return whole.width == mat.cols;
}

}  // namespace detail

/// A cv::Mat over the pixels of an image; writing its elements changes them.
///
/// A function of OpenCV whose result has another size or type gives the Mat memory of its own and leaves the
/// image as it was. `bitsPerSample` and `bayerGrid` are not known to the Mat.
///
/// @param image  of a sample type of the table above, mono or interleaved. Rows must start at multiples of
///               the sample size. The pixels must outlive the Mat
/// @returns the Mat; an empty one when the image is absent, has no pixels, another format or misaligned rows
inline cv::Mat viewAsMat(const SxImageBuf& image)
{
    for (const detail::MatEquivalent& each : detail::matEquivalents)
        if (detail::suits(image, each))
            return cv::Mat(image.height, image.width, CV_MAKETYPE(each.depth, image.channels), image.data,
                           static_cast<std::size_t>(image.stride));
    return {};
}

/// An image over the elements of a two-dimensional cv::Mat; operations that write it change the Mat.
///
/// All bits of the samples count. `pixelFormat` is 1, and 0 for channels that are no colours: 2, or 5 and
/// more.
///
/// @param mat  of a depth of the table above. Its memory is taken to be `step` bytes for each row, since some
///             operations clear the padding. So a part of a matrix must be of its full width: for a narrower
///             one make a view of the whole matrix and pass the operation a region. The Mat must outlive the
///             view and keep its memory
/// @returns the image, for use without `FreeBuffer`; an empty record (null `data`) for an empty Mat, one of
///          another depth, of other dimensions, narrower than its rows, or with more than 2^31 - 1 bytes per
///          row
inline SxImageBuf viewOf(const cv::Mat& mat)
{
    SxImageBuf view;
    if (mat.empty() || mat.dims != 2 || mat.step[0] > std::numeric_limits<std::int32_t>::max() ||
        !detail::hasWholeRows(mat))
        return view;
    for (const detail::MatEquivalent& each : detail::matEquivalents) {
        if (mat.depth() == each.depth) {
            view.width = mat.cols;
            view.height = mat.rows;
            view.stride = static_cast<std::int32_t>(mat.step[0]);
            view.channels = mat.channels();
            view.dataType = each.dataType;
            view.bitsPerSample = 8 * bytesPerSample(each.dataType);
            view.pixelFormat = view.channels == 2 || view.channels > 4 ? 0 : 1;
            view.data = mat.data;
        }
    }
    return view;
}

/// A view of a temporary would outlive its elements.
SxImageBuf viewOf(const cv::Mat&& mat) = delete;

}  // namespace ko
