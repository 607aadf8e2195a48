#include "core/cache_size.h"

#include <ko/image.h>

#if __has_include(<unistd.h>)
#include <unistd.h>
#endif

#include <fstream>
#include <string>

namespace ko {

namespace {

template <class Value>
Value firstWordOf(const std::string& path)
{
    Value value{};
    std::ifstream(path) >> value;
    return value;
}

/// Reads sizes such as "48K" and "2M".
unsigned sizeIn(const std::string& path)
{
    std::ifstream file(path);
    unsigned size = 0;
    char unit = ' ';
    file >> size >> unit;
    const unsigned factor = unit == 'M' ? 1U << 20 : unit == 'K' ? 1U << 10 : 1U;
    return size > ~0U / factor ? 0U : size * factor;
}

unsigned askSystem() noexcept
{
#ifdef _SC_LEVEL2_CACHE_SIZE  // an extension of GNU's C library
    const long size = sysconf(_SC_LEVEL2_CACHE_SIZE);
    if (size > 0 && size <= long{~0U >> 1})
        return static_cast<unsigned>(size);
#endif
    return l2CacheSizeFrom("/sys/devices/system/cpu/cpu0/cache");
}

}  // namespace

unsigned l2CacheSizeFrom(const char* directory) noexcept
{
    try {
        // A processor lists two caches of the first level, one of each further one.
        for (const char* const index : {"/index0/", "/index1/", "/index2/", "/index3/", "/index4/"}) {
            const std::string cache = std::string(directory) + index;
            if (firstWordOf<int>(cache + "level") == 2 &&
                firstWordOf<std::string>(cache + "type") != "Instruction")
                return sizeIn(cache + "size");
        }
    } catch (...) {
        // No memory for a path: the size stays unknown.
    }
    return 0;
}

unsigned L2CacheSize()
{
    static const unsigned size = askSystem();
    return size;
}

}  // namespace ko
