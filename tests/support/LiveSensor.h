// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "support/JuniqPacket.h"
#include "support/Loopback.h"
#include "support/Playback.h"

namespace orliq::test {

/// A driver that listens on a free port of this machine, and the sensor that sends to it.
template <typename P>
struct LiveSensor : Playback<P> {
  LiveSensor() {
    this->driver->RegisterImuCallBack(
        [this](const std::shared_ptr<lidar::ImuMsg>& sample) {
          sample_owners = sample.use_count();
          on_imu();
          const std::lock_guard<std::mutex> lock(this->mutex);
          samples.push_back(*sample);
        },
        [this] { return imu_provider(); });
  }
  ~LiveSensor() {
    MustEnd("the driver", [this] { this->driver.reset(); });
  }

  lidar::DriverParam Param(lidar::LidarType model = lidar::LidarType::Juniq) const {
    lidar::DriverParam param;
    param.lidar_type = model;
    param.input_param = {"127.0.0.1", port, ""};
    return param;
  }
  bool Open() { return this->driver->InitDriver(Param()) && this->driver->Start(); }

  /// Sends a packet; waits after every fiftieth, which fit in a socket's smallest buffer.
  void Send(const std::vector<std::uint8_t>& payload) {
    sender.Send(port, payload.data(), payload.size());
    if (++sent_ % 50 == 0) Settle();
  }
  template <typename Packet>
  void Send(const Packet& packet, int count = 1) {
    for (int i = 0; i < count; ++i) Send(packet.payload());
  }
  /// Waits until the driver has taken everything from its socket.
  void Settle() {
    EXPECT_TRUE(Eventually([&] { return Statistics().received == sent_; }));
  }
  void WaitForDecoded(std::uint64_t packets) {
    EXPECT_TRUE(Eventually([&] { return Statistics().decoded == packets; }));
  }
  lidar::DriverStatistics Statistics() const {
    lidar::DriverStatistics statistics;
    this->driver->GetStatistics(statistics);
    return statistics;
  }

  std::function<void()> on_imu = [] {};
  std::function<std::shared_ptr<lidar::ImuMsg>()> imu_provider = [] {
    return std::make_shared<lidar::ImuMsg>();
  };
  std::atomic<long> sample_owners{0};  // of the last sample, as it was handed over
  std::vector<lidar::ImuMsg> samples;  // guarded by mutex
  LoopbackSocket sender;
  std::uint16_t port = FreePort();

 private:
  std::uint64_t sent_ = 0;
};

/// How many descriptors, or threads, this process has.
inline std::ptrdiff_t CountEntries(const char* folder) {
  const std::filesystem::directory_iterator entries(folder);
  return std::distance(begin(entries), end(entries));
}

/// Threads of this process when none is about to come or go: a sanitizer starts one of its own with
/// the first, and the system lists a thread for a moment after it was joined.
inline std::ptrdiff_t ThreadsAtRest() {
  pid_t id = 0;
  std::thread([&id] { id = ::gettid(); }).join();
  const std::string entry = "/proc/self/task/" + std::to_string(id);
  Eventually([&entry] { return !std::filesystem::exists(entry); });
  return CountEntries("/proc/self/task");
}

}  // namespace orliq::test
