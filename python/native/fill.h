// Operations that allocate their result, and operations on plain memory.
#pragma once

#include "binding.h"

namespace ko::python {

/// Runs an operation that fills a record, and takes over what it has allocated.
template <class Operation>
ResultCode fill(ArrayImage& out, const Operation& operation)
{
    const SxImageBuf before = out;
    SxImageBuf record = before;
    const ResultCode rc = withoutGil([&] { return operation(record); });
    // An operation that refuses its arguments leaves the record alone.
    if (record.data == nullptr || record.data != before.data)
        out = ArrayImage::owning(record);
    return rc;
}

/// The contiguous memory of an object, which stays where it is for as long as this lives.
class Bytes {
public:
    /// Throws ValueError for memory shorter than `atLeast`, BufferError for what is read-only or in pieces.
    Bytes(const py::buffer& object, bool isWritable, std::uint64_t atLeast)
    {
        if (PyObject_GetBuffer(object.ptr(), &m_view, isWritable ? PyBUF_CONTIG : PyBUF_CONTIG_RO) != 0)
            throw py::error_already_set();
        if (static_cast<std::uint64_t>(m_view.len) < atLeast) {
            PyBuffer_Release(&m_view);
            throw py::value_error("the memory is shorter than the number of bytes");
        }
    }
    ~Bytes() { PyBuffer_Release(&m_view); }
    Bytes(const Bytes&) = delete;
    Bytes& operator=(const Bytes&) = delete;

    void* data() const { return m_view.buf; }

private:
    Py_buffer m_view{};
};

}  // namespace ko::python
