#include "io/masks.h"

#include "cli/failure.h"
#include "io/image_file.h"
#include "io/parts.h"

#include <cstring>
#include <stdexcept>

namespace ko::tool {

Mask::Mask(const std::string& file) : m_file(file), m_image(readAside(file))
{
    if (m_image->channels != 1)
        throw Failure(file, "a mask has one channel, this picture has " + std::to_string(m_image->channels));
    Image bytes(makeFormat(m_image->width, m_image->height, 1, UInt8));
    require(Binarize(*m_image, *bytes, 255), "Binarize");
    m_image = std::move(bytes);
}

const Image& Mask::of(const SxImageInfo& picture) const
{
    if (m_image->width != picture.width || m_image->height != picture.height)
        throw std::runtime_error("the mask " + m_file + " has not the size of the picture, " +
                                 std::to_string(picture.width) + " x " + std::to_string(picture.height));
    return m_image;
}

std::shared_ptr<const Mask> readMask(const std::string& file)
{
    return file.empty() ? nullptr : std::make_shared<const Mask>(file);
}

Image maskOfOnes(const SxImageInfo& format)
{
    Image mask(makeFormat(format.width, format.height, 1, UInt8));
    std::memset(mask->data, 1, imageByteSize(*mask));
    return mask;
}

Image cellMask(const Image& mask)
{
    const Image planes = planesOf(mask, wholeOf(*mask), BayerRGGB);  // any pattern: all four count alike
    Image cells = channelOf(planes, 0);
    QVariant selected = 255;
    for (int plane = 1; plane < planes->channels; ++plane)
        require(Or(*channelOf(planes, plane), *cells, &selected), "Or");
    return cells;
}

}  // namespace ko::tool
