// SPDX-License-Identifier: Apache-2.0
#include "orliq/config/SensorKeys.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <limits>

#include "orliq/terminal/NumberText.h"

namespace orliq::cli {
namespace {

using lidar::DecoderParam;
using lidar::TransformParam;

constexpr double kFarthest = 1e5;  // [m] beyond it a float is coarser than a sensor measures
constexpr double kTurn = 360.0;    // [deg]
constexpr std::size_t kMaxName = 64;

/// A number of one of a sensor's mappings.
template <class Record>
struct NumberKey {
  const char* name;
  float Record::*member;
  double min, max;
  const char* unit;
};

constexpr NumberKey<DecoderParam> kGates[] = {
    {"min_distance", &DecoderParam::min_distance, 0.0, kFarthest, "m"},
    {"max_distance", &DecoderParam::max_distance, 0.0, kFarthest, "m"},
    {"min_azimuth", &DecoderParam::min_azimuth, -kTurn, kTurn, "deg"},
    {"max_azimuth", &DecoderParam::max_azimuth, -kTurn, kTurn, "deg"},
    {"min_elevation", &DecoderParam::min_elevation, -kTurn, kTurn, "deg"},
    {"max_elevation", &DecoderParam::max_elevation, -kTurn, kTurn, "deg"},
};

constexpr NumberKey<TransformParam> kPose[] = {
    {"x", &TransformParam::x, -kFarthest, kFarthest, "m"},
    {"y", &TransformParam::y, -kFarthest, kFarthest, "m"},
    {"z", &TransformParam::z, -kFarthest, kFarthest, "m"},
    {"roll", &TransformParam::roll, -kTurn, kTurn, "deg"},
    {"pitch", &TransformParam::pitch, -kTurn, kTurn, "deg"},
    {"yaw", &TransformParam::yaw, -kTurn, kTurn, "deg"},
};

template <class Record, std::size_t N>
void ReadNumbers(const YamlValue& value, const NumberKey<Record> (&keys)[N], Record& record) {
  std::vector<std::string> names;
  for (const auto& key : keys) names.emplace_back(key.name);
  const YamlValue::Entries entries = value.Mapping(names);
  for (const auto& key : keys) {
    const YamlValue* const number = entries.Find(key.name);
    if (number == nullptr) continue;
    record.*key.member = static_cast<float>(number->Number(key.min, key.max, key.unit));
  }
}

void ReadGates(const YamlValue& value, ConfiguredSensor& sensor) {
  DecoderParam& gates = sensor.decoder;
  ReadNumbers(value, kGates, gates);
  const auto require = [&value](const std::string& quantity, float min, float max) {
    if (min <= max) return;
    value.Refuse("min_" + quantity + ' ' + Significant(min) + " is above max_" + quantity + ' ' +
                 Significant(max) + ": no point would be left");
  };
  require("distance", gates.min_distance, gates.max_distance);
  require("azimuth", gates.min_azimuth, gates.max_azimuth);
  require("elevation", gates.min_elevation, gates.max_elevation);
}

void ReadExtrinsics(const YamlValue& value, ConfiguredSensor& sensor) {
  TransformParam& pose = sensor.decoder.transform_param;
  ReadNumbers(value, kPose, pose);
  pose.enable = 1;
}

bool IsAlphanumeric(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

/// Whether a text has nothing but letters, digits and those characters.
bool IsWord(const std::string& text, const std::string& others) {
  return std::all_of(text.begin(), text.end(), [&others](char c) {
    return IsAlphanumeric(c) || others.find(c) != std::string::npos;
  });
}

/// Fit for names of files, so ".." and "-f" are none.
void ReadName(const YamlValue& value, ConfiguredSensor& sensor) {
  const std::string what = "a name of up to " + std::to_string(kMaxName) +
                           " letters, digits, '-', '_' and '.' that begins with a letter or digit";
  const std::string name = value.Text(what);
  const bool good = name.size() <= kMaxName && IsAlphanumeric(name[0]) && IsWord(name, "-_.");
  if (!good) value.Expect(what);
  sensor.name = name;
}

void ReadModel(const YamlValue& value, ConfiguredSensor& sensor) {
  const std::string what = "a model (one of " + ModelNames() + ')';
  std::string name = value.Text(what);
  for (char& letter : name) {
    letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  }
  sensor.model = lidar::FindSensorModel(name);
  if (sensor.model == nullptr) value.Expect(what);
}

std::uint16_t ReadPort(const YamlValue& value) {
  return static_cast<std::uint16_t>(value.WholeNumber(1, 65535));
}

void ReadFirstFrame(const YamlValue& value, ConfiguredSensor& sensor) {
  sensor.first_frame = static_cast<int>(value.WholeNumber(0, std::numeric_limits<int>::max()));
}

/// Neither broadcast nor multicast; 0.0.0.0 only where `may_be_any`.
bool IsHost(const std::string& text, bool may_be_any) {
  in_addr parsed = {};
  if (::inet_pton(AF_INET, text.c_str(), &parsed) != 1) return false;
  const in_addr_t host = ntohl(parsed.s_addr);
  if (host == INADDR_ANY) return may_be_any;
  return host != INADDR_BROADCAST && !IN_MULTICAST(host);
}

void ReadAddress(const YamlValue& value, ConfiguredSensor& sensor) {
  constexpr char kWhat[] = "an IPv4 address of this machine, or 0.0.0.0 for all of them";
  const std::string text = value.Text(kWhat);
  if (!IsHost(text, true)) value.Expect(kWhat);
  sensor.address = text == "0.0.0.0" ? "" : text;
}

void ReadSource(const YamlValue& value, ConfiguredSensor& sensor) {
  constexpr char kWhat[] = "the IPv4 address of a sender";
  const std::string text = value.Text(kWhat);
  if (!IsHost(text, false)) value.Expect(kWhat);
  sensor.source = text;
}

/// A path in the file is relative to its folder.
std::string ReadPath(const YamlValue& value, const std::string& what) {
  const std::filesystem::path folder = std::filesystem::path(value.File()).parent_path();
  return (folder / value.Text(what)).lexically_normal().string();
}

void ReadCapture(const YamlValue& value, ConfiguredSensor& sensor) {
  sensor.capture = ReadPath(value, "the path of a capture file");
}

/// Takes the place of params_from of defaults, and the other way round.
void ReadCheckFolder(const YamlValue& value, ConfiguredSensor& sensor) {
  sensor.check_folder = ReadPath(value, "the path of a folder");
  sensor.params_from.reset();
}

constexpr char kEndpoint[] = "the address of a sensor, a colon and a port, as 192.168.1.200:2400";
constexpr char kParamsFrom[] = "params_from:";

/// Does `work` on the text of `value`; what it finds wrong then has file and line.
template <typename Work>
void Of(const YamlValue& value, const Work& work) {
  try {
    work();
  } catch (const Failure& fault) {
    throw FailureAt(value.File(), value.Line(), fault.what());
  }
}

/// A name stays one: another key may yet take its place.
void ReadParamsFrom(const YamlValue& value, ConfiguredSensor& sensor) {
  const std::string text = value.Text(kEndpoint);
  if (!IsWord(text, "-_.:")) value.Expect(kEndpoint);  // no name to ask the network for
  Of(value, [&] { sensor.params_from = SplitHostPort(kParamsFrom, text); });
  const std::string& host = sensor.params_from->address;
  const bool numeric = host.find_first_not_of("0123456789.") == std::string::npos;
  if (numeric && !IsHost(host, false)) value.Expect(kEndpoint);
  sensor.check_folder.reset();
}

/// A key of a sensor, and how its value gets into the sensor.
struct SensorKey {
  const char* name;
  bool shared;  // may stand in defaults too
  void (*read)(const YamlValue& value, ConfiguredSensor& sensor);
};

constexpr SensorKey kSensorKeys[] = {
    {"name", false, &ReadName},
    {"model", true, &ReadModel},
    {"port", true, [](const auto& value, auto& sensor) { sensor.port = ReadPort(value); }},
    {"address", true, &ReadAddress},
    {"source", true, &ReadSource},
    {"check_folder", true, &ReadCheckFolder},
    {"params_from", true, &ReadParamsFrom},
    {"params_local_port", false,
     [](const auto& value, auto& sensor) { sensor.params_local_port = ReadPort(value); }},
    {"capture", false, &ReadCapture},
    {"first_frame", true, &ReadFirstFrame},
    {"gates", true, &ReadGates},
    {"extrinsics", true, &ReadExtrinsics},
};

std::vector<std::string> NamesOf(bool shared) {
  std::vector<std::string> names;
  for (const SensorKey& key : kSensorKeys) {
    if (key.shared == shared) names.emplace_back(key.name);
  }
  return names;
}

}  // namespace

void ReadKeys(const YamlValue::Entries& entries, ConfiguredSensor& sensor) {
  for (const SensorKey& key : kSensorKeys) {
    if (const YamlValue* const value = entries.Find(key.name)) key.read(*value, sensor);
  }
}

void ResolveParamsFrom(const YamlValue& value, ConfiguredSensor& sensor) {
  Of(value, [&] { Resolve(kParamsFrom, *sensor.params_from); });
  if (!IsHost(sensor.params_from->address, false)) value.Expect(kEndpoint);
}

std::vector<std::string> SensorKeyNames() {
  std::vector<std::string> names;
  for (const SensorKey& key : kSensorKeys) names.emplace_back(key.name);
  return names;
}

std::vector<std::string> SharedKeyNames() {
  return NamesOf(true);
}

std::vector<std::string> OwnKeyNames() {
  return NamesOf(false);
}

}  // namespace orliq::cli
