// SPDX-License-Identifier: Apache-2.0
#include "orliq/config/SensorFile.h"

#include "orliq/config/SensorKeys.h"
#include "orliq/config/YamlValue.h"

namespace orliq::cli {
namespace {

constexpr std::size_t kMaxSensors = 256;  // a point of several sensors names its own in one byte

/// A sensor with what the file says about itself, not about all.
struct Entry {
  ConfiguredSensor sensor;
  YamlValue at;
  YamlValue::Entries own;

  /// Null when the sensor itself does not have the key.
  const YamlValue* Own(const std::string& key) const {
    for (const auto& [name, value] : own) {
      if (name == key) return &value;
    }
    return nullptr;
  }
};

void RequireKey(bool there, const Entry& entry, const std::string& what) {
  if (there) return;
  const std::string& name = entry.sensor.name;
  entry.at.Refuse((name.empty() ? "this sensor" : "sensor " + name) + " has no " + what);
}

void RefuseKey(const Entry& entry, const std::string& key, const std::string& why) {
  if (const YamlValue* const value = entry.Own(key)) value->Refuse(why);
}

/// What every capture shares with live sensors by defaults has no meaning for it.
void SettleCapture(Entry& entry) {
  ConfiguredSensor& sensor = entry.sensor;
  RefuseKey(entry, "address", "a capture is not received: only a live sensor has it");
  RefuseKey(entry, "params_from", "a capture has no one to ask: it takes check_folder");
  RefuseKey(entry, "params_local_port", "a capture has no one to ask");
  sensor.address.clear();
  sensor.params_from.reset();
}

void SettleLive(Entry& entry) {
  ConfiguredSensor& sensor = entry.sensor;
  RequireKey(sensor.port.has_value(), entry,
             "port: a live sensor needs it, expected port or capture");
  RefuseKey(entry, "first_frame", "only a sensor with capture has it");
  if (!sensor.params_from) RefuseKey(entry, "params_local_port", "it needs params_from");
  sensor.first_frame.reset();
}

Entry ReadSensor(const YamlValue& at, const ConfiguredSensor& defaults) {
  Entry entry = {defaults, at, at.Mapping(SensorKeyNames())};
  entry.sensor.line = at.Line();
  ReadKeys(entry.own, entry.sensor);
  RequireKey(entry.Own("name") != nullptr, entry, "name");
  RequireKey(entry.sensor.model != nullptr, entry, "model: expected one of " + ModelNames());
  if (entry.Own("check_folder") != nullptr) {
    RefuseKey(entry, "params_from", "a sensor has either check_folder or params_from");
  }
  entry.sensor.IsLive() ? SettleLive(entry) : SettleCapture(entry);
  return entry;
}

bool SamePlace(const std::string& one, const std::string& other) {
  return one.empty() || other.empty() || one == other;
}

std::string Belongs(const ConfiguredSensor& sensor) {
  return sensor.name + " in line " + std::to_string(sensor.line);
}

/// Where the port stands: in the sensor or, when defaults has it, where the sensor begins.
const YamlValue& PortValue(const Entry& entry, const std::string& key) {
  const YamlValue* const own = entry.Own(key);
  return own != nullptr ? *own : entry.at;
}

void RequireOwnPorts(const Entry& entry, const Entry& earlier) {
  const ConfiguredSensor& one = entry.sensor;
  const ConfiguredSensor& other = earlier.sensor;
  const auto refuse = [&](const std::string& key, std::uint16_t port) {
    PortValue(entry, key)
        .Refuse("port " + std::to_string(port) + " is taken by " + Belongs(other) +
                ": of two sockets on a port the system gives packets to one only");
  };
  if (one.IsLive() && other.IsLive() && one.port == other.port &&
      SamePlace(one.address, other.address)) {
    refuse("port", *one.port);
  }
  const std::uint16_t local = one.params_local_port;
  if (local != 0 &&
      (local == other.params_local_port || (other.IsLive() && local == *other.port))) {
    refuse("params_local_port", local);
  }
  if (one.IsLive() && other.params_local_port == *one.port) refuse("port", *one.port);
}

void RequireDistinct(const Entry& entry, const std::vector<Entry>& earlier) {
  const ConfiguredSensor& sensor = entry.sensor;
  if (sensor.params_local_port != 0 && sensor.params_local_port == sensor.port) {
    PortValue(entry, "params_local_port").Refuse("it must differ from port");
  }
  for (const Entry& other : earlier) {
    if (other.sensor.name == sensor.name) {
      entry.Own("name")->Refuse("this is the name of " + Belongs(other.sensor));
    }
    RequireOwnPorts(entry, other);
  }
}

ConfiguredSensor ReadDefaults(const YamlValue& value) {
  ConfiguredSensor defaults;
  const auto entries = value.Mapping(SharedKeyNames());
  ReadKeys(entries, defaults);
  if (defaults.check_folder || defaults.params_from) {
    int count = 0;
    for (const auto& [name, other] : entries)
      count += name == "check_folder" || name == "params_from";
    if (count > 1) value.Refuse("expected either check_folder or params_from, found both");
  }
  return defaults;
}

std::vector<ConfiguredSensor> ReadSensors(const YamlValue& value,
                                          const ConfiguredSensor& defaults) {
  const auto items = value.List("a list of sensors");
  if (items.empty()) value.Refuse("expected at least one sensor");
  if (items.size() > kMaxSensors) value.Refuse("expected at most 256 sensors");
  std::vector<Entry> entries;
  for (const YamlValue& item : items) {
    Entry entry = ReadSensor(item, defaults);
    RequireDistinct(entry, entries);
    entries.push_back(std::move(entry));
  }
  std::vector<ConfiguredSensor> sensors;
  for (Entry& entry : entries) sensors.push_back(std::move(entry.sensor));
  return sensors;
}

}  // namespace

SensorFile ReadSensorFile(const std::string& path) {
  const YamlTree tree(path);
  const YamlValue file(path, tree.Root());
  ConfiguredSensor defaults;
  const YamlValue* sensors = nullptr;
  const auto entries = file.Mapping({"defaults", "sensors"});
  for (const auto& [name, value] : entries) {
    if (name == "defaults") defaults = ReadDefaults(value);
    if (name == "sensors") sensors = &value;
  }
  if (sensors == nullptr) file.Refuse("expected the key sensors, a list of sensors");
  return {path, ReadSensors(*sensors, defaults)};
}

lidar::DriverParam MakeDriverParam(const ConfiguredSensor& sensor) {
  lidar::DriverParam param;
  param.lidar_type = sensor.model->type;
  param.input_type = sensor.IsLive() ? lidar::InputType::Socket : lidar::InputType::Pcap;
  param.input_param = {sensor.address, sensor.port.value_or(0), sensor.capture};
  param.decoder_param = sensor.decoder;
  param.calibration_param.check_folder = sensor.check_folder.value_or("");
  if (sensor.params_from) {
    param.param_source = 1;
    param.calibration_param.local_port = sensor.params_local_port;
    param.calibration_param.remote_port = sensor.params_from->port;
    param.calibration_param.remote_address = sensor.params_from->address;
  }
  return param;
}

}  // namespace orliq::cli
