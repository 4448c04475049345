// SPDX-License-Identifier: MIT
// session RUN...: whole sessions of the adapter with a camera that fails somewhere, judged one by one. A run
// is one argument, or one line of standard input where there are none:
//
//   WIRE HOST FAULT     such as "gige careful command 17 lost; seed 3"
//
// WIRE is gige or usb. HOST is what the session does once CheckConnection says that the camera is lost:
// careful ends, stubborn goes on (and takes a counted run of frames). FAULT is a script of the simulated
// camera, or "unplug N", which pulls the USB plug inside the n-th request, or "count", which counts.
//
// Prints a line "at ANSWERS STEP" as each step begins, with the answers to commands that the camera gave
// before, then one result of fields apart by tabs: outcome, longest step and its milliseconds, threads that
// raised a loss, and what is wrong, which is nothing where all is well. Ends with status 1 when something was
// wrong.
#include <chrono>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <thread>

#include "simulator/model/registers.h"
#include "support/process_use.h"
#include "support/recording_logger.h"
#include "support/simulated_camera.h"
#include "torture/camera_under_test.h"
#include "torture/expectations.h"
#include "torture/library_watch.h"

using namespace vireo::torture;
using namespace vireo::simulator;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using vireo::common::AcquisitionMode;
using vireo::common::Parameter;

namespace {

constexpr int frames = 3;
constexpr int mostReceives = 12;  // of 100 ms
constexpr std::ptrdiff_t allowedHeapGrowth = 64 * 1024;
const std::vector<std::string> readNames = {"Width", "ExposureTime", "UserOutputValue", "DeviceModelName",
                                            "PixelFormat"};

struct Run {
  std::string wire;
  bool isStubborn = false;
  std::string fault;
  unsigned long unplugAt = 0;
  bool alters = false;  // what the camera says, in ways that no client can see

  explicit Run(const std::string& line) {
    std::istringstream words(line);
    std::string host;
    words >> wire >> host >> std::ws;
    std::getline(words, fault);
    if (host != "careful" && host != "stubborn")
      throw std::runtime_error("'" + line + "' does not say what kind of host it is");
    isStubborn = host == "stubborn";
    std::string word;
    if (std::istringstream(fault) >> word && word == "unplug") {
      unplugAt = std::stoul(fault.substr(word.size()));
      fault.clear();
    }
    const auto has = [&](const char* text) { return fault.find(text) != fault.npos; };
    const bool isPacket = has("packet");
    // Neither wire protocol has a checksum. On USB the library takes answers of any length.
    alters = has("garbage") || has("mutated") || (has("short") && (isPacket || wire == "usb")) ||
             (isPacket && (has("wrong-id") || has("oversized")));
  }
  // Whether the camera is gone for good.
  bool Unplugs() const { return unplugAt != 0 || fault.find("disconnect") != fault.npos; }
};

class Session {
 public:
  Session(CameraUnderTest& camera, const Run& run)
      : camera_(camera), run_(run), adapter_(std::make_unique<OpenAdapter>(camera.Address(), 0.2)) {
    CameraUnderTest::On(run.wire);  // which the adapter's support for tests has changed
  }

  // All of it; the camera must be plugged in.
  void Whole() {
    camera_.Model().SetRegister(reg::framePeriod, 5000);
    if (run_.fault != "count") camera_.SetFaults(run_.fault);
    library::UnplugInRequest(run_.unplugAt);
    step("connect", [&] { checkValues("the catalogue", adapter_->Connect(), false); });
    step("document", [&] { checkDocument(); });
    step("scan", [&] { checkValues("the scan", byName(adapter_->Scan()), false); });
    for (const std::string& name : readNames)
      step("read " + name, [&] { checkValues("a read", {{name, adapter_->Read(name)}}, true); });
    for (const auto& [parameter, address, value] : writes)
      step("write " + parameter.name, [&] { write(parameter, address, value); });
    step("command", [&] { adapter_->Write(makeParameter("TriggerSoftware", 1)); });
    step("start",
         [&] { adapter_->StartAcquisition(run_.isStubborn ? std::optional<long>(frames) : std::nullopt); });
    step("receive", [&] { receiveFrames(); });
    step(
        "stop", [&] { adapter_->StopAcquisition(); }, Always::Yes);
    step(
        "disconnect", [&] { adapter_->Disconnect(); }, Always::Yes);
    step(
        "destroy", [&] { adapter_.reset(); }, Always::Yes);
    library::UnplugInRequest(0);
    checkRecords();
    checkLosses();
  }

