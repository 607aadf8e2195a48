// Size of the processor's caches.
#pragma once

namespace ko {

/// Bytes of the second-level cache that holds data, by the cache descriptions (`index0`, `index1`, ...) under
/// `directory`; 0 when they do not say.
unsigned l2CacheSizeFrom(const char* directory) noexcept;

}  // namespace ko
