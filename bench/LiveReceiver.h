// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "decoder/Decoder.h"
#include "multi_driver/OrliqDriver.h"
#include "param/CheckParam.h"

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

/// One thread in a blocking recvfrom loop, which gives each packet to `take`. `take` notes the time
/// itself when a frame is complete.
class BlockingLoop : public LiveReceiver {
 public:
  ~BlockingLoop() override;
  std::uint64_t Packets() const override { return packets_; }
  Clock::duration Stop() override;

 protected:
  explicit BlockingLoop(std::uint16_t port);
  void Begin(std::function<void(const std::uint8_t*, std::size_t)> take);
  std::uint64_t Place() const { return packets_.load(std::memory_order_relaxed); }

 private:
  void Receive();

  int descriptor_;
  std::function<void(const std::uint8_t*, std::size_t)> take_;
  std::atomic<bool> running_{true};
  std::atomic<std::uint64_t> packets_{0};
  std::thread thread_;
};

/// The least a receiver can do: it counts. A packet at place `closing` of its frame completes one, but
/// for the very first packet.
class BareReceiver final : public BlockingLoop {
 public:
  BareReceiver(std::uint16_t port, std::uint64_t packets_per_frame, std::uint64_t closing);
  ~BareReceiver() override { Stop(); }
};

/// The same loop, which decodes and filters as the driver does, in the one thread and with nothing
/// between: what a driver's threads, queue and counts are measured against.
class DecodingReceiver final : public BlockingLoop {
 public:
  /// `tables` may be null, for a model without.
  DecodingReceiver(std::uint16_t port, lidar::LidarType type, lidar::CheckParam* tables);
  ~DecodingReceiver() override { Stop(); }

 private:
  using Cloud = PointCloud<Point>;
  std::shared_ptr<lidar::Decoder<Cloud>> decoder_;
};

}  // namespace orliq::bench
