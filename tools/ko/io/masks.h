// Masks from files.
#pragma once

#include "io/image.h"

#include <memory>
#include <string>

namespace ko::tool {

/// The pixels of a picture file of one channel that are not zero, as a mask of the library.
class Mask {
public:
    /// Reads the file. Throws `Failure`.
    explicit Mask(const std::string& file);

    const Image& image() const { return m_image; }

    /// The mask for a picture. Throws unless it has the picture's size.
    const Image& of(const SxImageInfo& picture) const;

private:
    std::string m_file;
    Image m_image;
};

/// Reads the mask of a file, none where no file is named.
std::shared_ptr<const Mask> readMask(const std::string& file);

/// An image of ones, which selects all pixels.
Image maskOfOnes(const SxImageInfo& format);

/// Which 2 x 2 cells of a mosaic of even size a mask selects a pixel of, at half its size.
Image cellMask(const Image& mask);

}  // namespace ko::tool
