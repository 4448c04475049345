// SPDX-License-Identifier: MIT
// vireo-cam as its user meets it: started from a shell, judged by what it prints and leaves behind.
#include <gmock/gmock.h>
#include <png.h>
#include <tiffio.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <utility>

#include "support/program.h"
#include "support/read_csv.h"
#include "support/simulated_network_camera.h"

namespace {

using nlohmann::json;
using namespace testing;

const std::string network = "--address 127.0.0.1 ";
/// A camera of plain memory with settings of every difficult kind.
const std::string difficultCamera = "--description '" VIREO_TEST_DATA "/host/settings.xml'";

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
  waitUntil(path.string(), [&] { return std::filesystem::exists(path); });
}

/// What the program shows on a terminal, which `script` gives it.
std::string shownOnTerminal(const std::string& arguments) {
  const TemporaryDirectory directory;
  const std::string command = "COLUMNS=200 script -qec '\"" VIREO_CAM "\" " + arguments + "' '" +
                              (directory / "shown").string() + "' >/dev/null </dev/null";
  if (std::system(command.c_str()) == -1) throw std::runtime_error("cannot start script");
  return readText(directory / "shown");
}

/// A mistake must be answered with one line on standard error, and a status that tells its kind.
struct Mistake {
  std::string arguments;
  int status;
  const char* text;
};

void expectOneLine(const Mistake& mistake) {
  SCOPED_TRACE(mistake.arguments);
  const auto result = run(mistake.arguments);
  EXPECT_EQ(result.status, mistake.status);
  EXPECT_THAT(result.out, IsEmpty());
  EXPECT_THAT(result.err, AllOf(StartsWith("vireo-cam: "), HasSubstr(mistake.text)));
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
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

/// All rows but one that the kill tore: the system ends a write between two pages of memory.
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

/// A line of the documentation that runs a program, as it stands there.
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

TEST(Watch, SaysOnATerminalThatNoGoodFrameComes) {
  const struct {
    const char* camera;
    const char* settings;
    const char* text;
  } rows[] = {
      {"--faults 'packet 1- short'", "GevSCPSPacketSize=1400",
       "no good frame for 1 s, but [0-9]+ bad: packets of 1400 bytes, MTU [0-9]+  lost 0  bad "},
      {"", "TriggerMode=On", "0 frames  no frame for 1 s  lost 0  bad 0"},
  };
  for (const auto& row : rows) {
    const SimulatedNetworkCamera camera(row.camera);
    ASSERT_EQ(run(network + "set " + row.settings).status, 0);
    EXPECT_THAT(shownOnTerminal(network + "watch --seconds 2.5"), ContainsRegex(row.text));
  }
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
  EXPECT_EQ(run(network + "get OffsetX").out, "OffsetX=1000\n");

  // A batch stops where it fails and says how far it came; bounds count at the time of each write.
  const auto partly = run(network + "set OffsetX=0 Width=2048 Height=4096 Gain=1");
  EXPECT_EQ(partly.out, "OffsetX=0 px\nWidth=2048 px\n");
  EXPECT_THAT(partly.err,
              HasSubstr("Height takes 8 to 2048 px, not 4096; done: OffsetX, Width; not done: Height, Gain"));
  EXPECT_EQ(run(network + "get Width Gain").out, "Width=2048\nGain=0\n");
}

json settingsIn(const std::string& text) {
  return json::parse(text).at("settings");
}

TEST(Settings, AreKeptForEveryValueOfTheirSelectors) {
  const SimulatedNetworkCamera camera(difficultCamera);
  const TemporaryDirectory directory;
  const std::string file = "'" + (directory / "s.json").string() + "'";
  ASSERT_EQ(run(network + "set Bank=B Level=-7 Bank=A Level=5 Ratio=0.1 Mode=One Label=ok Mask=7").status, 0);
  const auto saved = run(network + "save " + file);
  EXPECT_EQ(settingsIn(readText(directory / "s.json")),
            json::parse(R"({"Bank": "A", "Label": "ok", "LabelBits": 27503, "Level[Bank=A]": 5,
                            "Level[Bank=B]": -7, "Mask": 7, "Mode": "One", "Ratio": 0.1,
                            "RatioBits": 1036831949, "UnsetNumber[Unset=One]": 0,
                            "UnsetNumber[Unset=Two]": 0})"));
  EXPECT_THAT(saved.err, HasSubstr("note: Bank cannot be C, so what that selects is left out: "));
  EXPECT_THAT(saved.err, HasSubstr("Unset held none of its entries and is Two now"));
  EXPECT_EQ(run(network + "get Bank Level").out, "Bank=A\nLevel=5\n");  // where they were

  ASSERT_EQ(run(network + "set Level=1 Bank=B Level=2 Mask=8").status, 0);
  const json differences = json::parse(run(network + "diff --json " + file).out);
  ASSERT_EQ(differences.size(), 4u);
  EXPECT_EQ(differences.at(2), json::parse(R"({"name": "Level[Bank=A]", "file": "5", "camera": "1",
                                               "reason": ""})"));
  EXPECT_EQ(json::parse(run(network + "load --json - < " + file).out).at("asInFile"), 11);
  EXPECT_EQ(run(network + "diff " + file).out, "");
  EXPECT_EQ(run(network + "get Bank Level").out, "Bank=A\nLevel=5\n");
}

TEST(Settings, OfTheOldFormatMeanTheSelectorsOfTheirFile) {
  const SimulatedNetworkCamera camera(difficultCamera);
  const TemporaryDirectory directory;
  const std::string before = "'" + (directory / "old.json").string() + "'";
  const std::string now = "'" + (directory / "new.json").string() + "'";
  std::ofstream(directory / "old.json")
      << R"({"format": "vireo-cam settings 1", "settings": {"Level": 9, "Bank": "B", "Mask": -2,
             "DeviceUserID": "mine"}})";
  const auto loaded = run(network + "load " + before);
  EXPECT_EQ(loaded.out, "3 of 3 settings are as in the file\n");
  EXPECT_THAT(loaded.err, HasSubstr("left alone, as they make a camera that one: DeviceUserID; --identity"));
  EXPECT_EQ(run(network + "get bank level mask").out, "Bank=B\nLevel=9\nMask=4294967294\n");
  ASSERT_EQ(run(network + "save --identity " + now).status, 0);
  const auto same = run("diff " + before + " - < " + now);
  EXPECT_THAT(same.out,
              AllOf(HasSubstr("only in the second"), Not(HasSubstr("Level")), Not(HasSubstr("Mask"))));
  EXPECT_EQ(run(network + "set Level=8").status, 0);
  ASSERT_EQ(run(network + "save --force " + now).status, 0);
  EXPECT_THAT(run("diff " + before + " " + now).out, ContainsRegex("\nLevel +9 +8\n"));
  EXPECT_EQ(run(network + "load --identity " + before).status, 0);
  EXPECT_EQ(run(network + "get DeviceUserID").out, "DeviceUserID=mine\n");
}

