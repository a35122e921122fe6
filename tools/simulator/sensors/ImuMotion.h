// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "simulator/scene/Vec3.h"

namespace orliq::sim {

constexpr double kImuRate = 100.0;  // [Hz] samples that the unit takes per second

/// What an inertial unit feels, in the point frame.
struct ImuSample {
  Vec3 angular_velocity;  ///< [rad/s]
  Vec3 acceleration;      ///< [m/s^2] specific force: at rest 9.81 along +z
};

/// A mount that sways by about a degree in roll and pitch, `time_s` seconds after the start. The
/// beams do not sway with it, so that the truth of a scene stays plain.
ImuSample SwayAt(double time_s);

/// What the unit has to say at a moment: its latest sample.
struct ImuReading {
  std::uint64_t number = 0;  ///< of the sample, from 0 at the start
  ImuSample sample;
};
ImuReading LatestImu(double time_s);

}  // namespace orliq::sim
