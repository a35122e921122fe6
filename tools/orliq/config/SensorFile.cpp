// SPDX-License-Identifier: Apache-2.0
#include "orliq/config/SensorFile.h"

#include "orliq/config/PortClaims.h"
#include "orliq/config/SensorKeys.h"
#include "orliq/config/YamlValue.h"

namespace orliq::cli {
namespace {

constexpr std::size_t kMaxSensors = 256;  // a fused point names its sensor in one byte

/// A sensor, and what the file says of it alone: the keys that are not of defaults.
struct Entry {
  YamlValue at;
  YamlValue::Entries own;
  ConfiguredSensor sensor;
};

/// A key of the sensor's own that makes no sense; in defaults it is for the other sensors.
void RefuseOwn(const Entry& entry, const std::string& key, const std::string& why) {
  if (const YamlValue* const value = entry.own.Find(key)) value->Refuse(why);
}

void SettleCapture(Entry& entry) {
  RefuseOwn(entry, "address", "a capture is not listened to, so only a live sensor has an address");
  RefuseOwn(entry, "params_from", "a capture has no one to ask for calibration: use check_folder");
  RefuseOwn(entry, "params_local_port", "a capture has no one to ask for calibration");
  entry.sensor.address.clear();
  entry.sensor.params_from.reset();
}

void SettleLive(Entry& entry) {
  ConfiguredSensor& sensor = entry.sensor;
  if (!sensor.port) {
    entry.at.Refuse("sensor " + sensor.name +
                    " has neither port nor capture: expected the port of a live sensor, or the "
                    "file of a capture");
  }
  RefuseOwn(entry, "first_frame", "only a capture has a first frame");
  if (!sensor.params_from) {
    RefuseOwn(entry, "params_local_port", "it has no use without params_from");
  }
  sensor.first_frame.reset();
}

void RequireOneCalibration(const YamlValue::Entries& entries) {
  if (entries.Find("check_folder") == nullptr) return;
  const YamlValue* const asked = entries.Find("params_from");
  if (asked != nullptr) asked->Refuse("expected either check_folder or params_from, found both");
}

/// What all sensors have that do not say otherwise.
struct Defaults {
  YamlValue::Entries entries;
  ConfiguredSensor sensor;
};

Defaults ReadDefaults(const YamlValue* value) {
  Defaults defaults;
  if (value == nullptr) return defaults;
  value->RefuseKeys(OwnKeyNames(), "is of one sensor and may not stand in defaults");
  defaults.entries = value->Mapping(SharedKeyNames());
  RequireOneCalibration(defaults.entries);
  ReadKeys(defaults.entries, defaults.sensor);
  return defaults;
}

ConfiguredSensor ReadSensor(const YamlValue& at, const ConfiguredSensor& defaults,
                            PortClaims& ports) {
  Entry entry = {at, at.Mapping(SensorKeyNames()), defaults};
  ConfiguredSensor& sensor = entry.sensor;
  sensor.line = at.Line();
  RequireOneCalibration(entry.own);
  ReadKeys(entry.own, sensor);
  if (sensor.name.empty()) at.Refuse("this sensor has no name: expected the key name");
  if (sensor.model == nullptr) {
    at.Refuse("sensor " + sensor.name + " has no model: expected one of " + ModelNames());
  }
  if (sensor.IsLive()) {
    SettleLive(entry);
  } else {
    SettleCapture(entry);
  }
  ports.Claim(sensor, entry.own, at);
  return std::move(sensor);
}

void RequireNewName(const ConfiguredSensor& sensor, const std::vector<ConfiguredSensor>& earlier,
                    const YamlValue& at) {
  for (const ConfiguredSensor& other : earlier) {
    if (other.name != sensor.name) continue;
    at.Refuse("the name " + sensor.name + " is that of the sensor in line " +
              std::to_string(other.line) + " already");
  }
}

/// Asks for the addresses of names, but only of those in use, so that a file whose names nobody needs
/// is read without a network.
void ResolveNames(const std::vector<YamlValue>& items, const Defaults& defaults,
                  std::vector<ConfiguredSensor>& sensors) {
  for (std::size_t i = 0; i < sensors.size(); ++i) {
    if (!sensors[i].params_from) continue;
    const YamlValue::Entries own = items[i].Mapping(SensorKeyNames());
    const YamlValue* const asked = own.Find("params_from");
    ResolveParamsFrom(asked != nullptr ? *asked : *defaults.entries.Find("params_from"),
                      sensors[i]);
  }
}

std::vector<ConfiguredSensor> ReadSensors(const YamlValue& value, const Defaults& defaults) {
  const std::vector<YamlValue> items = value.List("a list of sensors");
  if (items.empty() || items.size() > kMaxSensors) {
    value.Refuse("expected 1 to " + std::to_string(kMaxSensors) + " sensors, found " +
                 std::to_string(items.size()));
  }
  std::vector<ConfiguredSensor> sensors;
  PortClaims ports;
  for (const YamlValue& item : items) {
    ConfiguredSensor sensor = ReadSensor(item, defaults.sensor, ports);
    RequireNewName(sensor, sensors, item);
    sensors.push_back(std::move(sensor));
  }
  ResolveNames(items, defaults, sensors);
  return sensors;
}

}  // namespace

SensorFile ReadSensorFile(const std::string& path) {
  const YamlTree tree(path);
  const YamlValue file(path, tree.Root());
  const YamlValue::Entries entries = file.Mapping({"defaults", "sensors"});
  const YamlValue* const sensors = entries.Find("sensors");
  const Defaults defaults = ReadDefaults(entries.Find("defaults"));
  if (sensors == nullptr) file.Refuse("expected the key sensors, with a list of them");
  return {path, ReadSensors(*sensors, defaults)};
}

lidar::DriverParam MakeDriverParam(const ConfiguredSensor& sensor) {
  lidar::DriverParam param;
  param.lidar_type = sensor.model->type;
  param.input_type = sensor.IsLive() ? lidar::InputType::Socket : lidar::InputType::Pcap;
  param.input_param = {sensor.address, sensor.port.value_or(0), sensor.capture};
  param.decoder_param = sensor.decoder;
  lidar::CalibrationParam& calibration = param.calibration_param;
  calibration.check_folder = sensor.check_folder.value_or("");
  if (!sensor.params_from) return param;
  param.param_source = 1;
  calibration.local_port = sensor.params_local_port;
  calibration.remote_port = sensor.params_from->port;
  calibration.remote_address = sensor.params_from->address;
  return param;
}

}  // namespace orliq::cli
