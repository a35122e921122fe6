// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/BeamMeter.h"

namespace orliq::sim {

BeamMeter::BeamMeter(std::uint64_t seed, const Faults& faults, const Reach& reach)
    : seed_(seed),
      faults_(faults),
      reach_(reach),
      noise_(seed, kNoiseStream),
      false_return_(seed, kFalseReturnStream) {}

void BeamMeter::StartFrame(std::uint64_t frame) {
  noise_ = Random(seed_, kNoiseStream, frame);
  false_return_ = Random(seed_, kFalseReturnStream, frame);
  truth_.clear();
}

std::optional<Hit> BeamMeter::Measure(std::uint32_t position, Hit hit) {
  if (faults_.range_noise_m > 0.0) {
    hit.range_m += faults_.range_noise_m * noise_.Gaussian();
  }
  const bool is_false =
      faults_.false_return_rate > 0.0 && false_return_.Chance(faults_.false_return_rate);
  if (is_false) {
    hit = {false_return_.Uniform(2.0, 100.0), 0.3};
  }
  const bool measured = reach_.min_m <= hit.range_m && hit.range_m <= reach_.max_m;
  BeamTruth& truth = truth_.emplace_back();  // filled in place, which is faster
  truth.position = position;
  truth.range_m = measured ? hit.range_m : 0.0;
  truth.measured = measured;
  truth.is_false = is_false;
  if (!measured) return std::nullopt;
  return hit;
}

}  // namespace orliq::sim
