// The page in the browser.
#pragma once

#include "live/broadcast.h"
#include "live/door.h"

#include <QJsonObject>

#include <functional>
#include <memory>
#include <string>

namespace ko::tool {

/// What the page shows and what it can change.
struct Studio {
    Broadcast& broadcast;
    std::function<std::string()> status;  ///< as JSON
    /// Does what a request asks for and answers with what was wrong with it; empty where nothing was.
    std::function<std::string(const QJsonObject&)> control;
};

/// Serves the page, its pictures and its figures, each from memory. Nothing else is known here, no file least of all.
class WebServer {
public:
    /// Takes a port, any free one for 0. Throws `Failure` where it is taken.
    WebServer(const std::string& address, int port);

    /// Ends all connections.
    ~WebServer();

    std::string url() const;

    /// Begins to answer. `studio` must live as long as this object.
    void start(const Studio& studio);

private:
    class Server;
    const Door m_door;
    const std::unique_ptr<Server> m_server;
    int m_port;
};

}  // namespace ko::tool
