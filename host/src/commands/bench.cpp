// SPDX-License-Identifier: MIT
#include <fmt/format.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ctime>
#include <functional>
#include <memory>
#include <optional>

#include "camera/camera.h"
#include "commands/commands.h"
#include "commands/completeness.h"
#include "commands/watch_options.h"
#include "parameters/temporary_settings.h"
#include "terminal/console.h"
#include "terminal/interrupt.h"

namespace vireo::host {
namespace {

struct BenchOptions {
  WatchOptions watch;
  bool keepRate = false;
};

// What receiving costs, in seconds of the processor.
struct ProcessorTime {
  double thread = 0.0;   // this one's: waiting costs nothing, so it is what receiving costs beyond the wait
  double process = 0.0;  // with the threads of the camera library
};

void setHighestRate(TemporarySettings& settings) {
  const auto rate = settings.LastScan().find("AcquisitionFrameRate");
  if (rate == settings.LastScan().end() || !rate->second.metadata->writable) return;
  common::Parameter fastest = rate->second;
  fastest.value = fastest.metadata->max.value_or(0.0);
  fastest.type = common::DataType::Double;
  if (std::get<double>(fastest.value) > 0.0) settings.Set(fastest);
}

double processorSeconds(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

ProcessorTime processorTime() {
  return {processorSeconds(CLOCK_THREAD_CPUTIME_ID), processorSeconds(CLOCK_PROCESS_CPUTIME_ID)};
}

void print(const StreamStatistics& statistics, const ProcessorTime& used, bool asJson) {
  const double microseconds = used.thread / static_cast<double>(statistics.Frames()) * 1e6;
  const double share = used.process / statistics.Seconds();
  if (asJson) {
    Json json = SummaryJson(statistics);
    json["receive_microseconds_per_frame"] = microseconds;
    json["processor_share"] = share;
    Print(JsonText(json));
    return;
  }
  Print(SummaryText(statistics) +
        fmt::format("Receiving     {:.1f} us a frame beyond the wait\nProcessor     {:.1f} % of one core\n",
                    microseconds, share * 100.0));
}

ExitStatus bench(Camera& camera, const BenchOptions& options) {
  CatchInterrupts();
  std::optional<TemporarySettings> settings;
  if (!options.keepRate) setHighestRate(settings.emplace(camera));
  FrameStream stream(camera, options.watch.ForStream());
  const ProcessorTime start = processorTime();
  ReceiveOnly(stream);
  const ProcessorTime end = processorTime();
  if (stream.Statistics().Frames() < 2) {
    if (stream.EndedEarly()) RequireComplete(stream, true);
    throw Failure(ExitStatus::Failed, "too few frames to measure: 'vireo-cam watch' shows what comes");
  }
  if (const double silence = stream.FinalSilence(); silence > 0.0) {
    throw Failure(
        ExitStatus::Incomplete,
        fmt::format("no frame came in the last {:.1f} s: 'vireo-cam watch' shows what comes", silence));
  }
  print(stream.Statistics(), {end.thread - start.thread, end.process - start.process}, options.watch.json);
  RequireComplete(stream, true);
  return ExitStatus::Done;
}

// Waits for a child as long as it works; what asks this process to end asks the child.
ExitStatus await(pid_t child) {
  constexpr timespec piece{0, 20'000'000};
  int status = 0;
  bool told = false;
  while (waitpid(child, &status, WNOHANG) == 0) {
    if (Interrupted() && !told) told = kill(child, SIGTERM) == 0;
    nanosleep(&piece, nullptr);
  }
  if (WIFEXITED(status)) return static_cast<ExitStatus>(WEXITSTATUS(status));
  throw Failure(ExitStatus::Failed, fmt::format("measuring ended by signal {}", WTERMSIG(status)));
}

// Works in a child process that is asked to end when this one is gone: a kill, which no process can catch,
// does not keep it from restoring the rate.
ExitStatus survivingAKill(const std::function<ExitStatus()>& work) {
  CatchInterrupts();
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child > 0) return await(child);
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) raise(SIGTERM);
  }
  return work();
}

}  // namespace

void AddBenchCommand(CommandLine& line) {
  const auto options = std::make_shared<BenchOptions>();
  options->watch.seconds = 5.0;
  CLI::App* const command =
      line.AddCommand("bench", "Measure receiving at the camera's full rate", [&line, options] {
        return survivingAKill([&] {
          return WithCamera(line.camera, Use::Stream,
                            [&](Camera& camera) { return bench(camera, *options); });
        });
      });
  options->watch.AddTo(command);
  command->add_flag("--keep-rate", options->keepRate,
                    "Leave AcquisitionFrameRate as it is instead of raising it while measuring");
}

}  // namespace vireo::host
