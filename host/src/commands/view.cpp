// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <chrono>
#include <memory>
#include <thread>
#include <utility>

#include "camera/stream.h"
#include "commands/commands.h"
#include "terminal/console.h"
#include "terminal/interrupt.h"
#include "view/server.h"

namespace vireo::host {
namespace {

constexpr std::chrono::milliseconds lastWord(1500);  // for the page to fetch why it ends

// Until something must be changed without a stream.
void receive(Camera& camera, LiveView& live, const std::function<void()>& announce) {
  StreamOptions options;
  options.patience = 0.0;  // the page says that nothing comes
  options.enough = [&] { return live.ChangeWaits(); };
  FrameStream stream(camera, options);
  stream.OnProgress([&](const FrameStream& running) {
    announce();
    live.Take(running);
  });
  stream.Run([&](const common::FrameInfo& info, std::vector<std::uint8_t>& buffer) {
    live.Take(info, buffer);
    return true;
  });
}

ExitStatus view(Camera& camera, int port) {
  CatchInterrupts();
  LiveView live(camera);
  const PageServer server(live, port);
  bool announced = false;
  const auto announce = [&] {
    if (!std::exchange(announced, true))
      Print(fmt::format("{} shows the camera; Ctrl-C ends it\n", server.Url()));
  };
  try {
    while (!Interrupted()) {
      receive(camera, live, announce);
      live.Change();
    }
  } catch (const std::exception& error) {
    const Failure failure = camera.FailureBehind(error);
    live.End(failure);
    std::this_thread::sleep_for(lastWord);
    throw Failure(failure);
  }
  return ExitStatus::Done;
}

}  // namespace

void AddViewCommand(CommandLine& line) {
  const auto port = std::make_shared<int>(8137);
  CLI::App* const command =
      line.AddCameraCommand("view", "Show the live picture on a page of this computer until Ctrl-C",
                            Use::Stream, [port](Camera& camera) { return view(camera, *port); });
  command->add_option("-p,--port", *port, "Port on 127.0.0.1; 0 finds a free one")
      ->check(WholeNumber(0, 65535))
      ->type_name("PORT")
      ->capture_default_str();
}

}  // namespace vireo::host
