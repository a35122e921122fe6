// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "simulator/sensors/BeamMeter.h"
#include "simulator/sensors/PacedSensor.h"

namespace orliq::sim {

/// A sensor whose beams measure the scene.
class ScanningSensor : public PacedSensor {
 public:
  /// Every beam that was measured in the last frame, in the order sent.
  const std::vector<BeamTruth>& Truth() const { return meter_.Truth(); }

 protected:
  ScanningSensor(const SensorTraits& traits, std::size_t packets_per_frame, const Reach& reach,
                 const SensorOptions& options)
      : PacedSensor(traits, packets_per_frame, options),
        meter_(options.seed, options.faults, reach) {}

  /// What the beam at `position`, which truly meets `hit`, measures; nothing when nothing came back.
  std::optional<Hit> Measure(std::uint32_t position, const Hit& hit) {
    return meter_.Measure(position, hit);
  }

 private:
  void StartFrame(std::uint64_t frame) final { meter_.StartFrame(frame); }

  BeamMeter meter_;
};

}  // namespace orliq::sim
