// SPDX-License-Identifier: MIT
#include "view/server.h"

#include <fmt/format.h>
#include <httplib.h>

#include <functional>
#include <optional>
#include <thread>

#include "terminal/failure.h"
#include "terminal/numbers.h"
#include "view/page.h"

namespace vireo::host {
namespace {

constexpr const char* host = "127.0.0.1";
constexpr std::size_t largestRequest = 4096;  // bytes
constexpr std::chrono::seconds readTimeout(1);

constexpr const char* securityPolicy =
    "default-src 'self'; img-src 'self' blob: data:; style-src 'unsafe-inline'; script-src 'unsafe-inline'";

}  // namespace

class PageServer::Impl {
 public:
  Impl(LiveView& view, int port) : view_(view) {
    configure();
    port_ = port == 0 ? server_.bind_to_any_port(host) : (server_.bind_to_port(host, port) ? port : -1);
    if (port_ < 0) {
      throw Failure(
          ExitStatus::Failed,
          fmt::format("port {} on {} is taken: choose another with --port, 0 finds a free one", port, host));
    }
    addRoutes();
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    // stop() is lost on a server that does not listen yet.
    while (!server_.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;
  ~Impl() {
    server_.stop();
    thread_.join();
  }

  int Port() const { return port_; }

 private:
  using Request = httplib::Request;
  using Response = httplib::Response;

  void configure() {
    server_.set_payload_max_length(largestRequest);
    server_.set_read_timeout(readTimeout);
    server_.set_keep_alive_timeout(readTimeout.count());  // the end waits for idle browsers
    // The library's own choice lets two programs share a port.
    server_.set_socket_options([](int socket) {
      const int yes = 1;
      setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    server_.set_default_headers({{"Cache-Control", "no-store"},
                                 {"X-Content-Type-Options", "nosniff"},
                                 {"Content-Security-Policy", securityPolicy}});
  }

  void addRoutes() {
    server_.set_pre_routing_handler([this](const Request& request, Response& response) {
      return refuseForeign(request, response) ? httplib::Server::HandlerResponse::Handled
                                              : httplib::Server::HandlerResponse::Unhandled;
    });
    server_.Get("/", [](const Request&, Response& response) { response.set_content(livePage, "text/html"); });
    server_.Get("/frame.png", [this](const Request& request, Response& response) {
      sendPicture(response, [&] { return view_.Preview(request.has_param("saturated")); });
    });
    server_.Get("/picture.png", [this](const Request&, Response& response) {
      response.set_header("Content-Disposition", "attachment; filename=frame.png");
      sendPicture(response, [&] { return view_.Png(); });
    });
    server_.Get("/state.json", [this](const Request& request, Response& response) {
      response.set_content(JsonText(view_.State(pixelOf(request))), "application/json");
    });
    server_.Get("/writable.json", [this](const Request&, Response& response) {
      response.set_content(JsonText(view_.Writable()), "application/json");
    });
    server_.Post("/set",
                 [this](const Request& request, Response& response) { setParameter(request, response); });
  }

  bool refuseForeign(const Request& request, Response& response) const {
    const std::string name = request.get_header_value("Host");
    const bool here = name == fmt::format("{}:{}", host, port_) || name == fmt::format("localhost:{}", port_);
    // Another site's page can post here, but not with a header of its own: the browser asks us first.
    if (here && (request.method != "POST" || request.has_header("X-Vireo-Cam"))) return false;
    response.status = 403;
    response.set_content("only this page may ask\n", "text/plain");
    return true;
  }

  static std::optional<PixelPlace> pixelOf(const Request& request) {
    const auto x = NumberFrom<std::size_t>(request.get_param_value("x"));
    const auto y = NumberFrom<std::size_t>(request.get_param_value("y"));
    return x && y ? std::optional(PixelPlace{*x, *y}) : std::nullopt;
  }

  static void sendPicture(Response& response, const std::function<std::vector<unsigned char>()>& encode) {
    try {
      const std::vector<unsigned char> png = encode();
      response.set_content(reinterpret_cast<const char*>(png.data()), png.size(), "image/png");
    } catch (const std::runtime_error& error) {
      response.status = 503;
      response.set_content(error.what(), "text/plain");
    }
  }

  void setParameter(const Request& request, Response& response) {
    try {
      const Json wanted = Json::parse(request.body, nullptr, false);
      if (!wanted.is_object() || !wanted.value("name", Json()).is_string() || !wanted.contains("value")) {
        throw Failure(ExitStatus::WrongUsage, R"(not {"name": NAME, "value": VALUE})");
      }
      view_.Set(wanted["name"], wanted["value"]);
      response.set_content("ok\n", "text/plain");
    } catch (const std::exception& error) {
      response.status = 400;
      response.set_content(error.what(), "text/plain");
    }
  }

  LiveView& view_;
  httplib::Server server_;
  int port_ = 0;
  std::thread thread_;
};

PageServer::PageServer(LiveView& view, int port) : impl_(std::make_unique<Impl>(view, port)) {}

PageServer::~PageServer() = default;

std::string PageServer::Url() const {
  return fmt::format("http://{}:{}/", host, impl_->Port());
}

}  // namespace vireo::host
