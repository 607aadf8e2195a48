// Reading pictures through OpenImageIO.
#pragma once

#include "io/image_file.h"
#include "io/source.h"

#include <OpenImageIO/imageio.h>

#include <optional>

namespace ko::tool {

constexpr const char* descriptionKey = "ImageDescription";

OIIO::TypeDesc storedType(ExImageDataType type);

/// A page of a picture file; as it is stored.
class PictureFile {
public:
    /// Reads the head. Throws `Failure`.
    PictureFile(const Source& source, int page);

    const SxImageInfo& format() const { return m_format; }
    std::string kind();
    Metadata metadata() const;
    Image read();

private:
    int countPages();

    Source m_source;
    int m_page;
    std::unique_ptr<OIIO::ImageInput> m_input;
    SxImageInfo m_format;
};

}  // namespace ko::tool
