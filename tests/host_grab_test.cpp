// SPDX-License-Identifier: MIT
// Saved frames: what `vireo-cam grab` leaves behind, also when it is ended.
#include <gmock/gmock.h>
#include <png.h>
#include <tiffio.h>

#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <utility>

#include "support/mistake.h"
#include "support/program.h"
#include "support/read_csv.h"
#include "support/simulated_network_camera.h"

namespace {

using nlohmann::json;
using namespace testing;

// The pixels of a grey picture of 512 x 512.
std::vector<std::uint8_t> readPng(const std::filesystem::path& path) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&image, path.c_str()) == 0) throw std::runtime_error(image.message);
  EXPECT_EQ(image.format, static_cast<png_uint_32>(PNG_FORMAT_GRAY)) << path;
  EXPECT_EQ(std::pair(image.width, image.height), std::pair(512u, 512u));
  std::vector<std::uint8_t> pixels(PNG_IMAGE_SIZE(image));
  png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr);
  return pixels;
}

// The first line of every page of a TIFF file of 16 bits a sample.
std::vector<std::vector<std::uint16_t>> readTiffLines(const std::filesystem::path& path) {
  std::vector<std::vector<std::uint16_t>> lines;
  TIFF* const tiff = TIFFOpen(path.c_str(), "r");
  if (tiff == nullptr) return lines;
  do {
    lines.emplace_back(static_cast<std::size_t>(TIFFScanlineSize(tiff)) / 2);
    EXPECT_EQ(TIFFReadScanline(tiff, lines.back().data(), 0), 1);
  } while (TIFFReadDirectory(tiff) == 1);
  TIFFClose(tiff);
  return lines;
}

void waitForFile(const std::filesystem::path& path) {
  waitUntil(path.string(), [&] { return std::filesystem::exists(path); });
}

TEST(Grab, SavesTheSimulatedCamerasPictures) {
  const TemporaryDirectory directory;
  const auto result = run("--simulate grab -n 4 -o '" + (directory / "a").string() + "'");
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.out, StartsWith("4 frames"));
  EXPECT_THAT(result.err, IsEmpty());  // no progress where there is no terminal
  const auto rows = readCsv(directory / "a" / "frames.csv");
  ASSERT_EQ(rows.size(), 5u);
  for (std::size_t i = 1; i < rows.size(); ++i) {
    SCOPED_TRACE(rows[i][7]);
    const std::uint64_t id = std::stoull(rows[i][0]);
    const auto pixels = readPng(directory / "a" / rows[i][7]);
    std::size_t wrong = 0;
    for (std::size_t p = 0; p < pixels.size(); ++p) wrong += pixels[p] != (p % 512 + p / 512 + id) % 255;
    EXPECT_EQ(wrong, 0u);
    EXPECT_EQ(rows[i][6], "262144");
  }
  const auto again = run("--simulate grab -n 4 -o '" + (directory / "a").string() + "'");
  EXPECT_EQ(again.status, 1);
  EXPECT_THAT(again.err, HasSubstr("frame_000001.png exists"));
  EXPECT_EQ(run("--simulate grab -n 2 --force -o '" + (directory / "a").string() + "'").status, 0);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory / "a"), {}), 3);
}

TEST(Grab, StacksDeepPicturesAndKeepsThemWhenTheDiskIsFull) {
  const SimulatedNetworkCamera camera;
  const TemporaryDirectory directory;
  TIFFSetErrorHandler([](const char*, const char* text, va_list) { ADD_FAILURE() << text; });
  ASSERT_EQ(run(network + "set PixelFormat=Mono16 Width=256 Height=256").status, 0);
  const std::string grab = network + "grab -n 8 --stack --force -o '" + (directory / "s").string() + "'";
  // Pages of 128 KiB and a limit of 600 KiB: four fit.
  for (const std::string limit : {"", "trap '' XFSZ; ulimit -f 600;"}) {
    const auto result = run(grab, limit);
    const std::size_t pages = limit.empty() ? 8 : 4;
    EXPECT_EQ(result.status, limit.empty() ? 0 : 1) << result.err;
    EXPECT_THAT(result.err, HasSubstr(limit.empty() ? "" : "; 4 frames are saved"));
    const auto rows = readCsv(directory / "s" / "frames.csv");
    const auto lines = readTiffLines(directory / "s" / "frames.tiff");
    ASSERT_EQ(lines.size(), pages);
    ASSERT_EQ(rows.size(), pages + 1);
    for (std::size_t i = 0; i < pages; ++i) {
      const std::uint64_t id = std::stoull(rows[i + 1][0]);
      EXPECT_EQ(lines[i][0], id * 256 % 65536);
      EXPECT_EQ(lines[i][255], (255 + id) * 256 % 65536);
    }
  }
}

