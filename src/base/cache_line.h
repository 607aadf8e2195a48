// A piece of memory that begins where a cache line does.
#pragma once

#include <cstddef>

namespace ko {

struct alignas(64) CacheLine {
    std::byte bytes[64];
};

}  // namespace ko
