#include "commands/level_counts.h"

#include "cli/failure.h"
#include "io/image_file.h"
#include "io/levels.h"
#include "io/masks.h"
#include "io/parts.h"

#include <stdexcept>

namespace ko::tool {
namespace {

std::vector<ChannelCounts> curvesOf(const CxImageHistogram& histogram, const std::vector<std::string>& names)
{
    std::vector<ChannelCounts> curves;
    for (int plane = 0; plane < histogram.planes; ++plane) {
        const std::uint32_t* const counts = histogram.bins[plane];
        curves.push_back({names[static_cast<std::size_t>(plane)], {counts, counts + histogram.levels}});
    }
    return curves;
}

CxImageHistogram emptyHistogram(int planes, const SxImageInfo& format)
{
    CxImageHistogram histogram;
    histogram.resize(planes, 1 << format.bitsPerSample, 0);
    return histogram;
}

/// A row or column of all channels; of a mosaic as it is, whatever the colours.
std::vector<ChannelCounts> countLine(const Image& picture, const Counting& counting)
{
    const auto mask = readMask(counting.selection.mask);
    const int line = counting.row ? *counting.row : *counting.column;
    if (line >= (counting.row ? picture->height : picture->width))
        throw std::runtime_error(std::string("has no ") + (counting.row ? "row " : "column ") +
                                 std::to_string(line) + ", they are counted from 0");
    CxImageHistogram histogram = emptyHistogram(picture->channels, *picture);
    if (mask && counting.row)
        require(RowHistogramMasked(*picture, *mask->of(*picture), line, histogram), "RowHistogramMasked");
    else if (mask)
        require(ColHistogramMasked(*picture, *mask->of(*picture), line, histogram), "ColHistogramMasked");
    else if (counting.row)
        require(RowHistogram(*picture, line, histogram), "RowHistogram");
    else
        require(ColHistogram(*picture, line, histogram), "ColHistogram");
    return curvesOf(histogram,
                    picture->channels == 1 ? std::vector<std::string>{"gray"} : channelNames(*picture));
}

void countGray(const Image& picture, const Image* mask, bool isAlone, CxImageHistogram& histogram)
{
    if (mask && isAlone)
        require(HistogramGrayFromRGBMasked(*picture, histogram, **mask), "HistogramGrayFromRGBMasked");
    else if (mask)
        require(HistogramRGBGrayFromRGBMasked(*picture, histogram, **mask), "HistogramRGBGrayFromRGBMasked");
    else if (isAlone && picture->channels == 4)
        require(HistogramGrayFromRGB(*picture, histogram, 0), "HistogramGrayFromRGB");
    else
        require(HistogramRGBGrayFromRGB(*picture, histogram), "HistogramRGBGrayFromRGB");
}

/// Gray and colours, of pixels or of a mosaic's cells.
std::vector<ChannelCounts> countColours(const Image& picture, const Counting& counting)
{
    const QRect region = selectedRegion(*picture, counting.selection);
    const auto file = readMask(counting.selection.mask);
    std::optional<Image> mask;
    if (file)
        mask = cropOf(file->of(*picture), region);
    CxImageHistogram histogram = emptyHistogram(4, *picture);
    if (picture->bayerGrid != BayerNone) {
        const Image planes = planesOf(picture, region, picture->bayerGrid);
        if (mask)
            require(HistogramRGBGrayFromRawPlanarMasked(*planes, *cellMask(*mask), histogram),
                    "HistogramRGBGrayFromRawPlanarMasked");
        else
            require(HistogramRGBGrayFromRawPlanar(*planes, histogram), "HistogramRGBGrayFromRawPlanar");
    } else if (picture->channels == 3 || picture->channels == 4) {
        countGray(cropOf(picture, region), mask ? &*mask : nullptr, counting.channel == 0, histogram);
    } else {
        throw std::runtime_error("neither a colour picture nor a mosaic");
    }
    return curvesOf(histogram, {"gray", "red", "green", "blue"});
}

/// Signed samples that are not negative.
std::vector<ChannelCounts> countSigned(const Image& picture, const Counting& counting)
{
    if (!counting.selection.mask.empty() || counting.row || counting.column || counting.withGray)
        throw std::runtime_error("of signed samples all in a region can be counted, no others");
    CxImageHistogram histogram;
    require(HistogramEx(*cropOf(picture, selectedRegion(*picture, counting.selection)), histogram),
            "HistogramEx");
    return curvesOf(histogram, channelNames(*picture));
}

std::vector<ChannelCounts> countChannels(const Image& picture, const Counting& counting)
{
    std::vector<ChannelCounts> curves;
    for (const Channel& channel : selectChannels(picture, counting.selection))
        curves.push_back({channel.name, countLevels(channel)});
    return curves;
}

std::vector<ChannelCounts> count(const Image& picture, const Counting& counting)
{
    if (picture->dataType == Int8 || picture->dataType == Int16)
        return countSigned(picture, counting);
    requireLevels(*picture);
    if (counting.row || counting.column)
        return countLine(picture, counting);
    return counting.withGray ? countColours(picture, counting) : countChannels(picture, counting);
}

}  // namespace

void addCounting(Settings& settings, Counting& counting)
{
    addSelection(settings, counting.selection);
    settings.whole("channel", counting.channel, naturalNumbers, "only this curve, counted from 0");
    settings.whole("row", counting.row, naturalNumbers, "only this row, counted from 0");
    settings.whole("column", counting.column, naturalNumbers, "only this column, counted from 0");
    settings.flag("gray", counting.withGray,
                  "the mean of the three colours, or of a mosaic's cell, before them");
    const Counting* const c = &counting;
    settings.rule(
        [c] { return c->row.has_value() + c->column.has_value() + !c->selection.region.isNull() <= 1; },
        "only one of --roi, --row, --column can be wanted");
    settings.rule([c] { return !c->withGray || !(c->row || c->column); },
                  "--gray goes without --row and --column");
}

Histograms countFile(const std::string& file, const Counting& counting)
{
    const Image picture = readImage(file);
    Histograms result{file, picture->bitsPerSample, count(picture, counting)};
    if (counting.channel) {
        if (*counting.channel >= static_cast<int>(result.curves.size()))
            throw std::runtime_error("has no channel " + std::to_string(*counting.channel) +
                                     ", they are counted from 0");
        result.curves = {result.curves[static_cast<std::size_t>(*counting.channel)]};
    }
    return result;
}

}  // namespace ko::tool
