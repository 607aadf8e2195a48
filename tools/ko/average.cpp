// ko average: one picture with less noise of many frames.
#include "batch.h"
#include "channels.h"
#include "commands.h"
#include "failure.h"
#include "filtering.h"
#include "image_file.h"
#include "toning.h"

#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>

namespace ko::tool {
namespace {

/// Adds frames one by one. `AverageImage` wants all of them in memory at once; the sums of 32 bits and the
/// quotients without their fractions are the same, so that the pictures are.
class Average {
public:
    void add(const Image& frame)
    {
        requireLevels(*frame);
        if (!m_sums) {
            m_format = *frame;
            m_sums = cleared(makeFormat(frame->width, frame->height, frame->channels, UInt32));
        } else if (const std::string difference = differenceOf(*frame, m_format); !difference.empty()) {
            throw std::runtime_error(difference + "the frames before");
        }
        if (frame->dataType == UInt8)
            addRows<std::uint8_t>(frame);
        else
            addRows<std::uint16_t>(frame);
        ++m_count;
    }

    Image quotient() const
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
            auto* sums = rowOf<std::uint32_t>(*m_sums, y);
            const T* samples = rowOf<T>(frame, y);
            for (std::int64_t x = 0; x < rowSamples(); ++x)
                sums[x] += samples[x];
        }
    }

    template <class T>
    void divideRows(Image& result) const
    {
        for (int y = 0; y < m_format.height; ++y) {
            const auto* sums = rowOf<std::uint32_t>(*m_sums, y);
            for (std::int64_t x = 0; x < rowSamples(); ++x)
                rowOf<T>(result, y)[x] = static_cast<T>(sums[x] / m_count);
        }
    }

    SxImageInfo m_format;
    std::optional<Image> m_sums;
    std::uint32_t m_count = 0;
};

int run(const FileSeries& files)
{
    // So many frames of 16 bits are the most that sums of 32 bits hold.
    constexpr std::size_t mostFrames = std::numeric_limits<std::uint32_t>::max() / 65535;
    if (files.inputs.size() > mostFrames)
        throw UsageError("more than " + std::to_string(mostFrames) + " frames");
    std::vector<Job> jobs;
    for (const std::string& input : files.inputs)
        jobs.push_back(planJobs({{input}, files.output}, ".tif").front());

    Average average;
    const int code = runBatch(jobs, [&](const Job& job) {
        const Image picture = readImage(job.input);
        Frame frame{pixelCount(*picture), {}};
        timed(frame, [&] { average.add(picture); });
        return frame;
    });
    if (code == ExitOk)
        writeImage(average.quotient(), jobs.front().output);
    return code;
}

}  // namespace

const Command averageCommand{
    "Tone", "average", "One picture of many frames, in the memory of a few",
    [](CLI::App& command) -> Command::Action {
        auto files = std::make_shared<FileSeries>();
        command.add_option("frame", files->inputs, "pictures or camera raws of one format")->required();
        command
            .add_option("-o,--output", files->output,
                        "mean of all frames, without its fractions; not written unless all can be read")
            ->required();
        return [files] { return run(*files); };
    }};

}  // namespace ko::tool
