// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "simulator/model/camera_model.h"
#include "vireo/common/adapter_base.h"

namespace vireo::torture {

// What the adapter may say, and what a camera's registers and frames should look like through it.

/// An error of the adapter's own, with whatever the library said behind it. Before a connection it may come
/// from the description, too.
bool IsKnownError(const std::string& text, bool isConnected);

/// A record of the adapter's own at that level.
bool IsKnownRecord(std::int32_t level, const std::string& message);

/// A record that tells of something which went wrong.
bool IsReport(const std::string& message);

/// The text of a feature's value as the camera's registers have it; empty for features that are not known.
std::string ExpectedValue(const std::string& feature, const simulator::CameraModel& model);

/// Whether that is the description which the camera serves, on whatever wire.
bool IsDescriptionOf(const std::string& text, const simulator::CameraModel& model);

/// What is wrong with a received frame; empty when it is the one that the camera made.
std::string FaultOfFrame(const simulator::CameraModel& model, std::span<const std::uint8_t> memory,
                         const common::FrameInfo& info);

}  // namespace vireo::torture
