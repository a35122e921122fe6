// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "multi_driver/DriverParam.h"
#include "orliq/FrameRange.h"
#include "orliq/Models.h"

namespace orliq::cli {

/// The command line of the verb play.
struct PlayOptions {
  std::string capture;
  std::string model;
  std::string check_folder;
  std::string frames;
  std::string out;
  std::string format;
  std::string point = "point";
  std::optional<std::uint16_t> port;  ///< nothing: the port whose packets fit the model; 0: any
  std::vector<float> transform;       ///< empty or x, y, z [m], roll, pitch, yaw [deg]
  lidar::DecoderParam decoder;        ///< limits
  bool json = false;
  bool quiet = false;
  bool verbose = false;
};

void AddPlayOptions(CLI::App& command, PlayOptions& options);

/// The model to play; throws Failure when it is unknown or cannot be decoded.
const Model& PlayableModel(const PlayOptions& options);

/// What the driver is initialised with; throws Failure for limits that let nothing through.
lidar::DriverParam MakeDriverParam(const PlayOptions& options, const Model& model,
                                   std::uint16_t port);

}  // namespace orliq::cli
