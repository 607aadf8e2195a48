// The module's side of picture_module.h.
#include "io/picture_file.h"
#include "io/picture_module.h"
#include "io/raw_file.h"
#include "io/resample.h"
#include "plot/raster.h"

using namespace ko::tool;

extern "C" {
extern const PictureModule koPictureModule;  // a constant would be hidden otherwise
const PictureModule koPictureModule{&readPictureInfo, &readPictureFile, &encodePicture,
                                    &isRawName,       &startsAsRaw,     &readRawInfo,
                                    &readRaw,         &resample,        &rasterise};
}
