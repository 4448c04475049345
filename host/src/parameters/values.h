// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <vector>

#include "camera/camera.h"
#include "parameters/integers.h"
#include "terminal/json.h"
#include "vireo/common/parameter.h"

namespace vireo::host {

using ParametersByName = std::map<std::string, common::Parameter>;

/// What the camera has now, by name, with metadata. A value that it cannot give is 0 or the one before.
/// Throws Failure when the link is lost.
ParametersByName ScanByName(Camera& camera);

/// A parameter as the camera gave it when it was asked for this one.
struct Reading {
  common::Parameter parameter;  ///< with metadata
  std::string failure;          ///< why the camera did not give its value; empty when it did
};

/// Every parameter of a scan, each value read by itself, so that it shows which ones the camera cannot give.
/// What is not readable or not available is not asked for. Throws Failure when the link is lost.
std::vector<Reading> ReadAll(Camera& camera);

/// Why the camera cannot give the value that `parameter` is to take; empty when it took it. A lost link is
/// thrown.
std::string ReadInto(Camera& camera, common::Parameter& parameter);
/// The same for who shows the value: an enumeration whose register holds none of its entries, and whose text
/// is empty for that, has not one to show.
std::string ReadKnown(Camera& camera, common::Parameter& parameter);
inline constexpr const char* noEntryText = "its register holds none of its entries";

/// `like` with the value that `text` says, typed as `like` is; an integer that 32 bits cannot hold is a
/// double, which the adapter sends whole. Throws Failure naming the parameter, what is wrong with the text
/// and what would do.
common::Parameter ParseValue(const common::Parameter& like, const std::string& text,
                             const IntegerForm& form = {});
/// The same from JSON, whether the value is a text or a number there.
common::Parameter ParseJson(const common::Parameter& like, const Json& value, const IntegerForm& form = {});

/// A parameter's value for JSON: numbers with the digits that they have in text, so that 0.1 stays 0.1;
/// addresses as text.
Json ValueToJson(const common::Parameter& parameter, const IntegerForm& form = {});

/// Whether two values are the same, floats in single precision and integers in 32 bits: the adapter carries
/// no more.
bool SameValue(const common::Parameter& one, const common::Parameter& other);

}  // namespace vireo::host
