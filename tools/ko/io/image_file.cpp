#include "io/image_file.h"

#include "cli/failure.h"
#include "cli/standard_error.h"
#include "io/description.h"
#include "io/fits_file.h"
#include "io/raw_file.h"
#include "io/replace_file.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <system_error>
#include <vector>

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

TypeDesc storedType(ExImageDataType type)
{
    for (const SampleType& entry : sampleTypes)
        if (entry.type == type)
            return entry.stored;
    return TypeDesc::UNKNOWN;
}

std::optional<ExImageDataType> typeOfStored(TypeDesc stored)
{
    for (const SampleType& entry : sampleTypes)
        if (entry.stored == stored.basetype)
            return entry.type;
    return std::nullopt;
}

void requireReadable(const std::string& file)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(file, error);
    if (!std::filesystem::exists(status))
        throw Failure(file, "no such file");
    if (std::filesystem::is_directory(status))
        throw Failure(file, "is a directory");
    errno = 0;
    if (!std::ifstream(file))
        throw Failure(file, "cannot be opened: " + std::generic_category().message(errno));
}

/// A picture opened by OpenImageIO and the format it is read in.
struct Picture {
    std::unique_ptr<OIIO::ImageInput> input;
    SxImageInfo format;
};

Picture openPicture(const std::string& file)
{
    const Quiet quiet;
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha",
                     1);  // colours as stored, not multiplied with the alpha channel
    Picture picture{OIIO::ImageInput::open(file, &config), {}};
    if (!picture.input)
        throw Failure(file, "cannot be read as a picture: " + firstLine(OIIO::geterror()));
    if (picture.input->format_name() == std::string("raw"))
        throw Failure(file, "is a camera raw; give it the ending of one");
    const OIIO::ImageSpec& spec = picture.input->spec();
    const std::optional<ExImageDataType> type = typeOfStored(spec.format);
    if (!type || spec.depth > 1 || spec.deep || spec.width < 1 || spec.height < 1 || spec.nchannels < 1)
        throw Failure(file, "holds no flat picture of numbers");
    picture.format = makeFormat(spec.width, spec.height, spec.nchannels, *type);
    applyDescription(spec.get_string_attribute(descriptionKey), picture.format);
    return picture;
}

/// True when a file format that offers `offered` for samples of type `type` loses no more than low bits.
bool isAcceptable(TypeDesc offered, ExImageDataType type)
{
    const bool isSmall = type == UInt8 || type == UInt16;
    return offered == storedType(type) ||
           (isSmall && (offered == TypeDesc::UINT8 || offered == TypeDesc::FLOAT));
}

}  // namespace

FileInfo readInfo(const std::string& file)
{
    requireReadable(file);
    if (isRawName(file))
        return readRawInfo(file);
    if (isFitsName(file))
        return readFitsInfo(file);
    const Picture picture = openPicture(file);
    return {picture.format, picture.input->format_name()};
}

Image readImage(const std::string& file)
{
    requireReadable(file);
    if (isRawName(file))
        return readRaw(file);
    if (isFitsName(file))
        return readFits(file);
    const Picture picture = openPicture(file);
    Image image(picture.format);
    const Quiet quiet;
    const bool isRead = picture.input->read_image(0, 0, 0, image->channels, storedType(image->dataType),
                                                  image->data, OIIO::AutoStride, image->stride);
    // A JPEG file that ends early is read with success and an error.
    if (!isRead || picture.input->has_error())
        throw Failure(file, "is damaged or cut short: " + firstLine(picture.input->geterror()));
    alignForMemory(image);
    return image;
}

void writeImage(const Image& image, const std::string& file, std::optional<int> quality)
{
    if (isFitsName(file))
        return writeFits(image, file);
    const Quiet quiet;
    // Into memory first: the writers of PNG and JPEG do not notice a full disk, or end the program over it.
    std::vector<unsigned char> bytes;
    OIIO::Filesystem::IOVecOutput memory(bytes);
    const std::unique_ptr<OIIO::ImageOutput> output = OIIO::ImageOutput::create(file);
    if (!output || !output->supports("ioproxy") || !output->set_ioproxy(&memory))
        throw Failure(file, "cannot be written: no picture format that can be written has this ending");

    const std::optional<Image> moved = alignedForFile(image);
    const Image& aligned = moved ? *moved : image;
    const TypeDesc type = storedType(image->dataType);
    OIIO::ImageSpec spec(image->width, image->height, image->channels, type);
    spec.attribute(descriptionKey, describe(*image));
    spec.attribute("oiio:UnassociatedAlpha", 1);
    const std::string format = output->format_name();
    // Packing tightly takes many times as long as the operations do.
    if (format == "tiff")
        spec.attribute("compression", "none");
    spec.attribute("png:compressionLevel", 1);
    if (quality)
        spec.attribute("CompressionQuality", *quality);
    if (format == "openexr" && image->dataType == UInt16)
        spec.set_format(TypeDesc::FLOAT);  // it would take halves, which are too short for 16 bits

    const auto ensure = [&](bool done) {
        if (!done)
            throw Failure(file, "cannot be written: " + firstLine(output->geterror()));
    };
    ensure(output->open(file, spec));
    if (!isAcceptable(output->spec().format, image->dataType))
        throw Failure(file, "cannot be written: this file format cannot hold such samples");
    ensure(output->write_image(type, aligned->data, OIIO::AutoStride, aligned->stride));
    ensure(output->close());
    replaceFile(file, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

}  // namespace ko::tool
