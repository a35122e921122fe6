// SPDX-License-Identifier: Apache-2.0
#include "orliq/config/SensorFile.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cmath>
#include <sstream>
#include <tuple>

#include "orliq/terminal/ExitCode.h"
#include "support/TempDir.h"

namespace orliq::cli {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class ASensorFile : public testing::Test {
 protected:
  std::vector<ConfiguredSensor> Read(const std::string& text) const {
    return ReadSensorFile(dir_.Write("s.yaml", text)).sensors;
  }

  /// "LINE: why"; without a line, "CODE: ...".
  static std::string RefusalOf(const std::string& path) {
    try {
      ReadSensorFile(path);
    } catch (const Failure& failure) {
      const std::string what = failure.what();
      if (what.rfind(path + ':', 0) != 0) return std::to_string(int(failure.Code())) + ": " + what;
      EXPECT_EQ(failure.Code(), ExitCode::kUsage) << what;
      return what.substr(path.size() + 1);
    }
    return "none";
  }

  void ExpectRefusal(const std::string& text, const std::string& sentence) const {
    EXPECT_THAT(RefusalOf(dir_.Write("s.yaml", text)), StartsWith(sentence)) << text;
  }

  /// Rows "keys => LINE: why": what is said of a Juniq named a, which begins in line 2, with these
  /// keys in line 3; they may end it and begin another sensor.
  void ExpectRefusals(const std::string& table) const {
    std::istringstream rows(table);
    for (std::string row; std::getline(rows, row);) {
      const std::size_t arrow = row.find(" => ");
      if (arrow == std::string::npos) continue;
      ExpectRefusal("sensors: [\n{name: a, model: juniq,\n" + row.substr(0, arrow) + "}]",
                    row.substr(arrow + 4));
    }
  }