  // A camera that is well again, or another one at its place, must serve like any.
  void Healthy() {
    step("healed", [&] {
      adapter_->Connect();
      checkValues("the healed camera's catalogue", byName(adapter_->Scan()), true);
      adapter_->StartAcquisition({});
      if (receive(*adapter_, memory_, info_, 1) == 0) problem("no frame from the healed camera");
      adapter_->StopAcquisition();
      adapter_->Disconnect();
    });
    adapter_.reset();
    library::TakeLosses();
    for (const std::string& text : failures_) problem("the healed camera: " + text);
  }

  const std::vector<std::string>& Problems() const { return problems_; }
  // Outcome, longest step; threads that raised a loss, or what the camera altered.
  std::string Result() const {
    return outcome() + '\t' + longest_ + ' ' + std::to_string(longestTime_.count()) + '\t' +
           (altered_.empty() ? losses_ : altered_) + '\t';
  }

 private:
  std::string outcome() const {
    if (!altered_.empty()) return "altered";
    if (!losses_.empty()) return "lost";
    if (!failures_.empty()) return "refused";
    return wasReported_ ? "reported" : "unseen";
  }

  enum class Always { No, Yes };
  struct Write {
    Parameter parameter;
    std::uint64_t address;
    std::uint32_t value;
  };
  const std::vector<Write> writes = {
      {makeParameter("Width", 128), reg::width, 128},
      {makeParameter("Height", 64), reg::height, 64},
      {makeParameter("ExposureTime", 2000.0), reg::exposureTime, 2000},
      {makeParameter("PixelFormat", std::string("Mono8")), reg::pixelFormat, 0x01080001},
  };

  void problem(const std::string& text) { problems_.push_back(step_ + ": " + text); }

  template <typename Action>
  void step(const std::string& name, Action action, Always always = Always::No) {
    if (always == Always::No && !run_.isStubborn && wasConnected_ && !adapter_->CheckConnection().ok) return;
    step_ = name;
    std::cout << "at " << camera_.Faults().Count(Channel::Command) << ' ' << name << std::endl;
    const auto begun = steady_clock::now();
    std::string failure;
    try {
      action();
    } catch (const std::exception& error) {
      failure = error.what();
      failures_.push_back(name + ": " + failure);
      if (!IsKnownError(failure, wasConnected_)) problem("unknown error '" + failure + "'");
    }
    const auto time = std::chrono::duration_cast<milliseconds>(steady_clock::now() - begun);
    if (time > longestTime_) {
      longestTime_ = time;
      longest_ = name.substr(0, name.find(' '));
    }
    if (name == "connect") wasConnected_ = failure.empty();
    if (adapter_) checkState(name, failure);
  }

  // What the adapter says of itself must fit what it did.
  void checkState(const std::string& name, const std::string& failure) {
    if (name == "healed") return;
    const bool isConnected = wasConnected_ && name != "disconnect";
    const std::string state = stateOf(*adapter_);
    const auto expect = [&](const std::string& expected) {
      if (state != expected) problem("the state is '" + state + "' instead of '" + expected + "'");
    };
    if (adapter_->IsConnected() != isConnected) problem("IsConnected is wrong");
    const auto check = adapter_->CheckConnection();
    const auto lost = logger_.count("GenICamAdapter: camera control lost");
    const std::string said = check.messages.empty() ? "" : check.messages.front();
    const std::string due = !isConnected ? "GenICamAdapter is not connected"
                            : lost > 0   ? "Camera control lost (signal received)"
                                         : "";
    // A loss can come between the two questions.
    if (said != due && logger_.count("GenICamAdapter: camera control lost") == lost)
      problem("CheckConnection says '" + said + "' instead of '" + due + "'");
    if (check.ok != said.empty()) problem("CheckConnection contradicts itself");
    const std::string connection = isConnected ? "connected" : "disconnected";
    const std::string mode = run_.isStubborn ? " finite 3" : " continuous";
    if (name == "start" && failure.empty()) return expect(connection + mode + " active");
    if (name == "start" && failure.starts_with("Execute ")) return expect(connection + mode);
    if (name != "receive") expect(connection + " stopped");
  }

