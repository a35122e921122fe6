// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "multi_driver/DriverParam.h"
#include "orliq/network/HostPort.h"
#include "orliq/sensors/Models.h"

namespace orliq::cli {

/// One sensor of a robot, as the file describes it. Paths are complete: in the file they are relative
/// to its folder.
struct ConfiguredSensor {
  std::string name;                         ///< unique in the file
  int line = 0;                             ///< where it begins in the file, from 1
  const Model* model = nullptr;             ///< never null
  std::string capture;                      ///< empty: a live sensor
  std::optional<std::uint16_t> port;        ///< a live sensor has one; of a capture: else found
  std::string address;                      ///< of this machine to listen on; empty: all of them
  std::string source;                       ///< the only sender that counts; empty: any
  std::optional<std::string> check_folder;  ///< excludes params_from
  std::optional<HostPort> params_from;      ///< of the sensor, which hands out its calibration
  std::uint16_t params_local_port = 0;      ///< to fetch it from; 0: any that is free
  std::optional<int> first_frame;           ///< of a capture: the one that is fused first
  lidar::DecoderParam decoder;              ///< gates and extrinsics

  bool IsLive() const { return capture.empty(); }

  /// "front (juniq)"
  std::string Title() const { return name + " (" + model->name + ')'; }
};

/// The sensors of a robot.
struct SensorFile {
  std::string path;
  std::vector<ConfiguredSensor> sensors;  ///< at least one, in the order of the file
};

/// Reads a configuration file. Throws Failure with the code kFileFault when it cannot be read, else
/// kUsage with file, line and what was expected: for what is no YAML, an unknown or repeated key, a
/// wrong type, a value out of range, two sensors of one name or on one port, and for the program built
/// without YAML.
SensorFile ReadSensorFile(const std::string& path);

/// What the driver of a sensor is initialised with.
lidar::DriverParam MakeDriverParam(const ConfiguredSensor& sensor);

}  // namespace orliq::cli
