// Numbers as samples.
#pragma once

#include "io/image.h"

#include <QVariant>

namespace ko::tool {

bool isFloating(const SxImageInfo& format);

/// A number as a sample of the format, within its depth. Throws where it is none.
QVariant sampleOf(const SxImageInfo& format, double number);

/// The brightest level: 1 for floats.
double whiteOf(const SxImageInfo& format);

/// True for the sample types whose levels can be counted: unsigned of 8 or 16 bits.
bool hasLevels(const SxImageInfo& format);

/// Throws where the levels of a picture cannot be counted.
void requireLevels(const SxImageInfo& format);

}  // namespace ko::tool
