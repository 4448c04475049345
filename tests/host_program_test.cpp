// SPDX-License-Identifier: MIT
// vireo-cam as its user meets it: started from a shell, judged by what it prints and leaves behind.
#include <gmock/gmock.h>
#include <png.h>
#include <tiffio.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>

#include "support/program.h"

namespace {

using nlohmann::json;
using namespace testing;

/// A GigE Vision camera in a process of its own, as `vireo-cam simulate` makes it. Only one runs on a
/// computer, so it waits for others to end.
class SimulatedNetworkCamera {
 public:
  explicit SimulatedNetworkCamera(const std::string& options = "") {
    for (int attempt = 0; program_ == nullptr; ++attempt) {
      program_ = std::make_unique<Program>("simulate " + options);
      try {
        program_->WaitFor("ready");
      } catch (const std::runtime_error& error) {
        if (attempt == 60 || std::string(error.what()).find("another camera") == std::string::npos) throw;
        program_.reset();
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
      }
    }
  }
  Program& Process() { return *program_; }

 private:
  std::unique_ptr<Program> program_;
};

const std::string network = "--address 127.0.0.1 ";

std::vector<std::vector<std::string>> readCsv(const std::filesystem::path& path) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines(readText(path));
  for (std::string line; std::getline(lines, line);) {
    rows.emplace_back();
    std::istringstream cells(line.substr(0, line.find('\r')));
    for (std::string cell; std::getline(cells, cell, ',');) rows.back().push_back(cell);
  }
  return rows;
}

/// The pixels of a grey picture of 512 x 512.
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

/// The first line of every page of a TIFF file of 16 bits a sample.
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
  while (!std::filesystem::exists(path)) std::this_thread::sleep_for(std::chrono::milliseconds(20));
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
      EXPECT_EQ(lines[i][0], id * 256 % 65535);
      EXPECT_EQ(lines[i][255], (255 + id) * 256 % 65535);
    }
  }
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

  Program doomed("--simulate grab -n 0 --stack -o '" + (directory / "gone").string() + "'");
  waitForFile(directory / "gone" / "frames.tiff.part");
  std::filesystem::rename(directory / "gone", directory / "elsewhere");
  const auto failed = doomed.Wait();
  EXPECT_EQ(failed.status, 1);
  EXPECT_THAT(failed.err, HasSubstr("No such file or directory; nothing is saved"));
}

TEST(Settings, SurviveSaveChangeAndLoad) {
  const SimulatedNetworkCamera camera;
  const TemporaryDirectory directory;
  const std::string file = "'" + (directory / "s.json").string() + "'";
  const auto changed =
      run(network + "set Width=1024 OffsetX=1000 ExposureTime=12345.6 BlackLevel=-0.1 DeviceUserID='Täst 1'");
  EXPECT_EQ(changed.out,
            "Width=1024 px\nOffsetX=1000 px\nExposureTime=12345 us (asked for 12345.6)\nBlackLevel=-0.1 DN\n"
            "DeviceUserID=Täst 1\n");
  ASSERT_EQ(run(network + "save " + file).status, 0);
  const json saved = json::parse(readText(directory / "s.json"));
  EXPECT_EQ(saved["settings"]["BlackLevel"].dump(), "-0.1");
  EXPECT_FALSE(saved["settings"].contains("TLParamsLocked"));
  EXPECT_FALSE(saved["settings"].contains("Gamma"));  // not available

  ASSERT_EQ(run(network + "set OffsetX=0 Width=2048 PixelFormat=RGB8 UserOutputValue=on BlackLevel=5").status,
            0);
  const auto differs = run(network + "diff " + file);
  EXPECT_EQ(differs.status, 1);
  for (const char* const name : {"BlackLevel", "OffsetX", "Width", "PixelFormat", "UserOutputValue"})
    EXPECT_THAT(differs.out, HasSubstr(name));
  // OffsetX comes before Width in the file, but only fits after it.
  EXPECT_EQ(run(network + "load " + file).status, 0);
  EXPECT_THAT(run(network + "diff " + file).out, IsEmpty());
  EXPECT_EQ(run(network + "get OffsetX DeviceUserID").out, "OffsetX=1000\nDeviceUserID=Täst 1\n");

  // A batch stops where it fails and says how far it came; bounds count at the time of each write.
  const auto partly = run(network + "set OffsetX=0 Width=2048 Height=4096 Gain=1");
  EXPECT_EQ(partly.out, "OffsetX=0 px\nWidth=2048 px\n");
  EXPECT_THAT(partly.err,
              HasSubstr("Height takes 8 to 2048 px, not 4096; done: OffsetX, Width; not done: Height, Gain"));
  EXPECT_EQ(run(network + "get Width Gain").out, "Width=2048\nGain=0\n");
}

