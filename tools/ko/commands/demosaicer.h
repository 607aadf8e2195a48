// The ways from a mosaic to a colour picture.
#pragma once

#include "commands/operation.h"
#include "commands/work_buffers.h"

#include <QRect>

namespace ko::tool {

/// Half makes one pixel of each 2 x 2 cell.
enum Method { Menon, Malvar, Linear, Half };

/// All of them by their names, as a setting takes them.
Settings::Words methodWords();

/// Demosaics pictures; keeps the work buffers from one to the next.
class Demosaicer {
public:
    explicit Demosaicer(Method method) : m_method(method) {}

    /// The region of a mosaic, which `mosaicOf` has found fit, in colour. May run on several threads at once.
    /// Throws for a region that does not consist of 2 x 2 cells where the method wants it to; `advice` is
    /// added to the cause.
    Image run(const SxImageBuf& mosaic, const QRect& region, const std::string& advice, Frame& frame);

private:
    void runLinear(const SxImageBuf& mosaic, const QRect& region, Image& result, Frame& frame);
    void runCentred(const SxImageBuf& mosaic, const QRect& region, Image& result, Frame& frame);

    Method m_method;
    WorkBuffers m_linearBuffers{DemosaicFreeBuffer};
    WorkBuffers m_centredBuffers{DemosaicCentredFreeBuffer};
};

}  // namespace ko::tool
