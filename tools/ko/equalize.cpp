// ko equalize: levels used evenly.
#include "commands.h"
#include "failure.h"
#include "filtering.h"
#include "toning.h"

#include <memory>

namespace ko::tool {
namespace {

Image equalize(const Image& picture, Frame& frame)
{
    requireTones(*picture);
    Image result(*picture);
    timed(frame, [&] { require(HistogramEqualize(*picture, *result), "HistogramEqualize"); });
    keepAlpha(picture, result);
    return result;
}

}  // namespace

const Command equalizeCommand{
    "Tone", "equalize",
    "Spread the levels evenly; all colours by the distribution of the first channel, which keeps them apart",
    [](CLI::App& command) -> Command::Action {
        auto files = std::make_shared<FileSeries>();
        addSeriesOptions(command, *files);
        return [files] { return runFilter(*files, equalize); };
    }};

}  // namespace ko::tool
