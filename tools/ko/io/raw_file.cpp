#include "io/raw_file.h"

#include "cli/failure.h"
#include "io/bayer.h"

#include <libraw/libraw.h>

#include <OpenImageIO/imageio.h>
#include <OpenImageIO/strutil.h>

#include <algorithm>
#include <bit>
#include <filesystem>
#include <memory>
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

/// A raw file opened, with its pixels still packed.
class RawFile {
public:
    explicit RawFile(const std::string& file) : m_file(file), m_raw(std::make_unique<LibRaw>())
    {
        m_raw->set_dataerror_handler(
            [](void* damaged, const char*, auto) { *static_cast<bool*>(damaged) = true; }, &m_damaged);
        require(m_raw->open_file(file.c_str()), "cannot be read as a camera raw");
        if (sizes().width < 2 || sizes().height < 2)
            throw Failure(file, "holds no picture");
        m_format = makeFormat(sizes().width / 2 * 2, sizes().height / 2 * 2, 1, UInt16);
        m_format.bayerGrid = grid();
        if (white() > 0)
            m_format.bitsPerSample = std::min<int>(std::bit_width(white()), 16);
    }
    RawFile(const RawFile&) = delete;
    RawFile& operator=(const RawFile&) = delete;

    const SxImageInfo& format() const { return m_format; }
    const libraw_image_sizes_t& sizes() const { return m_raw->imgdata.sizes; }
    const libraw_iparams_t& camera() const { return m_raw->imgdata.idata; }
    unsigned white() const { return m_raw->imgdata.color.maximum; }

    /// Black level of a position of the active area: common part, part of its colour, part of a repeated
    /// pattern.
    unsigned black(int x, int y) const
    {
        const auto& levels = m_raw->imgdata.color.cblack;
        const unsigned rows = levels[4];
        const unsigned columns = levels[5];
        unsigned black = m_raw->imgdata.color.black + levels[m_raw->COLOR(y, x) & 3];
        if (rows > 0 && columns > 0)
            black +=
                levels[6 + static_cast<unsigned>(y) % rows * columns + static_cast<unsigned>(x) % columns];
        return black;
    }

    /// The black levels of the first cell in raster order, a single one when they are equal.
    std::string blackLevels() const
    {
        std::string text = std::to_string(black(0, 0));
        if (black(1, 0) == black(0, 0) && black(0, 1) == black(0, 0) && black(1, 1) == black(0, 0))
            return text;
        for (const unsigned level : {black(1, 0), black(0, 1), black(1, 1)})
            text += '/' + std::to_string(level);
        return text;
    }

    /// Unpacks and returns the top left sample of the active area; rows follow at `raw_pitch` bytes.
    const std::uint16_t* unpack()
    {
        require(m_raw->unpack(), "is damaged or cut short");
        if (m_damaged)
            throw Failure(m_file, "is damaged or cut short");
        const std::uint16_t* samples = m_raw->imgdata.rawdata.raw_image;
        if (!samples || sizes().top_margin + sizes().height > sizes().raw_height ||
            sizes().left_margin + sizes().width > sizes().raw_width)
            throw Failure(m_file, "holds no mosaic");
        return samples + std::ptrdiff_t{sizes().top_margin} * (sizes().raw_pitch / 2) + sizes().left_margin;
    }

private:
    void require(int status, const std::string& trouble) const
    {
        if (status != LIBRAW_SUCCESS)
            throw Failure(m_file, trouble + ": " + libraw_strerror(status));
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
                    throw Failure(m_file, "the mosaic is not made of 2 x 2 cells");
        if (!grid)
            throw Failure(m_file, "the sensor has no 2 x 2 mosaic of red, green and blue");
        return *grid;
    }

    std::string m_file;
    std::unique_ptr<LibRaw> m_raw;  // too large for the stack
    bool m_damaged = false;
    SxImageInfo m_format;
};

}  // namespace

bool isRawName(const std::string& file)
{
    static const std::vector<std::string> endings = rawEndings();
    std::string ending = std::filesystem::path(file).extension().string();
    return !ending.empty() &&
           std::ranges::find(endings, OIIO::Strutil::lower(ending.substr(1))) != endings.end();
}

FileInfo readRawInfo(const std::string& file)
{
    const RawFile raw(file);
    const auto text = [](int number) { return std::to_string(number); };
    return {raw.format(), std::string("camera raw ") + raw.camera().make + ' ' + raw.camera().model +
                              ", active area " + text(raw.sizes().width) + " x " + text(raw.sizes().height) +
                              " at " + text(raw.sizes().left_margin) + "," + text(raw.sizes().top_margin) +
                              " of " + text(raw.sizes().raw_width) + " x " + text(raw.sizes().raw_height) +
                              ", black " + raw.blackLevels() + ", white " + std::to_string(raw.white())};
}

Image readRaw(const std::string& file)
{
    RawFile raw(file);
    const std::uint16_t* samples = raw.unpack();
    Image image(raw.format());
    const int top = (1 << image->bitsPerSample) - 1;
    std::vector<int> black(static_cast<std::size_t>(image->width));
    for (int y = 0; y < image->height; ++y) {
        for (int x = 0; x < image->width; ++x)
            black[static_cast<std::size_t>(x)] = static_cast<int>(std::min(raw.black(x, y), 65535U));
        const std::uint16_t* from = samples + std::ptrdiff_t{y} * (raw.sizes().raw_pitch / 2);
        std::uint16_t* to = rowOf<std::uint16_t>(image, y);
        for (int x = 0; x < image->width; ++x)
            to[x] =
                static_cast<std::uint16_t>(std::clamp(from[x] - black[static_cast<std::size_t>(x)], 0, top));
    }
    return image;
}

}  // namespace ko::tool
