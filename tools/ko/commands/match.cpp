// ko match: the tones of another picture.
#include "cli/failure.h"
#include "commands/operations.h"
#include "commands/toning.h"
#include "io/image_file.h"

#include <memory>
#include <stdexcept>

namespace ko::tool {
namespace {

/// What the reference lends to other pictures.
struct Tones {
    std::string file;
    int bits;
    CxImageHistogram histogram;
};

Tones readTones(const std::string& file)
try {
    const Image picture = readAside(file);
    requireTones(*picture);
    Tones tones{file, picture->bitsPerSample, {}};
    tones.histogram.resize(picture->channels, 1 << picture->bitsPerSample, 0);
    require(Histogram(*picture, tones.histogram), "Histogram");
    return tones;
} catch (const Failure&) {
    throw;
} catch (const std::runtime_error& error) {
    throw Failure(file, error.what());
}

Image match(const Image& picture, const Tones& tones, Frame& frame)
{
    requireTones(*picture);
    if (picture->bitsPerSample != tones.bits || picture->channels != tones.histogram.planes)
        throw std::runtime_error("differs in depth or channels from " + tones.file);
    Image result(*picture);
    timed(frame, [&] { require(HistogramMatch(*picture, tones.histogram, *result), "HistogramMatch"); });
    keepAlpha(picture, result);
    return result;
}

}  // namespace

const Operation matchOperation{
    "Tone", "match", "Give pictures the distribution of levels of a reference, channel by channel",
    [](Settings& settings) -> Operation::Prepare {
        auto reference = std::make_shared<std::string>();
        settings
            .file("reference", *reference,
                  "picture of any size, with the depth and the channels of the inputs")
            .isRequired = true;
        return [reference]() -> Filter {
            auto tones = std::make_shared<const Tones>(readTones(*reference));
            return [tones](const Image& picture, Frame& frame) { return match(picture, *tones, frame); };
        };
    }};

}  // namespace ko::tool
