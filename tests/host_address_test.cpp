// SPDX-License-Identifier: MIT
// Cameras within reach and in other subnets: `vireo-cam cameras` and `address`.
#include <gmock/gmock.h>

#include <map>
#include <nlohmann/json.hpp>

#include "support/program.h"
#include "support/simulated_network_camera.h"
#include "support/two_computers.h"

namespace {

using nlohmann::json;
using namespace testing;

std::map<std::string, json> listedBySerial() {
  std::map<std::string, json> cameras;
  for (const json& camera : json::parse(run("cameras --json").out)) cameras[camera["serial"]] = camera;
  return cameras;
}

TEST(Address, IsTakenAtOnceByACameraWithinReach) {
  const SimulatedNetworkCamera camera;
  EXPECT_EQ(
      run("address SIM01 127.3.4.5/8").out,
      "Vireo SimulatedCamera SIM01 (02:00:7f:00:00:01) answers at 127.3.4.5/8 until it is switched off\n");
  EXPECT_EQ(run("--address 127.3.4.5 get GevCurrentIPAddress").out, "GevCurrentIPAddress=127.3.4.5\n");
  EXPECT_EQ(run("address 127.3.4.5 127.0.0.1/8 --persistent").status, 1);  // this computer's own
  EXPECT_EQ(run("address 02:00:7F:00:00:01 127.0.0.2/8 --persistent --gateway 127.9.9.9").status, 0);
  EXPECT_EQ(run("--address 127.0.0.2 get 'GevPersistent*' GevCurrentIPConfigurationPersistentIP").out,
            "GevPersistentDefaultGateway=127.9.9.9\nGevPersistentIPAddress=127.0.0.2\n"
            "GevPersistentSubnetMask=255.0.0.0\nGevCurrentIPConfigurationPersistentIP=true\n");
}

TEST(Address, IsToldWhatIsWrong) {
  const std::tuple<const char*, int, const char*> rows[] = {
      {"x 192.168.0.7", 2, "'192.168.0.7' is not such as 192.168.0.7/24"},
      {"x 192.168.0.7/31", 2, "'192.168.0.7/31' is not such as"},
      {"x 192.168.0.7/24 --gateway here", 2, "'here' is not such as 192.168.0.1"},
      {"'' 10.0.0.7/24", 2, "CAMERA: takes a camera, not nothing"},
      {"x 10.0.0.7/24 --simulate", 2, "CAMERA says which one: leave --address and --simulate out"},
      {"x 10.0.0.7/24 --address y", 2, "leave --address and --simulate out"},
      {"nobody 10.0.0.7/24", 3, "no GigE Vision camera 'nobody' answers"},
  };
  for (const auto& [arguments, status, text] : rows) {
    const auto result = run(std::string("address ") + arguments);
    EXPECT_EQ(result.status, status) << arguments;
    EXPECT_THAT(result.err, HasSubstr(text));
  }
  EXPECT_THAT(run("manual completion").out,
              HasSubstr("    address) words=\"$words --help --gateway --persistent\" kind=cameras ;;"));
}

// A camera within reach and one of another subnet, on one wire.
class Wire : public Test {
 protected:
  void SetUp() override {
    if (!computers.Works()) GTEST_SKIP() << "network namespaces cannot be made here";
    computers.GoToCamera();
    // The last one is where the far camera can go.
    for (const char* const command :
         {"link set lo up", "link set camera0 address 02:00:0a:09:00:02", "link set camera0 up",
          "address add 10.9.0.2/24 dev camera0", "address add 192.168.77.60/24 dev camera0",
          "address add 192.168.77.50/24 dev camera0"})
      ASSERT_TRUE(TwoComputers::run(command)) << command;
    far = std::make_unique<SimulatedNetworkCamera>("--interface 10.9.0.2 --serial FAR");
    near = std::make_unique<SimulatedNetworkCamera>("--interface 192.168.77.60 --serial NEAR");
    computers.GoToHost();
  }

