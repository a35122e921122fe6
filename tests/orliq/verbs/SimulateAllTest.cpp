// SPDX-License-Identifier: Apache-2.0
// Simulates the sensors of a file as a user's shell does.
#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "orliq/config/SensorFile.h"
#include "orliq/network/HostNetwork.h"
#include "support/Loopback.h"
#include "support/Playback.h"
#include "support/RunningProgram.h"

namespace orliq::cli {
namespace {

using test::JsonValue;
using testing::HasSubstr;

class SimulateAll : public test::RunningProgram {
 protected:
  void Write(const std::string& sensors) const {
    dir_.Write("s.yaml", "defaults: {model: juniq}\nsensors:\n" + sensors);
  }

  /// A sensor that sends without end, and one that writes a capture.
  void WriteLiveAndCapture(std::uint16_t port, const std::string& more) const {
    Write("- {name: a, source: 127.0.0.11, port: " + std::to_string(port) + more + "}\n" +
          "- {name: b, capture: b.pcap, check_folder: b}\n");
  }

  /// The points that a driver with the extrinsics of the file makes of a sensor's first frame.
  std::vector<Point> FusedPoints(const ConfiguredSensor& sensor) const {
    test::Playback<Point> probe;
    EXPECT_GE(probe.Open(MakeDriverParam(sensor)), 1) << sensor.name;
    const auto cloud = probe.Play(0);
    return cloud ? std::vector<Point>(cloud->points.begin(), cloud->points.end())
                 : std::vector<Point>();
  }
};

// How far a point is from the wall that it is of: half the step by which ranges are told, and what is
// left out of both angles, as the driver takes whole hundredths of a degree.
TEST_F(SimulateAll, SensorsOfAnyPoseSeeOneRoom) {
  constexpr double kStep = 0.14989623 * 1.645 / 64;             // [m]
  constexpr double kCut = 2 * 0.01 * 3.14159265358979 / 180.0;  // [rad]
  Write(
      "- {name: a, capture: a.pcap, check_folder: a, source: 192.168.1.201,\n"
      "   extrinsics: {x: 1.5, y: -0.8, z: 0.5, roll: 3, pitch: -4, yaw: 35}}\n"
      "- {name: b, capture: b.pcap, check_folder: b, port: 2369,\n"
      "   extrinsics: {x: -2, y: 1.25, z: -0.3, roll: -20, pitch: 6, yaw: 130}}\n");
  RunJson("simulate --config s.yaml --scene empty-room --frames 1");
  for (const ConfiguredSensor& sensor : ReadSensorFile(dir_ / "s.yaml").sensors) {
    const auto& pose = sensor.decoder.transform_param;
    std::size_t left = 0;
    std::size_t all = 0;
    for (const Point& p : FusedPoints(sensor)) {
      if (p.x == 0.0F && p.y == 0.0F && p.z == 0.0F) continue;
      const double off[] = {std::abs(20.0 - std::abs(p.x)), std::abs(8.0 - p.y),
                            std::abs(8.0 + p.y), std::abs(1.8 + p.z)};
      const double range = std::hypot(p.x - pose.x, p.y - pose.y, p.z - pose.z);
      const double nearest = *std::min_element(std::begin(off), std::end(off));
      ASSERT_LE(nearest, kStep / 2 + kCut * range) << sensor.name << ' ' << p.x << ' ' << p.y;
      left += off[1] == nearest ? 1 : 0;
      ++all;
    }
    EXPECT_GT(all, 30000U) << sensor.name;
    EXPECT_GT(left, 8000U) << "the wall that both see, by " << sensor.name;
  }
  EXPECT_EQ(RunJson("info b.pcap")["flows"][0]["destination_port"], 2369);
  EXPECT_EQ(RunJson("info a.pcap")["flows"][0]["source"], "192.168.1.201");
}

TEST_F(SimulateAll, EachSensorIsAUnitOfItsOwnAndTheSameEachTime) {
  const std::string pose = "extrinsics: {x: 1, y: 2, z: 0.1, yaw: 77}}\n";
  for (const std::string run : {"1", "2"}) {
    Write("- {name: a, capture: " + run + "/a.pcap, check_folder: " + run + "/a, " + pose +
          "- {name: b, model: hestra, capture: " + run + "/b.pcap, first_frame: 1}\n" +
          "- {name: c, capture: " + run + "/c.pcap, check_folder: " + run + "/c}\n");
    const JsonValue sums =
        RunJson("simulate --config s.yaml --frames 2 --seed 5 --drop 0.1 --swap 0.1");
    const JsonValue sensors = sums["sensors"];
    EXPECT_EQ(sensors[1]["frames"], 3) << "2 from the first that counts";
    EXPECT_NE(sensors[0]["faults"], sensors[2]["faults"]);
  }
  EXPECT_TRUE(Same("1", "2"));
  EXPECT_EQ(Run("simulate --model juniq --frames 2 --seed 7 --drop 0.1 --swap 0.1 --out 1/c.pcap "
                "--check-folder 1/c")
                .code,
            0);
  EXPECT_TRUE(Same("1", "2")) << "as alone";
}

TEST_F(SimulateAll, SendsFromTheSourceAndHandsOutCalibrationUntilCtrlC) {
  const test::LoopbackSocket receiver;
  const std::uint16_t port = test::FreePort();
  WriteLiveAndCapture(receiver.port(), ", params_from: '127.0.0.1:" + std::to_string(port) + "'");
  Start("simulate --config s.yaml --json --rate 1");
  sockaddr_in sender = {};
  EXPECT_TRUE(test::Eventually([&] {
    const bool received = receiver.Receive(std::chrono::milliseconds(20), &sender).has_value();
    return received && exists(dir_ / "b.pcap");
  }));
  EXPECT_EQ(ntohl(sender.sin_addr.s_addr), 0x7F00000BU) << "127.0.0.11";
  const std::array<std::uint8_t, 12> request = {0xA5, 0xA5, 0xA5, 0xA5, 0, 0, 0, 0, 0, 1, 0, 0x95};
  EXPECT_TRUE(test::Eventually([&] {
    receiver.Send(port, request.data(), request.size());
    const auto reply = receiver.Receive(std::chrono::milliseconds(20));
    return reply && reply->front() == 'Z';
  }));
  const test::Outcome outcome = Finish(SIGINT);
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  const JsonValue sums = JsonValue::Parse(outcome.out);
  EXPECT_EQ(sums["interrupted"], true);
  EXPECT_GT(sums["sensors"][0]["requests"], 0);
  EXPECT_EQ(sums["sensors"][1]["frames"], 20);
}

TEST_F(SimulateAll, EndsWhenOneOfThemFails) {
  WriteLiveAndCapture(test::FreePort(), "");
  Start("simulate --config s.yaml", "ulimit -f 5000; ");
  const test::Outcome outcome = Finish();
  EXPECT_EQ(outcome.code, 4);
  EXPECT_THAT(outcome.err, HasSubstr("s.yaml:4: b: cannot write b.pcap"));
}

// 127.255.255.255 is everyone on the loopback network, but no address of the machine.
TEST_F(SimulateAll, RefusesWhatItCannotSimulate) {
  EXPECT_TRUE(IsLocalAddress("127.0.0.11"));
  for (const char* const other : {"127.255.255.255", "127.0.0.0", "192.0.2.1", "0.0.0.0", "x"}) {
    EXPECT_FALSE(IsLocalAddress(other)) << other;
  }
  const std::string a = "- {name: a, port: 9, ";
  const std::string b = "- {name: b, port: 10, ";
  const struct {
    std::string sensors;
    test::Refusal refusal;
  } rows[] = {
      {a + "address: 127.255.255.255}", {"", 4, "s.yaml:3: a: address 127.255.255.255 is no"}},
      {a + "source: 127.255.255.255}", {"", 4, "s.yaml:3: a: source 127.255.255.255 is no"}},
      {a + "params_from: '127.255.255.255:9'}", {"", 4, "a: params_from 127.255.255.255 is no"}},
      {a + "capture: a.pcap}", {"", 2, "a: its simulation needs check_folder"}},
      {a + "check_folder: c}\n" + b + "check_folder: ./c/}", {"", 2, "s.yaml:4: b: check_folder"}},
      {a + "capture: c, check_folder: a}\n" + b + "capture: c, check_folder: b}",
       {"", 2, "of a too"}},
      {a + "params_from: '127.0.0.1:10'}\n" + b + "model: juniq}",
       {"", 2, "is the params_from of a"}},
      {a + "model: hestra}", {" --noise 0.1", 2, "no sensor of the file measures ranges"}},
      {a + "model: juniq}", {" --cycle 4", 2, "no sensor of the file has two cycles"}},
      {a + "model: juniq}", {" --drop-replies 0.1", 2, "no sensor of the file has params_from"}},
      {a + "model: juniq}", {" --to 127.0.0.1:9", 2, "--to describes one sensor"}},
  };
  for (const auto& [sensors, refusal] : rows) {
    Write(sensors + '\n');
    ExpectRefusal({"simulate --frames 1 --config s.yaml" + refusal.arguments, refusal.code,
                   refusal.sentence});
  }
  EXPECT_EQ(dir_.Files(), (std::set<std::string>{"err", "s.yaml"})) << "nothing was written";
  ExpectRefusal({"simulate --config ''", 2, "an empty name is no file"});
  ExpectRefusal({"simulate --frames 1", 2, "--model or --config is required"});
  ExpectRefusal({"simulate --model juniq --out a --speed 2", 2, "requires --to or --config"});
}

}  // namespace
}  // namespace orliq::cli