  static std::map<std::string, Parameter> byName(std::vector<Parameter> parameters) {
    std::map<std::string, Parameter> named;
    for (Parameter& parameter : parameters) named[parameter.name] = std::move(parameter);
    return named;
  }

  void checkValues(const char* what, const std::map<std::string, Parameter>& parameters, bool strictly) {
    for (const auto& [name, parameter] : parameters) {
      const std::string expected = ExpectedValue(name, camera_.Model());
      if (expected.empty() || parameter.GetValueAsString() == expected) continue;
      // A refresh tells in its records what it could not read; of a text it keeps what was read before.
      if (!strictly && (hasRecordOf(name) || parameter.GetValueAsString().empty())) continue;
      differs(std::string(what) + " has " + name + " " + parameter.GetValueAsString() + " instead of " +
              expected);
    }
  }
  bool hasRecordOf(const std::string& name) const {
    for (const auto& entry : logger_.entries())
      if (entry.message().find("failed to read") != std::string::npos &&
          entry.message().find("'" + name + "'") != std::string::npos)
        return true;
    return false;
  }

  void checkDocument() {
    const std::string text = adapter_->GetNativeParameterDocument().content;
    if (wasConnected_ && !text.empty() && !IsDescriptionOf(text, camera_.Model()))
      differs("the document is another one");
  }

  void write(const Parameter& parameter, std::uint64_t address, std::uint32_t value) {
    adapter_->Write(parameter);
    const std::uint32_t written = camera_.Model().Register(address);
    if (written != value) differs("written, but the register holds " + std::to_string(written));
  }

  void receiveFrames() {
    const auto until = steady_clock::now() + milliseconds(100 * mostReceives);
    for (int got = 0; got < frames && steady_clock::now() < until;) {
      bool received = false;
      std::span<std::uint8_t> memory(memory_);
      adapter_->ReceiveFrame(received, 0, memory, info_);
      if (!received) std::this_thread::sleep_for(milliseconds(1));
      if (!received) continue;
      ++got;
      const std::string fault = FaultOfFrame(camera_.Model(), memory_, info_);
      if (!fault.empty()) differs("frame " + std::to_string(info_.frameId) + ": " + fault);
    }
  }

  void differs(const std::string& text) {
    if (altered_.empty()) altered_ = text;
    if (!run_.alters) problem(text);
  }

  void checkRecords() {
    for (const auto& entry : logger_.entries()) {
      if (!IsKnownRecord(entry.level.value_or(0), entry.message()))
        problem("unknown record '" + entry.message() + "'");
      if (IsReport(entry.message())) wasReported_ = true;
    }
  }

  void checkLosses() {
    int raised = 0;
    for (const auto& [thread, count] : library::TakeLosses()) {
      raised += count;
      losses_ += (losses_.empty() ? "" : ",") + thread + ":" + std::to_string(count);
    }
    const auto recorded = static_cast<int>(logger_.count("GenICamAdapter: camera control lost"));
    if (raised != recorded)
      problem(std::to_string(raised) + " losses were raised, " + std::to_string(recorded) + " recorded");
  }

