// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <optional>

#include "../camera.h"
#include "../console.h"
#include "../parameter_rows.h"
#include "../parameter_values.h"
#include "../text_table.h"
#include "commands.h"

namespace vireo::host {
namespace {

using common::Parameter;

/// The failure for a name that is no value parameter of the camera.
Failure notAParameter(Camera& camera, const std::string& name) {
  if (!IsCommand(DescribedNodes(camera), name)) return UnknownName(name, NamesOf(camera.Catalogue()));
  return Failure(ExitStatus::Failed, fmt::format("{0} is a command: use 'vireo-cam run {0}'", name));
}

void requireAvailable(const genicam::NodeMap& nodes, const std::string& name) {
  const auto node = nodes.find(name);
  if (node == nodes.end() || getAccessMode(node->second) != genicam::AccessMode::NotAvailable) return;
  throw Failure(ExitStatus::Failed, fmt::format("{} is not available on this camera", name));
}

ExitStatus get(Camera& camera, const std::vector<std::string>& names, bool json) {
  const genicam::NodeMap nodes = DescribedNodes(camera);
  for (const std::string& name : names) {
    if (!camera.Catalogue().contains(name)) throw notAParameter(camera, name);
    requireAvailable(nodes, name);
  }
  Json values = Json::object();
  std::string text;
  for (const Parameter& parameter : camera.Adapter().Read(names)) {
    values[parameter.name] = ValueToJson(parameter);
    text += fmt::format("{}={}\n", parameter.name, WithoutControls(parameter.GetValueAsString()));
  }
  Print(json ? JsonText(values) : text);
  return ExitStatus::Done;
}

Parameter parseAssignment(Camera& camera, const genicam::NodeMap& nodes, const std::string& assignment) {
  const std::size_t equals = assignment.find('=');
  const std::string name = assignment.substr(0, equals);
  const auto like = camera.Catalogue().find(name);
  if (like == camera.Catalogue().end()) throw notAParameter(camera, name);
  requireAvailable(nodes, name);
  return ParseValue(like->second, assignment.substr(equals + 1));
}

/// Writes parameters in order, in batches, and remembers how far it came.
class BatchWriter {
 public:
  explicit BatchWriter(Camera& camera) : camera_(camera), scanned_(ScanByName(camera)) {}

  /// Throws Failure that names what was done and what was not.
  void Write(const std::vector<Parameter>& parameters) {
    for (const Parameter& parameter : parameters) all_.push_back(parameter.name);
    for (const Parameter& parameter : parameters) add(parameter);
    flush();
  }

  /// How many were written.
  std::size_t Done() const { return done_; }

 private:
  void add(const Parameter& parameter) {
    // The error of a batch says a name: it must be in the batch only once.
    const auto sameName = [&](const Parameter& other) { return other.name == parameter.name; };
    if (std::any_of(batch_.begin(), batch_.end(), sameName)) flush();
    if (Objection(parameter, scanned_)) {
      flush();  // what comes before may move the bounds
      scanned_ = ScanByName(camera_);
      if (const auto objection = Objection(parameter, scanned_)) fail(*objection);
    }
    batch_.push_back(parameter);
  }

  void flush() {
    try {
      camera_.Adapter().Write(batch_);
    } catch (const std::runtime_error& error) {
      camera_.CheckLink();
      const std::string_view text = error.what();
      const auto isNamed = [&](const Parameter& parameter) {
        return text.find("'" + parameter.name + "'") != std::string_view::npos;
      };
      const auto failed = std::find_if(batch_.begin(), batch_.end(), isNamed);
      if (failed == batch_.end()) throw;
      done_ += static_cast<std::size_t>(failed - batch_.begin());
      fail(error.what());
    }
    done_ += batch_.size();
    batch_.clear();
  }

  [[noreturn]] void fail(const std::string& reason) const {
    const auto names = [&](std::size_t from, std::size_t to) {
      return fmt::format("{}", fmt::join(all_.begin() + static_cast<std::ptrdiff_t>(from),
                                         all_.begin() + static_cast<std::ptrdiff_t>(to), ", "));
    };
    if (all_.size() == 1) throw Failure(ExitStatus::Failed, reason);
    throw Failure(ExitStatus::Failed,
                  fmt::format("{}; done: {}; not done: {}", reason, done_ == 0 ? "none" : names(0, done_),
                              names(done_, all_.size())));
  }

