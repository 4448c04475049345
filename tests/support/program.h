// SPDX-License-Identifier: MIT
#pragma once

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>

#include "support/read_text.h"

/// A new empty directory for as long as the object lives.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "vireo-cam-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make " + name);
    path_ = name;
  }
  ~TemporaryDirectory() { std::filesystem::remove_all(path_); }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

/// Returns once `condition` holds; throws when it does not in time, naming what was waited for.
template <typename Condition>
void waitUntil(const std::string& what, Condition condition,
               std::chrono::seconds limit = std::chrono::minutes(1)) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) throw std::runtime_error("waited too long for " + what);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

/// vireo-cam as a user starts it, from a shell. It is ended when the object goes.
class Program {
 public:
  struct Result {
    int status = 0;  ///< exit status; 128 and the signal's number where a signal ended it
    std::string out;
    std::string err;
  };

  /// `before` is shell text in front of the program, such as a limit to set.
  explicit Program(const std::string& arguments, const std::string& before = "") {
    const std::string command =
        before + " exec \"" VIREO_CAM "\" >'" + out().string() + "' 2>'" + err().string() + "' " + arguments;
    const char* const argv[] = {"bash", "-c", command.c_str(), nullptr};
    // posix_spawn leaves the arguments alone, whatever its signature says.
    if (posix_spawn(&pid_, "/bin/bash", nullptr, nullptr, const_cast<char**>(argv), environ) != 0) {
      throw std::runtime_error("cannot start bash");
    }
  }
  ~Program() {
    if (pid_ == 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void Signal(int signal) const { kill(pid_, signal); }
  pid_t Id() const { return pid_; }

  /// Standard output once it holds `text`; throws with standard error when the program ends without it.
  std::string WaitFor(const std::string& text) const {
    std::string printed;
    const auto isPrinted = [&] { return (printed = readText(out())).find(text) != std::string::npos; };
    waitUntil("'" + text + "'", [&] { return isPrinted() || !running(); });
    if (isPrinted()) return printed;
    throw std::runtime_error("vireo-cam did not print '" + text + "': " + readText(err()));
  }

  /// What the program did, once it has ended.
  Result Wait() {
    waitUntil("the end of vireo-cam", [&] { return !running(); });
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = 0;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), readText(out()),
            readText(err())};
  }

 private:
  bool running() const {
    siginfo_t info{};
    waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT);
    return info.si_pid == 0;
  }
  std::filesystem::path out() const { return directory_ / "out"; }
  std::filesystem::path err() const { return directory_ / "err"; }

  TemporaryDirectory directory_;
  pid_t pid_ = 0;
};

inline Program::Result run(const std::string& arguments, const std::string& before = "") {
  return Program(arguments, before).Wait();
}
