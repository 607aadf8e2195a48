// How sharp a frame is: the one figure of kostats and ko live.
#pragma once

#include <ko/image.h>

namespace ko {

/// The variance of the frame's Laplacian, in levels squared. Neighbours are the nearest samples of the same colour; of
/// colour pictures green is taken. 0 for frames without a sample that has all four. Takes `UInt8` and `UInt16`.
///
/// @source J. L. Pech-Pacheco, G. Cristobal, J. Chamorro-Martinez, J. Fernandez-Valdivia, "Diatom autofocusing in
///         brightfield microscopy: a comparative study", ICPR 2000.
double focusOf(const SxImageBuf& frame);

}  // namespace ko
