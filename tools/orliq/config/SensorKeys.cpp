// SPDX-License-Identifier: Apache-2.0
#include "orliq/config/SensorKeys.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <limits>

namespace orliq::cli {
namespace {

constexpr double kFarthest = 1e5;  // [m] beyond it a float is coarser than a sensor measures
constexpr double kTurn = 360.0;    // [deg]

/// A number in one of the mappings of a sensor.
template <class Record>
struct NumberKey {
  const char* name;
  float Record::*member;
  double min, max;
  const char* unit;
};

using lidar::DecoderParam;
using lidar::TransformParam;

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

template <class Keys>
std::vector<std::string> Names(const Keys& keys) {
  std::vector<std::string> names;
  for (const auto& key : keys) names.emplace_back(key.name);
  return names;
}

template <class Record, std::size_t N>
void ReadNumbers(const YamlValue& value, const NumberKey<Record> (&keys)[N], Record& record) {
  for (const auto& [name, number] : value.Mapping(Names(keys))) {
    const std::string& wanted = name;
    const auto& key = *std::find_if(std::begin(keys), std::end(keys), [&](const auto& candidate) {
      return candidate.name == wanted;
    });
    record.*key.member = static_cast<float>(number.Number(key.min, key.max, key.unit));
  }
}

void ReadGates(const YamlValue& value, ConfiguredSensor& sensor) {
  ReadNumbers(value, kGates, sensor.decoder);
  const DecoderParam& gates = sensor.decoder;
  const auto require = [&value](const std::string& quantity, float min, float max) {
    if (min <= max) return;
    value.Refuse("min_" + quantity + " is above max_" + quantity + ": no point would be left");
  };
  require("distance", gates.min_distance, gates.max_distance);
  require("azimuth", gates.min_azimuth, gates.max_azimuth);
  require("elevation", gates.min_elevation, gates.max_elevation);
}

void ReadExtrinsics(const YamlValue& value, ConfiguredSensor& sensor) {
  ReadNumbers(value, kPose, sensor.decoder.transform_param);
  sensor.decoder.transform_param.enable = 1;
}

void ReadName(const YamlValue& value, ConfiguredSensor& sensor) {
  constexpr char kWhat[] = "a name of letters, digits, '-', '_' and '.'";
  constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.";
  sensor.name = value.Text(kWhat);
  if (sensor.name.find_first_not_of(kLetters) != std::string::npos) value.Expect(kWhat);
}

void ReadModel(const YamlValue& value, ConfiguredSensor& sensor) {
  const std::string what = "a model, one of " + ModelNames();
  std::string name = value.Text(what);
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char letter) { return std::tolower(letter); });
  sensor.model = lidar::FindSensorModel(name);
  if (sensor.model == nullptr) value.Expect(what);
}

std::uint16_t ReadPort(const YamlValue& value) {
  return static_cast<std::uint16_t>(value.WholeNumber(1, 65535));
}

void ReadAddress(const YamlValue& value, ConfiguredSensor& sensor) {
  constexpr char kWhat[] = "an IPv4 address of this machine";
  const std::string text = value.Text(kWhat);
  in_addr address = {};
  if (::inet_pton(AF_INET, text.c_str(), &address) != 1) value.Expect(kWhat);
  sensor.address = address.s_addr == htonl(INADDR_ANY) ? "" : text;
}

void ReadSource(const YamlValue& value, ConfiguredSensor& sensor) {
  constexpr char kWhat[] = "the IPv4 address of a sender";
  const std::string text = value.Text(kWhat);
  in_addr parsed = {};
  if (::inet_pton(AF_INET, text.c_str(), &parsed) != 1) value.Expect(kWhat);
  const in_addr_t host = ntohl(parsed.s_addr);
  if (host == INADDR_ANY || host == INADDR_BROADCAST || IN_MULTICAST(host)) value.Expect(kWhat);
  sensor.source = text;
}

/// Relative to the folder of the file.
std::string ReadPath(const YamlValue& value, const std::string& what) {
  const std::filesystem::path folder = std::filesystem::path(value.File()).parent_path();
  return (folder / value.Text(what)).lexically_normal().string();
}

void ReadCheckFolder(const YamlValue& value, ConfiguredSensor& sensor) {
  sensor.check_folder = ReadPath(value, "the path of a folder");
  sensor.params_from.reset();
}

void ReadParamsFrom(const YamlValue& value, ConfiguredSensor& sensor) {
  const std::string text = value.Text("an address, a colon and a port, as 192.168.1.200:2400");
  try {
    sensor.params_from = ParseHostPort("params_from", text);
  } catch (const Failure& fault) {
    throw FailureAt(value.File(), value.Line(), fault.what());
  }
  sensor.check_folder.reset();
}

}  // namespace

const std::vector<SensorKey>& SensorKeys() {
  using Value = const YamlValue&;
  using Sensor = ConfiguredSensor&;
  static const std::vector<SensorKey> keys = {
      {"name", false, &ReadName},
      {"model", true, &ReadModel},
      {"port", true, [](Value value, Sensor sensor) { sensor.port = ReadPort(value); }},
      {"address", true, &ReadAddress},
      {"source", true, &ReadSource},
      {"check_folder", true, &ReadCheckFolder},
      {"params_from", true, &ReadParamsFrom},
      {"params_local_port", false,
       [](Value value, Sensor sensor) { sensor.params_local_port = ReadPort(value); }},
      {"capture", false,
       [](Value value, Sensor sensor) {
         sensor.capture = ReadPath(value, "the path of a capture");
       }},
      {"first_frame", true,
       [](Value value, Sensor sensor) {
         constexpr auto kMost = std::numeric_limits<int>::max();
         sensor.first_frame = static_cast<int>(value.WholeNumber(0, kMost));
       }},
      {"gates", true, &ReadGates},
      {"extrinsics", true, &ReadExtrinsics},
  };
  return keys;
}

void ReadKeys(const YamlValue::Entries& entries, ConfiguredSensor& sensor) {
  for (const auto& [name, value] : entries) {
    for (const SensorKey& key : SensorKeys()) {
      if (key.name == name) key.read(value, sensor);
    }
  }
}

std::vector<std::string> SensorKeyNames() {
  return Names(SensorKeys());
}

std::vector<std::string> SharedKeyNames() {
  std::vector<std::string> names;
  for (const SensorKey& key : SensorKeys()) {
    if (key.shared) names.emplace_back(key.name);
  }
  return names;
}

}  // namespace orliq::cli
