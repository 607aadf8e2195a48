// Frames of pipes between Python and the libraries.
#pragma once

#include "image.h"

#include <ko/pipeline/data.h>

#include <QVariantMap>

#include <memory>

namespace ko::python {

/// A frame as Python sees it. Its image is an object of Python of its own, which stays when the frame is sent.
struct Frame {
    py::object image;
    int frameNo = 0;
    std::uint64_t timestamp = 0;
    QDateTime date;
    py::dict metadata;
};

/// A frame for a pipe with the image of `frame`, which is left without. Throws TypeError for metadata that no frame
/// can carry.
std::unique_ptr<CxImageData> frameFor(Frame& frame);

/// The image of a frame that comes from a pipe, and what travels with it. Leaves the frame without image.
Frame frameFrom(CxImageData& data);

QVariantMap mapOf(const py::dict& values);
py::dict dictOf(const QVariantMap& values);

}  // namespace ko::python
