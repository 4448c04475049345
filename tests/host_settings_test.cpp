// SPDX-License-Identifier: MIT
// A camera's parameters: listed, set, saved and loaded by vireo-cam.
#include <gmock/gmock.h>

#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "support/program.h"
#include "support/simulated_network_camera.h"

namespace {

using nlohmann::json;
using namespace testing;

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

// With one byte for each character.
std::string withoutContinuations(std::string utf8) {
  std::erase_if(utf8, [](char byte) { return (static_cast<unsigned char>(byte) & 0xc0) == 0x80; });
  return utf8;
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
  // Names are never cut, and one of another group is nearly as long as the line.
  const auto narrow = run("--simulate list --long 'a*' 'd*' 'e*' 'p*'", "export COLUMNS=40;");
  EXPECT_THAT(narrow.out, HasSubstr("\nDeviceLinkHeartbeatTimeout  "));
  EXPECT_THAT(withoutContinuations(narrow.out), Not(ContainsRegex("[^\n]{41}")));
  EXPECT_THAT(run("--simulate list --csv exposuretime").out,
              HasSubstr("ExposureTime,Float,RW,10000,us,10,10000000,,"));
  EXPECT_THAT(run("describe '" VIREO_TEST_DATA "/broken_features.xml'").err,
              ContainsRegex("^vireo-cam: feature '[^']*' is left out: "));
}

TEST(Set, ReadsBackTheLastOfEachName) {
  EXPECT_EQ(run("--simulate set Width=0x200 GevSCPD=7 GevSCPD=0xffffffff OffsetX=0X10 Width=64").out,
            "GevSCPD=4294967295 tck\nOffsetX=16 px\nWidth=64 px\n");
  EXPECT_EQ(json::parse(run("--simulate set --json ExposureTime=100.5").out),
            json::parse(R"([{"name": "ExposureTime", "value": 100.0, "asked": 100.5, "unit": "us",
                             "asWritten": false}])"));
}

}  // namespace
