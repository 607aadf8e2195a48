// The tags of TIFF and DNG files that are read.
#pragma once

#include <array>

namespace ko::tool {

enum Tag : int {
    Width = 256,
    Height = 257,
    BitsPerSample = 258,
    Compression = 259,
    Photometric = 262,
    Make = 271,
    Model = 272,
    StripOffsets = 273,
    Orientation = 274,
    RowsPerStrip = 278,
    TileWidth = 322,
    TileLength = 323,
    TileOffsets = 324,
    SampleFormat = 339,
    DngVersion = 50706,
    CfaPlaneColor = 50710,
    CfaLayout = 50711,
    BlackLevelRepeatDim = 50713,
    BlackLevel = 50714,
    BlackLevelDeltaH = 50715,
    BlackLevelDeltaV = 50716,
    DefaultCropOrigin = 50719,
    DefaultCropSize = 50720,
    AsShotWhiteXY = 50729,
    ActiveArea = 50829,
    CameraSignature = 50931,
    ProfileSignature = 50932,
    SubTileBlockSize = 50974,
    RowInterleaveFactor = 50975,
    ColumnInterleaveFactor = 52547,
};

/// Lists of corrections: for the samples as they stand in the file, for linear ones, for demosaiced ones.
constexpr std::array opcodeLists{51008, 51009, 51022};

/// Those whose values are kept.
constexpr std::array wanted{Width,
                            Height,
                            BitsPerSample,
                            Compression,
                            Photometric,
                            StripOffsets,
                            RowsPerStrip,
                            TileWidth,
                            TileLength,
                            TileOffsets,
                            SampleFormat,
                            CfaPlaneColor,
                            CfaLayout,
                            SubTileBlockSize,
                            RowInterleaveFactor,
                            ColumnInterleaveFactor,
                            BlackLevelRepeatDim,
                            BlackLevel,
                            BlackLevelDeltaH,
                            BlackLevelDeltaV,
                            ActiveArea,
                            DefaultCropOrigin,
                            DefaultCropSize,
                            DngVersion,
                            Orientation,
                            AsShotWhiteXY,
                            Make,
                            Model,
                            CameraSignature,
                            ProfileSignature};

}  // namespace ko::tool
