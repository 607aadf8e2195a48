// Lists of images as parameters.
#pragma once

#include "binding.h"

#include <QVector>

#include <vector>

namespace ko::python {

/// Frames or masks, as a sequence of images.
template <>
struct Argument<QVector<SxImageBuf>> {
    using Given = const py::sequence&;
    explicit Argument(const py::sequence& given)
    {
        for (const py::handle frame : given) {
            if (!py::isinstance<ArrayImage>(frame))
                throw py::type_error("a sequence of images is wanted");
            m_memories.emplace_back(frame.cast<const ArrayImage&>());
            m_frames.append(m_memories.back());
        }
    }
    const QVector<SxImageBuf>& get() const { return m_frames; }

private:
    std::vector<Source> m_memories;
    QVector<SxImageBuf> m_frames;
};

template <>
struct Argument<const QVector<SxImageBuf>&> : Argument<QVector<SxImageBuf>> {
    using Argument<QVector<SxImageBuf>>::Argument;
};

}  // namespace ko::python
