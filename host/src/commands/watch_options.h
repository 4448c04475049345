// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "camera/stream.h"
#include "commands/command_line.h"
#include "terminal/json.h"

namespace vireo::host {

/// What `watch` and `bench` have in common: how long to receive without saving, and the summary.
struct WatchOptions {
  double seconds = 0.0;
  double patience = 10.0;
  bool json = false;

  void AddTo(CLI::App* command);
  StreamOptions ForStream() const;
};

/// Receives with a progress line; `report` is called as the stream calls for progress. Throws Failure, also
/// when no frame came at all.
void ReceiveOnly(FrameStream& stream, const FrameStream::Progress& report = nullptr);

Json SummaryJson(const StreamStatistics& statistics);
std::string SummaryText(const StreamStatistics& statistics);

}  // namespace vireo::host
