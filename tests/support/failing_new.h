// Makes `operator new` run out of memory. A program that includes this links `ko_failing_new`, which replaces
// every global form of new and delete. Under ThreadSanitizer libraries that the program loads keep the runtime's own.
#pragma once

#include <cstdint>

namespace ko::test {

/// While it lives, `successes` more allocations by new are granted, in all threads together, and all later
/// ones fail. Keep assertions out of its scope: they allocate too.
class NewFailure {
public:
    explicit NewFailure(std::int64_t successes);
    ~NewFailure();
    NewFailure(const NewFailure&) = delete;
    NewFailure& operator=(const NewFailure&) = delete;

    /// Some allocation has been refused since this object was made.
    static bool hasStruck();

    /// Allocations by libraries that the program loads, such as Qt, fail as well.
    static bool reachesLibraries();
};

}  // namespace ko::test
