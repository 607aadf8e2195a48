#include "io/image_file.h"

#include "cli/failure.h"
#include "cli/standard_error.h"
#include "cli/transfer.h"
#include "io/attributes.h"
#include "io/description.h"
#include "io/fits_file.h"
#include "io/memory_file.h"
#include "io/picture_file.h"
#include "io/raw_file.h"
#include "io/replace_file.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/strutil.h>

#include <algorithm>
#include <new>
#include <vector>

namespace ko::tool {
namespace {

using OIIO::TypeDesc;

bool isOurs(const Source& source)
{
    const Quiet quiet;
    const auto input = OIIO::ImageInput::open(source.path);
    OIIO::geterror();
    return input &&
           OIIO::Strutil::starts_with(input->spec().get_string_attribute(descriptionKey), "koimproc ");
}

// What comes without a name has to be looked at. Raws are much like TIFF files, some of ours much like raws.
bool isFits(const std::string& file, const Source& source)
{
    return file == standardStream ? startsAsFits(source) : isFitsName(file);
}

bool isRaw(const std::string& file, const Source& source)
{
    return file == standardStream ? !isOurs(source) && startsAsRaw(source) : isRawName(file);
}

Picture readStored(const std::string& file, int page)
{
    const Source source = sourceOf(file);
    try {
        if (isFits(file, source))
            return {readFits(source, page)};
        if (isRaw(file, source))
            return readRaw(source);
        PictureFile input(source, page);
        return {input.read(), input.metadata()};
    } catch (const OutOfMemory& error) {
        throw Failure(source.name, error.what());
    } catch (const std::bad_alloc&) {
        throw Failure(source.name, "out of memory");
    }
}

FileInfo storedInfo(const std::string& file)
{
    const Source source = sourceOf(file);
    if (isFits(file, source))
        return readFitsInfo(source, transfer().page);
    if (isRaw(file, source))
        return readRawInfo(source);
    PictureFile input(source, transfer().page);
    return {input.format(), input.kind(), input.metadata()};
}

bool turns(const SxImageInfo& format, const Metadata& metadata)
{
    return !transfer().isAsStored && format.bayerGrid == BayerNone && metadata.orientation != Upright;
}

Picture readUpright(const std::string& file, int page)
{
    Picture picture = readStored(file, page);
    if (turns(*picture.image, picture.metadata)) {
        picture.image = turned(picture.image, picture.metadata.orientation);
        picture.metadata.orientation = Upright;
    }
    return picture;
}

/// True when a file format that offers `offered` for samples of type `type` loses no more than low bits.
bool isAcceptable(TypeDesc offered, ExImageDataType type)
{
    const bool isSmall = type == UInt8 || type == UInt16;
    return offered == storedType(type) ||
           (isSmall && (offered == TypeDesc::UINT8 || offered == TypeDesc::FLOAT));
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
    if (format == "openexr" && image->dataType == UInt16)
        spec.set_format(TypeDesc::FLOAT);  // it would take halves, which are too short for 16 bits
    return spec;
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

}  // namespace

FileInfo readInfo(const std::string& file)
{
    FileInfo info = storedInfo(file);
    if (!turns(info.format, info.metadata))
        return info;
    info.kind += ", turned upright from " + std::to_string(info.format.width) + " x " +
                 std::to_string(info.format.height);
    info.format = turnedFormat(info.format, info.metadata.orientation);
    return info;
}

Picture readPicture(const std::string& file)
{
    return readUpright(file, transfer().page);
}

Image readImage(const std::string& file)
{
    return readPicture(file).image;
}

Image readAside(const std::string& file)
{
    return readUpright(file, 1).image;
}

void writeImage(const Image& image, const std::string& file, const Metadata& metadata,
                std::optional<int> quality)
{
    if (turns(*image, metadata))
        return writeImage(turned(image, metadata.orientation), file, {Upright, metadata.attributes}, quality);
    const std::string ending = endingOfOutput(file);
    if (isFitsEnding(ending))
        return writeFits(image, file);
    const Quiet quiet;
    // Into memory first: the writers of PNG and JPEG do not notice a full disk, or end the program over it.
    std::vector<unsigned char> bytes;
    OIIO::Filesystem::IOVecOutput memory(bytes);
    const std::unique_ptr<OIIO::ImageOutput> output = OIIO::ImageOutput::create("result" + ending);
    if (!output || !output->supports("ioproxy") || !output->set_ioproxy(&memory))
        throw Failure(nameOfOutput(file),
                      "cannot be written: no picture format that can be written has this ending");

    const std::optional<Image> moved = alignedForFile(image);
    const Image& aligned = moved ? *moved : image;
    const auto ensure = [&](bool done) {
        if (!done)
            throw Failure(nameOfOutput(file),
                          "cannot be written: " + causeOf(output->geterror(), "result" + ending));
    };
    const OIIO::ImageSpec spec = specOf(image, output->format_name(), metadata, quality);
    std::optional<MemoryFile> readable;
    if (isReadOnWriting(spec, output->format_name())) {
        output->set_ioproxy(nullptr);
        readable.emplace();
    }
    ensure(output->open(readable ? readable->path() : "result" + ending, spec));
    if (!isAcceptable(output->spec().format, image->dataType))
        throw Failure(nameOfOutput(file), "cannot be written: this file format cannot hold such samples");
    ensure(
        output->write_image(storedType(image->dataType), aligned->data, OIIO::AutoStride, aligned->stride));
    ensure(output->close());
    if (readable)
        bytes = readable->content();
    replaceFile(file, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

}  // namespace ko::tool