TEST(Lists, AgreeBetweenCameraAndItsDescription) {
  const TemporaryDirectory directory;
  const std::string file = "'" + (directory / "camera.xml").string() + "'";
  ASSERT_EQ(run("--simulate xml -o " + file).status, 0);
  std::map<std::string, json> described;
  for (const json& row : json::parse(run("describe --json " + file).out)) described[row["name"]] = row;
  EXPECT_EQ(described.at("AcquisitionStart").at("kind"), "Command");
  EXPECT_EQ(described.at("ActionDeviceKey").at("access"), "WO");
  EXPECT_EQ(described.at("PixelFormat").at("entryValues").at("Mono8"), 0x01080001);
  EXPECT_EQ(described.at("ExposureTime").at("category"), "Root/AcquisitionControl");
  const json listed = json::parse(run("--simulate list --json").out);
  EXPECT_GT(listed.size(), 40u);
  for (const json& row : listed) {
    const json& same = described.at(row["name"]);
    for (const char* const member : {"kind", "access", "category", "description"}) {
      EXPECT_EQ(row[member], same[member]) << row["name"] << " " << member;
    }
    EXPECT_EQ(row.value("entries", json()), same.value("entries", json())) << row["name"];
  }
  const auto narrow = run("--simulate list --long", "export COLUMNS=40;");
  EXPECT_THAT(narrow.out, HasSubstr("\nDeviceLinkHeartbeatTimeout  "));  // names are never cut
  EXPECT_THAT(narrow.out, Not(ContainsRegex("[^\n]{41}")));
  EXPECT_THAT(run("--simulate list --csv exposuretime").out,
              HasSubstr("ExposureTime,Float,RW,10000,us,10,10000000,,"));
}

TEST(Watch, SeesBadFramesAndALostLink) {
  SimulatedNetworkCamera camera("--lost 2");
  const auto watched = run(network + "watch --seconds 3 --json");
  ASSERT_EQ(watched.status, 0) << watched.err;
  const json summary = json::parse(watched.out);
  EXPECT_GT(summary["bad"]["missing packets"], 0);
  EXPECT_GT(summary["lost"], 0);
  EXPECT_GT(summary["frames"], 10);

  Program watch(network + "watch --json --patience 0");
  std::this_thread::sleep_for(std::chrono::seconds(1));
  EXPECT_THAT(run(network + "info").err, HasSubstr("another program controls the camera"));
  camera.Process().Signal(SIGKILL);
  const auto lost = watch.Wait();
  EXPECT_EQ(lost.status, 4);
  EXPECT_THAT(lost.err, StartsWith("vireo-cam: the link to the camera is lost"));
  EXPECT_GT(json::parse(lost.out)["frames"], 0);
}

TEST(Mistakes, GetOneLineAndTheRightStatus) {
  const TemporaryDirectory directory;
  const std::string empty = "'" + (directory / "empty").string() + "'";
  std::ofstream(directory / "empty").flush();
  const std::tuple<std::string, int, const char*> rows[] = {
      {"", 2, "a command is required"},
      {"grap", 2, "there is no command 'grap'"},
      {"grab -n x", 2, "takes a whole number from 0 to 1000000000, not 'x': see 'vireo-cam grab --help'"},
      {"watch --seconds nan", 2, "takes a number from 0 to 1000000000, not 'nan'"},
      {"set --simulate Width", 2, "'Width' is not NAME=VALUE"},
      {"--timeout 0 --address Fake_9 info", 3, "no camera at 'Fake_9' within 0 s"},
      {"--simulate get ExposureTme", 1, "the camera has no 'ExposureTme': did you mean ExposureTime?"},
      {"--simulate set Width=wide", 1, "Width takes a whole number of at most 32 bits, or 0x..., not 'wide'"},
      {"--simulate set Width=4096", 1, "Width takes 8 to 2048 px, not 4096"},
      {"--simulate set Width=1001", 1, "Width goes in steps of 8 from 8: 1000 or 1008, not 1001"},
      {"--simulate set PixelFormat=mono8", 1, "PixelFormat has no entry 'mono8', it has: Mono8 Mono16"},
      {"--simulate set SensorWidth=1", 1, "SensorWidth is read-only"},
      {"--simulate set TriggerDelay=1", 1, "TriggerDelay is not available"},
      {"--simulate get AcquisitionStart", 1, "use 'vireo-cam run AcquisitionStart'"},
      {"--simulate run Width", 1, "use 'vireo-cam set Width=VALUE'"},
      {"--simulate grab -o /proc/frames", 1, "cannot make the directory /proc/frames"},
      {"--simulate xml --force -o >(cat)", 1, "is no plain file"},
      {"--simulate load /nonexistent.json", 1, "cannot read /nonexistent.json: No such file"},
      {"--simulate load " + empty, 1, "is no settings file"},
      {"--simulate --adapter /nonexistent.so info", 1, "/nonexistent.so: cannot open shared object file"},
      {"--simulate --adapter libm.so.6 info", 1, "./libm.so.6"},
      {"--simulate list > /dev/full", 1, "cannot write standard output"},
      {"simulate --interface 192.0.2.1", 1, "no camera can run on 192.0.2.1"},
      {"--simulate list '[W]idth'", 1, "no parameter matches '[W]idth'"},
  };
  for (const auto& [arguments, status, text] : rows) {
    SCOPED_TRACE(arguments);
    const auto result = run(arguments);
    EXPECT_EQ(result.status, status);
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, AllOf(StartsWith("vireo-cam: "), HasSubstr(text)));
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
  }
}

TEST(Manual, NamesEveryCommand) {
  const std::string man = run("manual man").out;
  const std::string completion = run("manual completion").out;
  const std::string help = run("--help").out;
  for (const char* const command : {"cameras", "info", "list", "get", "set", "run", "describe", "xml", "grab",
                                    "watch", "view", "save", "load", "diff", "simulate", "bench"}) {
    EXPECT_THAT(man, HasSubstr(std::string(".SS ") + command));
    EXPECT_THAT(completion, HasSubstr(std::string("    ") + command + ") words="));
    EXPECT_THAT(help, HasSubstr(std::string("\n  ") + command + " "));
  }
}

}  // namespace
