#include "io/picture_file.h"

#include "cli/failure.h"
#include "cli/standard_error.h"
#include "cli/transfer.h"
#include "io/attributes.h"
#include "io/claims.h"
#include "io/description.h"
#include "io/memory_file.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>
#include <OpenImageIO/strutil.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace ko::tool {
namespace {

using OIIO::TypeDesc;

constexpr const char* descriptionKey = "ImageDescription";

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

TypeDesc storedType(ExImageDataType type)
{
    const auto found = std::ranges::find(sampleTypes, type, &SampleType::type);
    return found == std::end(sampleTypes) ? TypeDesc(TypeDesc::UNKNOWN) : TypeDesc(found->stored);
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
    // Palettes and thinned-out colours take a part of what they become, and so do gray samples of a few bits, which
    // OpenImageIO calls samples of 8.
    constexpr int rgb = 2;
    const int kind = spec.get_int_attribute("tiff:PhotometricInterpretation", rgb);
    if (kind > rgb || (kind < rgb && bits == 8))
        claim.ratio *= 8;
    return claim;
}

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
    // Samples of 10, 12 and 14 bits come spread over all 16, so that the upper bits are the level.
    if (m_input->format_name() == std::string("tiff") && *type == UInt16)
        m_format.bitsPerSample = spec.get_int_attribute("oiio:BitsPerSample", m_format.bitsPerSample);
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
try {
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
} catch (const std::length_error&) {
    // OpenImageIO makes room for a tile of any size that the header claims.
    throw Failure(m_source.name, "is damaged or cut short: its header claims tiles larger than any memory");
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

bool isSmall(ExImageDataType type)
{
    return type == UInt8 || type == UInt16;
}

/// True when a file format that offers `offered` for samples of type `type` loses no more than low bits.
bool isAcceptable(TypeDesc offered, ExImageDataType type)
{
    return offered == storedType(type) ||
           (isSmall(type) && (offered == TypeDesc::UINT8 || offered == TypeDesc::FLOAT));
}

OIIO::ImageSpec specOf(const Image& image, const std::string& format, const Metadata& metadata,
                       std::optional<int> quality)
{
    OIIO::ImageSpec spec(image->width, image->height, image->channels, storedType(image->dataType));
    if (metadata.attributes)
        addAttributes(*metadata.attributes, spec);
    if (!spec.find_attribute("DateTime"))
        spec.attribute("DateTime", "");  // not the time of writing: the same picture is the same file
    spec.attribute("Orientation", metadata.orientation);
    spec.attribute(descriptionKey, describe(*image));
    spec.attribute("oiio:UnassociatedAlpha", 1);
    // Packing tightly takes many times as long as the operations do.
    if (format == "tiff")
        spec.attribute("compression", "none");
    spec.attribute("png:compressionLevel", 1);
    if (quality)
        spec.attribute("CompressionQuality", *quality);
    if (format == "openexr" && isSmall(image->dataType))
        spec.set_format(TypeDesc::FLOAT);  // it would take halves, which are too short for 16 bits
    return spec;
}

/// A gray picture as one of three equal colours.
Image inColours(const Image& gray)
{
    SxImageInfo format = *gray;
    format.channels = 3;
    Image colours = allocated(format);
    for (int channel = 0; channel < 3; ++channel)
        require(CopyChannel(*gray, 0, *colours, channel), "CopyChannel");
    return colours;
}

/// The TIFF writer reads again what it has written where Exif follows the samples; through a proxy it reads
/// nothing, and the file is damaged.
bool isReadOnWriting(const OIIO::ImageSpec& spec, const std::string& format)
{
    return format == "tiff" &&
           std::any_of(spec.extra_attribs.begin(), spec.extra_attribs.end(), [](const auto& attribute) {
               return attribute.name().find("Exif:") == 0 || attribute.name().find("GPS:") == 0;
           });
}

/// Whether the last marker is that of the end.
bool endsAsJpeg2000(const std::vector<unsigned char>& bytes)
{
    return bytes.size() >= 2 && bytes[bytes.size() - 2] == 0xFF && bytes.back() == 0xD9;
}

}  // namespace

FileInfo readPictureInfo(const Source& source, int page)
{
    PictureFile file(source, page);
    return {file.format(), file.kind(), file.metadata()};
}

Picture readPictureFile(const Source& source, int page)
{
    PictureFile file(source, page);
    return {file.read(), file.metadata()};
}

bool isOurs(const Source& source)
{
    const Quiet quiet;
    const auto input = OIIO::ImageInput::open(source.path);
    OIIO::geterror();
    return input &&
           OIIO::Strutil::starts_with(input->spec().get_string_attribute(descriptionKey), "koimproc ");
}

std::vector<unsigned char> encodePicture(const Image& image, const std::string& file,
                                         const Metadata& metadata, std::optional<int> quality)
{
    const std::string name = "result" + endingOfOutput(file);
    const auto refuse = [&](const std::string& cause) {
        throw Failure(nameOfOutput(file), "cannot be written: " + cause);
    };
    // WebP knows colours alone. Its writer reads beyond rows of fewer channels, and must not even be made for nothing.
    if (OIIO::Strutil::iends_with(name, ".webp")) {
        if (image->channels == 1)
            return encodePicture(inColours(image), file, metadata, quality);
        if (image->channels != 3 && image->channels != 4)
            refuse("this file format cannot hold " + std::to_string(image->channels) + " channels");
    }
    const Quiet quiet;
    std::vector<unsigned char> bytes;
    OIIO::Filesystem::IOVecOutput memory(bytes);
    const std::unique_ptr<OIIO::ImageOutput> output = OIIO::ImageOutput::create(name);
    if (!output || !output->supports("ioproxy") || !output->set_ioproxy(&memory))
        refuse(endingOfOutput(file).empty()
                   ? "the name lacks an ending for the format, such as .png, or a / for a new directory"
                   : "no picture format that can be written has this ending");
    const auto ensure = [&](bool done) {
        if (!done)
            refuse(causeOf(output->geterror(), name));
    };
    const OIIO::ImageSpec spec = specOf(image, output->format_name(), metadata, quality);
    std::optional<MemoryFile> readable;
    if (isReadOnWriting(spec, output->format_name())) {
        output->set_ioproxy(nullptr);
        readable.emplace();
    }
    ensure(output->open(readable ? readable->path() : name, spec));
    if (!isAcceptable(output->spec().format, image->dataType))
        refuse("this file format cannot hold such samples");
    ensure(output->write_image(storedType(image->dataType), image->data, OIIO::AutoStride, image->stride));
    ensure(output->close());
    // That writer tells nobody when its encoder gives up, as with pictures of fewer than 32 rows or columns.
    if (output->format_name() == std::string("jpeg2000") && !endsAsJpeg2000(bytes))
        refuse("its encoder fails, which wants 32 x 32 pixels or more");
    return readable ? readable->content() : bytes;
}

}  // namespace ko::tool
