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
    const GError* get() const { return m_error; }
    bool isSet() const { return m_error != nullptr; }

    /// What went wrong, in one line.
    QString text() const { return isSet() ? QString::fromUtf8(m_error->message).simplified() : QString(); }

private:
    GError* m_error = nullptr;
};

}  // namespace ko
