// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>

namespace vireo::torture {

/// What the camera library does behind the adapter's calls. The functions that make its objects are taken
/// over by this program, so its devices, streams and buffers can be counted; its signal is seen on whichever
/// thread it is raised.
namespace library {

/// Devices, streams and buffers that somebody still holds.
int ObjectsAlive();

/// How often "control-lost" reached the adapter, by the thread that raised it ("caller", or its name).
std::map<std::string, int> TakeLosses();

/// Prints where the process is when a signal ends it. Once, on the thread that will call the adapter.
void WatchProcess();

/// Pulls the USB plug inside the n-th request to the control endpoint from now on, and lets the thread that
/// is told of removals go first. 0: never.
void UnplugInRequest(unsigned long number);

}  // namespace library

}  // namespace vireo::torture
