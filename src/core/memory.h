// Memory of images and of large counter tables.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ko {

/// A block from the heap, zeroed or undefined; null when there is not enough memory. Large zeroed blocks come
/// as untouched zero pages, so that clearing costs nothing until they are used. Blocks of 8 MiB and more lie on
/// huge pages where the system has some. Release with `std::free`.
void* obtainMemory(std::uint64_t bytes, bool zeroed) noexcept;

/// For tests: lets the next `successes` calls of `obtainMemory` succeed and all later ones fail, until it is
/// called again. With a negative number none fails; a process starts that way.
void refuseMemoryAfter(std::int64_t successes) noexcept;

}  // namespace ko