TEST(Settings, ThatNoFileCanHoldAreToldAndLeftOut) {
  const SimulatedNetworkCamera camera(difficultCamera);
  ASSERT_EQ(run(network + "set RatioBits=0x7f800000 LabelBits=0xff Ticks=5000000000").status, 0);
  const auto saved = run(network + "save -");
  const json settings = settingsIn(saved.out);
  const std::pair<const char*, const char*> rows[] = {
      {"Ratio", "its value is inf"},
      {"Mode", "its register holds none of its entries"},
      {"Label", "its text is not UTF-8"},
      {"Ticks", "only the low 32 bits of its value are known"},
  };
  for (const auto& [name, reason] : rows) {
    EXPECT_FALSE(settings.contains(name));
    EXPECT_THAT(saved.err, HasSubstr(std::string("vireo-cam: note: ") + name + " is left out: " + reason));
  }
  EXPECT_EQ(settings.at("RatioBits"), 2139095040);
  for (const char* const identity : {"DeviceUserID", "Server", "Hardware"})
    EXPECT_FALSE(settings.contains(identity)) << identity;
}

TEST(Settings, OfABusyCameraAreThoseOfItsSelectorsNow) {
  const SimulatedNetworkCamera camera(difficultCamera);
  ASSERT_EQ(run(network + "set Bank=B Level=3").status, 0);
  Program holder(network + "view --port 0");
  holder.WaitFor("http");
  const auto saved = run(network + "save -");
  EXPECT_EQ(settingsIn(saved.out).at("Level[Bank=B]"), 3);
  EXPECT_FALSE(settingsIn(saved.out).contains("Level[Bank=A]"));
  EXPECT_THAT(saved.err, HasSubstr("note: another program controls the camera: settings are kept for the"));
  EXPECT_EQ(json::parse(run(network + "info --json").out).at("Control"),
            "busy: a program on 127.0.0.1 has it");
  EXPECT_THAT(run("--timeout 0 " + network + "set Level=1").err,
              HasSubstr("another program on 127.0.0.1 controls the camera: end it"));
}

