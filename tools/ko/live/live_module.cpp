#include "live/live_module.h"

#include "cli/module.h"

#include <stdexcept>

namespace ko::tool {

const LiveModule& liveModule()
{
#ifdef KO_LIVE_MODULE
    static const LiveModule& module =
        *static_cast<const LiveModule*>(loadModule(KO_LIVE_MODULE, "koLiveModule", "knows live cameras"));
    return module;
#else
    throw std::runtime_error("this ko has been built without live cameras");
#endif
}

}  // namespace ko::tool
