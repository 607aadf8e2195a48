// Rows of linear demosaicing, compiled for each instruction set.
#pragma once

#include <cstdint>

namespace ko::gst {

/// A row of a mosaic with its neighbours, at any addresses; at the edges of the picture a neighbour stands in for what is beyond.
template <class T>
struct MosaicRow {
    const T* above;
    const T* here;
    const T* below;
    std::int64_t width;
    bool colourFirst;  ///< red or blue at even x, green at odd x
    bool isReversed;   ///< this row's colour is the third one of a pixel, not the first
    T alpha;           ///< fourth sample of a pixel
};

/// Makes pixels of 3 or 4 samples.
struct LinearKernels {
    void (*bytes3)(const MosaicRow<std::uint8_t>& row, std::uint8_t* pixels);
    void (*bytes4)(const MosaicRow<std::uint8_t>& row, std::uint8_t* pixels);
    void (*words4)(const MosaicRow<std::uint16_t>& row, std::uint16_t* pixels);
};

/// Those for this processor.
const LinearKernels& linearKernels();

}  // namespace ko::gst
