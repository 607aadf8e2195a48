// ko stream: mosaics through the pipeline of the library.
#include "cli/arguments.h"
#include "cli/batch.h"
#include "cli/failure.h"
#include "cli/progress_bar.h"
#include "commands/commands.h"
#include "io/image_file.h"
#include "io/mosaic.h"

#include <ko/demosaic.h>

#include <iomanip>
#include <iostream>
#include <memory>
#include <mutex>
#include <optional>

namespace ko::tool {
namespace {

struct Options {
    FileSeries files;
    Settings settings;
    MosaicOptions mosaic;
    bool drop = false;
    bool block = false;
    int queue = 2;
};

/// What a stage has done, and in how much time of its own.
struct Effort {
    std::uint64_t frames = 0;
    Frame sum;
};

/// The convertor of the library, which says of whom it could not convert.
class Convertor : public CxDemosaicConvertor {
public:
    explicit Convertor(std::function<void(int frameNo)> onFailure) : m_onFailure(std::move(onFailure)) {}
    ~Convertor() override { retire(); }

    /// To be read when the item has stopped.
    const Effort& effort() const { return m_effort; }

protected:
    bool processData(IxData* input, IxData*& output) override
    {
        const int number = dynamic_cast<CxImageData&>(*input).frameNo();
        bool isConverted = false;
        timed(m_effort.sum, [&] { isConverted = CxDemosaicConvertor::processData(input, output); });
        if (isConverted)
            ++m_effort.frames;
        else
            m_onFailure(number);
        return isConverted;
    }

private:
    const std::function<void(int)> m_onFailure;
    Effort m_effort;
};

/// Files are read on the calling thread, converted and written on threads of their own. A frame carries the
/// number of its job.
class Stream {
public:
    Stream(const Options& options, const std::vector<Job>& jobs)
        : m_options(options),
          m_jobs(jobs),
          m_metadata(jobs.size()),
          m_bar(jobs.size(), options.files.verbosity),
          m_convertor([this](int number) { fail(jobOf(number).input + ": cannot be converted"); }),
          m_sink([this](CxImageData& frame) { write(frame); })
    {
        const ExQueuePolicy policy = options.drop ? QueueDropsOldest : QueueBlocks;
        for (IxPipeItem* item : {static_cast<IxPipeItem*>(&m_source), static_cast<IxPipeItem*>(&m_convertor),
                                 static_cast<IxPipeItem*>(&m_sink)})
            item->setQueue(options.queue, policy);
        if (!m_source.addSuccessor(&m_convertor) || !m_convertor.addSuccessor(&m_sink) ||
            !StartPipe(m_source))
            throw std::runtime_error("the pipeline cannot be started");
    }

    int run()
    {
        const auto start = std::chrono::steady_clock::now();
        m_bar.show(0);
        for (std::size_t number = 0; number < m_jobs.size(); ++number)
            read(static_cast<int>(number));
        DrainPipe(m_source);
        StopPipe(m_source);
        m_bar.wipe();
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        if (m_options.files.verbosity != Verbosity::Quiet) {
            summarise(m_jobs.size(), m_writing.frames, m_writing.sum, elapsed.count());
            describe("read", m_reading);
            describe("convert", m_convertor.effort(),
                     m_source.statistics().dropped + m_convertor.statistics().dropped);
            describe("write", m_writing, m_sink.statistics().dropped);
        }
        return m_failed == 0 ? ExitOk : ExitFailed;
    }

private:
    const Job& jobOf(int number) const { return m_jobs[static_cast<std::size_t>(number)]; }

    void read(int number)
    {
        auto frame = std::make_unique<CxImageData>();
        const std::string& file = jobOf(number).input;
        const std::string trouble = troubleWith(file, [&] {
            timed(m_reading.sum, [&] {
                Picture picture = readPicture(file);
                const SxImageBuf mosaic = mosaicOf(picture.image, m_options.mosaic, picture.sensor.get());
                requireEven({mosaic.width, mosaic.height});
                frame->setImageShallow(mosaic, number, 0, {});
                *picture.image = {};
                m_metadata[static_cast<std::size_t>(number)] = std::move(picture.metadata);
            });
        });
        if (!trouble.empty())
            return fail(trouble);
        ++m_reading.frames;
        m_source.push(std::move(frame));
    }

    void write(CxImageData& frame)
    {
        const Job& job = jobOf(frame.frameNo());
        const Image colour = Image::owning(std::exchange(frame.image(), {}));
        const Metadata metadata = std::move(m_metadata[static_cast<std::size_t>(frame.frameNo())]);
        Frame& sum = m_writing.sum;
        const auto spentBefore = sum.spent;
        const std::string trouble = troubleWith(job.input, [&] {
            timed(sum, [&] { writeImage(colour, job.output, metadata, m_options.files.quality); });
        });
        if (!trouble.empty())
            return fail(trouble);
        ++m_writing.frames;
        sum.pixels += pixelCount(*colour);
        // Frames come in order: those before this one have been written, dropped, or have failed.
        const std::lock_guard lock(m_mutex);
        if (m_options.files.verbosity == Verbosity::Verbose) {
            m_bar.wipe();
            tellOf(job, "written", sum.spent - spentBefore);
        }
        m_bar.show(static_cast<std::size_t>(frame.frameNo()) + 1);
    }

    /// On any thread.
    void fail(const std::string& trouble)
    {
        const std::lock_guard lock(m_mutex);
        ++m_failed;
        m_bar.wipe();
        report(trouble);
    }

    static void describe(const std::string& stage, const Effort& effort,
                         const std::optional<std::uint64_t>& dropped = {})
    {
        std::cout << stage << ": " << effort.frames << (effort.frames == 1 ? " frame" : " frames");
        if (dropped)
            std::cout << ", " << *dropped << " dropped before";
        if (effort.frames > 0)
            std::cout << ", " << std::fixed << std::setprecision(1)
                      << static_cast<double>(effort.frames) / effort.sum.spent.count() << " frames/s";
        std::cout << '\n';
    }

    const Options& m_options;
    const std::vector<Job>& m_jobs;
    std::vector<Metadata> m_metadata;  ///< of each job, from reading to writing

    std::mutex m_mutex;  ///< guards the bar and the count of failures
    const ProgressBar m_bar;
    std::size_t m_failed = 0;

    Effort m_reading;
    Effort m_writing;
    CxFrameSource m_source;
    Convertor m_convertor;
    CxFrameSink m_sink;
};

int run(const Options& options)
{
    const std::vector<Job> jobs = planJobs(intoDirectory(options.files), ".tif");
    // The items warn of every loss; here each failure has its line and the summary counts the drops.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    return Stream(options, jobs).run();
}

}  // namespace

const Command streamCommand{
    "Demosaicing", "stream",
    "Convert mosaics to colour pictures of half the size, reading and writing meanwhile",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        addDirectoryOptions(command, options->files);
        addMosaicSettings(options->settings, options->mosaic);
        Settings& settings = options->settings;
        settings.flag("block", options->block, "a full queue makes the stage before it wait (default)");
        settings.flag("drop", options->drop,
                      "a full queue loses its oldest frame, as when a camera does not wait");
        settings.whole("queue", options->queue, {1, 1000},
                       "frames that may wait in front of each stage, 2 if not given");
        settings.rule([o = options.get()] { return !(o->block && o->drop); },
                      "only one of block and drop can be wanted");
        settings.declare(command);
        return [options] {
            options->settings.verify();
            return run(*options);
        };
    }};

}  // namespace ko::tool
