// ko match: the tones of another picture.
#include "commands.h"
#include "failure.h"
#include "filtering.h"
#include "image_file.h"
#include "toning.h"

#include <memory>
#include <stdexcept>

namespace ko::tool {
namespace {

struct Options {
    FileSeries files;
    std::string reference;
};

/// What the reference lends to other pictures.
struct Tones {
    int bits;
    CxImageHistogram histogram;
};

Tones readTones(const std::string& file)
try {
    const Image picture = readImage(file);
    requireTones(*picture);
    Tones tones{picture->bitsPerSample, {}};
    tones.histogram.resize(picture->channels, 1 << picture->bitsPerSample, 0);
    require(Histogram(*picture, tones.histogram), "Histogram");
    return tones;
} catch (const Failure&) {
    throw;
} catch (const std::runtime_error& error) {
    throw Failure(file, error.what());
}

int run(const Options& options)
{
    const Tones tones = readTones(options.reference);
    return runFilter(options.files, [&](const Image& picture, Frame& frame) {
        requireTones(*picture);
        if (picture->bitsPerSample != tones.bits || picture->channels != tones.histogram.planes)
            throw std::runtime_error("differs in depth or channels from " + options.reference);
        Image result(*picture);
        timed(frame, [&] { require(HistogramMatch(*picture, tones.histogram, *result), "HistogramMatch"); });
        keepAlpha(picture, result);
        return result;
    });
}

}  // namespace

const Command matchCommand{
    "Tone", "match", "Give pictures the distribution of levels of a reference, channel by channel",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        addSeriesOptions(command, options->files);
        command
            .add_option("--reference", options->reference,
                        "picture of any size, with the depth and the channels of the inputs")
            ->required();
        return [options] { return run(*options); };
    }};

}  // namespace ko::tool
