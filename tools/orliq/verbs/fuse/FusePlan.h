// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "orliq/clouds/FrameStream.h"
#include "orliq/config/SensorFile.h"
#include "orliq/terminal/Console.h"
#include "orliq/verbs/play/CapturePlan.h"
#include "orliq/verbs/play/FrameRange.h"

namespace orliq::cli {

/// One sensor of a fusion, and its capture.
struct FusedSensor {
  ConfiguredSensor sensor;
  CapturePlan plan;
  std::size_t usable = 0;      ///< frames of the capture that could be fused
  std::vector<int> entries{};  ///< those from first_frame on: one for each round
};

/// Which frames meet: in round k the k-th usable frame of each capture.
struct FusePlan {
  std::string path;  ///< of the configuration file
  std::vector<FusedSensor> sensors;
  FrameRange rounds;  ///< with an end

  std::size_t Rounds() const { return static_cast<std::size_t>(*rounds.last - rounds.first); }

  /// The rounds until the shortest capture has no frame left.
  std::size_t PossibleRounds() const;

  /// The frames of that sensor for the rounds.
  std::vector<int> Entries(const FusedSensor& sensor) const;
};

/// What is told about a sensor of the file names it so.
CaptureSource MakeSource(const ConfiguredSensor& sensor);

/// Surveys every capture of the file and finds the frames of each; `frames` chooses rounds, with `partial`
/// frames count that are not whole. Remarks go to the console. Throws Failure with file, line
/// and name of the sensor: for a live sensor, a model without frames, a capture that play would refuse,
/// packets that two sensors would take, and a first_frame that there is not.
FusePlan MakeFusePlan(const SensorFile& file, const std::string& frames, bool partial,
                      const Console& console);

/// What is to be played of that sensor.
FramesWanted MakeFramesWanted(const FusePlan& plan, const FusedSensor& sensor);

/// Throws Failure when a capture ended early or has changed, with the sensor's name.
void RequireWholeCaptures(const FusePlan& plan);

}  // namespace orliq::cli
