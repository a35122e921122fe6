// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "multi_driver/OrliqDriver.h"

namespace orliq::test {

#ifdef __SANITIZE_THREAD__
constexpr std::chrono::seconds kDeadline{60};  // everything takes many times longer there
#else
constexpr std::chrono::seconds kDeadline{10};  // far beyond what any machine needs
#endif

/// Asks again until the answer is yes or the deadline has passed. An expectation prints the question.
inline testing::AssertionResult Eventually(const std::function<bool()>& ask) {
  const auto end = std::chrono::steady_clock::now() + kDeadline;
  while (!ask()) {
    if (std::chrono::steady_clock::now() > end) {
      return testing::AssertionFailure() << "not within " << kDeadline.count() << " s";
    }
    std::this_thread::yield();
  }
  return testing::AssertionSuccess();
}

/// Runs a body that may hang, such as one that joins a thread. After the deadline it ends the process
/// with what it waited for, so that nobody waits for the time limit of the whole test.
inline void MustEnd(const char* what, const std::function<void()>& body) {
  std::promise<void> ended;
  std::thread guard([what, end = ended.get_future()] {
    if (end.wait_for(kDeadline) == std::future_status::ready) return;
    std::fprintf(stderr, "%s did not end within %d s\n", what, static_cast<int>(kDeadline.count()));
    std::abort();
  });
  body();
  ended.set_value();
  guard.join();
}

/// Holds the thread that makes the `nth` call, inside the application's code, until it is let go.
struct Hold {
  void operator()() {
    if (--nth != 0) return;
    reached.set_value();
    go.get_future().wait_for(kDeadline);
  }
  bool Reached() { return reached.get_future().wait_for(kDeadline) == std::future_status::ready; }

  int nth = 1;
  std::promise<void> reached = {};
  std::promise<void> go = {};
};

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