  TwoComputers computers;
  std::unique_ptr<SimulatedNetworkCamera> far;
  std::unique_ptr<SimulatedNetworkCamera> near;
};

TEST_F(Wire, ListsCamerasWithWhoControlsThemAndWhatToDo) {
  Program holder("--address 192.168.77.60 watch");
  waitUntil("control", [] { return listedBySerial()["NEAR"]["control"] == "192.168.77.1"; });
  const auto cameras = listedBySerial();
  EXPECT_EQ(cameras.at("NEAR")["interface"], "host0");
  EXPECT_EQ(cameras.at("NEAR")["mac"], "02:00:c0:a8:4d:3c");
  EXPECT_EQ(cameras.at("NEAR")["firmware"], "1.0");
  EXPECT_EQ(cameras.at("NEAR")["advice"], "");
  EXPECT_EQ(cameras.at("FAR")["address"], "10.9.0.2");
  EXPECT_EQ(cameras.at("FAR")["control"], "");
  EXPECT_THAT(
      run("cameras").err,
      HasSubstr("note: 02:00:0a:09:00:02 at 10.9.0.2/24 is in another subnet than host0 (192.168.77.1/24) "
                "and cannot be opened: 'vireo-cam address 02:00:0a:09:00:02 IP/24' gives it an address "
                "of 192.168.77.0/24"));
  EXPECT_THAT(run("address NEAR 192.168.77.61/24").err,
              HasSubstr("another program on 192.168.77.1 controls"));
}

TEST_F(Wire, GivesAnAddressThatIsFreeAndWithinReach) {
  const std::pair<const char*, const char*> refused[] = {
      {"192.168.77.0/24", "192.168.77.0 is not an address that a host of 192.168.77.0/24 can have"},
      {"192.168.77.255/24", "192.168.77.255 is not an address"},
      {"192.168.77.255/16", "192.168.77.255 is not an address that a host of 192.168.77.0/24 can have"},
      {"192.168.77.1/24", "192.168.77.1 is the address of this computer's host0"},
      {"192.168.77.60/24", "192.168.77.60 is in use by Vireo SimulatedCamera NEAR"},
      {"192.168.77.50/30", "with /30 the camera could not answer 192.168.77.1: use /24"},
      {"10.1.1.1/24",
       "could not be reached over host0 (192.168.77.1/24): choose an address in 192.168.77.0/24"},
      {"192.168.77.50/24 --gateway 192.168.77.50", "192.168.77.50 is the address that the camera is to have"},
      {"192.168.77.50/24 --gateway 192.168.77.255", "the gateway 192.168.77.255 is not an address"},
      {"192.168.77.50/24 --gateway 10.0.0.1", "the gateway 10.0.0.1 is not in 192.168.77.0/24"},
  };
  for (const auto& [wanted, text] : refused) {
    const auto result = run(std::string("address FAR ") + wanted);
    EXPECT_EQ(result.status, 1) << wanted;
    EXPECT_THAT(result.err, HasSubstr(text));
  }
  // For that address the system of the far camera answers, with that camera's MAC address; this one still
  // knows a device that is gone.
  const auto rememberGoneDevice = [] {
    return TwoComputers::run("ntable change name arp_cache dev host0 delay_probe 1500 retrans 100") &&
           TwoComputers::run("neighbour replace 192.168.77.50 lladdr 02:00:00:00:00:99 nud stale dev host0");
  };
  ASSERT_TRUE(rememberGoneDevice());
  EXPECT_THAT(run("address NEAR 192.168.77.50/24").err,
              HasSubstr("192.168.77.50 is in use by the device 02:00:0a:09:00:02: choose another"));
  ASSERT_TRUE(rememberGoneDevice());
  const auto moved = run("address far 192.168.77.50/24 --persistent");
  EXPECT_EQ(moved.out,
            "Vireo SimulatedCamera FAR (02:00:0a:09:00:02) answers at 192.168.77.50/24, now and when it is "
            "switched on\n")
      << moved.err;
  EXPECT_THAT(moved.err, HasSubstr("was in use by the device 02:00:00:00:00:99: waiting"));
  EXPECT_EQ(run("--address 192.168.77.50 get GevPersistentIPAddress GevPersistentDefaultGateway").out,
            "GevPersistentIPAddress=192.168.77.50\nGevPersistentDefaultGateway=0.0.0.0\n");
  EXPECT_EQ(listedBySerial()["FAR"]["advice"], "");
  EXPECT_EQ(run("--address 192.168.77.50 watch --seconds 1").status, 0);
}

}  // namespace
