#include "live/session.h"

#include "cli/failure.h"
#include "cli/interruption.h"
#include "cli/standard_error.h"
#include "live/broadcast.h"
#include "live/feed.h"
#include "live/panel.h"
#include "live/rates.h"
#include "live/recorder.h"
#include "live/stages.h"
#include "live/web_server.h"

#include <algorithm>
#include <condition_variable>
#include <iomanip>
#include <iostream>
#include <memory>
#include <mutex>
#include <sstream>

#include <unistd.h>

namespace ko::tool {
namespace {

using namespace std::chrono_literals;

constexpr auto tick = 100ms;     // in which an end is noticed
constexpr int ticksPerLine = 3;  // of the status line
constexpr int stageQueue = 2;    // frames that wait in front of a stage that keeps up

/// "123 frames, 30.0 frames/s, 0 dropped, 123 written, 186.6 MB/s"
std::string textOf(const Progress& progress)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << progress.frames
         << (progress.frames == 1 ? " frame, " : " frames, ") << progress.rate << " frames/s, "
         << progress.losses.dropped << " dropped";
    if (progress.losses.incomplete > 0)
        text << ", " << progress.losses.incomplete << " incomplete";
    if (progress.losses.lost > 0)
        text << ", " << progress.losses.lost << " lost";
    if (progress.written)
        text << ", " << *progress.written << " written, " << progress.bytesPerSecond / 1e6 << " MB/s";
    return text.str();
}

/// The pipe of one run, from the source to the files and the page.
class Session {
public:
    explicit Session(const LiveOptions& options);
    ~Session();

    /// Returns when there is nothing more to do. Throws what went wrong.
    void run(const std::stop_token& stop);

private:
    using Clock = std::chrono::steady_clock;

    void connect();
    void start();
    void finish();
    void wait(const std::stop_token& stop);
    void serve();
    void write(CxImageData& frame);
    void fail(const std::string& trouble);
    bool isDone();
    Progress progress();
    void showLine(const std::string& text) const;
    void summarise();

    const LiveOptions& m_options;
    const bool m_isTerminal;
    std::unique_ptr<Recorder> m_recorder;
    std::unique_ptr<WebServer> m_server;
    std::unique_ptr<Feed> m_feed;
    std::unique_ptr<Broadcast> m_broadcast;
    std::unique_ptr<Panel> m_panel;
    std::unique_ptr<Studio> m_studio;
    std::vector<std::unique_ptr<IxPipeItem>> m_stages;  ///< behind the source
    Tap* m_tap = nullptr;

