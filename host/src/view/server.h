// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "view/live_view.h"

namespace vireo::host {

/// Serves the live page on 127.0.0.1, from threads of its own, while it lives. Other pages in the same
/// browser can reach the port too, by another host name or by posting blindly: those requests are refused.
class PageServer {
 public:
  /// `port` 0 finds a free one. Throws Failure when the port is taken.
  PageServer(LiveView& view, int port);
  PageServer(const PageServer&) = delete;
  PageServer& operator=(const PageServer&) = delete;
  ~PageServer();

  std::string Url() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace vireo::host
