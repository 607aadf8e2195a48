// Owners of what GLib hands out.
#pragma once

#include <QString>

#include <arv.h>

#include <memory>

namespace ko {

struct Unref {
    void operator()(gpointer object) const noexcept { g_object_unref(object); }
};

/// A reference to an object of GLib.
template <class Object>
using GObjectPointer = std::unique_ptr<Object, Unref>;

/// Receives the error of a call; to be passed as `error.slot()`.
class GErrorSlot {
public:
    GErrorSlot() = default;
    ~GErrorSlot() { g_clear_error(&m_error); }
    GErrorSlot(const GErrorSlot&) = delete;
    GErrorSlot& operator=(const GErrorSlot&) = delete;

    /// Empty again for each call.
    GError** slot()
    {
        g_clear_error(&m_error);
        return &m_error;
    }
    bool isSet() const { return m_error != nullptr; }

    /// The camera has not answered, and will not answer the next call.
    bool isTimeout() const
    {
        return g_error_matches(m_error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_TIMEOUT) != FALSE;
    }
    bool isNotFound() const
    {
        return g_error_matches(m_error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_NOT_FOUND) != FALSE;
    }

    /// What went wrong, in one line.
    QString text() const { return isSet() ? QString::fromUtf8(m_error->message).simplified() : QString(); }

private:
    GError* m_error = nullptr;
};

}  // namespace ko
