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
    SamplesPerPixel = 277,
    RowsPerStrip = 278,
    StripByteCounts = 279,
    PlanarConfiguration = 284,
    TileWidth = 322,
    TileLength = 323,
    TileOffsets = 324,
    TileByteCounts = 325,
    SampleFormat = 339,
    DngVersion = 50706,
    CfaPlaneColor = 50710,
    CfaLayout = 50711,
    LinearizationTable = 50712,
    BlackLevelRepeatDim = 50713,
    BlackLevel = 50714,
    BlackLevelDeltaH = 50715,
    BlackLevelDeltaV = 50716,
    WhiteLevel = 50717,
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

/// Kinds of pictures.
enum : int { Mosaic = 32803, LinearRaw = 34892 };

/// Kinds of compression.
enum : int { LosslessJpeg = 7, LossyJpeg = 34892 };

/// Lists of corrections: for the samples as they stand in the file, for linear ones, for demosaiced ones.
enum : int { rawOpcodes = 51008, linearOpcodes = 51009, colourOpcodes = 51022 };

/// Those whose values are kept.
inline constexpr std::array wanted{Width,
                                   Height,
                                   BitsPerSample,
                                   Compression,
                                   Photometric,
                                   StripOffsets,
                                   SamplesPerPixel,
                                   RowsPerStrip,
                                   StripByteCounts,
                                   PlanarConfiguration,
                                   TileWidth,
                                   TileLength,
                                   TileOffsets,
                                   TileByteCounts,
                                   SampleFormat,
                                   CfaPlaneColor,
                                   CfaLayout,
                                   LinearizationTable,
                                   SubTileBlockSize,
                                   RowInterleaveFactor,
                                   ColumnInterleaveFactor,
                                   BlackLevelRepeatDim,
                                   BlackLevel,
                                   BlackLevelDeltaH,
                                   BlackLevelDeltaV,
                                   WhiteLevel,
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
