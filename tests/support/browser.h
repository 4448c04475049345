// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "support/program.h"

/// A page in a headless chromium, driven as a person would: it is shown, clicked and typed into.
class Browser {
 public:
  static bool IsInstalled() { return std::system("command -v chromium >/dev/null") == 0; }

  /// `width` and `height` are those of the window, in pixels.
  Browser(int width, int height) {
    start();
    const auto target = call("Target.createTarget", {{"url", "about:blank"}})["targetId"];
    session_ = call("Target.attachToTarget", {{"targetId", target}, {"flatten", true}})["sessionId"];
    call("Emulation.setDeviceMetricsOverride",
         {{"width", width}, {"height", height}, {"deviceScaleFactor", 1}, {"mobile", width < 600}});
  }
  ~Browser() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    close(in_);
    close(out_);
  }
  Browser(const Browser&) = delete;
  Browser& operator=(const Browser&) = delete;

  void Open(const std::string& url) { call("Page.navigate", {{"url", url}}); }

  /// The value of a JavaScript expression.
  nlohmann::json Evaluate(const std::string& expression) {
    return call("Runtime.evaluate", {{"expression", expression}, {"returnByValue", true}})["result"]["value"];
  }
  void WaitFor(const std::string& condition) {
    waitUntil(condition, [&] { return Evaluate(condition) == true; });
  }
  void Click(const std::string& id, double x = 5, double y = 5) {
    const std::string box = "document.getElementById('" + id + "').getBoundingClientRect()";
    Evaluate("document.getElementById('" + id + "').scrollIntoView({block: 'center'})");
    x += Evaluate(box + ".left").get<double>();
    y += Evaluate(box + ".top").get<double>();
    for (const char* const type : {"mousePressed", "mouseReleased"})
      call("Input.dispatchMouseEvent",
           {{"type", type}, {"x", x}, {"y", y}, {"button", "left"}, {"clickCount", 1}});
  }
  void Type(const std::string& id, const std::string& text) {
    Click(id);
    Evaluate("document.getElementById('" + id + "').select()");
    call("Input.insertText", {{"text", text}});
  }
  void PressEnter() {
    for (const char* const type : {"keyDown", "keyUp"})
      call("Input.dispatchKeyEvent",
           {{"type", type}, {"key", "Enter"}, {"text", "\r"}, {"windowsVirtualKeyCode", 13}});
  }
  /// The picture of the whole page as a PNG file in base64.
  std::string Screenshot() {
    return call("Page.captureScreenshot", {{"captureBeyondViewport", true}})["data"];
  }

 private:
  void start() {
    int commands[2];
    int answers[2];
    if (pipe2(commands, O_CLOEXEC) != 0 || pipe2(answers, O_CLOEXEC) != 0)
      throw std::runtime_error("no pipe");
    in_ = commands[1];
    out_ = answers[0];
    const int from = fcntl(commands[0], F_DUPFD_CLOEXEC, 10);
    const int to = fcntl(answers[1], F_DUPFD_CLOEXEC, 10);
    close(commands[0]);
    close(answers[1]);
    const std::string command =
        "exec chromium --headless --no-sandbox --disable-gpu --no-first-run --disable-background-networking "
        "--disable-component-update --disable-sync --hide-scrollbars --remote-debugging-pipe "
        "--user-data-dir='" +
        (profile_ / "p").string() + "' 3<&" + std::to_string(from) + " 4>&" + std::to_string(to) +
        " 2>/dev/null";
    const char* const argv[] = {"bash", "-c", command.c_str(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int descriptor : {from, to})
      posix_spawn_file_actions_adddup2(&actions, descriptor, descriptor);
    const int error = posix_spawn(&pid_, "/bin/bash", &actions, nullptr, const_cast<char**>(argv), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(from);
    close(to);
    if (error != 0) throw std::runtime_error("cannot start the browser");
  }

  nlohmann::json call(const std::string& method, const nlohmann::json& parameters) {
    nlohmann::json message = {{"id", ++calls_}, {"method", method}, {"params", parameters}};
    if (!session_.empty()) message["sessionId"] = session_;
    const std::string text = message.dump();
    if (write(in_, text.c_str(), text.size() + 1) < 0) throw std::runtime_error("the browser is gone");
    for (;;) {
      const nlohmann::json answer = nlohmann::json::parse(receive());
      if (answer.value("id", 0) != calls_) continue;  // an event
      if (answer.contains("error")) throw std::runtime_error(method + ": " + answer["error"].dump());
      return answer["result"];
    }
  }

  std::string receive() {
    while (received_.find('\0') == std::string::npos) {
      pollfd ready{out_, POLLIN, 0};
      char bytes[65536];
      const ssize_t count = poll(&ready, 1, 30000) == 1 ? read(out_, bytes, sizeof bytes) : 0;
      if (count <= 0) throw std::runtime_error("the browser does not answer");
      received_.append(bytes, static_cast<std::size_t>(count));
    }
    const std::string message = received_.substr(0, received_.find('\0'));
    received_.erase(0, message.size() + 1);
    return message;
  }

  TemporaryDirectory profile_;
  std::string session_;
  std::string received_;
  pid_t pid_ = 0;
  int in_ = -1;
  int out_ = -1;
  int calls_ = 0;
};