  CameraUnderTest& camera_;
  const Run& run_;
  RecordingLogger logger_;
  std::unique_ptr<OpenAdapter> adapter_;
  std::vector<std::uint8_t> memory_ = std::vector<std::uint8_t>(1 << 20);
  vireo::common::FrameInfo info_;
  std::string step_;
  bool wasConnected_ = false;
  std::string altered_;  // the first difference from what the camera holds or made
  bool wasReported_ = false;
  std::string losses_;
  std::string longest_ = "connect";
  milliseconds longestTime_{0};
  std::vector<std::string> failures_;
  std::vector<std::string> problems_;
};

// One after the other; the process is judged against what it held before the first one.
class Runner {
 public:
  bool Do(const std::string& line) {
    const Run run(line);
    if (!settled_) settle();
    const auto camera = CameraUnderTest::On(run.wire);
    if (run.fault == "count") return countMembers(*camera, run);
    problems_.clear();
    // What the first such fault leaves may be kept for the next one: what grows again is lost.
    std::ptrdiff_t heap = judge(*camera, run);
    if (growth(heap) > 0) heap = judge(*camera, run);
    if (const std::ptrdiff_t bytes = growth(heap); bytes > 0)
      problems_.push_back("allocated bytes grew twice, by " + std::to_string(bytes));
    std::cout << result_;
    for (const std::string& problem : problems_) std::cout << problem << "; ";
    std::cout << std::endl;
    return problems_.empty();
  }

 private:
  // Leaves its result; returns the bytes that were allocated before.
  std::ptrdiff_t judge(CameraUnderTest& camera, const Run& run) {
    const std::ptrdiff_t heap = ProcessUse::now().heap;
    camera.PlugIn();
    {
      Session session(camera, run);
      session.Whole();
      result_ = session.Result();
      note(session.Problems());
    }
    if (run.Unplugs()) {
      camera.PlugIn();
    } else {
      camera.SetFaults("");
      camera.ReleaseControl();
    }
    note(healthy(camera));
    camera.Unplug();
    if (settled_) checkUse();
    return heap;
  }

  void note(const std::vector<std::string>& problems) {
    problems_.insert(problems_.end(), problems.begin(), problems.end());
  }

  static std::ptrdiff_t growth(std::ptrdiff_t heapBefore) {
    return std::max<std::ptrdiff_t>(0, ProcessUse::now().heap - heapBefore - allowedHeapGrowth);
  }

  static std::vector<std::string> healthy(CameraUnderTest& camera) {
    const Run none(std::string(camera.Address()) == "127.0.0.1" ? "gige careful" : "usb careful");
    Session session(camera, none);
    session.Healthy();
    return session.Problems();
  }

  // What is made once and kept is made by sessions in which nothing happens.
  void settle() {
    for (const char* const quiet : {"gige careful", "usb careful", "gige stubborn", "usb stubborn"}) {
      const Run run(quiet);
      const auto camera = CameraUnderTest::On(run.wire);
      judge(*camera, run);
    }
    settled_ = ProcessUse::now();
  }

  void checkUse() {
    ProcessUse use = ProcessUse::now();
    for (int i = 0; i < 100 && (use.threads > settled_->threads || library::ObjectsAlive() > 0); ++i) {
      std::this_thread::sleep_for(milliseconds(10));
      use = ProcessUse::now();
    }
    const auto left = [&](const char* what, std::ptrdiff_t before, std::ptrdiff_t now) {
      if (now > before) problems_.push_back(std::to_string(now - before) + " more " + what);
    };
    left("threads", settled_->threads, use.threads);
    left("descriptors", settled_->descriptors, use.descriptors);
    left("objects of the library", 0, library::ObjectsAlive());
  }

  // How many answers to commands there are until each step, and packets.
  bool countMembers(CameraUnderTest& camera, const Run& run) {
    camera.PlugIn();
    camera.SetFaults("command 1000000 lost");
    Session session(camera, run);
    session.Whole();
    std::cout << "counted\t" << camera.Faults().Count(Channel::Command) << '\t'
              << camera.Faults().Count(Channel::Packet) << std::endl;
    return session.Problems().empty();
  }

  std::optional<ProcessUse> settled_;
  std::string result_;
  std::vector<std::string> problems_;
};

}  // namespace

int main(int argc, char** argv) {
  library::WatchProcess();
  try {
    Runner runner;
    bool isWell = true;
    for (int i = 1; i < argc; ++i) isWell &= runner.Do(argv[i]);
    for (std::string line; argc == 1 && std::getline(std::cin, line);) isWell &= runner.Do(line);
    return isWell ? 0 : 1;
  } catch (const std::exception& error) {
    std::cerr << "session: " << error.what() << '\n';
    return 2;
  }
}
