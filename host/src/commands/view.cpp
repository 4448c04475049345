// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <chrono>
#include <memory>
#include <thread>
#include <utility>

#include "camera/stream.h"
#include "commands/commands.h"
#include "commands/reconnection.h"
#include "terminal/console.h"
#include "terminal/interrupt.h"
#include "view/server.h"

namespace vireo::host {
namespace {

struct ViewOptions {
  int port = 8137;
  bool reconnect = false;
};

constexpr std::chrono::milliseconds lastWord(1500);  // for the page to fetch why it ends

StreamOptions streamOptions(const LiveView& live) {
  StreamOptions options;
  options.patience = 0.0;  // the page says that nothing comes
  options.enough = [&live] { return live.ChangeWaits(); };
  return options;
}

// The stream stops for what must be changed without one.
void receive(Camera& camera, FrameStream& stream, LiveView& live) {
  try {
    while (!Interrupted()) {
      stream.Run([&](const common::FrameInfo& info, std::vector<std::uint8_t>& buffer) {
        live.Take(info, buffer);
        return true;
      });
      live.Change();
    }
  } catch (const std::exception& error) {
    live.End(camera.FailureBehind(error));
    throw;
  }
}

ExitStatus view(Camera& camera, const ViewOptions& options) {
  CatchInterrupts();
  Reconnection reconnection(camera, options.reconnect);
  LiveView live(camera);
  const PageServer server(live, options.port);
  FrameStream stream(camera, streamOptions(live));
  bool announced = false;
  stream.OnProgress([&](const FrameStream& running) {
    if (!std::exchange(announced, true))
      Print(fmt::format("{} shows the camera; Ctrl-C ends it\n", server.Url()));
    live.Take(running);
  });
  try {
    reconnection.Run(
        stream, [&] { receive(camera, stream, live); }, [&] { live.Resume(); });
  } catch (const std::exception&) {
    if (!Interrupted()) std::this_thread::sleep_for(lastWord);
    throw;
  }
  return ExitStatus::Done;
}

}  // namespace

void AddViewCommand(CommandLine& line) {
  const auto options = std::make_shared<ViewOptions>();
  CLI::App* const command =
      line.AddCameraCommand("view", "Show the live picture on a page of this computer until Ctrl-C",
                            Use::Stream, [options](Camera& camera) { return view(camera, *options); });
  command->add_option("-p,--port", options->port, "Port on 127.0.0.1; 0 finds a free one")
      ->check(WholeNumber(0, 65535))
      ->type_name("PORT")
      ->capture_default_str();
  AddReconnectOption(command, options->reconnect);
}

}  // namespace vireo::host
