#include "io/image_file.h"

#include "cli/failure.h"
#include "cli/transfer.h"
#include "io/corrections.h"
#include "io/description.h"
#include "io/fits_file.h"
#include "io/netpbm_file.h"
#include "io/picture_module.h"
#include "io/replace_file.h"
#include "io/sensor.h"

#include <new>
#include <utility>
#include <vector>

namespace ko::tool {
namespace {

// What comes without a name has to be looked at. Raws are much like TIFF files, some of ours much like raws.
bool isFits(const std::string& file, const Source& source)
{
    return file == standardStream ? startsAsFits(source) : isFitsName(file);
}

bool isRaw(const std::string& file, const Source& source)
{
    return file == standardStream ? pictureModule().startsAsRaw(source) : pictureModule().isRawName(file);
}

Picture readStored(const std::string& file, int page)
{
    const Source source = sourceOf(file);
    try {
        if (isFits(file, source))
            return {readFits(source, page)};
        if (startsAsNetpbm(source))
            return {readNetpbm(source, page)};
        if (isRaw(file, source))
            return pictureModule().readRaw(source);
        return pictureModule().readPictureFile(source, page);
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
    if (startsAsNetpbm(source))
        return readNetpbmInfo(source, transfer().page);
    if (isRaw(file, source))
        return pictureModule().readRawInfo(source);
    return pictureModule().readPictureInfo(source, transfer().page);
}

bool turns(const SxImageInfo& format, const Metadata& metadata)
{
    return !transfer().isAsStored && format.bayerGrid == BayerNone && metadata.orientation != Upright;
}

/// What a sensor says of a picture that has been turned.
std::shared_ptr<const Sensor> turnedSensor(const std::shared_ptr<const Sensor>& sensor, int orientation)
{
    if (!sensor)
        return {};
    auto upright = std::make_shared<Sensor>(*sensor);
    if (!sensor->crop.isNull())
        upright->crop = turned(sensor->crop, sensor->size, orientation);
    if (isTransposed(orientation))
        upright->size.transpose();
    if (sensor->corrections) {
        auto corrections = std::make_shared<Corrections>(*sensor->corrections);
        corrections->orientation = orientation;
        upright->corrections = corrections;
    }
    return upright;
}

Picture readUpright(const std::string& file, int page)
{
    Picture picture = readStored(file, page);
    if (turns(*picture.image, picture.metadata)) {
        picture.image = turned(picture.image, picture.metadata.orientation);
        picture.sensor = turnedSensor(picture.sensor, picture.metadata.orientation);
        picture.metadata.orientation = Upright;
    }
    return picture;
}

}  // namespace

FileInfo readInfo(const std::string& file)
{
    FileInfo info = storedInfo(file);
    if (turns(info.format, info.metadata)) {
        info.more += ", turned upright from " + std::to_string(info.format.width) + " x " +
                     std::to_string(info.format.height);
        info.format = turnedFormat(info.format, info.metadata.orientation);
        info.sensor = turnedSensor(info.sensor, info.metadata.orientation);
    }
    if (const QRect crop = info.sensor ? info.sensor->crop : QRect(); !crop.isNull())
        info.kind += ", crop " + std::to_string(crop.x()) + ',' + std::to_string(crop.y()) + ',' +
                     std::to_string(crop.width()) + ',' + std::to_string(crop.height());
    info.kind += std::exchange(info.more, {});
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
    if (isNetpbm(ending, *image))
        return writeNetpbm(image, file);
    // Into memory first: the writers of PNG and JPEG do not notice a full disk, or end the program over it.
    const std::optional<Image> moved = alignedForFile(image);
    const std::vector<unsigned char> bytes =
        pictureModule().encodePicture(moved ? *moved : image, file, metadata, quality);
    replaceFile(file, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

}  // namespace ko::tool
