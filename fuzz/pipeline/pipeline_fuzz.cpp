// Frames, metadata and graphs of items. Threads decide what comes of a graph, and no kernels run here, so
// that every input runs once and is compared with nothing.
#include "fuzz/pipeline/families.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const ko::fuzz::CaseTable cases{ko::fuzz::dataCases(), ko::fuzz::graphCases()};
    ko::fuzz::runOnce(cases, data, size);
    return 0;
}