TEST(Integers, AreWholeOrSayWhatIsKnown) {
  const SimulatedNetworkCamera camera(difficultCamera);
  const std::pair<const char*, const char*> rows[] = {
      {"Mask=0xffffffff", "Mask=4294967295\n"},
      {"Ticks=5000000000", "Ticks=705032704 (low 32 bits)\n"},
      {"Ticks=9007199254740992", "Ticks=0 (low 32 bits)\n"},
      {"Level=-3", "Level=-3\n"},
      {"Server=192.168.0.7", "Server=192.168.0.7\n"},
      {"Server=3232235777", "Server=192.168.1.1\n"},
      {"Hardware=00:11:22:aa:bb:cc", "Hardware=?\?:?\?:22:aa:bb:cc (low 32 bits)\n"},
      {"Ratio=0.1", "Ratio=0.1\n"},
  };
  for (const auto& [assignment, now] : rows) EXPECT_EQ(run(network + "set " + assignment).out, now);
  ASSERT_EQ(run(network + "set Ticks=5000000000").status, 0);
  EXPECT_EQ(json::parse(run(network + "get --json Ticks Mask").out),
            json::parse(R"({"Ticks": {"low32Bits": 705032704}, "Mask": 4294967295})"));
  const json row = json::parse(run(network + "list --json Ticks").out).at(0);
  EXPECT_EQ(row.at("low32Bits"), 705032704);
  EXPECT_TRUE(row.at("value").is_null());
  for (const char* const wrong : {"Mask=-1", "Mask=4294967296", "Ticks=9007199254740993", "Server=1.2.3"})
    EXPECT_EQ(run(network + "set " + wrong).status, 1) << wrong;
}

TEST(Lists, ShowAllOfOneParameterAndNoFigureThatWasNotRead) {
  const SimulatedNetworkCamera camera(difficultCamera);
  EXPECT_EQ(run(network + "list --long bank").out,
            "Name            Bank\nKind            Enumeration\nAccess          RW\nValue           A\n"
            "Range           A B C\nVisibility      Guru\nCategory        Root\nSelects         Level\n"
            "Description     Bank that Level speaks of.\n");
  EXPECT_THAT(run(network + "list --long Level").out, HasSubstr("\nSelected by     Bank\n"));
  const json missing = json::parse(run(network + "list --json Missing").out).at(0);
  EXPECT_TRUE(missing.at("value").is_null());
  EXPECT_THAT(missing.at("failure"), HasSubstr("Missing"));
  const auto some = run(network + "get 'l*' Nothing ratio Missing");
  EXPECT_EQ(some.status, 1);
  EXPECT_EQ(some.out, "Label=\nLabelBits=0\nLevel=0\nRatio=0\n");
  EXPECT_THAT(some.err, AllOf(HasSubstr("has no 'Nothing'"), HasSubstr("Read integer 'Missing'")));
}

TEST(Simulate, ServesAnybodysDescription) {
  const TemporaryDirectory directory;
  const std::string registers =
      "<Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Endianess>LittleEndian</Endianess>";
  std::ofstream(directory / "other.xml")
      << "<RegisterDescription ModelName='O' VendorName='O' SchemaMajorVersion='1' SchemaMinorVersion='1'>"
         "<Category Name='Root'><pFeature>Far</pFeature><pFeature>Level</pFeature></Category>"
         "<IntReg Name='Far'><Address>0xF0F00104</Address>"
      << registers << "</IntReg><FloatReg Name='Level'><Address>0x2a002</Address>" << registers
      << "</FloatReg><Port Name='Device'/></RegisterDescription>";
  const SimulatedNetworkCamera camera("--description '" + (directory / "other.xml").string() + "'");
  EXPECT_EQ(run(network + "get Far Level").out, "Far=0\nLevel=0\n");
  EXPECT_EQ(run(network + "set Far=77 Level=0.5").status, 0);
  EXPECT_EQ(run(network + "get Far Level").out, "Far=77\nLevel=0.5\n");
  EXPECT_EQ(run(network + "grab -n 1 -o '" + (directory / "f").string() + "'").status, 1);
}

