// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "simulator/scene/Scene.h"
#include "simulator/sensors/Random.h"
#include "simulator/sensors/Sensor.h"

namespace orliq::sim {

/// What stands behind one beam, before its range is rounded to what the wire can tell.
struct BeamTruth {
  std::uint32_t position = 0;  ///< which beam, in the model's own numbers
  double range_m = 0.0;        ///< as measured: with noise, or the false return's; 0 for none
  bool measured = false;       ///< something came back within the sensor's reach
  bool is_false = false;       ///< it came back from nowhere
};

/// How far a sensor sees.
struct Reach {
  double min_m = 0.0;  ///< nearer than this it is blind
  double max_m = 0.0;
};

/// Makes of what a beam truly hits what the sensor measures: noise, false returns, its reach. Keeps
/// the truth of the frame. The seed and the frame's number alone decide what chance does. Not thread
/// safe.
class BeamMeter {
 public:
  BeamMeter(std::uint64_t seed, const Faults& faults, const Reach& reach);

  /// Forgets the frame before.
  void StartFrame(std::uint64_t frame);

  /// The return that the beam at `position` measures; nothing when none came back.
  std::optional<Hit> Measure(std::uint32_t position, Hit hit);

  /// The beams measured since StartFrame, in their order.
  const std::vector<BeamTruth>& Truth() const { return truth_; }

 private:
  std::uint64_t seed_;
  Faults faults_;
  Reach reach_;
  Random noise_;         // streams of the current frame, one for each fault, so that asking for one
  Random false_return_;  // fault leaves the others as they were
  std::vector<BeamTruth> truth_;
};

}  // namespace orliq::sim