// All rows but one that the kill tore: the system ends a write between two pages of memory.
std::vector<std::vector<std::string>> readWholeLines(const std::filesystem::path& file) {
  auto rows = readCsv(file);
  if (!readText(file).ends_with('\n')) rows.pop_back();
  return rows;
}

TEST(Grab, ListsEveryWholePictureWhenItIsKilled) {
  const SimulatedNetworkCamera camera("--rate 100");
  const TemporaryDirectory directory;
  Program grab(network + "grab -n 0 -o '" + (directory / "f").string() + "'");
  waitForFile(directory / "f" / "frame_000020.png");
  grab.Signal(SIGKILL);
  grab.Wait();
  std::set<std::string> listed;
  std::uint64_t arrival = 0;
  const auto rows = readWholeLines(directory / "f" / "frames.csv");
  ASSERT_GT(rows.size(), 20u);
  EXPECT_THAT(rows[0], ElementsAre("frame_id", "timestamp_ns", "exposure_us", "width", "height",
                                   "pixel_format", "bytes", "file", "page", "arrival_ns"));
  for (std::size_t i = 1; i < rows.size(); ++i) {
    EXPECT_EQ(std::stoull(rows[i][0]), std::stoull(rows[1][0]) + i - 1);
    EXPECT_LT(std::exchange(arrival, std::stoull(rows[i][9])), std::stoull(rows[i][9]));
    listed.insert(rows[i][7]);
  }
  std::size_t pictures = 0;
  for (const auto& entry : std::filesystem::directory_iterator(directory / "f")) {
    if (entry.path().extension() != ".png") continue;
    ++pictures;
    EXPECT_TRUE(listed.contains(entry.path().filename())) << entry.path();
  }
  EXPECT_GE(pictures, 20u);
  EXPECT_LE(listed.size() - pictures, 1u);  // listed, but it had not got its name yet

  ASSERT_EQ(run(network + "set PixelFormat=Mono16").status, 0);
  Program stack(network + "grab -n 0 --stack -o '" + (directory / "s").string() + "'");
  waitUntil("pages", [&] { return readCsv(directory / "s" / "frames.csv").size() > 5; });
  stack.Signal(SIGKILL);
  stack.Wait();
  const auto pages = readWholeLines(directory / "s" / "frames.csv");
  const auto lines = readTiffLines(directory / "s" / "frames.tiff.part");
  ASSERT_THAT(lines.size(), AllOf(Ge(pages.size() - 2), Le(pages.size() - 1)));
  EXPECT_EQ(pages[5][8], "5");
  EXPECT_EQ(lines[4][0], std::stoull(pages[5][0]) * 256 % 65536);
}

// A line of the documentation that runs a program, as it stands there.
std::string documentedLine(const std::string& part) {
  std::istringstream lines(readText(VIREO_DOCUMENTATION "/vireo-cam.md"));
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("$ ") && line.find(part) != std::string::npos) return line.substr(2);
  }
  throw std::runtime_error("the documentation has no line with " + part);
}

