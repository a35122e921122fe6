// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "multi_driver/DriverParam.h"
#include "orliq/sensors/Models.h"
#include "orliq/terminal/CommandLine.h"

namespace orliq::cli {

/// What clouds hold and where they go, for every verb that decodes.
struct OutputOptions {
  std::string out;  ///< empty: no files
  std::string format;
  bool force = false;           ///< replaces the file or frames of an earlier run
  bool no_compression = false;  ///< of a file of messages
  bool with_packets = false;    ///< likewise: in it
  std::string point = "point";
  bool verbose = false;
};

/// --point and --verbose.
void AddPointOptions(CommandLine& command, OutputOptions& options);

/// The same, and --out with what belongs to it.
void AddOutputOptions(CommandLine& command, OutputOptions& options);

/// How packets of a sensor that the command line names become clouds, and where these go.
struct CloudOptions {
  std::string model;
  std::optional<std::string> check_folder;
  std::vector<float> transform;  ///< empty or x, y, z [m], roll, pitch, yaw [deg]
  lidar::DecoderParam decoder;   ///< limits
  OutputOptions output;
};

/// --model, which is required.
void AddModelOption(CommandLine& command, std::string& model);

/// The same and --check-folder.
void AddModelOptions(CommandLine& command, std::string& model,
                     std::optional<std::string>& check_folder);

/// The same, --transform and the limits.
void AddDecodingOptions(CommandLine& command, CloudOptions& options);

/// The same and those of the output.
void AddCloudOptions(CommandLine& command, CloudOptions& options);

/// What the driver is initialised with, but for the source of packets; throws Failure for limits
/// that let nothing through.
lidar::DriverParam MakeDriverParam(const CloudOptions& options, const Model& model);

}  // namespace orliq::cli
