#include "live/broadcast.h"

#include "cli/failure.h"

#include <cstring>

namespace ko::tool {

using namespace std::chrono_literals;

class Broadcast::View {
public:
    explicit View(const QRect& shown) : region(shown) {}

    const QRect region;
    std::shared_ptr<const Shot> latest;  ///< guarded by the mutex of the broadcast
};

namespace {

constexpr auto pictureInterval =
    32ms;  // a little less than that of 30 frames per second, which come unevenly
constexpr auto figuresInterval = 190ms;  // the page asks for them five times a second
constexpr auto interest = 3s;            // in figures, after somebody has asked for them
constexpr std::size_t mostViews = 8;

/// Copies the pixels; keeps the memory where the format stays the same.
void copy(const SxImageBuf& from, Image& to)
{
    SxImageInfo format = from;
    format.stride = to->stride;
    if (!to || std::memcmp(static_cast<const SxImageInfo*>(&*to), &format, sizeof format) != 0)
        to = Image(format);
    require(CopyBuffer(from, {0, 0, from.width, from.height}, *to, {0, 0}, false), "CopyBuffer");
}

/// The browser shows a picture when it sees that it has ended, so the next boundary goes with it.
std::string partOf(std::string_view jpeg)
{
    std::string part =
        "Content-Type: image/jpeg\r\nContent-Length: " + std::to_string(jpeg.size()) + "\r\n\r\n";
    part.append(jpeg).append("\r\n").append(Broadcast::boundary).append("\r\n");
    return part;
}

}  // namespace

Broadcast::Broadcast() : m_thread([this] { work(); }) {}

Broadcast::~Broadcast()
{
    end();
}

void Broadcast::offer(const SxImageBuf& frame)
{
    const auto now = Clock::now();
    std::unique_lock lock(m_mutex);
    if (m_hasEnded || now < m_due || !isWanted(now))
        return;
    m_due = std::max(m_due + pictureInterval, now - pictureInterval);
    m_trouble.clear();
    try {
        requireShowable(frame);
        copy(frame, m_offered);
    } catch (const std::exception& error) {
        m_trouble = error.what();
        return;
    }
    m_arrival = now;
    m_isOffered = true;
    lock.unlock();
    m_frameIsThere.notify_one();
}

Broadcast::Viewer Broadcast::watch(const QRect& region)
{
    const std::lock_guard lock(m_mutex);
    m_views.remove_if([](const std::weak_ptr<View>& view) { return view.expired(); });
    for (const std::weak_ptr<View>& other : m_views)
        if (Viewer view = other.lock(); view && view->region == region)
            return view;
    if (m_views.size() >= mostViews && !region.isNull())
        return nullptr;
    auto view = std::make_shared<View>(region);
    m_views.push_back(view);
    return view;
}

std::shared_ptr<const Broadcast::Shot> Broadcast::next(View& view, std::uint64_t number)
{
    std::unique_lock lock(m_mutex);
    const auto isNew = [&] { return view.latest && view.latest->number > number; };
    m_pictureIsThere.wait_for(lock, 1s, [&] { return m_hasEnded || isNew(); });
    return !m_hasEnded && isNew() ? view.latest : nullptr;
}

std::shared_ptr<const Figures> Broadcast::figures()
{
    const std::lock_guard lock(m_mutex);
    m_figuresWanted = Clock::now();
    return m_figures;
}

Look Broadcast::look() const
{
    const std::lock_guard lock(m_mutex);
    return m_look;
}

void Broadcast::setLook(const Look& look)
{
    const std::lock_guard lock(m_mutex);
    m_look = look;
}

void Broadcast::balance()
{
    const std::lock_guard lock(m_mutex);
    if (m_figures)
        m_look.gains = grayWorldGains(*m_figures);
}

std::chrono::duration<double> Broadcast::delay() const
{
    const std::lock_guard lock(m_mutex);
    return m_delay;
}

std::string Broadcast::trouble() const
{
    const std::lock_guard lock(m_mutex);
    return m_trouble;
}

void Broadcast::end()
{
    const std::lock_guard lock(m_mutex);
    m_hasEnded = true;
    m_frameIsThere.notify_all();
    m_pictureIsThere.notify_all();
}

bool Broadcast::isWanted(Clock::time_point now) const
{
    for (const std::weak_ptr<View>& view : m_views)
        if (!view.expired())
            return true;
    return wantsFigures(now);
}

bool Broadcast::wantsFigures(Clock::time_point now) const
{
    return now - m_figuresWanted < interest && now - m_figuresMade >= figuresInterval;
}

void Broadcast::work()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_frameIsThere.wait(lock, [this] { return m_hasEnded || m_isOffered; });
        if (m_hasEnded)
            return;
        std::swap(m_frame, m_offered);
        m_isOffered = false;
        const auto arrival = m_arrival;
        lock.unlock();
        std::string trouble;
        try {
            publish(arrival);
        } catch (const std::exception& error) {
            trouble = error.what();
        }
        lock.lock();
        if (!trouble.empty())
            m_trouble = trouble;
    }
}

std::list<Broadcast::Viewer> Broadcast::currentViews()
{
    const std::lock_guard lock(m_mutex);
    std::list<Viewer> views;
    for (const std::weak_ptr<View>& known : m_views)
        if (Viewer view = known.lock())
            views.push_back(std::move(view));
    return views;
}

void Broadcast::publish(Clock::time_point arrival)
{
    const Look look = this->look();
    for (const Viewer& view : currentViews()) {
        const QRect& region = view->region;
        std::string part = partOf(
            region.isNull() ? m_encoder.encode(m_shower.overview(m_frame, look), JpegEncoder::Moving)
                            : m_encoder.encode(m_shower.detail(m_frame, region, look), JpegEncoder::Close));
        std::unique_lock lock(m_mutex);
        const std::uint64_t number = view->latest ? view->latest->number + 1 : 1;
        view->latest = std::make_shared<const Shot>(Shot{std::move(part), number});
        m_delay = Clock::now() - arrival;
        lock.unlock();  // or each of those who wake up would wait for it
        m_pictureIsThere.notify_all();
    }
    std::unique_lock lock(m_mutex);
    if (!wantsFigures(Clock::now()))
        return;
    lock.unlock();
    auto figures = std::make_shared<const Figures>(figuresOf(m_frame));
    lock.lock();
    m_figures = std::move(figures);
    m_figuresMade = Clock::now();
}

}  // namespace ko::tool
