// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "orliq/clouds/FrameStream.h"
#include "orliq/config/SensorFile.h"
#include "orliq/terminal/Console.h"
#include "orliq/verbs/SourceOptions.h"

namespace orliq::cli {

/// Captures whose frames are shown or published: in round k the k-th of each sensor.
struct PlayedCaptures {
  std::string title;
  std::vector<FramesWanted> sensors;
  std::vector<std::string> remarks;  ///< to be told before
};

/// The capture of the command line, surveyed. Throws Failure when no frame is there to be `done`, such as
/// "shown".
PlayedCaptures OneCapture(const SourceOptions& options, const std::string& done, Console& console);

/// Those of a file's sensors, likewise.
PlayedCaptures SeveralCaptures(const SourceOptions& options, const SensorFile& file,
                               Console& console);

}  // namespace orliq::cli