TEST(Log, HasWhatTheCameraLibrarySays) {
  const SimulatedNetworkCamera camera("--description '" VIREO_TEST_DATA "/text_before_declaration.xml'");
  const std::string said = "Start tag expected, '<' not found";
  expectOneLine({"--timeout 0 " + network + "info", 3, said.c_str()});
  EXPECT_THAT(run("--log error --timeout 0 " + network + "info").err, HasSubstr(": camera library: " + said));
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // they need more than the limit
TEST(Log, HasWhatTheCameraLibraryEndsTheProgramWith) {
  const SimulatedNetworkCamera camera("--size 64x64 --rate 100 --faults 'packet 1- garbage'");
  const auto ended = run(network + "watch", "ulimit -v 4000000;");
  EXPECT_EQ(ended.status, 128 + SIGTRAP);
  EXPECT_THAT(ended.err,
              ContainsRegex("^vireo-cam: camera library: .* bytes: the library ended the program\n$"));
}
#endif

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
  // Names are never cut, and one of another group is nearly as long as the line.
  const auto narrow = run("--simulate list --long 'a*' 'd*' 'e*' 'p*'", "export COLUMNS=40;");
  EXPECT_THAT(narrow.out, HasSubstr("\nDeviceLinkHeartbeatTimeout  "));
  EXPECT_THAT(narrow.out, Not(ContainsRegex("[^\n]{41}")));
  EXPECT_THAT(run("--simulate list --csv exposuretime").out,
              HasSubstr("ExposureTime,Float,RW,10000,us,10,10000000,,"));
  EXPECT_THAT(run("describe '" VIREO_TEST_DATA "/broken_features.xml'").err,
              ContainsRegex("^vireo-cam: feature '[^']*' is left out: "));
}

TEST(Watch, StopsTheAcquisitionBeforeItDisconnects) {
  const std::string records = run("--simulate --log trace watch --seconds 0.2").err;
  EXPECT_LT(records.find(":StopAcquisition:"), records.rfind(":Disconnect:"));
}

TEST(Watch, PrintsAnObjectASecond) {
  const auto watched = run("--simulate watch --seconds 2.5 --json --lines");
  std::istringstream lines(watched.out);
  std::vector<json> objects;
  for (std::string line; std::getline(lines, line);) objects.push_back(json::parse(line));
  ASSERT_EQ(objects.size(), 3u);
  EXPECT_EQ(objects[1]["second"], 2);
  EXPECT_NEAR(objects[1]["frames_per_second"].get<double>(), 25.0, 3.0);
  EXPECT_GT(objects[1]["frames"], objects[0]["frames"]);
  EXPECT_GT(objects[2]["summary"]["frames"], objects[1]["frames"]);
}

TEST(Bench, RestoresTheRateWhenASignalEndsIt) {
  const SimulatedNetworkCamera camera;
  const auto rateIs = [](const std::string& rate) {
    return [rate] {
      std::this_thread::sleep_for(
          std::chrono::milliseconds(700));  // bench connects, which reading would disturb
      return run(network + "get AcquisitionFrameRate").out == "AcquisitionFrameRate=" + rate + "\n";
    };
  };
  for (const int signal : {SIGTERM, SIGHUP, SIGQUIT, SIGKILL}) {
    Program bench(network + "bench --seconds 100");
    waitUntil("the higher rate", rateIs("1000"), std::chrono::seconds(10));
    bench.Signal(signal);
    const int status = bench.Wait().status;
    EXPECT_EQ(status, signal == SIGQUIT || signal == SIGKILL ? 128 + signal : 5);
    waitUntil("the rate of before", rateIs("25"), std::chrono::seconds(10));
  }
}

// Its tenth frame is the last, and not a packet of it is missing.
TEST(Watch, DoesNotKeepTheRateOfAStreamThatStopped) {
  const SimulatedNetworkCamera camera("--faults 'packet 1821- lost; resend 1- lost'");
  const auto watched = run(network + "watch --seconds 3 --json");
  EXPECT_EQ(watched.status, 5);
  EXPECT_THAT(watched.err, ContainsRegex("not all frames are there: none came in the last 2\\.[0-9] s"));
  const json summary = json::parse(watched.out);
  EXPECT_EQ(summary["frames"], 10);
  EXPECT_LT(summary["frames_per_second"], 5.0);
  EXPECT_GT(summary["longest_gap_seconds"], 2.0);
  EXPECT_EQ(run(network + "bench --keep-rate --seconds 2").status, 5);
}

