// ko pack: frames of packed samples, as cameras send them.
#include "cli/batch.h"
#include "cli/settings.h"
#include "commands/commands.h"
#include "io/packed_file.h"
#include "io/replace_file.h"

#include <memory>

namespace ko::tool {
namespace {

struct Options {
    FileSeries files;
    std::string format;
    std::optional<int> pitch;
    Settings settings;
};

int run(const Options& options)
{
    const PackedFormat format = packedFormatOf(options.format);
    return runBatch(planJobs(options.files, ".bin"), options.files.verbosity, [&](const Job& job) {
        const Image picture = readImage(job.input);
        replaceFile(job.output, packedBytes(picture, format, options.pitch));
        return Frame{pixelCount(*picture), {}};
    });
}

}  // namespace

const Command packCommand{
    "Files", "pack", "Write mono pictures and mosaics as frames of packed samples without a header",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        addFileOptions(command, options->files);
        declareArgument(command, "--packed", options->format, Need::Required, "how to pack, see below",
                        "FORMAT");
        addHelp(command, packedFormatHelp);
        options->settings.whole("pitch", options->pitch, {1, 1 << 30},
                                "bytes from a row to the next; as many as a row needs if not given");
        options->settings.declare(command);
        return [options] { return run(*options); };
    }};

}  // namespace ko::tool