    std::mutex m_mutex;  ///< guards the two below
    std::condition_variable m_change;
    std::string m_trouble;  ///< that ends the run
    Rate m_frameRate;
    Rate m_diskRate;
    Clock::time_point m_begin;
};

Session::Session(const LiveOptions& options)
    : m_options(options), m_isTerminal(options.verbosity != Verbosity::Quiet && isatty(STDERR_FILENO) == 1)
{
    if (!options.output.empty())
        m_recorder = std::make_unique<Recorder>(options.output, options.quality);
    if (options.port)
        m_server = std::make_unique<WebServer>(options.address, *options.port);
    m_feed = openFeed(options);
    if (m_server)
        m_broadcast = std::make_unique<Broadcast>();
    connect();
}

Session::~Session()
{
    if (m_broadcast)
        m_broadcast->end();
    m_server.reset();  // whose threads use all the rest
}

void Session::connect()
{
    auto tap = std::make_unique<Tap>(m_broadcast.get());
    m_tap = tap.get();
    m_stages.push_back(std::move(tap));
    if (m_recorder && !m_options.isRaw)
        m_stages.push_back(std::make_unique<Colouring>(
            m_options.method, [this](const std::string& trouble) { fail(m_feed->name() + ": " + trouble); }));
    for (const std::unique_ptr<IxPipeItem>& stage : m_stages)
        stage->setQueue(stageQueue, QueueBlocks);
    if (m_recorder) {
        m_stages.push_back(std::make_unique<CxFrameSink>([this](CxImageData& frame) { write(frame); }));
        m_stages.back()->setQueue(m_options.queue, QueueBlocks);
    }
    IxPipeItem* before = &m_feed->item();
    for (const std::unique_ptr<IxPipeItem>& stage : m_stages) {
        if (!before->addSuccessor(stage.get()))
            throw std::runtime_error("the pipeline cannot be connected");
        before = stage.get();
    }
}

void Session::run(const std::stop_token& stop)
{
    start();
    if (m_server)
        serve();
    wait(stop);
    finish();
    showLine({});
    if (m_options.verbosity != Verbosity::Quiet)
        summarise();
    if (!m_trouble.empty())
        throw std::runtime_error(m_trouble);
    if (const std::string trouble = m_feed->trouble(); m_feed->hasEnded() && !trouble.empty())
        throw std::runtime_error(trouble);
    if (m_options.frames && m_feed->hasEnded() && !isDone())
        throw std::runtime_error("the source has ended before " + std::to_string(*m_options.frames) +
                                 " frames");
}

void Session::start()
{
    m_begin = Clock::now();
    if (StartPipe(m_feed->item()))
        return;
    const std::string trouble = m_feed->trouble();
    throw std::runtime_error(trouble.empty() ? m_feed->name() + ": cannot be started" : trouble);
}

void Session::serve()
{
    m_panel = std::make_unique<Panel>(*m_feed, *m_broadcast);
    m_studio =
        std::make_unique<Studio>(Studio{*m_broadcast, [this] { return m_panel->status(); },
                                        [this](const QJsonObject& wish) { return m_panel->control(wish); }});
    m_server->start(*m_studio);
    if (!(std::cout << m_server->url() << std::endl))
        throw Failure("standard output", "cannot be written");
}

void Session::wait(const std::stop_token& stop)
{
    for (int ticks = 0; !stop.stop_requested() && !isDone() && !m_feed->hasEnded(); ++ticks) {
        const Progress now = progress();
        if (m_panel)
            m_panel->update(now);
        if (ticks % ticksPerLine == 0)
            showLine(textOf(now));
        std::unique_lock lock(m_mutex);
        m_change.wait_for(lock, tick);
    }
}

/// What has arrived still goes its way, unless there is enough or nowhere to go.
void Session::finish()
{
    if (m_feed->hasEnded())
        DrainPipe(m_feed->item());
    m_feed->item().setState(IxPipeItem::StateStopped);
    if (!isDone())
        DrainPipe(*m_stages.front());
    StopPipe(*m_stages.front());
}

void Session::write(CxImageData& frame)
{
    if (isDone())
        return;
    const std::string trouble = troubleWith(m_options.output, [&] {
        const std::string name = m_recorder->write(frame.image());
        if (m_options.verbosity == Verbosity::Verbose) {
            showLine({});
            std::cout << name << std::endl;
        }
    });
    if (!trouble.empty())
        fail(trouble);
    if (isDone())
        m_change.notify_all();
}

/// On any thread; the first failure counts.
void Session::fail(const std::string& trouble)
{
    const std::lock_guard lock(m_mutex);
    if (m_trouble.empty())
        m_trouble = trouble;
    m_change.notify_all();
}

bool Session::isDone()
{
    const std::lock_guard lock(m_mutex);
    const std::uint64_t frames = m_recorder ? m_recorder->frames() : m_tap->frames();
    return !m_trouble.empty() ||
           (m_options.frames && frames >= static_cast<std::uint64_t>(*m_options.frames));
}

Progress Session::progress()
{
    Progress now;
    now.frames = m_tap->frames();
    now.rate = m_frameRate.update(now.frames);
    now.losses = m_feed->losses();
    if (m_recorder) {
        now.written = m_recorder->frames();
        now.bytesPerSecond = m_diskRate.update(m_recorder->bytes());
    }
    return now;
}

/// Draws the line on a terminal again; an empty one wipes it off.
void Session::showLine(const std::string& text) const
{
    if (m_isTerminal)
        writeError('\r' + text + "\033[K");
}

void Session::summarise()
{
    Progress all = progress();
    const double seconds = std::chrono::duration<double>(Clock::now() - m_begin).count();
    all.rate = static_cast<double>(all.frames) / seconds;
    if (m_recorder)
        all.bytesPerSecond = static_cast<double>(m_recorder->bytes()) / seconds;
    std::cout << textOf(all) << '\n';
}

}  // namespace

int runLive(const LiveOptions& options)
{
    const Interruption interruption(!options.output.empty());
    // The items warn of every loss; here they are counted.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    Session(options).run(interruption.token());
    // With a number of frames to reach, an interruption is a failure; without, it is the way to end.
    if (interruption.signal() != 0 && options.frames)
        endBySignal(interruption.signal());
    return ExitOk;
}

}  // namespace ko::tool
