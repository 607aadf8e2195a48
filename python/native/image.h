// Images over the memory of arrays.
#pragma once

#include "enumerations.h"

#include <ko/image.h>

#include <pybind11/numpy.h>

#include <optional>

namespace ko::python {

/// A record whose memory belongs to a Python object, which it keeps alive. The words that say how `AllocBuffer`
/// got the memory are 0: to the libraries all of it is the program's own.
class ArrayImage : public SxImageBuf {
public:
    /// An absent image.
    ArrayImage() = default;

    /// Over an array. Throws what Python is to raise for an object that cannot be used.
    ArrayImage(const py::object& array, std::optional<int> bits, ExPixelPacking order, ExBayerGrid grid,
               int format);

    /// Over memory that `memory` keeps, all of it: stride times height bytes per plane.
    ArrayImage(const SxImageBuf& record, py::object memory, bool isWritable);

    /// Takes over what an operation has allocated.
    static ArrayImage owning(const SxImageBuf& allocated);

    const py::object& memory() const { return m_memory; }
    bool isWritable() const { return m_isWritable; }

    /// The bytes between and behind the rows are the image's: no larger array has pixels there.
    bool ownsAllBytes() const { return m_ownsAllBytes; }

    /// The pixels as an array; None for an absent image.
    py::object array() const;

private:
    void describe(const py::array& samples, ExPixelPacking order);

    py::object m_memory;
    bool m_isWritable = true;
    bool m_ownsAllBytes = true;
};

/// An array that shares the memory of an object: an ndarray itself, or what has a buffer or the array interface.
/// Throws TypeError for everything else, lists among it, which would be copied.
py::array arrayOver(const py::object& object);

}  // namespace ko::python
