// ko sobel: where brightness changes.
#include "cli/failure.h"
#include "commands/filtering.h"
#include "commands/operations.h"
#include "io/parts.h"

namespace ko::tool {
namespace {

/// The strongest edge becomes white. A picture without edges stays black.
Image sobel(const Image& picture, Frame& frame)
{
    requireMonoUnsigned(*picture);
    Image gradient = cleared(makeFormat(picture->width, picture->height, 1, Int32));
    Image result(makeFormat(picture->width, picture->height, 1, picture->dataType));
    timed(frame, [&] {
        require(Sobel(*picture, *gradient), "Sobel");
        require(ConvertI32ToU(*gradient, *result, NormalizeJoint, nullptr, nullptr), "ConvertI32ToU");
    });
    return result;
}

}  // namespace

const Operation sobelOperation{"Filters", "sobel",
                               "Gradient magnitude of mono pictures, the strongest edge white",
                               [](Settings&) -> Operation::Prepare { return [] { return Filter(sobel); }; }};

}  // namespace ko::tool
