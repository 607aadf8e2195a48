// The corrections that a DNG file asks for.
#pragma once

#include <libraw/libraw.h>

#include <string>
#include <vector>

namespace ko::tool {

/// Names of the corrections of a list that begins where the stream stands and has so many bytes. A list that makes no
/// sense ends early.
std::vector<std::string> readOpcodes(LibRaw_abstract_datastream& stream, int size);

}  // namespace ko::tool
