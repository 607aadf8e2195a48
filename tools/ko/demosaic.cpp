// ko demosaic: from mosaics to colour pictures.
#include "batch.h"
#include "bayer.h"
#include "commands.h"
#include "failure.h"
#include "geometry.h"
#include "image_file.h"

#include <array>
#include <memory>
#include <stdexcept>

namespace ko::tool {
namespace {

struct Options {
    FileSeries files;
    ExBayerGrid grid = BayerNone;  ///< BayerNone: as the file says
    int bits = 0;                  ///< 0: as the file says
    QRect region;
    bool half = false;
};

/// The work buffer of `Demosaic`, kept over frames of one format.
class WorkBuffer {
public:
    WorkBuffer() = default;
    WorkBuffer(const WorkBuffer&) = delete;
    WorkBuffer& operator=(const WorkBuffer&) = delete;
    ~WorkBuffer() { DemosaicFreeBuffer(m_buffer); }

    void* suitedTo(const SxImageInfo& format, const QRect& region)
    {
        const Key key{format.dataType, format.bitsPerSample, format.bayerGrid, region.width(),
                      region.height()};
        if (m_buffer && key == m_key)
            return m_buffer;
        DemosaicFreeBuffer(m_buffer);
        m_buffer = DemosaicAllocBuffer(format, region);
        if (!m_buffer)
            throw std::bad_alloc();
        m_key = key;
        return m_buffer;
    }

private:
    using Key = std::array<int, 5>;

    Key m_key{};
    void* m_buffer = nullptr;
};

/// The mosaic of a file with what the options override, fit for the library.
Image readMosaic(const std::string& file, const Options& options)
{
    Image mosaic = readImage(file);
    if (mosaic->channels != 1)
        throw std::runtime_error("not a mosaic but a picture of " + std::to_string(mosaic->channels) +
                                 " channels");
    if (mosaic->dataType != UInt8 && mosaic->dataType != UInt16)
        throw std::runtime_error("the samples of a mosaic must be unsigned of 8 or 16 bits");
    if (options.grid != BayerNone)
        mosaic->bayerGrid = options.grid;
    if (mosaic->bayerGrid == BayerNone)
        throw std::runtime_error("the file names no mosaic pattern; say it with --grid");
    if (options.bits > 8 * bytesPerSample(mosaic->dataType))
        throw std::runtime_error("its samples have fewer than " + std::to_string(options.bits) + " bits");
    if (options.bits != 0)
        mosaic->bitsPerSample = options.bits;
    return mosaic;
}

Frame demosaic(const Job& job, const Options& options, WorkBuffer& buffer)
{
    const Image mosaic = readMosaic(job.input, options);
    const QRect region = regionIn(*mosaic, options.region);
    if (region.width() % 2 != 0 || region.height() % 2 != 0)
        throw std::runtime_error("odd size, " + std::to_string(region.width()) + " x " +
                                 std::to_string(region.height()) + "; choose an even part with --roi");
    const int scale = options.half ? 2 : 1;
    SxImageInfo format = makeFormat(region.width() / scale, region.height() / scale, 3, mosaic->dataType);
    format.bitsPerSample = mosaic->bitsPerSample;
    Image picture(format);
    Frame frame{pixelCount(*picture), {}};
    if (options.half) {
        timed(frame, [&] {
            require(DemosaicSimple(*mosaic, region, *picture, mosaic->bayerGrid), "DemosaicSimple");
        });
    } else {
        void* const work = buffer.suitedTo(*mosaic, region);
        timed(frame, [&] { require(Demosaic(*mosaic, region, *picture, work), "Demosaic"); });
    }
    writeImage(picture, job.output);
    return frame;
}

int run(const Options& options)
{
    WorkBuffer buffer;
    return runBatch(planJobs(options.files, ".tif"),
                    [&](const Job& job) { return demosaic(job, options, buffer); });
}

}  // namespace

const Command demosaicCommand{
    "Demosaicing", "demosaic", "Turn camera raws and mosaic pictures into colour pictures",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        addSeriesOptions(command, options->files);
        addGridOption(command, options->grid, "mosaic pattern, instead of what the file says");
        command
            .add_option("--bits", options->bits,
                        "significant bits of a sample, instead of what the file says")
            ->check(CLI::Range(8, 16));
        addRegionOption(command, options->region, "only this part, of even width and height");
        command.add_flag("--half", options->half, "one pixel per 2 x 2 cell, without interpolation");
        return [options] { return run(*options); };
    }};

}  // namespace ko::tool