TEST(Watch, SeesBadFramesAndALostLink) {
  SimulatedNetworkCamera camera("--lost 2 --faults 'resend 1- lost'");
  const auto watched = run(network + "watch --seconds 3 --json");
  EXPECT_EQ(watched.status, 5);
  EXPECT_THAT(watched.err, ContainsRegex("not all frames are there: [0-9]+ lost, [0-9]+ bad"));
  const json summary = json::parse(watched.out);
  EXPECT_GT(summary["bad"]["time-out"], 0);
  EXPECT_GT(summary["lost"], 0);
  EXPECT_GT(summary["frames"], 10);

  Program watch(network + "watch --json --patience 0");
  std::this_thread::sleep_for(std::chrono::seconds(1));
  EXPECT_THAT(run(network + "info").out, HasSubstr("busy: a program on 127.0.0.1 has it"));
  camera.Process().Signal(SIGKILL);
  const auto lost = watch.Wait();
  EXPECT_EQ(lost.status, 4);
  EXPECT_THAT(lost.err, StartsWith("vireo-cam: the link to the camera is lost"));
  EXPECT_GT(json::parse(lost.out)["frames"], 0);
}

TEST(Mistakes, InTheCommandLineAndInFilesGetOneLine) {
  const TemporaryDirectory directory;
  const std::string empty = "'" + (directory / "empty").string() + "'";
  std::ofstream(directory / "empty").flush();
  const Mistake rows[] = {
      {"", 2, "a command is required"},
      {"grap", 2, "there is no command 'grap'"},
      {"grab -n x", 2, "takes a whole number from 0 to 1000000000, not 'x': see 'vireo-cam grab --help'"},
      {"grab -n 1.5", 2, "takes a whole number from 0 to 1000000000, not '1.5'"},
      {"grab -f jpg", 2, "takes one of png, tiff, raw, not 'jpg'"},
      {"grab --stack -f raw", 2, "--stack makes a TIFF file: leave --format raw out"},
      {"grab --sweep Gain=1,,2", 2, "'Gain=1,,2' is not NAME=VALUE,VALUE..."},
      {"grab -n 0 --sweep Gain=1", 2, "--sweep needs the frames of each value"},
      {"grab --sweep PixelFormat=Mono8,Mono16", 2, "the frames of one grab have one PixelFormat"},
      {"grab --trigger software --sweep TriggerMode=On,Off", 2, "--trigger software sets TriggerMode: leave"},
      {"grab --every 5", 2, "--every requires --trigger"},
      {"watch --seconds nan", 2, "takes a number from 0 to 1000000000, not 'nan'"},
      {"--timeout 0 --address Fake_9 info", 3, "no camera at 'Fake_9' within 0 s"},
      {"--simulate grab -o /proc/frames", 1, "cannot make the directory /proc/frames"},
      {"--simulate xml --force -o >(cat)", 1, "is not a plain file"},
      {"--simulate load /nonexistent.json", 1, "cannot read /nonexistent.json: No such file"},
      {"--simulate load /dev/full", 1, "cannot read /dev/full: it is a device"},
      {"load --help > /dev/full", 1, "cannot write standard output"},
      {"--address '' info", 2, "takes a camera, not nothing"},
      {"--simulate --address 127.0.0.1 info", 2, "excludes"},
      {"--simulate load " + empty, 1, "is not a settings file"},
      {"--simulate --adapter /nonexistent.so info", 1, "/nonexistent.so: cannot open shared object file"},
      {"--simulate --adapter libm.so.6 info", 1, "./libm.so.6"},
      {"--simulate list > /dev/full", 1, "cannot write standard output"},
      {"simulate --interface 192.0.2.1", 1, "no camera can run on 192.0.2.1"},
  };
  for (const Mistake& row : rows) expectOneLine(row);
}

