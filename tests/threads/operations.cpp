#include "threads/call.h"

namespace ko::test {

Operations allOperations()
{
    Operations all;
    for (const Operations& room :
         {coreOperations(), frameOperations(), countingOperations(), statisticsOperations(), toneOperations(),
          pixelOperations(), conversionOperations(), rawOperations(), filterOperations()})
        all.insert(all.end(), room.begin(), room.end());
    return all;
}

}  // namespace ko::test
