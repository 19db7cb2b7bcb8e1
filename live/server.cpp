#include "live/server.h"

#include "files/error.h"
#include "live/entry_page.h"

#include <cerrno>
#include <string_view>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace live {
namespace {

constexpr std::size_t forTheKnown = 32; ///< connections beside those of strangers
constexpr int waiting = 512;            ///< connections that the system keeps for us; the library asks for five

constexpr std::string_view cookieName = "__Host-presva";
constexpr const char* html = "text/html; charset=utf-8";

namespace status {
constexpr int done = 204, notModified = 304, forbidden = 403, notFound = 404, wrongMethod = 405, wrongHost = 421,
              ownBug = 500;
} // namespace status

/// The telephone's key among its cookies; empty where there is none.
std::string_view keyIn(std::string_view cookies)
{
    for (std::size_t from = 0; from < cookies.size();) {
        const std::size_t end = std::min(cookies.find(';', from), cookies.size());
        std::string_view each = cookies.substr(from, end - from);
        each.remove_prefix(std::min(each.find_first_not_of(' '), each.size()));
        if (each.starts_with(cookieName) && each.substr(cookieName.size()).starts_with('='))
            return each.substr(cookieName.size() + 1);
        from = end + 1;
    }
    return {};
}

/// Why a place cannot be had, and what to do.
std::string reasonOf(int code)
{
    if (code == EADDRINUSE) return "kapıyı başka bir program kullanıyor; başka bir --port verin.";
    if (code == EADDRNOTAVAIL) return "adres bu bilgisayarın değil.";
    return std::generic_category().message(code) +
           ". Adres bu bilgisayarın olmalı, kapıyı başka bir program kullanmamalı.";
}

} // namespace

std::string hostText(const std::string& address, int port)
{
    const bool six = address.find(':') != std::string::npos;
    return (six ? "[" + address + "]" : address) + ":" + std::to_string(port);
}

/// The library reads requests and writes answers; connections, their bounds and their encryption are ours.
class Server::Answers : public httplib::Server {
public:
    Answers(Certificate certificate, Access& access, Look look, Limits limits, Bounds bounds)
        : certificate_(std::move(certificate)), access_(access), look_(std::move(look)), bounds_(bounds), gate_(limits)
    {
        new_task_queue = [strangers = limits.strangers] { return new httplib::ThreadPool(strangers + forTheKnown); };
        // With the library's own a second program of ours could listen at the same place, and each would get half.
        set_socket_options([](socket_t socket) {
            const int yes = 1;
            setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        });
        // Before the library looks for a body, which nobody reads here, or for files.
        set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
            answer(request, response);
            return HandlerResponse::Handled;
        });
        // What has gone wrong is nobody's business out there.
        set_exception_handler([](const httplib::Request&, httplib::Response& response, const std::exception_ptr&) {
            response.status = status::ownBug;
        });
    }

    int bind(const Place& place)
    {
        errno = 0;
        const int port = place.port == 0 ? bind_to_any_port(place.address)
                                         : (bind_to_port(place.address, place.port) ? place.port : -1);
        if (port <= 0 || ::listen(svr_sock_, waiting) != 0)
            throw files::Error(files::Fault::disk,
                               hostText(place.address, place.port) + " dinlenemiyor: " + reasonOf(errno));
        host_ = hostText(place.address, port);
        return port;
    }

private:
    bool process_and_close_socket(socket_t socket) override
    {
        if (const auto visit = gate_.enter(addressOf(socket))) {
            TlsStream stream(certificate_.context.get(), socket, bounds_);
            bool closed = true;
            if (stream.isOpen())
                process_request(stream, true, closed, [](httplib::Request& request) {
                    // Parts of an answer and compressed ones cost more than they are worth in one house.
                    request.ranges.clear();
                    request.headers.erase("Accept-Encoding");
                    request.headers.erase("Expect");
                });
        }
        shutdown(socket, SHUT_RDWR);
        close(socket);
        return true;
    }

    void answer(const httplib::Request& request, httplib::Response& response)
    {
        response.set_header("Cache-Control", "no-store");
        response.set_header("X-Content-Type-Options", "nosniff");
        response.set_header("X-Frame-Options", "DENY");
        response.set_header("Referrer-Policy", "no-referrer");
        if (request.method != "GET") {
            response.status = status::wrongMethod;
            response.set_header("Allow", "GET");
        } else if (request.get_header_value("Host") != host_) {
            // A page of somebody else's that gives our address a name of its own gets nothing.
            response.status = status::wrongHost;
        } else if (request.target == "/") {
            if (isKnown(request))
                page(response);
            else
                response.set_content(entryPage(), html);
        } else if (request.target == "/bugun") {
            today(request, response);
        } else if (request.target == "/giris") {
            enter(request, response);
        } else {
            response.status = status::notFound;
        }
    }

    bool isKnown(const httplib::Request& request)
    {
        const std::string cookies = request.get_header_value("Cookie");
        const std::string_view key = keyIn(cookies);
        if (key.empty()) return false;
        if (access_.knows(key)) {
            gate_.known(request.remote_addr);
            return true;
        }
        gate_.wrong(request.remote_addr);
        return false;
    }

    void today(const httplib::Request& request, httplib::Response& response)
    {
        if (!isKnown(request)) {
            response.status = status::forbidden;
            return;
        }
        const auto shown = look_();
        response.set_header("ETag", shown->mark);
        if (request.get_header_value("If-None-Match") == shown->mark)
            response.status = status::notModified;
        else
            response.set_content(shown->today, html);
    }

    /// Whoever reads it slowly keeps no copy of it in memory.
    void page(httplib::Response& response)
    {
        const auto shown = look_();
        response.set_content_provider(shown->page.size(), html,
                                      [shown](std::size_t from, std::size_t size, httplib::DataSink& sink) {
                                          return sink.write(shown->page.data() + from, size);
                                      });
    }

    void enter(const httplib::Request& request, httplib::Response& response)
    {
        const auto key = access_.take(request.get_header_value("X-Davet"));
        if (!key) {
            gate_.wrong(request.remote_addr);
            response.status = status::forbidden;
            return;
        }
        response.status = status::done;
        response.set_header("Set-Cookie", std::string(cookieName) + "=" + *key +
                                              "; Path=/; Secure; HttpOnly; SameSite=Lax; Max-Age=" +
                                              std::to_string(std::chrono::seconds(Access::telephoneCounts).count()));
    }

    const Certificate certificate_;
    Access& access_;
    const Look look_;
    const Bounds bounds_;
    Gate gate_;
    std::string host_;
};

Server::Server(const Place& place, Certificate certificate, Access& access, Look look, Limits limits, Bounds bounds)
    : answers_(std::make_unique<Answers>(std::move(certificate), access, std::move(look), limits, bounds)),
      port_(answers_->bind(place)), thread_([this] { answers_->listen_after_bind(); })
{
    while (!answers_->is_running()) std::this_thread::yield();
}

Server::~Server()
{
    answers_->stop();
    thread_.join();
}

int Server::port() const { return port_; }

bool Server::listens() const { return answers_->is_running(); }

} // namespace live
