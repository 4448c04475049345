// SPDX-License-Identifier: MIT
#include "../view/live_view.h"

#include <fmt/format.h>
#include <httplib.h>

#include <memory>
#include <thread>
#include <utility>

#include "../console.h"
#include "../frame_stream.h"
#include "../interrupt.h"
#include "../view/page.h"
#include "commands.h"

namespace vireo::host {
namespace {

constexpr const char* host = "127.0.0.1";
constexpr std::size_t largestRequest = 4096;  // bytes
constexpr std::chrono::seconds readTimeout(1);

/// The page's server, on a thread of its own while it lives.
class PageServer {
 public:
  /// Throws Failure when the port is taken.
  PageServer(LiveView& view, int port) : view_(view) {
    server_.set_payload_max_length(largestRequest);
    server_.set_read_timeout(readTimeout);
    server_.set_keep_alive_timeout(readTimeout.count());  // the end waits for idle browsers
    // The library's own choice lets two programs share a port.
    server_.set_socket_options([](int socket) {
      const int yes = 1;
      setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
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
  PageServer(const PageServer&) = delete;
  PageServer& operator=(const PageServer&) = delete;
  ~PageServer() {
    server_.stop();
    thread_.join();
  }

  std::string Url() const { return fmt::format("http://{}:{}/", host, port_); }

 private:
  using Request = httplib::Request;
  using Response = httplib::Response;

  void addRoutes() {
    server_.set_pre_routing_handler([this](const Request& request, Response& response) {
      return refuseForeign(request, response) ? httplib::Server::HandlerResponse::Handled
                                              : httplib::Server::HandlerResponse::Unhandled;
    });
    server_.set_default_headers(
        {{"Cache-Control", "no-store"},
         {"X-Content-Type-Options", "nosniff"},
         {"Content-Security-Policy",
          "default-src 'self'; img-src 'self' blob: data:; style-src 'unsafe-inline'; "
          "script-src 'unsafe-inline'"}});
    server_.Get("/", [](const Request&, Response& response) { response.set_content(livePage, "text/html"); });
    server_.Get("/frame.png", [this](const Request&, Response& response) { sendPicture(response); });
    server_.Get("/state.json", [this](const Request&, Response& response) {
      response.set_content(JsonText(view_.State()), "application/json");
    });
    server_.Post("/set",
                 [this](const Request& request, Response& response) { setParameter(request, response); });
  }

  // Other pages in the same browser can reach this port too: by another name, or by posting blindly.
  bool refuseForeign(const Request& request, Response& response) const {
    const std::string name = request.get_header_value("Host");
    const bool here = name == fmt::format("{}:{}", host, port_) || name == fmt::format("localhost:{}", port_);
    if (here && (request.method != "POST" || request.has_header("X-Vireo-Cam"))) return false;
    response.status = 403;
    response.set_content("only this page may ask\n", "text/plain");
    return true;
  }

  void sendPicture(Response& response) const {
    try {
      const std::vector<unsigned char> png = view_.Png();
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

ExitStatus view(Camera& camera, int port) {
  CatchInterrupts();
  LiveView live(camera);
  const PageServer server(live, port);
  bool announced = false;
  StreamOptions options;
  options.patience = 0.0;  // the page says that nothing comes
  FrameStream stream(camera, options);
  stream.OnProgress([&](const StreamStatistics& statistics) {
    if (!std::exchange(announced, true)) {
      Print(fmt::format("{} shows the camera; Ctrl-C ends it\n", server.Url()));
    }
    live.Take(statistics);
  });
  stream.Run([&](const common::FrameInfo& info, std::vector<std::uint8_t>& buffer) {
    live.Take(info, buffer);
    return true;
  });
  return ExitStatus::Done;
}

}  // namespace

void AddViewCommand(CommandLine& line) {
  const auto port = std::make_shared<int>(8137);
  CLI::App* const command =
      line.AddCommand("view", "Show the live picture on a page of this computer until Ctrl-C", [&line, port] {
        return WithCamera(line.camera, Use::Stream, [&](Camera& camera) { return view(camera, *port); });
      });
  command->add_option("-p,--port", *port, "Port on 127.0.0.1; 0 finds a free one")
      ->check(WholeNumber(0, 65535))
      ->type_name("PORT")
      ->capture_default_str();
}

}  // namespace vireo::host
