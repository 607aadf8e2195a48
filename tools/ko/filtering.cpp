#include "filtering.h"

#include "image_file.h"

#include <cstring>
#include <stdexcept>

namespace ko::tool {

int runFilter(const FileSeries& files, const Filter& filter)
{
    return runBatch(planJobs(files, ".tif"), [&](const Job& job) {
        const Image picture = readImage(job.input);
        Frame frame{pixelCount(*picture), {}};
        writeImage(filter(picture, frame), job.output);
        return frame;
    });
}

void requireMonoUnsigned(const Image& picture)
{
    if (picture->channels != 1)
        throw std::runtime_error("has " + std::to_string(picture->channels) + " channels, wanted is one");
    if (picture->dataType != UInt8 && picture->dataType != UInt16)
        throw std::runtime_error("its samples are not unsigned of 8 or 16 bits");
}

Image cleared(const SxImageInfo& format)
{
    Image image(format);
    std::memset(image->data, 0, imageByteSize(*image));
    return image;
}

}  // namespace ko::tool
