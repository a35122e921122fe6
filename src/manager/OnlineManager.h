// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "manager/DriverManager.h"

namespace orliq::lidar {

/// Receives a live sensor: one thread takes packets from the socket, a second decodes them and
/// hands out frames and IMU samples. Between them stands an unbounded queue, so a callback that
/// blocks loses no packet as long as memory lasts; SetQueueLimit gives the oldest up instead. With
/// check parameters from the sensor a third thread fetches them meanwhile.
///
/// Threads: all callbacks run on the decoding thread, except the first request for a cloud and an
/// IMU message, inside Init. The providers are asked again when what they gave was handed over, and
/// at each end of a frame for what they did not give. Stop, Start and destruction are allowed from
/// inside a callback, Init is not (a driver makes a new manager).
template <typename T>
class OnlineManager final : public DriverManager<T> {
 public:
  OnlineManager();
  ~OnlineManager() override;

  /// Makes the decoder, loads the check folder (a folder that does not load leaves zero tables, and
  /// says so) or opens the channel to the sensor's own, binds the socket. False when the model is
  /// unknown or one of the two sockets cannot be bound; nothing is left behind then.
  bool Init(const DriverParam& param) override;

  /// Starts the threads; true when they run, also when they ran already. Packets that a Stop left
  /// in the queue and those that reached the socket meanwhile are decoded first, into the cloud
  /// that was being filled: the first frame after a restart is a mixed one.
  bool Start() override;

  /// Stops the threads, the loading one first. The queue keeps its packets. From inside a callback, no other one is called
  /// until Start, which then asks for a cloud and a message where none is left.
  void Stop() override;
  void UpdateTransform(const TransformParam& transform) override;
  bool GetStatistics(DriverStatistics& statistics) const override;
  void SetQueueLimit(std::uint64_t packets) override;
  bool GetCalibrationStatus(CalibrationStatus& status) const override;
  void Abandon() override;

 private:
  struct Impl;
  std::shared_ptr<Impl> impl_;
};

}  // namespace orliq::lidar
