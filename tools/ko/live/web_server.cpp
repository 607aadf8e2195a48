#include "live/web_server.h"

#include "cli/failure.h"
#include "live/http_stream.h"
#include "live/page_files.h"

#include <QJsonDocument>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <optional>
#include <thread>

#include <sys/socket.h>
#include <unistd.h>

namespace ko::tool {
namespace {

constexpr int mostConnections = 64;
constexpr int mostRequests = 1000;  // of a connection
constexpr std::size_t mostPosted = 1024;
constexpr int sendBuffer = 256 << 10;  // of a picture or two: what waits here is old when it is seen

/// The four numbers of "x,y,width,height"; nothing for another text.
std::optional<QRect> regionOf(const std::string& text)
{
    std::array<int, 4> numbers{};
    const char* at = text.data();
    const char* const end = at + text.size();
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto [next, failure] = std::from_chars(at, end, numbers[i]);
        const bool isLast = i + 1 == numbers.size();
        if (failure != std::errc() || numbers[i] < 0 || numbers[i] > 1 << 20 ||
            (isLast ? next != end : next == end || *next != ','))
            return {};
        at = next + 1;
    }
    return QRect(numbers[0], numbers[1], numbers[2], numbers[3]);
}

/// Sends pictures for as long as somebody takes them.
bool sendPicture(Broadcast& broadcast, const Broadcast::Viewer& view, std::uint64_t& number,
                 httplib::DataSink& sink)
{
    const std::shared_ptr<const Broadcast::Shot> shot = broadcast.next(*view, number);
    if (!shot)
        return sink.is_writable();
    const std::string start = number == 0 ? std::string(Broadcast::boundary) + "\r\n" : "";
    number = shot->number;
    return sink.write(start.data(), start.size()) && sink.write(shot->part.data(), shot->part.size());
}

void refuse(httplib::Response& response, int status, const std::string& why)
{
    response.status = status;
    response.set_content(why + '\n', "text/plain");
}

void streamPictures(Broadcast& broadcast, const httplib::Request& request, httplib::Response& response)
{
    QRect region;
    if (request.has_param("region")) {
        const std::optional<QRect> wanted = regionOf(request.get_param_value("region"));
        if (!wanted || wanted->isEmpty() ||
            pixelCount(makeFormat(wanted->width(), wanted->height(), 1, UInt8)) > mostShownPixels / 4)
            return refuse(response, 400, "region: x,y,width,height of at most 325000 pixels");
        region = *wanted;
    }
    const Broadcast::Viewer view = broadcast.watch(region);
    if (!view)
        return refuse(response, 503, "too many regions are looked at");
    auto number = std::make_shared<std::uint64_t>(0);
    response.set_content_provider("multipart/x-mixed-replace; boundary=" +
                                      std::string(Broadcast::boundary.substr(2)),
                                  [&broadcast, view, number](std::size_t, httplib::DataSink& sink) {
                                      return sendPicture(broadcast, view, *number, sink);
                                  });
}

/// Every path of the page is below `prefix`.
void addPages(httplib::Server& server, const std::string& prefix)
{
    const auto page = [&](const std::string& path, std::string_view text, const char* type) {
        server.Get(prefix + path, [text, type](const httplib::Request&, httplib::Response& response) {
            response.set_content(text.data(), text.size(), type);
        });
    };
    page("", pageHtml, "text/html; charset=utf-8");
    page("style\\.css", pageStyle, "text/css; charset=utf-8");
    page("icon\\.svg", pageIcon, "image/svg+xml");
    page("script\\.js", pageScript, "text/javascript; charset=utf-8");
}

void addActions(httplib::Server& server, const std::string& prefix, const Studio& studio)
{
    server.Get(prefix + "pictures", [&studio](const httplib::Request& request, httplib::Response& response) {
        streamPictures(studio.broadcast, request, response);
    });
    server.Get(prefix + "status", [&studio](const httplib::Request&, httplib::Response& response) {
        response.set_content(studio.status(), "application/json");
    });
    server.Post(prefix + "control", [&studio](const httplib::Request& request, httplib::Response& response) {
        const QJsonDocument wish = QJsonDocument::fromJson(QByteArray::fromStdString(request.body));
        if (!wish.isObject())
            return refuse(response, 400, "control: no JSON object");
        if (const std::string trouble = studio.control(wish.object()); !trouble.empty())
            return refuse(response, 400, trouble);
        response.set_content(studio.status(), "application/json");
    });
}

/// What browsers are told of everything that comes from here: nobody else may use or embed it.
const httplib::Headers headers{
    {"Content-Security-Policy",
     "default-src 'none'; img-src 'self'; style-src 'self'; script-src 'self'; "
     "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Referrer-Policy", "no-referrer"},
    {"X-Content-Type-Options", "nosniff"},
    {"Cache-Control", "no-store"},
};

}  // namespace

