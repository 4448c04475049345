// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "vireo/common/parameter.h"
#include "vireo/genicam/feature_details.h"

namespace vireo::host {

/// Whether a parameter says who a camera is, where it is found or how it starts: its user's name for it,
/// network addresses, user sets. Such settings are one camera's own. Addresses under other names show in the
/// camera's description.
bool IsIdentity(const std::string& name, const genicam::DetailedFeatures& features);

/// Whether a parameter belongs to the adapter, which writes it while it works.
bool IsAdapters(const std::string& name);

/// Whether a scanned parameter can be kept and set again.
bool IsSetting(const common::Parameter& parameter, const genicam::NodeMap& nodes);

}  // namespace vireo::host
