// Resize of bytes where no axis becomes shorter.
#pragma once

#include <ko/image.h>

#include "base/rows.h"
#include "filters/resize_axis.h"
#include "filters/resize_kernels.h"

namespace ko {

/// Whether `resizeLonger` serves these images on the running processor. It takes rows first: their sums are whole numbers
/// that floats hold, and serve every row of results between two rows.
bool isLonger(const SxImageBuf& src, const ResizeAxis& down, const ResizeAxis& across);

/// Results from two rows of such sums; `isChecked` where floats do not tell all of them.
void resizeLonger(const SxImageBuf& src, SxImageBuf& dst, const ResizeAxis& down, const ResizeAxis& across,
                  const ResizeScale& scale, bool isChecked, const RowWork& work);

}  // namespace ko