  const test::TempDir dir_;
};

#ifdef ORLIQ_HAS_YAML

TEST_F(ASensorFile, TellsTheDriverOfALiveSensorEverything) {
  const auto sensors = Read(R"(sensors:
  - {name: first, model: JUNIQ, port: 2000, check_folder: sub/../check}
  - name: 2-nd_.x
    model: glavor
    port: 2368
    address: 127.0.0.1
    source: 127.0.0.3
    params_from: 127.0.0.2:2400
    params_local_port: 2401
    gates: {min_distance: 0.5, max_distance: 1e2, min_azimuth: -60, max_azimuth: +61,
            min_elevation: -20.25, max_elevation: .5}
    extrinsics: {x: 1, y: -2, z: 3, roll: 4, pitch: 5, yaw: -180})");
  ASSERT_EQ(sensors.size(), 2U);
  EXPECT_EQ(std::make_tuple(sensors[1].Title(), sensors[1].line, sensors[1].source),
            std::make_tuple("2-nd_.x (glavor)", 3, "127.0.0.3"));
  const lidar::DriverParam param = MakeDriverParam(sensors[1]);
  EXPECT_EQ(std::tie(param.input_type, param.lidar_type, param.param_source),
            std::make_tuple(lidar::InputType::Socket, lidar::LidarType::Glavor, 1U));
  EXPECT_EQ(std::tie(param.input_param.local_ip, param.input_param.port),
            std::make_tuple("127.0.0.1", 2368));
  const lidar::CalibrationParam& asked = param.calibration_param;
  EXPECT_EQ(std::tie(asked.remote_address, asked.remote_port, asked.local_port),
            std::make_tuple("127.0.0.2", 2400U, 2401U));
  const auto& [nearest, farthest, right, left, lowest, highest, pose] = param.decoder_param;
  EXPECT_EQ(std::tie(nearest, farthest, right, left, lowest, highest),
            std::make_tuple(0.5F, 100.0F, -60.0F, 61.0F, -20.25F, 0.5F));
  EXPECT_EQ(std::tie(pose.enable, pose.x, pose.y, pose.z, pose.roll, pose.pitch, pose.yaw),
            std::make_tuple(1U, 1.0F, -2.0F, 3.0F, 4.0F, 5.0F, -180.0F));
  const lidar::DriverParam first = MakeDriverParam(sensors[0]);
  EXPECT_EQ(first.calibration_param.check_folder, dir_ / "check");
  EXPECT_EQ(first.param_source + first.decoder_param.transform_param.enable, 0U);
}

TEST_F(ASensorFile, TakesFromDefaultsWhatASensorLeavesOpen) {
  const auto sensors = Read(R"(
defaults: {model: juniq, port: 7, address: 127.0.0.1, source: 127.0.0.9, first_frame: 3,
           params_from: '127.0.0.2:2400', gates: {min_distance: 1, max_distance: 9},
           extrinsics: {z: 2, yaw: 90}}
sensors:
  - {name: plain}
  - {name: own, model: glavor, address: 127.0.0.2, source: 127.0.0.8, check_folder: /c,
     gates: {max_distance: 5}, extrinsics: {z: 0}}
  - {name: played, capture: p.pcap}
  - {name: later, capture: p.pcap, port: 8, first_frame: 0})");
  EXPECT_EQ(sensors[0].params_from->address, "127.0.0.2");
  EXPECT_FALSE(sensors[0].first_frame) << "of captures only";
  const ConfiguredSensor& own = sensors[1];
  EXPECT_EQ(std::tie(own.model->type, *own.port, own.address, own.source, *own.check_folder),
            std::make_tuple(lidar::LidarType::Glavor, 7, "127.0.0.2", "127.0.0.8", "/c"));
  EXPECT_FALSE(own.params_from) << "check_folder takes its place";
  const auto& [min, max, right, left, lowest, highest, pose] = own.decoder;
  EXPECT_EQ(std::tie(min, max, pose.z, pose.yaw), std::make_tuple(1.0F, 5.0F, 0.0F, 90.0F));
  EXPECT_EQ(sensors[2].first_frame.value() - sensors[3].first_frame.value(), 3);
  const lidar::DriverParam played = MakeDriverParam(sensors[2]);
  EXPECT_EQ(played.input_type, lidar::InputType::Pcap);
  const lidar::InputParam& input = played.input_param;
  EXPECT_EQ(std::tie(input.pcap_file, input.port, input.local_ip),
            std::make_tuple(dir_ / "p.pcap", 7, ""))
      << "no address: that is of live sensors";
  EXPECT_EQ(played.param_source, 0U) << "a capture has no one to ask";
  const auto asking = Read(
      "defaults: {model: juniq, check_folder: c}\n"
      "sensors: [{name: a, port: 1, params_from: '127.0.0.1:1'}]");
  EXPECT_FALSE(asking[0].check_folder) << "params_from takes its place";
  const auto silent = Read(
      "defaults: {model: juniq, params_from: 'no-such-host:1'}\n"
      "sensors: [{name: a, capture: c}, {name: b, port: 1, check_folder: c}]");
  EXPECT_FALSE(silent[0].params_from || silent[1].params_from) << "so no one is asked for the name";
}

TEST_F(ASensorFile, TellsWhereAValueOfASensorIsWrong) {
  ExpectRefusals(R"(
port: 0x10 => 3: port: expected a whole number from 1 to 65535, found the text '0x10'
port: 0 => 3: port: expected a whole number from 1 to 65535, found 0
port: 65536 => 3: port: expected
port: 12.0 => 3: port: expected a whole number from 1 to 65535, found 12.0
port: +-5 => 3: port: expected a whole number from 1 to 65535, found the text '+-5'
port: '12' => 3: port: expected a whole number from 1 to 65535, found the text '12' in quotes
port: => 3: port: expected a whole number from 1 to 65535, found nothing
first_frame: -1 => 3: first_frame: expected a whole number from 0 to 2147483647, found -1
extrinsics: {x: nan} => 3: extrinsics.x: expected a number from -100000 to 100000 m, found the text
extrinsics: {x: 100001} => 3: extrinsics.x: expected
extrinsics: {yaw: -361} => 3: extrinsics.yaw: expected a number from -360 to 360 deg, found -361
extrinsics: 5 => 3: extrinsics: expected a mapping (of x, y, z, roll, pitch, yaw), found 5
gates: {min_distance: -1} => 3: gates.min_distance: expected a number from 0 to 100000 m, found -1
gates: {min_distanc: 1} => 3: gates: unknown key 'min_distanc' (did you mean min_distance?), expect
gates: {min_distance: 2e3} => 3: gates: min_distance 2000 is above max_distance 1500: no point
gates: {max_azimuth: -91} => 3: gates: min_azimuth -90 is above max_azimuth -91
gates: {min_elevation: 91} => 3: gates: min_elevation 91 is above max_elevation 90
address: localhost => 3: address: expected an IPv4 address of this machine, or 0.0.0.0 for all
address: 224.0.0.1 => 3: address: expected
source: 0.0.0.0 => 3: source: expected the IPv4 address of a sender, found the text '0.0.0.0'
source: 255.255.255.255 => 3: source: expected
params_from: 127.0.0.1 => 3: params_from: 127.0.0.1: write an address, a colon and a port
params_from: '127.0.0.1 :1' => 3: params_from: expected the address of a sensor
params_from: 127.0.0.300:1 => 3: params_from: expected the address of a sensor
params_from: 0.0.0.0:1 => 3: params_from: expected the address of a sensor, a colon and a port
check_folder: '' => 3: check_folder: expected the path of a folder, found the text '' in quotes
check_folder: "a\0b" => 3: check_folder: expected the path of a folder, found the text 'a?b' in
check_folder: "a\x7F" => 3: check_folder: expected
model: juniq => 3: repeated key 'model', which stands in line 2
prot: 1 => 3: unknown key 'prot' (did you mean port?), expected one of name, model, port, address
extrins: 1 => 3: unknown key 'extrins', expected one of name
extrinsics: {w: 1} => 3: extrinsics: unknown key 'w', expected one of x, y, z, roll, pitch, yaw
[1]: 1 => 3: expected a key (one of name, model, port
<<: {} => 3: merge keys (<<) are not taken
port: 1}, front, { => 3: expected a mapping (of name, model, port, address, source, check_folder
port: 1}, {model: juniq => 3: this sensor has no name
port: 1}, {name: b => 3: sensor b has no model: expected one of juniq, glavor
port: 1}, {name: b, model: abc => 3: model: expected a model (one of juniq, glavor
port: 1}, {name: a/b => 3: name: expected a name of up to 64 letters, digits
port: 1}, {name: .. => 3: name: expected a name
port: 1}, {name: a, port: 2, model: juniq => 3: the name a is that of the sensor in line 2 already
)");
  ExpectRefusal("sensors: [{name: " + std::string(65, 'a') + "}]", "1: name: expected a name");
}

TEST_F(ASensorFile, TellsWhatDoesNotGoTogether) {
  ExpectRefusals(R"(
 => 2: sensor a has neither port nor capture
port: 1, first_frame: 0 => 3: first_frame: only a capture has
port: 1, params_local_port: 2 => 3: params_local_port: it has no use without params_from
capture: c, address: 127.0.0.1 => 3: address: a capture is not listened to
capture: c, params_from: h:1 => 3: params_from: a capture has no one to ask
capture: c, params_local_port: 1 => 3: params_local_port: a capture has no one to ask
port: 1, params_from: h:1, check_folder: c => 3: params_from: expected either check_folder
)");
}

TEST_F(ASensorFile, LetsNoTwoSocketsShareAPort) {
  ExpectRefusals(R"(
port: 1, source: 127.0.0.1}, {name: b, model: juniq, port: 1, source: 127.0.0.2 => 3: port 0.0.0.0
port: 1, address: 127.0.0.1}, {name: b, model: juniq, port: 1 => 3: port 0.0.0.0:1 clashes with
port: 1, address: 0.0.0.0}, {name: b, model: juniq, port: 1, address: 127.0.0.1 => 3: port 127.0.0.1
port: 1, address: 127.0.0.1}, {name: b, model: juniq, port: 1, address: 127.0.0.1 => 3: port 127.0
port: 1, params_from: 127.0.0.1:9, params_local_port: 1 => 3: params_local_port 0.0.0.0:1 clashes
port: 1, params_from: 127.0.0.1:9, params_local_port: 2}, {name: b, model: juniq, port: 2 => 3: port
)");
  EXPECT_EQ(Read("sensors: [{name: a, model: juniq, port: 1, address: 127.0.0.1},"
                 "{name: b, model: juniq, port: 1, address: 127.0.0.2},"
                 "{name: c, model: juniq, port: 1, capture: c}]")
                .size(),
            3U);
}

TEST_F(ASensorFile, TellsWhereTheFileAsAWholeIsWrong) {
  const std::string good = "sensors:\n  - name: a\n    model: juniq\n    port: 1\n";
  std::string many = "sensors:\n  - &s {name: a, model: juniq, port: 1}\n";
  for (int i = 0; i < 256; ++i) many += "  - *s\n";
  ExpectRefusal("", "1: expected a mapping (of defaults, sensors), found nothing");
  ExpectRefusal("# none\n\n", "2: expected a mapping (of defaults, sensors), found nothing");
  ExpectRefusal("sensor: []", "1: unknown key 'sensor' (did you mean sensors?)");
  ExpectRefusal("defaults: {}", "1: expected the key sensors");
  ExpectRefusal("sensors: {name: a}", "1: sensors: expected a list of sensors, found a mapping");
  ExpectRefusal("sensors: []", "1: sensors: expected 1 to 256 sensors, found 0");
  ExpectRefusal(many, "1: sensors: expected 1 to 256 sensors, found 257");
  ExpectRefusal("defaults: {name: a}\n" + good,
                "1: defaults: name is of one sensor and may not stand in defaults");
  ExpectRefusal("defaults: {Name: a}\n" + good,
                "1: defaults: unknown key 'Name', expected one of model, port, address, source, "
                "check_folder, params_from, first_frame, gates, extrinsics");
  ExpectRefusal("defaults: {port: x}\n" + good, "1: defaults.port: expected a whole number");
  ExpectRefusal("defaults: {params_from: 'h:1', check_folder: c}\n" + good,
                "1: defaults.params_from: expected either");
  ExpectRefusal("defaults:\n  gates: {max_distance: 1}\n" + good + "    gates: {min_distance: 2}",
                "7: gates: min_distance 2 is above max_distance 1");
  ExpectRefusal("defaults:\n  port: 1\n" + good + "  - {name: b,\n    model: juniq}\n",
                "7: port 0.0.0.0:1 clashes with port 0.0.0.0:1 in line 6");
  ExpectRefusal("a\nb\x04 c", "2: a control character");
  ExpectRefusal(good + "\x7F", "5: a control character");
  ExpectRefusal(good + "---\na: 1", "5: a second document begins");
  ExpectRefusal(good + "   x: 1", "5: no valid YAML: end of sequence not found (check the indent");
  ExpectRefusal(good + "    source: \"127", "5: no valid YAML: the file ends within quotes");
  ExpectRefusal("a: *b", "1: no valid YAML: the referenced anchor is not defined");
  ExpectRefusal("sensors:\n  - &a [*a]", "2: an alias of what it stands in has no end");
  ExpectRefusal("sensors: !!seq []", "1: tags are not taken: write the value without tag:yaml.org");
  ExpectRefusal(std::string(33, '['), "1: lists and mappings are nested too deeply");
  ExpectRefusal(std::string(100000, '{'), "1: lists and mappings are nested too deeply");
}

TEST_F(ASensorFile, MayBeWrittenInOtherWays) {
  const std::string sensor = "{name: ! \"a\", model: juniq, port: 1}";
  for (const std::string& text :
       {"\xEF\xBB\xBFsensors: [" + sensor + ']', "---\r\nsensors:\r\n  - " + sensor + "\r\n...\r\n",
        "%YAML 1.2\n---\nsensors:\n- " + sensor, "sensors: &s [" + sensor + "]\n\n# the end"}) {
    EXPECT_EQ(Read(text)[0].name, "a") << text;
  }
  const auto aliases = Read(
      "sensors:\n  - {name: &n a, model: &m juniq, port: 1, gates: &g {}}\n"
      "  - {name: b, model: *m, port: 2, check_folder: *n, gates: *g}");
  EXPECT_EQ(*aliases[1].check_folder, dir_ / "a");
}

TEST_F(ASensorFile, ThatCannotBeReadIsAFaultOfTheFile) {
  EXPECT_THAT(RefusalOf(dir_ / "none"), HasSubstr("/none: No such file"));
  ASSERT_EQ(::mkfifo((dir_ / "fifo").c_str(), 0600), 0);
  for (const std::string& path : {dir_.path().string(), (dir_ / "fifo").string()}) {
    EXPECT_THAT(RefusalOf(path), HasSubstr(": it is not a regular file"));
  }
  const std::string full = dir_.Write("s.yaml", std::string(1U << 20U, '#'));
  EXPECT_THAT(RefusalOf(full), HasSubstr("found nothing"));
  std::ofstream(full, std::ios::app) << '#';
  EXPECT_THAT(RefusalOf(full),
              testing::AllOf(StartsWith("4: cannot read /"), HasSubstr("it is larger than 1 MiB")));
}

TEST_F(ASensorFile, OfTheExamplesHasSensorsThatLookOutwards) {
  const std::string examples = ORLIQ_EXAMPLES;
  for (const auto& [name, count] :
       {std::pair("/two-sensors.yaml", 2U), {"/eight-sensors.yaml", 8U}}) {
    const auto sensors = ReadSensorFile(examples + name).sensors;
    ASSERT_EQ(sensors.size(), count);
    for (std::size_t i = 0; i < count; ++i) {
      const auto& [enable, x, y, z, roll, pitch, yaw] = sensors[i].decoder.transform_param;
      EXPECT_EQ(sensors[i].port, 2368 + i);
      EXPECT_EQ(std::remainder(yaw - 360.0 / count * static_cast<double>(i), 360.0), 0.0);
      EXPECT_GT(std::cos(yaw * 0.0174533) * x + std::sin(yaw * 0.0174533) * y, 0.9);
    }
  }
}

TEST_F(ASensorFile, OfTheGuideIsOne) {
  std::ifstream guide(ORLIQ_EXAMPLES "/../docs/sensor-file.md");
  std::string text, line;
  for (bool inside = false; std::getline(guide, line); inside = inside || line == "```yaml") {
    if (inside && line == "```") break;
    if (inside) text += line + '\n';
  }
  const auto sensors = ReadSensorFile(dir_.Write("s.yaml", text)).sensors;
  ASSERT_EQ(sensors.size(), 3);
  EXPECT_EQ(sensors[2].model->name, std::string("kelvane"));
}

#else

TEST_F(ASensorFile, NeedsAProgramWithYaml) {
  EXPECT_THAT(RefusalOf("s.yaml"), HasSubstr("was built without libyaml-cpp-dev"));
}

#endif

}  // namespace
}  // namespace orliq::cli