TEST(Mistakes, InNamesAndValuesGetOneLine) {
  const Mistake rows[] = {
      {"set --simulate Width", 2, "'Width' is not NAME=VALUE"},
      {"--simulate get ExposureTme", 1, "the camera has no 'ExposureTme': did you mean ExposureTime?"},
      {"--simulate grab --sweep Gian=1", 1, "the camera has no 'Gian': did you mean Gain?"},
      {"--simulate set Width=wide", 1, "Width takes a whole number of at most 53 bits, or 0x..., not 'wide'"},
      {"--simulate set Width=512abc", 1, "Width takes a whole number of at most 53 bits, or 0x..."},
      {"--simulate set GevSCPD=4294967296", 1, "GevSCPD takes 0 to 4294967295 tck, not 4294967296"},
      {"--simulate set GevSCPSPacketSize=-4", 1, "GevSCPSPacketSize takes 220 to 16380 B, not -4"},
      {"--simulate set Width=4096", 1, "Width takes 8 to 2048 px, not 4096"},
      {"--simulate set Width=1001", 1, "Width goes in steps of 8 from 8: 1000 or 1008, not 1001"},
      {"--simulate set PixelFormat=mono8", 1, "PixelFormat has no entry 'mono8', it has: Mono8 Mono16"},
      {"--simulate set SensorWidth=1", 1, "SensorWidth is read-only"},
      {"--simulate set TriggerDelay=1", 1, "TriggerDelay is not available"},
      {"--simulate get AcquisitionStart", 1, "use 'vireo-cam run AcquisitionStart'"},
      {"--simulate run Width", 1, "Width is not a command: use 'vireo-cam set Width=VALUE'"},
      {"simulate --interface 192.0.2.1", 1, "no camera can run on 192.0.2.1"},
      {"simulate --faults 'packet 3 lots'", 1, "the fault 'packet 3 lots' cannot be read: 'lots' is not a"},
      {"simulate --size 5x5", 2, "the camera cannot be 5x5 pixels large: 8 to 2048, in steps of 8"},
      {"simulate --description /nonexistent.xml", 1, "/nonexistent.xml cannot be read, or is empty"},
      {"--simulate list '[W]idth'", 1, "no parameter matches '[W]idth'"},
  };
  for (const Mistake& row : rows) expectOneLine(row);
}

TEST(Set, ReadsBackTheLastOfEachName) {
  EXPECT_EQ(run("--simulate set Width=0x200 GevSCPD=7 GevSCPD=0xffffffff OffsetX=0X10 Width=64").out,
            "GevSCPD=4294967295 tck\nOffsetX=16 px\nWidth=64 px\n");
  EXPECT_EQ(json::parse(run("--simulate set --json ExposureTime=100.5").out),
            json::parse(R"([{"name": "ExposureTime", "value": 100.0, "asked": 100.5, "unit": "us",
                             "asWritten": false}])"));
}

TEST(Completion, OffersFilesFeaturesCamerasAndValues) {
  const SimulatedNetworkCamera camera;
  const TemporaryDirectory directory;
  ASSERT_EQ(std::system(("cd '" + (directory / "").string() +
                         "' && '" VIREO_CAM "' manual completion >completion && touch some.json")
                            .c_str()),
            0);
  const struct {
    const char* words;  // as the shell splits them; the last one is completed
    const char* offered;
  } rows[] = {
      {"gra", "grab"},
      {"grab --all", "--allow-lost"},
      {"grab -f ti", "tiff"},
      {"grab -f = r", "raw"},
      {"load some", "some.json"},
      {"-s get Exposure", "ExposureMode ExposureTime"},
      {"-s set PixelF", "PixelFormat="},
      {"-s set PixelFormat = Mono", "Mono8 Mono16"},
      {"-s set PixelFormat =", "Mono8 Mono16 RGB8 BayerGR8 BayerRG8 BayerGB8 BayerBG8"},
      {"-s grab --sweep ExposureT", "ExposureTime="},
      {"-s run Trigger", "TriggerSoftware"},
      {"help be", "bench"},
      {"--address 127", "127.0.0.1"},
      {"--address 127.0.0.1 get Exposure", "ExposureMode ExposureTime"},
  };
  for (const auto& row : rows) {
    std::ofstream(directory / "ask") << "cd '" << (directory / "").string()
                                     << "'; . ./completion\nCOMP_WORDS=('" << VIREO_CAM << "' " << row.words
                                     << ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n_vireo_cam\n"
                                        "echo \"${COMPREPLY[*]}\" >offered\n";
    std::system(("bash '" + (directory / "ask").string() + "'").c_str());
    EXPECT_EQ(readText(directory / "offered"), row.offered + std::string("\n")) << row.words;
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
