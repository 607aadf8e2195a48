// ko unpack: a picture in another file format; for camera raws their mosaic.
#include "cli/batch.h"
#include "commands/commands.h"
#include "io/image_file.h"

#include <memory>

namespace ko::tool {

const Command unpackCommand{
    "Files", "unpack", "Copy pictures into another file format; camera raws become their bare mosaic",
    [](CLI::App& command) -> Command::Action {
        auto files = std::make_shared<FileSeries>();
        addSeriesOptions(command, *files);
        return [files] {
            const auto copy = [files](const Job& job) {
                const Picture picture = readPicture(job.input);
                writeImage(picture.image, job.output, picture.metadata, files->quality);
                return Frame{pixelCount(*picture.image), {}};
            };
            return runBatch(planJobs(*files, ".tif"), files->verbosity, copy);
        };
    }};

}  // namespace ko::tool
