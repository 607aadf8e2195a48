// Operations on a whole pipe: an item and everything behind it.
#pragma once

#include <ko/pipeline/item.h>

namespace ko {

/// Starts an item and all that follow it, the last ones first, and then calls `onPipeStarted` on each. Items
/// that are started already stay so. False when one refuses; those that this call has started are then
/// stopped again.
KO_EXPORT bool StartPipe(IxPipeItem& first);

/// Waits until every frame that has been given to `first` has left the pipe: item by item from the first to
/// the last until each is idle. Frames that keep coming prolong it.
/// @param milliseconds  for each item; negative: as long as it takes
/// @returns false when the time is over, and at once on a worker
KO_EXPORT bool DrainPipe(IxPipeItem& first, int milliseconds = -1);

/// Stops an item and those that follow it, the first ones first, and then calls `onPipeStopped` on each.
/// Items behind it that another started item feeds stay started. Waiting frames are dropped; see `DrainPipe`.
/// @returns true when they have stopped; false on a worker, where they are only asked to and no
///          `onPipeStopped` is called
KO_EXPORT bool StopPipe(IxPipeItem& first);

}  // namespace ko
