// What reads and writes picture files and camera raws and draws diagrams: a module of its own, because the
// libraries that it needs, more than two hundred, take longer to load than most commands to run. `ko --help` has
// no use for them.
#pragma once

#include "io/image_file.h"
#include "io/source.h"

#include <optional>
#include <string>
#include <vector>

namespace ko::tool {

/// The functions of picture_file.h, raw_file.h, resample.h and plot/raster.h, which say what they do. The module in
/// turn calls those of the program.
struct PictureModule {
    FileInfo (*readPictureInfo)(const Source& source, int page);
    Picture (*readPictureFile)(const Source& source, int page);
    std::vector<unsigned char> (*encodePicture)(const Image& image, const std::string& file,
                                                const Metadata& metadata, std::optional<int> quality);
    bool (*isRawName)(const std::string& file);
    bool (*startsAsRaw)(const Source& source);
    FileInfo (*readRawInfo)(const Source& source);
    Picture (*readRaw)(const Source& source);
    void (*resample)(const Image& picture, Image& result, const std::string& filter, int threads);
    Image (*rasterise)(const std::string& svg, int width, int height);
};

/// The module, loaded with the first call. Throws where it is missing.
const PictureModule& pictureModule();

}  // namespace ko::tool
