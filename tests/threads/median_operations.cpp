// The median.
#include "threads/call.h"

namespace ko::test {

Operations medianOperations()
{
    return {
        {"Median",
         [](Call& c) {
             const TestImage& from = c.image(UInt8, 3);
             c.status(Median(from, c.image(UInt8, 3), 1, nullptr));
         }},
        {"Median with a buffer",
         [](Call& c) {
             const TestImage& from = c.image(UInt16);
             void* buffer = nullptr;
             c.status(MedianAllocBuffer(from.buf(), 5, &buffer));
             c.status(Median(from, c.image(UInt16), 5, buffer));
             MedianFreeBuffer(buffer);
         }},
    };
}

}  // namespace ko::test
