// Pictures in files: PNG, TIFF, JPEG, EXR and what else OpenImageIO knows, FITS, and camera raws.
//
// Samples that use fewer bits than their container (12 of 16, say) stand in the low bits in memory and in the
// high bits in a file, so that every viewer shows the picture at its brightness. The file's description says
// how many bits count, and which pattern a mosaic has; reading undoes the shift. A file without such a
// description has samples of all bits.
#pragma once

#include "io/image.h"
#include "io/orientation.h"

#include <memory>
#include <optional>
#include <string>

namespace ko::tool {

struct Attributes;
struct Sensor;

/// What a result takes over from the picture that it was made of.
struct Metadata {
    int orientation = Upright;                     ///< what is still to be done to the samples
    std::shared_ptr<const Attributes> attributes;  ///< colour profile and Exif; null where none are known

    /// That of a picture whose colours are no longer those of the file.
    Metadata withoutColours() const { return {orientation, nullptr}; }
};

/// The format of a file's picture and, for people, what else the file says about it.
struct FileInfo {
    SxImageInfo format;
    std::string kind;
    Metadata metadata = {};
    std::shared_ptr<const Sensor> sensor = {};  ///< of a camera raw
    std::string more = {};                      ///< to follow the kind and the crop of the sensor
};

struct Picture {
    Image image;
    Metadata metadata = {};
    std::shared_ptr<const Sensor> sensor = {};  ///< of a camera raw
};

/// What `readPicture` would give; reads no more than the head of the file, of a camera raw all.
FileInfo readInfo(const std::string& file);

/// Reads the wanted page of an input: mono or interleaved, in the sample type of the file, with its depth and
/// its mosaic pattern, upright unless wanted as stored. A mosaic stays as the sensor has it, whose dark
/// frames and flat fields have no upright either: what is made of it is turned when it is written. Camera
/// raws come as `readRaw` gives them. Throws `Failure`.
Picture readPicture(const std::string& file);

/// The same without what is not in the samples.
Image readImage(const std::string& file);

/// Reads the first page of a picture that is not an input but stands beside them: a mask, a reference.
Image readAside(const std::string& file);

/// Writes a mono or interleaved image in the format of the file's ending, or of `--format` to the standard
/// output; JPEG and WebP in a quality of 1 to 100. The file appears complete or not at all. Formats of 8 bits get
/// the high bits of 16-bit samples, formats that know no 16-bit integers get them as floating-point numbers in
/// 0...1; anything else that the format cannot hold is refused. Throws `Failure`.
void writeImage(const Image& image, const std::string& file, const Metadata& metadata = {},
                std::optional<int> quality = {});

}  // namespace ko::tool
