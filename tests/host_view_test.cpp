// SPDX-License-Identifier: MIT
// The live page, asked as a browser asks, and used in one.
#include <gmock/gmock.h>
#include <httplib.h>

#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>

#include "support/browser.h"
#include "support/program.h"
#include "support/simulated_network_camera.h"
#include "support/usb_environment.h"

namespace {

using nlohmann::json;
using namespace std::string_literals;
using testing::HasSubstr;

// `vireo-cam view` with a page of its own.
class ViewProgram {
 public:
  explicit ViewProgram(const std::string& camera, const std::string& before = "",
                       const std::string& options = "")
      : program_(camera + " view --port 0 " + options, before) {
    const std::string printed = program_.WaitFor("Ctrl-C");
    port_ = std::stoi(printed.substr(printed.rfind(':') + 1));
  }

  Program& Process() { return program_; }
  int Port() const { return port_; }
  std::string Url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/"; }

  httplib::Result Get(const std::string& path, const httplib::Headers& headers = {}) const {
    return httplib::Client("127.0.0.1", port_).Get(path, headers);
  }
  json State(const std::string& query = "") const {
    const auto answer = Get("/state.json" + query);
    return answer ? json::parse(answer->body) : json();
  }
  int Set(const std::string& name, const json& value,
          const httplib::Headers& headers = {{"X-Vireo-Cam", "set"}}) const {
    const std::string body = json({{"name", name}, {"value", value}}).dump();
    const auto answer = httplib::Client("127.0.0.1", port_).Post("/set", headers, body, "application/json");
    return answer ? answer->status : 0;
  }

