// The smallest stack that operations promise to do with.
#pragma once

#include <algorithm>

#include <limits.h>

namespace ko::test {

/// 64 KiB, or what the C library gives a thread at the least, which is more on ARM.
inline unsigned smallStack()
{
    return static_cast<unsigned>(std::max<long>(64 * 1024, PTHREAD_STACK_MIN));
}

}  // namespace ko::test
