// SPDX-License-Identifier: MIT
// vireo-cam as its user meets it: started from a shell, judged by what it prints and leaves behind.
#include <gmock/gmock.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "support/mistake.h"
#include "support/program.h"
#include "support/simulated_network_camera.h"

namespace {

using nlohmann::json;
using namespace testing;

// What the program shows on a terminal, which `script` gives it.
std::string shownOnTerminal(const std::string& arguments) {
  const TemporaryDirectory directory;
  const std::string command = "COLUMNS=200 script -qec '\"" VIREO_CAM "\" " + arguments + "' '" +
                              (directory / "shown").string() + "' >/dev/null </dev/null";
  if (std::system(command.c_str()) == -1) throw std::runtime_error("cannot start script");
  return readText(directory / "shown");
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
