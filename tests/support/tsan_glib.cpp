// Tells ThreadSanitizer of the locks and the counted references inside GLib and GStreamer, whose libraries are not
// instrumented: what one thread wrote before it unlocked, or gave up a reference, is seen by the next one that locks,
// or frees the object.
#include <gst/gst.h>

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

namespace {

template <class Function>
Function next(Function, const char* symbol)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, symbol));
}

}  // namespace

// A function that locks sees what others did before, one that unlocks lets others see it.
#define KO_LOCKING(name, Lock)                                                                               \
    void name(Lock* lock)                                                                                    \
    {                                                                                                        \
        static const auto real = next(&name, #name);                                                         \
        real(lock);                                                                                          \
        __tsan_acquire(lock);                                                                                \
    }
#define KO_TRYING(name, Lock)                                                                                \
    gboolean name(Lock* lock)                                                                                \
    {                                                                                                        \
        static const auto real = next(&name, #name);                                                         \
        const gboolean isLocked = real(lock);                                                                \
        if (isLocked)                                                                                        \
            __tsan_acquire(lock);                                                                            \
        return isLocked;                                                                                     \
    }
#define KO_UNLOCKING(name, Lock)                                                                             \
    void name(Lock* lock)                                                                                    \
    {                                                                                                        \
        static const auto real = next(&name, #name);                                                         \
        __tsan_release(lock);                                                                                \
        real(lock);                                                                                          \
    }
// The last reference frees the object on the way.
#define KO_UNREFERENCING(name, Object)                                                                       \
    void(name)(Object * object)                                                                              \
    {                                                                                                        \
        static const auto real = next(&(name), #name);                                                       \
        __tsan_release(object);                                                                              \
        __tsan_acquire(object);                                                                              \
        real(object);                                                                                        \
    }

extern "C" {
KO_LOCKING(g_mutex_lock, GMutex)
KO_TRYING(g_mutex_trylock, GMutex)
KO_UNLOCKING(g_mutex_unlock, GMutex)
KO_LOCKING(g_rec_mutex_lock, GRecMutex)
KO_TRYING(g_rec_mutex_trylock, GRecMutex)
KO_UNLOCKING(g_rec_mutex_unlock, GRecMutex)
KO_UNREFERENCING(g_object_unref, void)
KO_UNREFERENCING(gst_object_unref, void)
KO_UNREFERENCING(gst_mini_object_unref, GstMiniObject)

void g_cond_wait(GCond* condition, GMutex* mutex)
{
    static const auto real = next(&g_cond_wait, "g_cond_wait");
    __tsan_release(mutex);
    real(condition, mutex);
    __tsan_acquire(mutex);
}

gboolean g_cond_wait_until(GCond* condition, GMutex* mutex, gint64 end)
{
    static const auto real = next(&g_cond_wait_until, "g_cond_wait_until");
    __tsan_release(mutex);
    const gboolean isSignalled = real(condition, mutex, end);
    __tsan_acquire(mutex);
    return isSignalled;
}
}
