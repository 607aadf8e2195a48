// The pixel formats of GenICam cameras that become images.
#pragma once

#include <ko/image.h>
#include <ko/raw.h>

#include <cstdint>
#include <optional>

namespace ko {

struct CameraPixelFormat {
    const char* name;    ///< as the pixel format naming convention of GenICam names it
    std::uint32_t code;  ///< and numbers it
    int bits;            ///< depth of a sample
    int channels = 1;
    ExBayerGrid grid = BayerNone;
    std::optional<ExPackedLayout> layout = std::nullopt;  ///< of samples that do not fill whole containers
};

/// The format of a code; null for one that is not supported.
const CameraPixelFormat* findPixelFormat(std::uint32_t code) noexcept;

}  // namespace ko
