#include "commands/filtering.h"

#include "io/image_file.h"
#include "io/levels.h"
#include "io/mosaic.h"

#include <stdexcept>

namespace ko::tool {

int runFilter(const FileSeries& files, const Filter& filter, bool keepsColours)
{
    return runBatch(planJobs(files, ".tif"), files.verbosity, [&](const Job& job) {
        const Picture picture = readPicture(job.input);
        Frame frame;
        frame.sensor = picture.sensor.get();
        const Image result = filter(picture.image, frame);
        frame.pixels = pixelCount(*result);
        writeImage(result, job.output, keepsColours ? picture.metadata : picture.metadata.withoutColours(),
                   files.quality);
        return frame;
    });
}

void requireMono(const SxImageInfo& picture)
{
    if (picture.channels != 1)
        throw std::runtime_error("has " + std::to_string(picture.channels) + " channels, wanted is one");
}

void requireMonoUnsigned(const SxImageInfo& picture)
{
    requireMono(picture);
    if (!hasLevels(picture))
        throw std::runtime_error("its samples are not unsigned of 8 or 16 bits");
}

void requireMosaic(const SxImageInfo& picture)
{
    requireMonoUnsigned(picture);
    if (picture.bayerGrid == BayerNone)
        throw std::runtime_error("not a mosaic, or its file names no pattern");
    requireEven({picture.width, picture.height});
}

}  // namespace ko::tool
