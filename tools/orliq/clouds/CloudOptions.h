// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "multi_driver/DriverParam.h"
#include "orliq/sensors/Models.h"

namespace orliq::cli {

/// How packets become clouds and where the clouds go, for every verb that decodes.
struct CloudOptions {
  std::string model;
  std::optional<std::string> check_folder;
  std::string out;
  std::string format;
  bool force = false;  ///< replaces the file or frames of an earlier run
  std::string point = "point";
  std::vector<float> transform;  ///< empty or x, y, z [m], roll, pitch, yaw [deg]
  lidar::DecoderParam decoder;   ///< limits
  bool verbose = false;
};

void AddCloudOptions(CLI::App& command, CloudOptions& options);

/// A remark on --transform for a model whose points it does not move; or empty.
std::string TransformRemark(const CloudOptions& options, const Model& model);

/// What the driver is initialised with, but for the source of packets; throws Failure for limits
/// that let nothing through.
lidar::DriverParam MakeDriverParam(const CloudOptions& options, const Model& model);

}  // namespace orliq::cli