 private:
  Program program_;
  int port_ = 0;
};

TEST(View, ServesPicturesStateAndSettingsToItsOwnPageOnly) {
  ViewProgram view("--simulate");
  waitUntil("a frame", [&] { return view.State()["frames"] > 0; });
  const json first = view.State("?x=3&y=4");
  std::uint64_t samples = 0;
  for (const std::uint64_t count : first["histogram"]) samples += count;
  EXPECT_EQ(samples, 512u * 512u);
  EXPECT_EQ(first["pixel"]["samples"][0], (3 + 4 + first["frame_id"].get<int>()) % 255);
  EXPECT_TRUE(view.State("?x=512&y=4")["pixel"].is_null());

  EXPECT_EQ(view.Set("ExposureTime", 20000), 200);
  EXPECT_EQ(view.State()["basic"]["Exposure"], "20 ms");
  EXPECT_EQ(view.Set("ExposureTime", "1"), 400);
  EXPECT_EQ(view.Set("SensorWidth", "64"), 400);
  EXPECT_EQ(view.Set("Nothing", "64"), 400);
  EXPECT_EQ(view.Set("Gain", "3", {}), 403);  // another site's page can post, but not with a header of ours
  EXPECT_EQ(view.Get("/state.json", {{"Host", "elsewhere.example"}})->status, 403);

  // The size of a frame changes: the stream starts again with it.
  EXPECT_EQ(view.Set("Width", "1280"), 200);
  waitUntil("wide frames", [&] { return view.State()["width"] == 1280 && view.State()["trouble"] == ""; });
  const std::string whole = view.Get("/picture.png")->body;
  ASSERT_THAT(whole, testing::StartsWith("\x89PNG"));
  EXPECT_EQ(whole.substr(18, 2), "\x05\x00"s);  // 1280 pixels
  EXPECT_EQ(view.Get("/frame.png")->body.substr(18, 2), "\x02\x80"s);

  view.Process().Signal(SIGINT);
  EXPECT_EQ(view.Process().Wait().status, 0);
}

TEST(View, ShowsAndChangesAUsbCamera) {
  ViewProgram view("--address FEED00000001", usbCameraEnvironment);
  waitUntil("a frame", [&] { return view.State()["frames"] > 0; });
  EXPECT_EQ(view.State()["camera"], "Vireo SimulatedCamera USB01");  // without an address
  EXPECT_EQ(view.Set("Width", "640"), 200);
  waitUntil("wide frames", [&] { return view.State()["width"] == 640 && view.State()["trouble"] == ""; });
  EXPECT_EQ(view.Get("/frame.png")->body.substr(18, 2), "\x02\x80"s);
}

TEST(View, OffersExposureAndGainUnderTheNamesOfOlderCameras) {
  const TemporaryDirectory directory;
  std::ofstream file(directory / "older.xml");
  file << "<RegisterDescription ModelName='O' VendorName='O' SchemaMajorVersion='1' SchemaMinorVersion='1'>"
          "<Category Name='Root'>";
  const std::pair<std::string, std::string> features[] = {{"ExposureTimeRaw", "IntReg"},
                                                          {"GainRaw", "IntReg"},
                                                          {"AcquisitionFrameRateAbs", "FloatReg"},
                                                          {"Other", "IntReg"}};
  for (const auto& [name, kind] : features) file << "<pFeature>" << name << "</pFeature>";
  for (const char* const name : {"AcquisitionStart", "AcquisitionStop"})
    file << "<pFeature>" << name << "</pFeature>";
  file << "</Category>";
  int address = 0x20000;
  for (const auto& [name, kind] : features)
    file << "<" << kind << " Name='" << name << "'><Address>" << (address += 4)
         << "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
            "<Endianess>LittleEndian</Endianess></"
         << kind << ">";
  for (const char* const name : {"AcquisitionStart", "AcquisitionStop"})
    file << "<Command Name='" << name << "'><Value>0</Value><CommandValue>1</CommandValue></Command>";
  file << "<Port Name='Device'/></RegisterDescription>" << std::flush;
  const SimulatedNetworkCamera camera("--description '" + (directory / "older.xml").string() + "'");
  const ViewProgram view("--address 127.0.0.1");
  std::vector<std::string> offered;
  const json state = view.State();
  for (const json& parameter : state["adjustable"]) offered.push_back(parameter["name"]);
  EXPECT_THAT(offered, testing::ElementsAre("ExposureTimeRaw", "GainRaw", "AcquisitionFrameRateAbs"));
  EXPECT_EQ(view.Set("GainRaw", "7"), 200);
  EXPECT_EQ(view.Set("Other", "5"), 200);
  EXPECT_EQ(view.State()["adjustable"][1]["value"], 7);
  EXPECT_THAT(view.State()["trouble"].get<std::string>(), HasSubstr("no frame"));
}

TEST(View, ComesBackWithTheCameraAndWhatThePageChanged) {
  std::optional<SimulatedNetworkCamera> camera(std::in_place);
  const ViewProgram view("--address 127.0.0.1", "", "--reconnect");
  EXPECT_EQ(view.Set("Gain", 4), 200);
  EXPECT_EQ(view.Set("Width", 128), 200);
  const auto comes = [&] { return view.State()["trouble"] == "" && view.State()["width"] == 128; };
  waitUntil("frames", comes);
  camera.reset();
  waitUntil("the loss",
            [&] { return view.State()["trouble"].get<std::string>().find("is lost") != std::string::npos; });
  EXPECT_EQ(view.Set("Gain", 5), 400);
  camera.emplace();
  waitUntil("frames again", comes);
  const json state = view.State();
  for (const json& parameter : state["adjustable"])
    if (parameter["name"] == "Gain") {
      EXPECT_EQ(parameter["value"], 4);
    }
}

class Page : public testing::TestWithParam<std::pair<int, int>> {};

TEST_P(Page, ShowsAndChangesACameraInABrowser) {
  if (!Browser::IsInstalled()) GTEST_SKIP() << "chromium is not installed";
  SimulatedNetworkCamera camera;
  const ViewProgram view("--address 127.0.0.1");
  Browser browser(GetParam().first, GetParam().second);
  browser.Open(view.Url());
  const auto text = [](const std::string& id) { return "document.getElementById('" + id + "').textContent"; };
  browser.WaitFor("document.body.dataset.pictures > 1 && " + text("basic") + " !== ''");
  EXPECT_EQ(browser.Evaluate(text("camera")), "Vireo SimulatedCamera SIM01 at 127.0.0.1");
  EXPECT_THAT(browser.Evaluate(text("basic")), HasSubstr("512 x 512 pixels of at most 2048 x 2048"));
  EXPECT_EQ(browser.Evaluate("document.documentElement.scrollWidth"),
            GetParam().first);  // nothing sticks out

  browser.Click("picture", 10, 20);
  browser.WaitFor("/^Pixel [0-9]+, [0-9]+: [0-9]+ of 255$/.test(" + text("pixel") + ")");
  browser.Type("value-Gain", "10");
  browser.PressEnter();
  browser.WaitFor(text("message") + " === 'Gain is 10'");
  browser.Click("saturated");
  browser.WaitFor(
      "(() => { const p = document.getElementById('picture'), c = "
      "document.createElement('canvas').getContext('2d');"
      "c.drawImage(p, 0, 0); return c.getImageData(0, 0, 300, 150).data.some((v, i, all) => i % 4 === 0 && v "
      "=== 255 "
      "&& all[i + 1] === 0); })()");
  browser.Type("other-name", "PixelFormat");
  browser.Type("other-value", "RGB8");
  browser.PressEnter();
  browser.WaitFor("/: [0-9]+ [0-9]+ [0-9]+ of 255$/.test(" + text("pixel") + ")");
  // Each text stands for a second alone: a busy computer could look past it.
  browser.Evaluate("window.troubles = [], new MutationObserver(() => troubles.push(" + text("trouble") +
                   ")).observe(document.getElementById('trouble'), {childList: true})");
  browser.Evaluate(
      "document.getElementById('value-TriggerMode').value = 'On', "
      "document.getElementById('value-TriggerMode').onchange()");
  browser.WaitFor("troubles.some(trouble => trouble.startsWith('no frame for 1.'))");
  if (GetParam().first < 600) return;
  camera.Process().Signal(SIGKILL);
  browser.WaitFor(text("trouble") + ".startsWith('the link to the camera is lost')");
}

INSTANTIATE_TEST_SUITE_P(At, Page, testing::Values(std::pair(1280, 800), std::pair(390, 844)),
                         [](const auto& size) {
                           return size.param.first > 600 ? "DesktopWidth" : "PhoneWidth";
                         });

}  // namespace
