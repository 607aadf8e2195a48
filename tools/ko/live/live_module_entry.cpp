// The module's side of live_module.h.
#include "live/camera_list.h"
#include "live/live_module.h"
#include "live/session.h"

using namespace ko::tool;

extern "C" {
extern const LiveModule koLiveModule;  // a constant would be hidden otherwise
const LiveModule koLiveModule{&listCameras, &runLive};
}