TEST(Grab, FeedsOtherProgramsAsTheDocumentationSays) {
  const SimulatedNetworkCamera camera;
  const struct {
    const char* program;
    const char* needs;
    const char* look;  // at what it made
    const char* result;
  } rows[] = {
      {"| ffmpeg", "command -v ffmpeg",
       "; ffprobe -v error -count_frames -of csv=p=0 -show_entries stream=width,height,nb_read_frames "
       "film.mp4",
       "^512,512,50\n"},
      {"numpy", "python3 -c 'import numpy'", "", "^.50, 512, 512. 12[67]"},
  };
  const std::string path = "PATH=/usr/bin:$PATH; ";  // the system's interpreter has the system's packages
  for (const auto& row : rows) {
    if (std::system((path + row.needs + " >/dev/null 2>&1").c_str()) != 0) continue;
    const TemporaryDirectory directory;
    const std::string file = (directory / "script").string();
    std::ofstream(file) << path << "set -e; cd '" << (directory / "").string()
                        << "'; vireo-cam() { '" VIREO_CAM << "' \"$@\"; }; (" << documentedLine(row.program)
                        << row.look << ") >out 2>err\n";
    EXPECT_EQ(std::system(("bash '" + file + "'").c_str()), 0) << readText(directory / "err");
    EXPECT_THAT(readText(directory / "out"), ContainsRegex(row.result));
    EXPECT_THAT(readText(directory / "err"), HasSubstr("50 frames written: "));
  }
  EXPECT_EQ(run("--simulate grab -n 2 -o -").out.size(), 524288u);
}

TEST(Grab, EndsCleanlyOnInterruptAndWhenItsDirectoryVanishes) {
  const TemporaryDirectory directory;
  const std::filesystem::path frames = directory / "f";
  Program grab("--simulate grab -n 0 -f raw -o '" + frames.string() + "'");
  waitForFile(frames / "frame_000003.raw");
  for (int i = 0; i < 2; ++i) grab.Signal(SIGINT);  // as `timeout` does
  const auto result = grab.Wait();
  EXPECT_EQ(result.status, 0) << result.err;
  const auto rows = readCsv(frames / "frames.csv");
  EXPECT_EQ(std::ssize(rows),
            std::distance(std::filesystem::directory_iterator(frames), {}));  // and a header
  for (std::size_t i = 1; i < rows.size(); ++i)
    EXPECT_EQ(std::filesystem::file_size(frames / rows[i][7]), 262144u);

  const SimulatedNetworkCamera camera;
  ASSERT_EQ(run(network + "set TriggerMode=On").status, 0);
  Program idle(network + "grab -n 0 -o '" + (directory / "new" / "deep").string() + "'");
  waitForFile(directory / "new" / "deep");
  idle.Signal(SIGINT);
  EXPECT_EQ(idle.Wait().status, 0);
  EXPECT_FALSE(std::filesystem::exists(directory / "new"));

  Program doomed("--simulate grab -n 0 --stack -o '" + (directory / "gone").string() + "'");
  waitForFile(directory / "gone" / "frames.tiff.part");
  std::filesystem::rename(directory / "gone", directory / "elsewhere");
  const auto failed = doomed.Wait();
  EXPECT_EQ(failed.status, 1);
  EXPECT_THAT(failed.err, HasSubstr("No such file or directory; nothing is saved"));
}

TEST(Grab, SavesWholeFramesOnlyAndTellsWhatIsMissing) {
  const SimulatedNetworkCamera camera("--rate 100 --faults 'packet 1% short'");
  const TemporaryDirectory directory;
  const std::string grab = network + "grab -n 5 --force -o '" + (directory / "f").string() + "'";
  const auto result = run(grab);
  EXPECT_EQ(result.status, 5);
  EXPECT_THAT(result.out, StartsWith("5 frames in "));
  EXPECT_THAT(result.err, ContainsRegex("there: [0-9]+ lost, [0-9]+ bad .--allow-lost accepts that"));
  const auto rows = readCsv(directory / "f" / "frames.csv");
  ASSERT_EQ(rows.size(), 6u);
  for (std::size_t i = 1; i < rows.size(); ++i)
    EXPECT_EQ(readPng(directory / "f" / rows[i][7]).size(), 262144u);
  EXPECT_EQ(run(grab + " --allow-lost").status, 0);

  Program early(network + "watch --seconds 100 --allow-lost");
  std::this_thread::sleep_for(std::chrono::seconds(1));
  early.Signal(SIGINT);
  const auto ended = early.Wait();
  EXPECT_EQ(ended.status, 5);
  EXPECT_THAT(ended.err, EndsWith("not all frames are there: it ended early\n"));
}

