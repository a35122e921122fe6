// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "simulator/sensors/Sensor.h"

namespace orliq::sim {

/// Encodes a sensor's frames on a thread of its own, a few of them ahead of the one asked for, so
/// that a sender never waits for the sensor's mathematics.
///
/// While this lives, nobody else uses the sensor. One thread asks for frames.
class EncodeAhead {
 public:
  /// Frames 0 to before `frames`; all frames for ever when it is empty. `sensor` and the scene stay
  /// the caller's and must outlive this.
  EncodeAhead(Sensor& sensor, const SceneView& view, std::optional<std::uint64_t> frames);
  ~EncodeAhead();
  EncodeAhead(const EncodeAhead&) = delete;
  EncodeAhead& operator=(const EncodeAhead&) = delete;

  /// The next frame, waiting for it; no packets after the last frame. Throws what the sensor threw.
  std::vector<Packet> Next();

 private:
  void Encode();
  bool WaitForRoom();

  Sensor& sensor_;
  const SceneView view_;
  const std::optional<std::uint64_t> frames_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::vector<Packet>> ready_;  // guarded by mutex_, like all below
  bool finished_ = false;                  // no further frame comes
  bool stopped_ = false;                   // none is wanted
  std::exception_ptr fault_;
  std::thread worker_;  // last: it uses all the others
};

}  // namespace orliq::sim
