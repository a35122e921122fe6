// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "multi_driver/OrliqDriver.h"
#include "support/Threads.h"

namespace orliq::test {

/// A driver that plays a capture, with its frames collected in order.
template <typename P>
struct Playback {
  using Cloud = PointCloud<P>;

  Playback() {
    driver = std::make_unique<OrliqDriver<Cloud>>();
    const auto put = [this](const std::shared_ptr<Cloud>& cloud) {
      owners = cloud.use_count();
      on_frame();
      const std::lock_guard<std::mutex> lock(mutex);
      frames.push_back(cloud);
      arrived.notify_all();
    };
    driver->RegisterPointCloudCallBack(put, [this] { return provider(); });
    driver->RegisterExceptionCallBack([this](const lidar::Error& error) {
      on_error();
      const std::lock_guard<std::mutex> lock(mutex);
      errors.push_back(error.code);
    });
  }

  ~Playback() {
    MustEnd("the driver", [this] { driver.reset(); });
  }

  static lidar::DriverParam Param(const std::string& capture, const std::string& folder = "",
                                  lidar::LidarType model = lidar::LidarType::Juniq) {
    lidar::DriverParam param;
    param.input_type = lidar::InputType::Pcap;
    param.lidar_type = model;
    param.input_param = {"", 2368, capture};
    param.calibration_param.check_folder = folder;
    return param;
  }

  /// Initialises, starts and indexes; the number of frames, or -1.
  int Open(const lidar::DriverParam& param) {
    return driver->InitDriver(param) && driver->Start() ? Indexed() : -1;
  }
  int Open(const std::string& capture) { return Open(Param(capture)); }
  int Indexed() {
    int count = -1;
    Eventually([&] { return driver->GetLocalFileStatus(count); });
    return count;
  }
  bool Request(int index) {
    return Eventually([&] { return driver->SetLocalFrame(index); });
  }
  /// Requests a frame and waits for the cloud; null when none came.
  std::shared_ptr<Cloud> Play(int index) {
    const std::size_t before = Count();
    if (!Request(index) || !WaitFor(before + 1)) return nullptr;
    const std::lock_guard<std::mutex> lock(mutex);
    return frames[before];
  }
  bool WaitFor(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex);
    return arrived.wait_for(lock, kDeadline, [&] { return frames.size() >= count; });
  }
  std::size_t Count() {
    const std::lock_guard<std::mutex> lock(mutex);
    return frames.size();
  }

  std::function<void()> on_frame = [] {};  // on the worker thread, before the frame is counted
  std::function<void()> on_error = [] {};  // likewise
  std::function<std::shared_ptr<Cloud>()> provider = [] { return std::make_shared<Cloud>(); };
  std::atomic<long> owners{0};  // of the last cloud, as it was handed over
  std::mutex mutex;
  std::condition_variable arrived;
  std::vector<std::shared_ptr<Cloud>> frames;  // guarded by mutex
  std::vector<std::uint32_t> errors;           // guarded by mutex
  std::unique_ptr<OrliqDriver<Cloud>> driver;  // last: its threads end before the rest goes
};

}  // namespace orliq::test