/// Serves each connection through an `HttpStream`, and no more than `mostConnections` at a time.
class WebServer::Server : public httplib::Server {
public:
    Server()
    {
        // A few more threads than connections, to turn the others away.
        new_task_queue = [] { return new httplib::ThreadPool(mostConnections + 4); };
        // The address of a socket that is being closed may be used again, but not that of another server.
        set_socket_options([](socket_t socket) {
            constexpr int yes = 1;
            setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
            setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &sendBuffer, sizeof sendBuffer);
        });
        set_tcp_nodelay(true);
        set_payload_max_length(mostPosted);
        set_default_headers(headers);
    }

    void admitBy(const Door& door)
    {
        set_pre_routing_handler([&door](const httplib::Request& request, httplib::Response& response) {
            const std::string host = request.get_header_value("Host");
            if (!Door::isOwnHost(host))
                refuse(response, 403, "the page answers to numeric addresses and to localhost");
            else if (!door.knowsPath(request.path))
                refuse(response, 404, "not found");
            else if (request.method == "POST" && !Door::isOwnOrigin(request.get_header_value("Origin"), host))
                refuse(response, 403, "changes are taken from the page alone");
            else if (request.has_header("Range"))
                refuse(response, 416, "nothing is sent in parts");
            else
                return HandlerResponse::Unhandled;
            return HandlerResponse::Handled;
        });
    }

    /// The library lets five connections wait, and the next one for a second.
    void welcomeMore() { ::listen(svr_sock_, mostConnections); }

    void begin()
    {
        m_thread = std::jthread([this] { listen_after_bind(); });
    }

    void end()
    {
        m_isEnding = true;
        // Its loop has begun as soon as it says that it runs, and does not end before.
        while (m_thread.joinable() && !is_running())
            std::this_thread::yield();
        stop();
    }

private:
    bool process_and_close_socket(socket_t socket) override
    {
        HttpStream stream(socket, m_isEnding);
        if (++m_connections > mostConnections) {
            constexpr std::string_view answer = "HTTP/1.1 503 Service Unavailable\r\nConnection: close\r\n"
                                                "Content-Length: 0\r\n\r\n";
            [[maybe_unused]] const ssize_t sent =
                send(socket, answer.data(), answer.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        } else {
            bool isLast = false;
            for (int left = mostRequests; left > 0 && !isLast && stream.waitForRequest(); --left)
                isLast = !serveRequest(stream, left == 1);
        }
        --m_connections;
        shutdown(socket, SHUT_RDWR);
        return close(socket) == 0;
    }

    /// Whether another request may follow. What is refused leaves its body unread, and what is not understood its rest:
    /// the bytes of another page would be taken for a request of our own.
    bool serveRequest(HttpStream& stream, bool isLast)
    {
        bool isUnderstood = false;
        bool isClosed = false;
        const auto look = [&](httplib::Request& request) {
            isUnderstood = true;
            if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding"))
                return;
            isClosed = true;
            request.headers.erase("Connection");
            request.set_header("Connection", "close");  // so that the answer says so
        };
        return process_request(stream, isLast, isClosed, look) && isUnderstood && !isClosed;
    }

    std::atomic<bool> m_isEnding = false;
    std::atomic<int> m_connections = 0;
    std::jthread m_thread;
};

WebServer::WebServer(const std::string& address, int port)
    : m_door(address), m_server(std::make_unique<Server>())
{
    errno = 0;
    m_port = port == 0                                        ? m_server->bind_to_any_port(m_door.address())
             : m_server->bind_to_port(m_door.address(), port) ? port
                                                              : -1;
    if (m_port <= 0)
        throw Failure("port " + std::to_string(port) + " of " + m_door.address(),
                      errno != 0 ? std::strerror(errno) : "cannot be used");
}

WebServer::~WebServer()
{
    m_server->end();
}

std::string WebServer::url() const
{
    return m_door.url(m_port);
}

void WebServer::start(const Studio& studio)
{
    m_server->welcomeMore();
    m_server->admitBy(m_door);
    addPages(*m_server, m_door.prefix());
    addActions(*m_server, m_door.prefix(), studio);
    m_server->begin();
}

}  // namespace ko::tool
