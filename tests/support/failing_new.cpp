#include "support/failing_new.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::int64_t> grantsLeft{-1};
std::atomic<bool> struck{false};

bool isGranted() noexcept
{
    std::int64_t left = grantsLeft.load();
    while (left > 0 && !grantsLeft.compare_exchange_weak(left, left - 1)) {
    }
    if (left == 0)
        struck = true;
    return left != 0;
}

}  // namespace

namespace ko::test {

NewFailure::NewFailure(std::int64_t successes)
{
    struck = false;
    grantsLeft = successes;
}

NewFailure::~NewFailure()
{
    grantsLeft = -1;
}

bool NewFailure::hasStruck()
{
    return struck;
}

bool NewFailure::reachesLibraries()
{
#ifdef KO_WRAP_NEW
    return false;
#else
    return true;
#endif
}

}  // namespace ko::test

#ifdef KO_WRAP_NEW
// The operators of ThreadSanitizer's runtime cannot be replaced. The linker lets the program call these instead, which
// call those.
// clang-format off
#define KO_WRAPPED(name, parameters, arguments, otherwise) \
    void* __real_##name parameters; \
    void* __wrap_##name parameters { return isGranted() ? __real_##name arguments : otherwise; }

namespace {

[[noreturn]] void* fail() { throw std::bad_alloc(); }

}  // namespace

extern "C" {
KO_WRAPPED(_Znwm, (std::size_t n), (n), fail())
KO_WRAPPED(_Znam, (std::size_t n), (n), fail())
KO_WRAPPED(_ZnwmSt11align_val_t, (std::size_t n, std::align_val_t a), (n, a), fail())
KO_WRAPPED(_ZnamSt11align_val_t, (std::size_t n, std::align_val_t a), (n, a), fail())
KO_WRAPPED(_ZnwmRKSt9nothrow_t, (std::size_t n, const std::nothrow_t& t), (n, t), nullptr)
KO_WRAPPED(_ZnamRKSt9nothrow_t, (std::size_t n, const std::nothrow_t& t), (n, t), nullptr)
}
// clang-format on
#else
namespace {

void* take(std::size_t bytes, std::size_t alignment) noexcept
{
    if (!isGranted())
        return nullptr;
    const std::size_t rounded = (bytes / alignment + 1) * alignment;
    return rounded < bytes ? nullptr : std::aligned_alloc(alignment, rounded);
}

void* takeOrThrow(std::size_t bytes, std::size_t alignment)
{
    if (void* const memory = take(bytes, alignment))
        return memory;
    throw std::bad_alloc();
}

constexpr std::size_t plain = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

}  // namespace

// clang-format off
void* operator new(std::size_t n) { return takeOrThrow(n, plain); }
void* operator new[](std::size_t n) { return takeOrThrow(n, plain); }
void* operator new(std::size_t n, std::align_val_t a) { return takeOrThrow(n, static_cast<std::size_t>(a)); }
void* operator new[](std::size_t n, std::align_val_t a) { return takeOrThrow(n, static_cast<std::size_t>(a)); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept { return take(n, plain); }
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept { return take(n, plain); }
void* operator new(std::size_t n, std::align_val_t a, const std::nothrow_t&) noexcept { return take(n, static_cast<std::size_t>(a)); }
void* operator new[](std::size_t n, std::align_val_t a, const std::nothrow_t&) noexcept { return take(n, static_cast<std::size_t>(a)); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, std::align_val_t) noexcept { std::free(p); }
void operator delete[](void* p, std::align_val_t) noexcept { std::free(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete(void* p, std::align_val_t, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, std::align_val_t, const std::nothrow_t&) noexcept { std::free(p); }
// clang-format on
#endif
