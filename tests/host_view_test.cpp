// SPDX-License-Identifier: MIT
// The live page, asked as a browser asks, and shown in one.
#include <gmock/gmock.h>
#include <httplib.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sstream>

#include "support/program.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;

class View : public testing::Test {
 protected:
  View() : program_("--simulate view --port 0") {
    const std::string printed = program_.WaitFor("Ctrl-C");
    port_ = std::stoi(printed.substr(printed.rfind(':') + 1));
  }

  json state() {
    const auto answer = httplib::Client("127.0.0.1", port_).Get("/state.json");
    return answer ? json::parse(answer->body) : json();
  }

  int set(const std::string& name, const json& value, const httplib::Headers& headers) {
    const std::string body = json({{"name", name}, {"value", value}}).dump();
    const auto answer = httplib::Client("127.0.0.1", port_).Post("/set", headers, body, "application/json");
    return answer ? answer->status : 0;
  }

  Program program_;
  int port_ = 0;
};

TEST_F(View, ServesPicturesStateAndSettingsToItsOwnPageOnly) {
  httplib::Client client("127.0.0.1", port_);
  while (state()["frames"] == 0) std::this_thread::sleep_for(std::chrono::milliseconds(20));
  const auto picture = client.Get("/frame.png");
  ASSERT_TRUE(picture);
  EXPECT_THAT(picture->body, testing::StartsWith("\x89PNG"));
  const json first = state();
  std::uint64_t samples = 0;
  for (const std::uint64_t count : first["histogram"]) samples += count;
  EXPECT_EQ(samples, 512u * 512u);

  EXPECT_EQ(set("ExposureTime", 20000, {{"X-Vireo-Cam", "set"}}), 200);
  EXPECT_EQ(state()["basic"]["Exposure"], "20 ms");
  EXPECT_EQ(set("ExposureTime", "1", {{"X-Vireo-Cam", "set"}}), 400);
  EXPECT_EQ(set("Width", "64", {{"X-Vireo-Cam", "set"}}), 400);
  EXPECT_EQ(set("Gain", "3", {}), 403);  // another site's page can post, but not with a header of ours
  const auto foreign = client.Get("/state.json", {{"Host", "elsewhere.example"}});
  ASSERT_TRUE(foreign);
  EXPECT_EQ(foreign->status, 403);

  program_.Signal(SIGINT);
  EXPECT_EQ(program_.Wait().status, 0);
}

TEST_F(View, ShowsMovingPicturesInABrowser) {
  if (std::system("command -v chromium >/dev/null") != 0) GTEST_SKIP() << "chromium is not installed";
  const TemporaryDirectory profile;
  std::ostringstream command;
  command << "timeout 60 chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
             "--disable-background-networking --disable-component-update --disable-sync "
             "--virtual-time-budget=3000 --user-data-dir="
          << profile / "p"
          << " --dump-dom http://127.0.0.1:" << port_ << "/ >" << profile / "dom"
          << " 2>/dev/null";
  int status = std::system(command.str().c_str());
  if (WIFSIGNALED(status) || WEXITSTATUS(status) > 128)
    status = std::system(command.str().c_str());  // crashed
  ASSERT_EQ(status, 0);
  const std::string dom = readText(profile / "dom"), mark = "data-pictures=\"";
  ASSERT_THAT(dom, HasSubstr(mark));
  EXPECT_GT(std::stoi(dom.substr(dom.find(mark) + mark.size())), 1);
  for (const char* const text :
       {"512 x 512 of 2048 x 2048", "adjust-ExposureTime", "adjust-Gain", "frames/s"})
    EXPECT_THAT(dom, HasSubstr(text));
}

}  // namespace
