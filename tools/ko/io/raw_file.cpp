#include "io/raw_file.h"

#include "cli/failure.h"
#include "io/bayer.h"
#include "io/dng_corrections.h"
#include "io/dng_tags.h"
#include "io/masked_pixels.h"
#include "io/picture_file.h"
#include "io/raw_colours.h"
#include "io/raw_metadata.h"
#include "io/raw_samples.h"
#include "io/sensor.h"

#include <OpenImageIO/imageio.h>
#include <OpenImageIO/strutil.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <filesystem>
#include <iomanip>
#include <sstream>
#include <vector>

namespace ko::tool {
namespace {

/// Endings of the camera raws that OpenImageIO knows, which asks the same LibRaw.
std::vector<std::string> rawEndings()
{
    for (const std::string& entry : OIIO::Strutil::splits(OIIO::get_string_attribute("extension_list"), ";"))
        if (entry.starts_with("raw:"))
            return OIIO::Strutil::splits(entry.substr(4), ",");
    return {};
}

/// The samples of a file less their black, and what its header and its decoder say of it.
class RawFile {
public:
    /// Opens the file and unpacks it: decoders may correct the levels that stand in the header.
    explicit RawFile(const Source& source)
        : m_source(source), m_stream(source.path), m_raw(std::make_unique<LibRaw>()), m_tags(*m_raw)
    {
        m_raw->set_dataerror_handler(
            [](void* damaged, const char*, auto) { *static_cast<bool*>(damaged) = true; }, &m_damaged);
        const int opened = m_raw->open_datastream(&m_stream);
        if (const std::string obstacle = m_tags.obstacle(); !obstacle.empty())
            throw Failure(source.name, obstacle);
        if (opened == LIBRAW_IO_ERROR || opened == LIBRAW_FILE_UNSUPPORTED)
            throw Failure(m_source.name,
                          "cannot be read as a camera raw: damaged, cut short or of no known kind");
        if (opened != LIBRAW_SUCCESS)
            throw Failure(source.name,
                          std::string("cannot be read as a camera raw: ") + libraw_strerror(opened));
        if (sizes().width < 2 || sizes().height < 2)
            throw Failure(source.name, "holds no picture");
        m_format = makeFormat(sizes().width, sizes().height, 1, UInt16);
        if (camera().filters != 0) {
            m_format.bayerGrid = grid();
            m_format.width = m_format.width / 2 * 2;
            m_format.height = m_format.height / 2 * 2;
        }
        m_samples.emplace(source, *m_raw, m_tags, m_stream, m_damaged);
        m_format.channels = m_samples->channels();
        subtractBlack();
        m_corrections = readCorrections(source.name, m_stream, m_tags, m_raw->imgdata, *m_samples, m_format);
    }
    RawFile(const RawFile&) = delete;
    RawFile& operator=(const RawFile&) = delete;

    const SxImageInfo& format() const { return m_format; }
    const libraw_image_sizes_t& sizes() const { return m_raw->imgdata.sizes; }
    const libraw_iparams_t& camera() const { return m_raw->imgdata.idata; }
    Metadata metadata() const { return metadataOf(m_raw->imgdata, m_tags); }
    unsigned white() const { return std::min(m_raw->imgdata.color.maximum, 65535U); }

    /// What is wrong with the white level, to follow its number; empty where nothing is.
    std::string doubtOfWhite() const
    {
        const std::string reach = std::to_string(m_nearlyAll);
        return m_nearlyAll > topOf(depthOf(white())) ? " but samples reach " + reach : "";
    }

    Sensor sensor() const
    {
        const std::int64_t top = std::int64_t{white()} - m_highestBlack;
        Sensor sensor{doubtOfWhite().empty() && top > 0 ? static_cast<int>(top) : m_nearlyAll, whole().size(),
                      crop()};
        sensor.hasAllColours = m_format.channels == 3;
        sensor.isMonochrome = m_format.bayerGrid == BayerNone && !sensor.hasAllColours;
        if (!sensor.isMonochrome)
            addColours(m_raw->imgdata, m_tags, sensor);
        sensor.corrections = m_corrections;
        return sensor;
    }

    /// The samples within their depth.
    Image takeImage()
    {
        Image image = std::move(*m_image);
        const int top = topOf(m_format.bitsPerSample);
        for (int y = 0; y < image->height; ++y)
            for (int x = 0; x < image->width * image->channels; ++x)
                rowOf<std::uint16_t>(image, y)[x] =
                    static_cast<std::uint16_t>(std::min<int>(rowOf<std::uint16_t>(image, y)[x], top));
        image->bitsPerSample = m_format.bitsPerSample;
        return image;
    }

