// What keeps the samples of a DNG file from being read.
#pragma once

#include "io/dng_opcodes.h"
#include "io/tag_directory.h"

#include <string>
#include <vector>

namespace ko::tool {

/// Of LibRaw's decoders, which say nothing and make something of it; to follow the name of the file, empty where nothing
/// is known. The corrections are those that samples get when they are linear.
std::string obstacleOf(const TagDirectory& directory, const std::vector<Opcode>& corrections);

}  // namespace ko::tool
