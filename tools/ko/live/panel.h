// What the page shows in numbers and what it can change.
#pragma once

#include "live/broadcast.h"
#include "live/feed.h"

#include <QJsonObject>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace ko::tool {

/// How far a session has come.
struct Progress {
    std::uint64_t frames = 0;  ///< that have arrived
    double rate = 0;           ///< of them in a second
    Losses losses;
    std::optional<std::uint64_t> written;  ///< nothing where nothing is recorded
    double bytesPerSecond = 0;             ///< onto the disk
};

/// Any thread may ask it.
class Panel {
public:
    Panel(Feed& feed, Broadcast& broadcast) : m_feed(feed), m_broadcast(broadcast) {}

    /// Called now and then: asks the camera for its settings, so that viewers need not.
    void update(const Progress& progress);

    /// All that the page shows, as JSON.
    std::string status();

    /// Does what the fields of `wish` say and answers with what is wrong with them; empty where nothing is.
    std::string control(const QJsonObject& wish);

private:
    std::string setCamera(const QString& name, double value);
    std::string setLook(const QJsonObject& wish);
    void readControls();

    std::string figures();

    Feed& m_feed;
    Broadcast& m_broadcast;
    std::mutex m_mutex;  ///< guards all below
    std::shared_ptr<const Figures> m_told;
    std::string m_toldAs;  ///< the same in JSON: it takes long to write and is the same for all who ask
    Progress m_progress;
    Control m_exposure;
    Control m_gain;
    std::chrono::steady_clock::time_point m_controlsRead;
};

}  // namespace ko::tool
