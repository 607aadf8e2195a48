// Mosaics as the commands take them that make colour pictures of them.
#pragma once

#include "cli/settings.h"
#include "io/image.h"
#include "io/sensor.h"

#include <QSize>

#include <string>

namespace ko::tool {

/// What the command line says instead of the files.
struct MosaicOptions {
    ExBayerGrid grid = BayerNone;  ///< BayerNone: as the file says
    int bits = 0;                  ///< 0: as the file says
};

void addMosaicSettings(Settings& settings, MosaicOptions& options);

/// A view of the picture with what the options override, fit for the library. Throws where it is no mosaic. The sensor
/// is that of a camera raw.
SxImageBuf mosaicOf(const Image& picture, const MosaicOptions& options, const Sensor* sensor);

/// Throws for a size that does not consist of 2 x 2 cells; `advice` is added to the cause.
void requireEven(const QSize& size, const std::string& advice = {});

}  // namespace ko::tool