  Camera& camera_;
  ParametersByName scanned_;
  std::vector<std::string> all_;
  std::vector<Parameter> batch_;
  std::size_t done_ = 0;
};

std::string readBack(Camera& camera, const Parameter& wanted, const ParametersByName& scanned) {
  const auto now = scanned.find(wanted.name);
  if (now == scanned.end()) return fmt::format("{} written (write-only)\n", wanted.name);
  const Parameter current = camera.Adapter().Read(wanted.name);
  const std::string unit = now->second.metadata->unit.empty() ? "" : " " + now->second.metadata->unit;
  const std::string note =
      SameValue(current, wanted) ? "" : fmt::format(" (asked for {})", wanted.GetValueAsString());
  const std::string text = fmt::format("{}={}{}{}", wanted.name, current.GetValueAsString(), unit, note);
  return WithoutControls(text) + '\n';
}

/// What the camera has now, against the last value that it was asked for.
void printReadBack(Camera& camera, const std::vector<Parameter>& written) {
  const ParametersByName scanned = ScanByName(camera);
  for (auto wanted = written.begin(); wanted != written.end(); ++wanted) {
    const auto sameName = [&](const Parameter& later) { return later.name == wanted->name; };
    if (std::none_of(wanted + 1, written.end(), sameName)) Print(readBack(camera, *wanted, scanned));
  }
}

ExitStatus set(Camera& camera, const std::vector<std::string>& assignments) {
  std::vector<Parameter> parameters;
  const genicam::NodeMap nodes = DescribedNodes(camera);
  for (const std::string& assignment : assignments) {
    parameters.push_back(parseAssignment(camera, nodes, assignment));
  }
  BatchWriter writer(camera);
  std::optional<Failure> failure;
  try {
    writer.Write(parameters);
  } catch (const Failure& error) {
    if (error.status == ExitStatus::LinkLost) throw;
    failure = error;
  }
  parameters.resize(writer.Done());
  printReadBack(camera, parameters);
  if (failure) throw Failure(*failure);
  return ExitStatus::Done;
}

std::vector<std::string> commandNames(Camera& camera) {
  std::vector<std::string> names;
  for (const auto& [name, node] : DescribedNodes(camera)) {
    if (getNodeType(node) == genicam::NodeType::Command) names.push_back(name);
  }
  return names;
}

ExitStatus run(Camera& camera, const std::vector<std::string>& names) {
  const std::vector<std::string> known = commandNames(camera);
  std::vector<Parameter> commands;
  for (const std::string& name : names) {
    if (camera.Catalogue().contains(name)) {
      throw Failure(ExitStatus::Failed,
                    fmt::format("{0} is no command: use 'vireo-cam set {0}=VALUE'", name));
    }
    if (std::count(known.begin(), known.end(), name) == 0) throw UnknownName(name, known);
    commands.emplace_back().name = name;
  }
  BatchWriter(camera).Write(commands);
  for (const std::string& name : names) Print(fmt::format("{} executed\n", name));
  return ExitStatus::Done;
}

}  // namespace

void AddParameterCommands(CommandLine& line) {
  struct Options {
    std::vector<std::string> names;
    bool json = false;
  };
  const auto read = std::make_shared<Options>();
  CLI::App* command = line.AddCommand("get", "Read parameters from the camera", [&line, read] {
    return WithCamera(line.camera, Use::Reading,
                      [&](Camera& camera) { return get(camera, read->names, read->json); });
  });
  command->add_option("NAME", read->names, "Parameters to read")->required();
  command->add_flag("--json", read->json, "Print JSON");

  const auto written = std::make_shared<Options>();
  command = line.AddCommand("set", "Change parameters, in order, and read them back", [&line, written] {
    return WithCamera(line.camera, Use::Control, [&](Camera& camera) { return set(camera, written->names); });
  });
  command->add_option("NAME=VALUE", written->names, "Parameters to change")
      ->required()
      ->check([](const std::string& text) -> std::string {
        const std::size_t equals = text.find('=');
        return equals != std::string::npos && equals > 0 ? "" : fmt::format("'{}' is not NAME=VALUE", text);
      });

  const auto executed = std::make_shared<Options>();
  command = line.AddCommand("run", "Execute commands of the camera, in order", [&line, executed] {
    return WithCamera(line.camera, Use::Control,
                      [&](Camera& camera) { return run(camera, executed->names); });
  });
  command->add_option("NAME", executed->names, "Commands to execute")->required();
}

}  // namespace vireo::host
