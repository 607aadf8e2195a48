// Memory of images and of large counter tables.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ko {

/// A block from the heap, zeroed or undefined; null when there is not enough memory. Large zeroed blocks come
/// as untouched zero pages, so that clearing costs nothing until they are used. Release with `std::free`.
void* obtainMemory(std::uint64_t bytes, bool zeroed) noexcept;

/// Lets the system put a block of 8 MiB or more on huge pages. The first use of each page is a fault, and for small
/// pages it takes longer than most operations take for their bytes. For memory that is used as a whole: of a table with
/// few entries in use, a huge page around each would become real.
void askForHugePages(void* block, std::size_t bytes) noexcept;

/// For tests: lets the next `successes` calls of `obtainMemory` succeed and all later ones fail, until it is
/// called again. With a negative number none fails; a process starts that way.
void refuseMemoryAfter(std::int64_t successes) noexcept;

}  // namespace ko
