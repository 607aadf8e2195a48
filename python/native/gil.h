// Python's lock, for operations that need no Python.
#pragma once

#include <Python.h>

namespace ko::python {

/// Leaves the GIL to other threads for as long as it lives.
class WithoutGil {
public:
    WithoutGil();
    WithoutGil(const WithoutGil&) = delete;
    WithoutGil& operator=(const WithoutGil&) = delete;
    ~WithoutGil();

private:
    PyThreadState* m_thread;
};

}  // namespace ko::python
