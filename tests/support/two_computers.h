// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

/// Two computers on one wire: network namespaces with an interface each, "host0" and "camera0". What a thread
/// starts runs on the computer that it is at. Needs the rights to make them, and `ip`.
class TwoComputers {
 public:
  TwoComputers() {
    if (unshare(CLONE_NEWNET) != 0) return;
    camera_ = openPresent();
    if (unshare(CLONE_NEWNET) != 0) return;
    host_ = openPresent();
    const std::string cameras = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(camera_);
    works_ = run("link set lo up") && run("link add host0 type veth peer name camera0 netns " + cameras) &&
             run("address add 192.168.77.1/24 dev host0") && run("link set host0 up");
  }
  ~TwoComputers() {
    setns(home_, CLONE_NEWNET);
    for (const int descriptor : {home_, camera_, host_}) close(descriptor);
  }
  TwoComputers(const TwoComputers&) = delete;
  TwoComputers& operator=(const TwoComputers&) = delete;

  bool Works() const { return works_; }
  void GoToCamera() const { setns(camera_, CLONE_NEWNET); }
  void GoToHost() const { setns(host_, CLONE_NEWNET); }
  /// An `ip` command on the computer that the thread is at.
  static bool run(const std::string& arguments) {
    return std::system(("ip " + arguments + " >/dev/null 2>&1").c_str()) == 0;
  }

 private:
  static int openPresent() { return open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC); }

  int home_ = openPresent();
  int camera_ = -1;
  int host_ = -1;
  bool works_ = false;
};
