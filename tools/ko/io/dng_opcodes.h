// The corrections that a DNG file asks for.
#pragma once

#include <libraw/libraw.h>

#include <string>
#include <vector>

namespace ko::tool {

/// Adds the names of the corrections of a list that begins where the stream stands and has so many bytes, each once. A
/// list that makes no sense ends early.
void readOpcodes(LibRaw_abstract_datastream& stream, int size, std::vector<std::string>& names);

}  // namespace ko::tool