TEST(Grab, FiresTheTriggerForEachFrameAndPutsItBack) {
  const std::string trigger = "TriggerSelector TriggerMode TriggerSource";
  const std::string before = "TriggerSelector=AcquisitionStart\nTriggerMode=Off\nTriggerSource=Line0\n";
  const TemporaryDirectory directory;
  const std::string grab =
      network + "grab --force -o '" + (directory / "f").string() + "' --trigger software ";
  {
    // Of the first frame nothing comes: it is asked for again.
    const SimulatedNetworkCamera camera("--faults 'packet 1-182 lost; resend 1- lost'");
    ASSERT_EQ(run(network + "set TriggerSelector=AcquisitionStart").status, 0);
    const auto grabbed = run(grab + "-n 3 --every 50");
    EXPECT_EQ(grabbed.status, 0) << grabbed.err;
    EXPECT_EQ(readCsv(directory / "f" / "frames.csv")[1][0], "2");
    EXPECT_EQ(run(network + "get " + trigger).out, before);

    Program endless(grab + "-n 0");
    waitUntil("frames", [&] { return readCsv(directory / "f" / "frames.csv").size() > 10; });
    endless.Signal(SIGINT);
    EXPECT_EQ(endless.Wait().status, 0);
    EXPECT_EQ(run(network + "get " + trigger).out, before);
  }
  const SimulatedNetworkCamera camera(difficultCamera);
  expectOneLine({grab, 1, "the camera has no software trigger for frames (there is no TriggerSoftware)"});
}

TEST(Grab, TakesEachFrameOfASweepWithItsValue) {
  const SimulatedNetworkCamera camera("--rate 200");
  const TemporaryDirectory directory;
  const std::string grab = network + "grab --force -o '" + (directory / "f").string() + "' -n 3 ";
  for (const std::string trigger : {"", "--trigger software "}) {
    const auto grabbed = run(grab + trigger + "--sweep ExposureTime=1000,9000,2000.6");
    EXPECT_EQ(grabbed.status, 0) << grabbed.err;
    EXPECT_THAT(grabbed.out, StartsWith("9 frames"));
    EXPECT_EQ(grabbed.err, "vireo-cam: note: ExposureTime is 2000 us (asked for 2000.6)\n");
    const auto rows = readCsv(directory / "f" / "frames.csv");
    ASSERT_EQ(rows.size(), 10u);
    EXPECT_EQ(rows[0].back(), "ExposureTime");
    for (std::size_t i = 1; i < rows.size(); ++i) {
      const int exposure = std::array{1000, 9000, 2000}[(i - 1) / 3];
      EXPECT_EQ(rows[i].back(), std::to_string(exposure));
      EXPECT_EQ(rows[i][2], rows[i].back());
      const auto pixels = readPng(directory / "f" / rows[i][7]);  // their brightness follows the exposure
      EXPECT_NEAR(*std::max_element(pixels.begin(), pixels.end()), 255 * exposure / 10000, 1);
    }
    EXPECT_EQ(run(network + "get ExposureTime TriggerMode").out, "ExposureTime=5000\nTriggerMode=Off\n");
  }
  const auto failed = run(grab + "--sweep Width=256,4096");
  EXPECT_EQ(failed.status, 1);
  EXPECT_THAT(failed.err, HasSubstr("Width takes 8 to 2048 px, not 4096; nothing is saved"));
  EXPECT_EQ(run(grab + "--sweep SensorWidth=64").err,
            "vireo-cam: SensorWidth is read-only; nothing is saved\n");
  EXPECT_EQ(run(network + "get Width PixelFormat").out, "Width=512\nPixelFormat=Mono8\n");
}

TEST(Grab, TakesASlowStartForNoSilence) {
  const SimulatedNetworkCamera camera("--rate 2 --late 30");
  const TemporaryDirectory directory;
  const auto result = run(network + "grab -n 2 --patience 2 -o '" + (directory / "frames").string() + "'");
  EXPECT_EQ(result.status, 0) << result.err;
}

}  // namespace
