// ko average: one picture with less noise of many frames.
#include "cli/arguments.h"
#include "cli/batch.h"
#include "cli/failure.h"
#include "cli/settings.h"
#include "commands/commands.h"
#include "commands/toning.h"
#include "io/image_file.h"
#include "io/levels.h"
#include "io/parts.h"

#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>

namespace ko::tool {
namespace {

/// Adds frames one by one: 32 bits for each sample, however many there are. The sums and the quotients
/// without their fractions are those of `AverageImage`, so that the pictures are.
class Sums {
public:
    explicit Sums(const SxImageInfo& format)
        : m_format(format), m_sums(cleared(makeFormat(format.width, format.height, format.channels, UInt32)))
    {
    }

    void add(const Image& frame)
    {
        if (frame->dataType == UInt8)
            addRows<std::uint8_t>(frame);
        else
            addRows<std::uint16_t>(frame);
        ++m_count;
    }

    Image mean() const
    {
        Image result(m_format);
        if (result->dataType == UInt8)
            divideRows<std::uint8_t>(result);
        else
            divideRows<std::uint16_t>(result);
        return result;
    }

private:
    std::int64_t rowSamples() const { return std::int64_t{m_format.width} * m_format.channels; }

    template <class T>
    void addRows(const Image& frame)
    {
        for (int y = 0; y < m_format.height; ++y) {
            auto* sums = rowOf<std::uint32_t>(m_sums, y);
            const T* samples = rowOf<T>(frame, y);
            for (std::int64_t x = 0; x < rowSamples(); ++x)
                sums[x] += samples[x];
        }
    }

    template <class T>
    void divideRows(Image& result) const
    {
        for (int y = 0; y < m_format.height; ++y) {
            const auto* sums = rowOf<std::uint32_t>(m_sums, y);
            for (std::int64_t x = 0; x < rowSamples(); ++x)
                rowOf<T>(result, y)[x] = static_cast<T>(sums[x] / m_count);
        }
    }

    SxImageInfo m_format;
    Image m_sums;
    std::uint32_t m_count = 0;
};

/// Holds the frames, which averages them fastest, until they take more memory than allowed.
class Average {
public:
    explicit Average(int mebibytes) : m_allowed(std::size_t(mebibytes) << 20) {}

    void add(Image frame)
    {
        requireLevels(*frame);
        if (!m_format)
            m_format = *frame;
        else if (const std::string difference = differenceOf(*frame, *m_format); !difference.empty())
            throw std::runtime_error(difference + "the frames before");
        if (!m_sums && (m_held.size() + 1) * imageByteSize(*frame) > m_allowed)
            release();
        if (m_sums)
            m_sums->add(frame);
        else
            m_held.push_back(std::move(frame));
    }

    Image mean() const
    {
        if (m_sums)
            return m_sums->mean();
        QVector<SxImageBuf> frames;
        for (const Image& frame : m_held)
            frames.append(*frame);
        Image result(*m_format);
        require(AverageImage(frames, *result), "AverageImage");
        return result;
    }

private:
    void release()
    {
        m_sums.emplace(*m_format);
        for (const Image& frame : m_held)
            m_sums->add(frame);
        m_held.clear();
    }

    std::size_t m_allowed;
    std::optional<SxImageInfo> m_format;
    std::vector<Image> m_held;
    std::optional<Sums> m_sums;
};

struct Options {
    FileSeries files;
    int mebibytes = 1024;
    Settings settings;
};

int run(const Options& options)
{
    // So many frames of 16 bits are the most that sums of 32 bits hold.
    constexpr std::size_t mostFrames = std::numeric_limits<std::uint32_t>::max() / 65535;
    const FileSeries& files = options.files;
    if (files.inputs.size() > mostFrames)
        throw UsageError("more than " + std::to_string(mostFrames) + " frames");
    std::vector<Job> jobs;
    for (const std::string& input : files.inputs)
        jobs.push_back(planJobs({{input}, files.output}, ".tif").front());

    Average average(options.mebibytes);
    Metadata metadata;
    const int code = runBatch(jobs, files.verbosity, [&](const Job& job) {
        Picture picture = readPicture(job.input);
        if (&job == jobs.data())
            metadata = picture.metadata;
        // Frames that are held are averaged at the end: no time of theirs could be told here.
        const Frame frame{pixelCount(*picture.image), {}};
        average.add(std::move(picture.image));
        return frame;
    });
    if (code == ExitOk)
        writeImage(average.mean(), jobs.front().output, metadata, files.quality);
    return code;
}

}  // namespace

const Command averageCommand{
    "Tone", "average", "One picture of many frames, in the memory of a few",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        declareArgument(command, "frame", options->files.inputs, Need::Required,
                        "pictures or camera raws of one format");
        declareArgument(command, "-o,--output", options->files.output, Need::Required,
                        "mean of all frames, without its fractions; not written unless all can be read");
        declareQuality(command, options->files.quality);
        declareVerbosity(command, options->files.verbosity);
        options->settings.whole(
            "memory", options->mebibytes, {0, 1 << 20},
            "MiB of frames to hold, 1024 if not given; beyond, they are summed up one by one");
        options->settings.declare(command);
        return [options] { return run(*options); };
    }};

}  // namespace ko::tool
