// ko equalize: levels used evenly.
#include "cli/failure.h"
#include "commands/operations.h"
#include "commands/toning.h"

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

const Operation equalizeOperation{
    "Tone", "equalize",
    "Spread the levels evenly; all colours by the distribution of the first channel, which keeps them apart",
    [](Settings&) -> Operation::Prepare { return [] { return Filter(equalize); }; }};

}  // namespace ko::tool
