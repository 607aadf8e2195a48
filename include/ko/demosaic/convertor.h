// Demosaicing of frame streams.
#pragma once

#include <ko/export.h>
#include <ko/pipeline.h>

#include <cstdint>
#include <memory>

namespace ko {

/// Turns frames that are raw Bayer mosaics into interleaved colour frames of half the width and height, one
/// pixel per 2 x 2 cell, as by `DemosaicSimple`.
///
/// Frames must be mono `UInt8` or `UInt16` images of even width and height. What comes out has 3 channels,
/// the input's sample type, depth, frame number, timestamp and metadata, rows padded to multiples of 32
/// bytes, and the time of conversion as its date. Other frames fail with a message at critical level.
class KO_EXPORT CxDemosaicConvertor : public IxDataProcessor {
    Q_OBJECT

public:
    /// How a colour pixel is made.
    enum ExDemosaicAlgorithm : std::int32_t {
        AlgorithmSimple = 0,  ///< the only one that produces images
    };

    /// Where the arrangement of the mosaic comes from. Every value but 0 acts like 1.
    enum ExBayerGridSource : std::int32_t {
        GridFromImage = 0,     ///< each frame's `bayerGrid`
        GridFromSettings = 1,  ///< `bayerGrid()`
    };

    CxDemosaicConvertor();
    ~CxDemosaicConvertor() override;

    ExDemosaicAlgorithm algorithm();      ///< as set, `AlgorithmSimple` at first
    ExBayerGrid bayerGrid();              ///< as set, `BayerNone` at first
    ExBayerGridSource bayerGridSource();  ///< as set, `GridFromImage` at first

    /// Setters answer false, log a message and change nothing while the item is started. They are not part
    /// of `saveSettings`.
    ///
    /// Takes any value; with another than `AlgorithmSimple` the output has no size and every frame with
    /// pixels fails.
    bool setAlgorithm(ExDemosaicAlgorithm algorithm);

    /// False with a message for values outside `BayerBGGR`...`BayerGRBG`.
    bool setBayerGrid(ExBayerGrid bayerGrid);

    /// Takes any value.
    bool setBayerGridSource(ExBayerGridSource source);

    /// The colour format for a mosaic format. False for null, and with a message for what is no image format
    /// or no mosaic that can be converted. Reads the settings without locking.
    bool queryOutputDataInfo(const IxDataInfo* input, IxDataInfo*& output, const CxMetadata* inputMetadata,
                             CxMetadata* outputMetadata) override;

protected:
    bool processData(IxData* input, IxData*& output) override;

private:
    ExBayerGrid gridToUse(const SxImageInfo& info) const;
    bool isSupportedGrid(ExBayerGrid grid) const;
    bool checkInput(const SxImageInfo& info) const;
    SxImageInfo outputInfo(const SxImageInfo& input) const;
    std::unique_ptr<CxImageData> convert(CxImageData& input);

    /// Needs `m_mutex`; logs when the item is started.
    bool maySet() const;

    ExBayerGrid m_bayerGrid = BayerNone;
    ExBayerGridSource m_bayerGridSource = GridFromImage;
    ExDemosaicAlgorithm m_algorithm = AlgorithmSimple;
};

}  // namespace ko
