// SPDX-License-Identifier: MIT
#include "parameters/setting_rules.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "parameters/integers.h"
#include "parameters/names.h"

namespace vireo::host {
namespace {

using namespace std::string_view_literals;

// Beginnings of names. The destinations of streams and messages are addresses of the host that set them.
constexpr std::array identity = {
    "DeviceUserID"sv,
    "DeviceUserName"sv,
    "GevDeviceUserID"sv,
    "GevPersistent"sv,
    "GevCurrentIP"sv,
    "GevCurrentSubnet"sv,
    "GevCurrentDefaultGateway"sv,
    "GevIPConfiguration"sv,
    "GevMACAddress"sv,
    "GevSCDA"sv,
    "GevSCPHostPort"sv,
    "GevMCDA"sv,
    "GevMCPHostPort"sv,
    "GevPrimaryApplication"sv,
    "UserSet"sv,
    "DefaultUserSet"sv,
    "DefaultSet"sv,
    "BootUserSet"sv,
    "StartupUserSet"sv,
    "PersistentIP"sv,
};

// The lock says whether the stream runs, the privilege who may write.
constexpr std::array adapters = {"TLParamsLocked"sv, "GevCCP"sv};

}  // namespace

bool IsIdentity(const std::string& name, const genicam::DetailedFeatures& features) {
  return NotationOf(features, name) != IntegerForm::Notation::Decimal ||
         std::any_of(identity.begin(), identity.end(),
                     [&](std::string_view beginning) { return name.starts_with(beginning); });
}

bool IsAdapters(const std::string& name) {
  return std::find(adapters.begin(), adapters.end(), name) != adapters.end();
}

bool IsSetting(const common::Parameter& parameter, const genicam::NodeMap& nodes) {
  return parameter.metadata->readable && parameter.metadata->writable && !IsAdapters(parameter.name) &&
         IsAvailable(nodes, parameter.name);
}

}  // namespace vireo::host