    /// One level, or those of the cell in raster order, or where they are all.
    std::string blackLevels() const
    {
        if (m_lowestBlack == m_highestBlack)
            return std::to_string(m_highestBlack);
        if (m_hasBlackOfColours)
            return std::to_string(black(0, 0, 0)) + '/' + std::to_string(black(0, 0, 1)) + '/' +
                   std::to_string(black(0, 0, 2));
        if (!m_hasBlackOfCells)
            return std::to_string(m_lowestBlack) + " to " + std::to_string(m_highestBlack);
        return std::to_string(black(0, 0, 0)) + '/' + std::to_string(black(1, 0, 0)) + '/' +
               std::to_string(black(0, 1, 0)) + '/' + std::to_string(black(1, 1, 0));
    }

private:
    static int depthOf(unsigned white) { return white > 0 ? std::min<int>(std::bit_width(white), 16) : 16; }
    static int topOf(int bits) { return (1 << bits) - 1; }

    /// Black level of a position of the active area: what the file tells by place, or common part, part of its
    /// colour, part of a repeated pattern. The channel counts where pixels have several.
    int black(int x, int y, int channel) const
    {
        if (m_black)
            return m_black->at(sizes().left_margin + x, sizes().top_margin + y, channel);
        const auto& levels = m_raw->imgdata.color.cblack;
        const unsigned rows = levels[4];
        const unsigned columns = levels[5];
        unsigned black =
            m_raw->imgdata.color.black + levels[m_format.channels == 1 ? m_raw->COLOR(y, x) & 3 : channel];
        if (rows > 0 && columns > 0)
            black +=
                levels[6 + static_cast<unsigned>(y) % rows * columns + static_cast<unsigned>(x) % columns];
        return static_cast<int>(std::min(black, 65535U)) +
               m_dropped[static_cast<std::size_t>(y % 2 * 2 + x % 2)];
    }

    /// Rows after which black levels repeat, 0 where they do not or after many alone.
    int blackPeriod() const
    {
        const int rows =
            m_black ? m_black->rows : static_cast<int>(std::clamp(m_raw->imgdata.color.cblack[4], 1U, 17U));
        return (m_black && !m_black->ofRows.empty()) || rows > 16 ? 0 : 2 * rows;
    }

    /// Those of a row, which extremes and the rest of what is told of them then know.
    std::vector<int> blackRow(int y)
    {
        std::vector<int> levels;
        for (int x = 0; x < m_format.width; ++x)
            for (int channel = 0; channel < m_format.channels; ++channel) {
                const int level = levels.emplace_back(black(x, y, channel));
                m_lowestBlack = std::min(m_lowestBlack, level);
                m_highestBlack = std::max(m_highestBlack, level);
                m_hasBlackOfCells = m_hasBlackOfCells && level == black(x % 2, y % 2, 0);
                m_hasBlackOfColours = m_hasBlackOfColours && level == black(0, 0, channel);
            }
        return levels;
    }

    void subtractBlack()
    {
        m_black = m_tags.blackLevels(sizes().raw_width, sizes().raw_height);
        if (m_format.bayerGrid != BayerNone)
            m_dropped = dropped(sizes(), m_samples->at(0, 0), m_samples->pitch(),
                                {black(0, 0, 0), black(1, 0, 0), black(0, 1, 0), black(1, 1, 0)});
        m_lowestBlack = m_highestBlack = black(0, 0, 0);
        Image& image = m_image.emplace(allocated(m_format));
        const int period = blackPeriod();
        std::vector<std::vector<int>> levels(static_cast<std::size_t>(std::max(period, 1)));
        std::vector<std::int64_t> counts(65536);
        for (int y = 0; y < image->height; ++y) {
            std::vector<int>& row = levels[static_cast<std::size_t>(y) % levels.size()];
            if (row.empty() || period == 0)
                row = blackRow(y);
            std::uint16_t* to = rowOf<std::uint16_t>(image, y);
            const std::uint16_t* from = m_samples->at(sizes().left_margin, sizes().top_margin + y);
            for (auto level = row.begin(); level != row.end(); from += m_samples->step())
                for (int channel = 0; channel < m_format.channels; ++channel, ++level, ++to) {
                    *to = static_cast<std::uint16_t>(std::clamp(from[channel] - *level, 0, 65535));
                    ++counts[*to];
                }
        }
        // One sample in a thousand may be a faulty pixel; more than that tell what the sensor delivers.
        std::int64_t brighter = 0;
        for (m_nearlyAll = 65535; m_nearlyAll > 0; --m_nearlyAll) {
            brighter += counts[static_cast<std::size_t>(m_nearlyAll)];
            if (brighter * 1000 > pixelCount(m_format) * m_format.channels)
                break;
        }
        m_format.bitsPerSample =
            std::max(depthOf(white()), depthOf(static_cast<unsigned>(std::max(m_nearlyAll, 1))));
    }

    QRect whole() const { return {0, 0, m_format.width, m_format.height}; }

