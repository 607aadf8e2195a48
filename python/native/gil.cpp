#include "gil.h"

#include <cxxabi.h>
#include <unistd.h>

namespace ko::python {

WithoutGil::WithoutGil() : m_thread(PyEval_SaveThread()) {}

/// Python ends daemon threads that want the GIL when it has ended itself. It does so by unwinding their stacks, which no
/// function on the way may hold up. So they wait here for the end of the process, which is near.
WithoutGil::~WithoutGil()
{
    try {
        PyEval_RestoreThread(m_thread);
    } catch (const abi::__forced_unwind&) {
        for (;;)
            pause();
    }
}

}  // namespace ko::python
