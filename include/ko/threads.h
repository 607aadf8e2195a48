// Threads for operations that stay on the calling thread otherwise.
#pragma once

#include <ko/export.h>

namespace ko {

/// Allows operations to use several threads where they would stay on the calling one.
///
/// Many operations stay on the calling thread, because programs work on many frames at once. A program with
/// one big frame says so for as long as an object of this class lives:
///
///     ko::CallThreads threads(4);
///     rc = ko::Demosaic(raw, colour, buffer);
///
/// The results are the same, byte for byte. The declaration of an operation says whether it makes use of
/// this. The others, and every operation that always runs in parallel, do not change. Images too small to be
/// worth several threads stay on the calling one. The permission holds for calls on the thread that made the
/// object. Objects nest: the innermost one counts, and the one around it counts again afterwards. So destroy
/// each on the thread that made it, the last one first.
class KO_EXPORT CallThreads {
public:
    /// Allows up to `threads` threads, and never more than 64. 1 or less takes the permission back.
    explicit CallThreads(int threads) noexcept;
    ~CallThreads();
    CallThreads(const CallThreads&) = delete;             ///< belongs to its scope
    CallThreads& operator=(const CallThreads&) = delete;  ///< belongs to its scope

    /// How many threads an operation called now may use on behalf of this class: 1...64.
    static int current() noexcept;

private:
    int m_outer;
};

}  // namespace ko
