// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "multi_driver/OrliqDriver.h"

namespace orliq::bench {

using Clock = std::chrono::steady_clock;

/// One end of a live stream, while it lives: counts packets, and notes when each frame is there.
class LiveReceiver {
 public:
  virtual ~LiveReceiver() = default;
  virtual std::uint64_t Packets() const = 0;

  /// Ends all threads; returns how long that took.
  virtual Clock::duration Stop() = 0;

  /// When the frames were complete, in order; for a stopped receiver.
  const std::vector<Clock::time_point>& Frames() const { return frames_; }

 protected:
  LiveReceiver() { frames_.reserve(100000); }
  std::vector<Clock::time_point> frames_;  // of the receiving thread
};

/// The library's driver: calibrated, filtered clouds.
class DriverReceiver final : public LiveReceiver {
 public:
  DriverReceiver(std::uint16_t port, lidar::LidarType type, const std::string& check_folder);
  std::uint64_t Packets() const override;
  Clock::duration Stop() override;

 private:
  using Cloud = PointCloud<Point>;
  std::shared_ptr<Cloud> cloud_ = std::make_shared<Cloud>();  // lent again and again
  OrliqDriver<Cloud> driver_;
};

/// The least a receiver can do: one thread in a recvfrom loop that counts. A packet at place `closing`
/// of its frame completes one, but for the very first packet.
class BareReceiver final : public LiveReceiver {
 public:
  BareReceiver(std::uint16_t port, std::uint64_t packets_per_frame, std::uint64_t closing);
  ~BareReceiver() override;
  std::uint64_t Packets() const override { return packets_; }
  Clock::duration Stop() override;

 private:
  void Receive();

  const std::uint64_t packets_per_frame_;
  const std::uint64_t closing_;
  int descriptor_;
  std::atomic<bool> running_{true};
  std::atomic<std::uint64_t> packets_{0};
  std::thread thread_;
};

/// Two threads that poll and sleep for 1 us a pass, one a socket, one an empty queue: the yardstick
/// for what an idle driver may cost.
class SleepingLoops final : public LiveReceiver {
 public:
  explicit SleepingLoops(std::uint16_t port);
  ~SleepingLoops() override;
  std::uint64_t Packets() const override { return 0; }
  Clock::duration Stop() override;

 private:
  int descriptor_;
  std::mutex mutex_;
  std::vector<int> queue_;  // guarded by mutex_
  std::atomic<bool> running_{true};
  std::thread receiving_, decoding_;
};

}  // namespace orliq::bench
