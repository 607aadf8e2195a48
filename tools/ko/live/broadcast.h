// From one camera to many viewers.
#pragma once

#include "live/figures.h"
#include "live/jpeg.h"
#include "live/shown.h"

#include <QRect>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace ko::tool {

/// Makes pictures and figures of frames, for as long as somebody wants them, on a thread of its own. Each picture is
/// encoded once, however many look at it; who is slow gets fewer of them.
class Broadcast {
public:
    using Clock = std::chrono::steady_clock;

    /// Stands before the first part of an answer with pictures and behind each.
    static constexpr std::string_view boundary = "--picture";

    struct Shot {
        std::string part;      ///< of the answer that shows it, as all viewers get it
        std::uint64_t number;  ///< the first is 1
    };

    /// What several viewers look at: the whole picture or a region. Lives as long as one of them does.
    class View;
    using Viewer = std::shared_ptr<View>;

    Broadcast();
    ~Broadcast();

    /// Takes a copy of a frame, where somebody wants to see one and the last one is old enough. Called on the thread
    /// that the camera's frames come by.
    void offer(const SxImageBuf& frame);

    /// A null region is the whole picture. Null where too many regions are looked at already.
    Viewer watch(const QRect& region);

    /// The next picture after `number`; null when there is none for a while.
    std::shared_ptr<const Shot> next(View& view, std::uint64_t number);

    /// The figures of a recent frame, null until there are some: asking for them has them made for some seconds.
    std::shared_ptr<const Figures> figures();

    Look look() const;
    void setLook(const Look& look);

    /// Sets the gains so that the mean of the picture is gray.
    void balance();

    /// From a frame's arrival to its last picture, of the last frame.
    std::chrono::duration<double> delay() const;

    /// Why the last frame could not be shown; empty where it could.
    std::string trouble() const;

    /// Lets nobody wait any more.
    void end();

private:
    bool isWanted(Clock::time_point now) const;
    bool wantsFigures(Clock::time_point now) const;
    void work();
    void publish(Clock::time_point arrival);
    std::list<Viewer> currentViews();

    mutable std::mutex m_mutex;  ///< guards all below up to `m_frame`
    std::condition_variable m_frameIsThere;
    std::condition_variable m_pictureIsThere;
    Image m_offered;
    Clock::time_point m_arrival;
    bool m_isOffered = false;
    bool m_hasEnded = false;
    Clock::time_point m_due;
    std::list<std::weak_ptr<View>> m_views;
    Look m_look;
    std::shared_ptr<const Figures> m_figures;
    Clock::time_point m_figuresMade;
    Clock::time_point m_figuresWanted;
    std::chrono::duration<double> m_delay{};
    std::string m_trouble;

    Image m_frame;  ///< being worked on
    Shower m_shower;
    JpegEncoder m_encoder;
    std::jthread m_thread;
};

}  // namespace ko::tool
