// Histograms from the bytes of an input.
#pragma once

#include "fuzz/support/outcome.h"
#include "oracle/histogram.h"
#include "oracle/joint_histogram.h"

#include <ko/histogram_containers.h>

#include <QList>

#include <algorithm>
#include <cstdint>

namespace ko::fuzz {

inline constexpr std::initializer_list<ExImageDataType> countableTypes = {UInt8, UInt16, UInt8, UInt16,
                                                                          UInt8, UInt16, Int16, Float32};
inline constexpr std::initializer_list<ExImageDataType> twoByteTypes = {UInt8, UInt16, Int8, Int16,
                                                                        UInt8, UInt16, Int8, Float32};

/// Of a depth for which a histogram is small, mostly.
inline Layout countable(ByteReader& in, const Choice& choice)
{
    Layout layout = anyLayout(in, choice);
    if (layout.bits == 0 && bytesPerSample(layout.type) > 1 && !in.oneIn(16))
        layout.bits = in.between(1, 11);
    return layout;
}

inline int levelsOf(const SxImageInfo& info)
{
    return info.bitsPerSample >= 0 && info.bitsPerSample <= 16 ? 1 << info.bitsPerSample : 256;
}

/// The given planes and levels mostly, without bins now and then.
inline CxImageHistogram anyHistogram(ByteReader& in, int planes, int levels)
{
    CxImageHistogram hist;
    const int kind = in.below(16);
    if (kind == 1)
        return hist;
    const int planeCount = kind == 2 ? in.between(1, 6) : std::clamp(planes, 1, 6);
    const int levelCount = kind == 3 ? in.between(1, 300) : kind == 4 ? levels + 1 : levels;
    hist.resize(planeCount, levelCount, kind == 5 ? 3 : 0);
    return hist;
}

inline QList<QPoint> anyOffsets(ByteReader& in)
{
    QList<QPoint> offsets;
    for (int i = in.below(12); i > 0; --i)
        offsets.append(in.oneIn(8) ? QPoint{in.integer(), in.integer()}
                                   : QPoint{in.between(-4, 9), in.between(-4, 9)});
    return offsets;
}

template <class Visit>
void forEachInside(const QList<QPoint>& offsets, const QPoint& origin, const Layout& layout,
                   const Visit& visit)
{
    for (const QPoint& offset : offsets) {
        const std::int64_t x = std::int64_t{origin.x()} + offset.x(),
                           y = std::int64_t{origin.y()} + offset.y();
        if (x >= 0 && y >= 0 && x < layout.width && y < layout.height)
            visit(static_cast<int>(x), static_cast<int>(y));
    }
}

/// Not larger than the image, mostly.
inline Layout stencilFor(ByteReader& in, const Layout& layout)
{
    Layout stencil = like(in, layout, UInt8, 1);
    stencil.width = in.below(layout.width + 1);
    stencil.height = in.below(layout.height + 1);
    if (in.oneIn(16))
        stencil.width = layout.width + 1;
    return stencil;
}

/// The stencil does not leave the image, mostly.
inline QPoint anyStencilPosition(ByteReader& in, const Layout& layout, const Layout& stencil)
{
    if (in.oneIn(8))
        return anyPoint(in, layout);
    return {in.below(std::max(layout.width - stencil.width, 0) + 1),
            in.below(std::max(layout.height - stencil.height, 0) + 1)};
}

/// A channel, plane, row or column: valid mostly.
inline int anyIndex(ByteReader& in, int count)
{
    return in.oneIn(12) ? in.integer() : in.below(std::clamp(count, 1, 65536));
}

inline void add(Outcome& out, const CxImageHistogram& hist)
{
    out.add(hist.planes);
    out.add(hist.levels);
    for (int p = 0; p < hist.planes; ++p)
        for (std::uint32_t v = 0; v < static_cast<std::uint32_t>(hist.levels) + hist.extraBins; ++v)
            if (hist.bins[p][v] != 0) {
                out.add(p);
                out.add(v);
                out.add(hist.bins[p][v]);
            }
}

/// Nothing has been counted.
inline bool isEmpty(const CxImageHistogram& hist)
{
    for (int p = 0; p < hist.planes; ++p)
        if (std::any_of(hist.bins[p], hist.bins[p] + hist.levels, [](std::uint32_t n) { return n != 0; }))
            return false;
    return true;
}

/// Adds a counting call with the promises that all of them make.
template <class... Sources>
void addCount(Outcome& out, ResultCode rc, const CxImageHistogram& hist, const Sources&... sources)
{
    require((sources.isUntouched() && ...), "a source has changed");
    require(!isFailure(rc) || isEmpty(hist), "a failure has counted something");
    out.add(rc);
    add(out, hist);
}

inline oracle::Counts countsFor(const CxImageHistogram& hist)
{
    return {hist.planes, hist.levels};
}

}  // namespace ko::fuzz
