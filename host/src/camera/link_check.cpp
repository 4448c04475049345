// SPDX-License-Identifier: MIT
#include "camera/link_check.h"

#include "camera/adapter_texts.h"

namespace vireo::host {

void CheckLinkAfter(Camera& camera, const std::exception& error) {
  camera.CheckLink();
  const auto isSilence = [](std::string_view text) { return text.ends_with(adaptertext::noReply); };
  const auto& catalogue = camera.Catalogue();
  if (!isSilence(error.what()) || catalogue.empty()) return;
  const auto width = catalogue.find("Width");
  try {
    camera.Adapter().Read((width == catalogue.end() ? catalogue.begin() : width)->first);
  } catch (const std::runtime_error& again) {
    if (!isSilence(again.what())) return;  // a refusal is an answer
    throw Failure(ExitStatus::LinkLost,
                  "the camera does not answer any more: check cable and power, then try again");
  }
}

}  // namespace vireo::host
