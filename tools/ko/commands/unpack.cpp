// ko unpack: a picture in another file format; for camera raws their mosaic, for packed frames their samples.
#include "cli/batch.h"
#include "commands/commands.h"
#include "commands/packed_options.h"
#include "io/image_file.h"

#include <memory>

namespace ko::tool {
namespace {

struct Options {
    FileSeries files;
    PackedOptions packed;
    Settings settings;
};

int run(const Options& options)
{
    options.settings.verify();
    const std::optional<PackedFrame> frame = frameOf(options.packed);
    return runBatch(planJobs(options.files, ".tif"), options.files.verbosity, [&](const Job& job) {
        const Picture picture = frame ? readPacked(job.input, *frame) : readPicture(job.input);
        writeImage(picture.image, job.output, picture.metadata, options.files.quality);
        return Frame{pixelCount(*picture.image), {}};
    });
}

}  // namespace

const Command unpackCommand{
    "Files", "unpack",
    "Copy pictures into another file format; camera raws become their bare mosaic, packed frames pictures",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        addSeriesOptions(command, options->files);
        addPackedOptions(command, options->settings, options->packed);
        options->settings.declare(command);
        return [options] { return run(*options); };
    }};

}  // namespace ko::tool
