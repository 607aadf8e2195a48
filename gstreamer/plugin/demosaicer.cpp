#include "plugin/demosaicer.h"

#include "frames/buffer_image.h"
#include "plugin/linear.h"

#include <ko/demosaic.h>
#include <ko/raw.h>

#include <algorithm>

namespace ko::gst {

namespace {

/// The methods treat red and blue alike, so a mosaic whose red is called blue gives pixels that begin with blue.
ExBayerGrid reversed(ExBayerGrid grid)
{
    switch (grid) {
    case BayerRGGB:
        return BayerBGGR;
    case BayerBGGR:
        return BayerRGGB;
    case BayerGRBG:
        return BayerGBRG;
    default:
        return BayerGRBG;
    }
}

}  // namespace

Demosaicer::Demosaicer(const FrameFormat& input, bool isReversed)
    : m_input(input), m_isReversed(isReversed), m_buffer(input.info.width)
{
    const bool isFull = input.info.bitsPerSample == 8 || input.info.bitsPerSample == 16;
    if (!isFull || input.isBigEndian)
        m_spread = Image(input.info);
}

void Demosaicer::spread(const SxImageBuf& frame, std::size_t bytes)
{
    const SxImageBuf* from = &frame;
    m_spread->bitsPerSample = m_input.info.bitsPerSample;
    if (m_input.isBigEndian) {
        turnRound(frame, bytes, m_spread);
        from = &*m_spread;
    }
    SxImageBuf to = *m_spread;
    to.bitsPerSample = 16;
    const double top = (1 << m_input.info.bitsPerSample) - 1;
    double gains[4];
    std::fill(std::begin(gains), std::end(gains), 65535 / top);
    orThrow(WhiteBalance(*from, to, gains, nullptr));
    m_spread->bitsPerSample = 16;
}

void Demosaicer::make(const SxImageBuf& frame, std::size_t bytes, SxImageBuf& picture, DemosaicMethod method)
{
    if (m_spread)
        spread(frame, bytes);
    SxImageBuf mosaic = m_spread ? *m_spread : frame;
    if (m_isReversed)
        mosaic.bayerGrid = reversed(mosaic.bayerGrid);
    switch (method) {
    case DemosaicMethod::Linear:
        demosaicLinear(mosaic, picture);
        break;
    case DemosaicMethod::Malvar:
        orThrow(DemosaicMalvar(mosaic, picture, m_buffer.get()));
        break;
    case DemosaicMethod::Menon:
        orThrow(DemosaicMenon(mosaic, picture, m_buffer.get()));
        break;
    }
}

}  // namespace ko::gst
