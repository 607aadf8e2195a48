// Pictures of another size, by a filter that keeps them where they are.
#pragma once

#include "io/image.h"

#include <string>

namespace ko::tool {

/// Fills `result` with the picture at the size of `result`, which has its channels and depth. The corners of
/// the picture stay at the corners; reducing takes all samples into account; results are rounded and limited
/// to the depth. `filter` is a name of OpenImageIO's. `threads` of them work on it.
void resample(const Image& picture, Image& result, const std::string& filter, int threads);

}  // namespace ko::tool
