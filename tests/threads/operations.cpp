#include "threads/call.h"

namespace ko::test {

Operations allOperations()
{
    Operations all;
    for (const Operations& room :
         {coreOperations(), pipelineOperations(), masksOperations(), histogramOperations(), statsOperations(),
          toneOperations(), pixelOperations(), convertOperations(), filtersOperations(), medianOperations(),
          rawOperations(), demosaicOperations(), snakeOperations()})
        all.insert(all.end(), room.begin(), room.end());
    return all;
}

}  // namespace ko::test