    QRect crop() const
    {
        QRect part = m_tags.crop(sizes().raw_width, sizes().raw_height);
        const libraw_raw_inset_crop_t& inset = sizes().raw_inset_crop;
        constexpr int isUnknown = 0xffff;
        if (part.isNull() && inset.cleft != isUnknown && inset.ctop != isUnknown)
            part = {inset.cleft, inset.ctop, inset.cwidth, inset.cheight};
        part.translate(-sizes().left_margin, -sizes().top_margin);
        part &= whole();
        return part.isEmpty() || part == whole() ? QRect() : part;
    }

    ExBayerGrid grid() const
    {
        const auto colour = [&](int x, int y) { return camera().cdesc[m_raw->COLOR(y, x) & 3]; };
        std::optional<ExBayerGrid> grid;
        // Filter words below 1000 stand for no mosaic at all or for one that is not made of 2 x 2 cells.
        if (camera().filters >= 1000 && !m_raw->is_fuji_rotated())
            grid = gridOfName(std::string{colour(0, 0), colour(1, 0), colour(0, 1), colour(1, 1)});
        for (int y = 0; grid && y < 16; ++y)
            for (int x = 0; x < 2; ++x)
                if (colour(x, y) != colour(x, y % 2))
                    throw Failure(m_source.name, "the mosaic is not made of 2 x 2 cells");
        if (!grid)
            throw Failure(m_source.name, "the sensor has no 2 x 2 mosaic of red, green and blue");
        return *grid;
    }

    Source m_source;
    RawStream m_stream;
    std::unique_ptr<LibRaw> m_raw;  // too large for the stack
    DngTags m_tags;
    bool m_damaged = false;
    std::optional<RawSamples> m_samples;
    std::optional<BlackLevels> m_black;
    std::array<int, 4> m_dropped{};
    int m_lowestBlack = 0;
    int m_highestBlack = 0;
    bool m_hasBlackOfCells = true;    ///< the level depends on the place within a cell alone
    bool m_hasBlackOfColours = true;  ///< and on the colour alone
    SxImageInfo m_format;
    std::optional<Image> m_image;
    std::shared_ptr<const Corrections> m_corrections;
    int m_nearlyAll = 0;  ///< the level that no more than one sample in a thousand exceeds
};

std::string wordsOf(const Corrections& corrections)
{
    std::string words;
    const auto add = [&words](const std::string& heading, const std::vector<std::string>& names) {
        words += names.empty() ? "" : ", " + heading + ':';
        for (const std::string& name : names)
            words += ' ' + name;
    };
    add("applied by develop", corrections.applied);
    add("not applied", corrections.left);
    add("damaged", corrections.damaged);
    return words;
}

}  // namespace

bool isRawName(const std::string& file)
{
    static const std::vector<std::string> endings = rawEndings();
    std::string ending = std::filesystem::path(file).extension().string();
    return !ending.empty() &&
           std::ranges::find(endings, OIIO::Strutil::lower(ending.substr(1))) != endings.end();
}

bool startsAsRaw(const Source& source)
{
    if (isOurs(source))
        return false;
    RawStream stream(source.path);
    return std::make_unique<LibRaw>()->open_datastream(&stream) == LIBRAW_SUCCESS;
}

FileInfo readRawInfo(const Source& source)
{
    const RawFile raw(source);
    const Sensor sensor = raw.sensor();
    const libraw_image_sizes_t& sizes = raw.sizes();
    std::ostringstream kind;
    kind << printable(std::string("camera raw ") + raw.camera().make + ' ' + raw.camera().model)
         << (sensor.hasAllColours ? ", demosaiced before" : "") << ", active area " << sizes.width << " x "
         << sizes.height << " at " << sizes.left_margin << ',' << sizes.top_margin << " of "
         << sizes.raw_width << " x " << sizes.raw_height;
    std::ostringstream text;
    text << std::setprecision(4);
    if (sensor.gains) {
        const Colour gains = mergedGreens(*sensor.gains);
        text << ", white balance " << gains[0] / gains[1] << ",1," << gains[2] / gains[1];
    } else if (!sensor.isMonochrome) {
        text << ", no white balance";
    }
    text << ", black " << raw.blackLevels() << ", white " << raw.white() << raw.doubtOfWhite();
    if (sensor.corrections)
        text << wordsOf(*sensor.corrections);
    return {raw.format(), kind.str(), raw.metadata(), std::make_shared<const Sensor>(sensor), text.str()};
}

Picture readRaw(const Source& source)
{
    RawFile raw(source);
    if (const std::string doubt = raw.doubtOfWhite(); !doubt.empty())
        warn(source.name, "its white level is " + std::to_string(raw.white()) + doubt);
    const auto sensor = std::make_shared<const Sensor>(raw.sensor());
    return {raw.takeImage(), raw.metadata(), sensor};
}

}  // namespace ko::tool
