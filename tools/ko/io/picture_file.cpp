#include "io/picture_file.h"

#include "cli/failure.h"
#include "cli/standard_error.h"
#include "io/attributes.h"
#include "io/claims.h"
#include "io/description.h"

#include <algorithm>

namespace ko::tool {
namespace {

using OIIO::TypeDesc;

struct SampleType {
    ExImageDataType type;
    TypeDesc::BASETYPE stored;
};

constexpr SampleType sampleTypes[] = {
    {Int8, TypeDesc::INT8},     {UInt8, TypeDesc::UINT8},    {Int16, TypeDesc::INT16},
    {UInt16, TypeDesc::UINT16}, {Int32, TypeDesc::INT32},    {UInt32, TypeDesc::UINT32},
    {Float32, TypeDesc::FLOAT}, {Float64, TypeDesc::DOUBLE}, {Int64, TypeDesc::INT64},
    {UInt64, TypeDesc::UINT64}, {Float32, TypeDesc::HALF},  // read only, written as FLOAT
};

std::optional<ExImageDataType> typeOfStored(TypeDesc stored)
{
    for (const SampleType& entry : sampleTypes)
        if (entry.stored == stored.basetype)
            return entry.type;
    return std::nullopt;
}

double ratioOf(const std::string& compression)
{
    if (compression == "none")
        return 1;
    if (compression == "packbits" || compression == "rle")
        return 128;
    if (compression == "zip" || compression == "zips")
        return deflateRatio;
    return anyRatio;
}

Claim claimOf(const OIIO::ImageSpec& spec)
{
    const double stored = static_cast<double>(spec.image_bytes(true));
    const int bits = spec.get_int_attribute("oiio:BitsPerSample", 8 * static_cast<int>(spec.format.size()));
    Claim claim{stored * bits / (8.0 * static_cast<double>(spec.format.size())),
                ratioOf(spec.get_string_attribute("compression"))};
    // Palettes and thinned-out colours take a part of what they become.
    constexpr int rgb = 2;
    if (spec.get_int_attribute("tiff:PhotometricInterpretation", rgb) > rgb)
        claim.ratio *= 8;
    return claim;
}

}  // namespace

TypeDesc storedType(ExImageDataType type)
{
    const auto found = std::ranges::find(sampleTypes, type, &SampleType::type);
    return found == std::end(sampleTypes) ? TypeDesc(TypeDesc::UNKNOWN) : TypeDesc(found->stored);
}

PictureFile::PictureFile(const Source& source, int page) : m_source(source), m_page(page)
{
    const Quiet quiet;
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha",
                     1);  // colours as stored, not multiplied with the alpha channel
    m_input = OIIO::ImageInput::open(source.path, &config);
    if (!m_input)
        throw Failure(source.name, "cannot be read as a picture: " + causeOf(OIIO::geterror(), source.path));
    if (m_input->format_name() == std::string("raw"))
        throw Failure(source.name, "is a camera raw; give it the ending of one");
    if (page > 1 && !m_input->seek_subimage(page - 1, 0))
        throw Failure(source.name,
                      "has no page " + std::to_string(page) + ", it holds " + std::to_string(countPages()));
    const OIIO::ImageSpec& spec = m_input->spec();
    const std::optional<ExImageDataType> type = typeOfStored(spec.format);
    if (!type || spec.depth > 1 || spec.deep || spec.width < 1 || spec.height < 1 || spec.nchannels < 1)
        throw Failure(source.name, "holds no flat picture of numbers");
    m_format = makeFormat(spec.width, spec.height, spec.nchannels, *type);
    applyDescription(spec.get_string_attribute(descriptionKey), m_format);
}

std::string PictureFile::kind()
{
    std::string text = m_input->format_name();
    if (const std::string shortfall = shortfallOf(m_source, claimOf(m_input->spec())); !shortfall.empty())
        return text + ", " + shortfall;
    if (const int pages = countPages(); pages > 1)
        text += ", page " + std::to_string(m_page) + " of " + std::to_string(pages);
    return text;
}

Metadata PictureFile::metadata() const
{
    const int orientation = m_input->spec().get_int_attribute("Orientation", Upright);
    const bool isKnown = orientation >= Upright && orientation <= LastOrientation;
    return {isKnown ? orientation : Upright, attributesOf(m_input->spec())};
}

Image PictureFile::read()
{
    requireRoom(m_source, claimOf(m_input->spec()));
    Image image = allocated(m_format);
    const Quiet quiet;
    const bool isRead = m_input->read_image(m_page - 1, 0, 0, image->channels, storedType(image->dataType),
                                            image->data, OIIO::AutoStride, image->stride);
    // A JPEG file that ends early is read with success and an error.
    if (!isRead || m_input->has_error())
        throw Failure(m_source.name,
                      "is damaged or cut short: " + causeOf(m_input->geterror(), m_source.path));
    alignForMemory(image);
    return image;
}

int PictureFile::countPages()
{
    const Quiet quiet;
    int pages = 1;
    while (m_input->seek_subimage(pages, 0))
        ++pages;
    m_input->geterror();  // that of the seek that found no more
    m_input->seek_subimage(m_page - 1, 0);
    return pages;
}

}  // namespace ko::tool
