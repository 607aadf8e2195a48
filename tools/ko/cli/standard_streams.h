// The three streams that every program is given, unless its caller has closed them.
#pragma once

namespace ko::tool {

/// Takes the places of streams that are closed, or the next file that is opened would be taken for one of them. What is
/// put there can be neither written nor read, so whoever needs it fails. Before anything is opened.
void holdStandardStreams();

}  // namespace ko::tool
