// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <random>
#include <thread>

#include "support/LiveSensor.h"
#include "support/TickingClock.h"

namespace orliq::lidar {
namespace {

using Cloud = PointCloud<Point>;
using Driver = OrliqDriver<Cloud>;

/// A driver under traffic, and what its next frame callback is to do. Callbacks hold it by a shared
/// pointer, since one that destroys the driver is not waited for.
struct Subject : std::enable_shared_from_this<Subject> {
  explicit Subject(std::uint16_t sensor_port) : port(sensor_port) {}

  void Make() {
    driver = std::make_unique<Driver>();
    const auto self = shared_from_this();
    const auto act = [self] {
      const std::lock_guard<std::mutex> lock(self->mutex);
      if (const auto action = std::exchange(self->armed, nullptr)) action();
    };
    driver->RegisterPointCloudCallBack([act](auto) { act(); },
                                       [] { return std::make_shared<Cloud>(); });
    driver->RegisterImuCallBack([act](auto) { act(); }, [] { return std::make_shared<ImuMsg>(); });
    driver->RegisterExceptionCallBack([act](const Error&) { act(); });
    // Not in each: it comes before all others of its packet.
    driver->RegisterPacketCallBack([act, count = 0](const RawPacket&) mutable {
      if (++count % 4 == 0) act();
    });
  }
  bool Init(bool good) {
    DriverParam param;
    param.lidar_type = LidarType::Juniq;
    param.input_param = {good ? "127.0.0.1" : "300.0.0.1", port, ""};
    return driver->InitDriver(param);
  }
  void Arm(const std::function<void()>& action) {
    const std::lock_guard<std::mutex> lock(mutex);
    armed = action;
  }
  /// Lets the next callback act; waits until it has, since only Stop may overlap.
  void InCallback(const std::function<void()>& action) {
    Arm(action);
    EXPECT_TRUE(test::Eventually([this] {
      const std::lock_guard<std::mutex> lock(mutex);
      return armed == nullptr;
    }));
  }
  void StopFromBothSides() {
    Arm([this] { driver->Stop(); });
    driver->Stop();
    Arm(nullptr);
  }

  const std::uint16_t port;
  std::mutex mutex;
  std::function<void()> armed;  // guarded by mutex
  std::unique_ptr<Driver> driver;
};

/// One random script: a dozen steps in any order, most of them while frames arrive.
void RunScript(Subject& subject, std::mt19937& random) {
  bool running = false;
  const std::function<void()> steps[] = {
      [&] { running = subject.driver->Start(); },
      [&] { running = subject.Init(true) && subject.driver->Start(); },
      [&] { running = subject.Init(random() % 3 != 0) && false; },
      [&] { running = (subject.driver->Stop(), false); },
      [&] { running = (subject.Make(), false); },
      [&] { running = (subject.StopFromBothSides(), false); },
      [&] { subject.driver->UpdateTransform({static_cast<std::uint32_t>(random() % 2)}); },
      [&] {
        DriverStatistics statistics;
        subject.driver->GetStatistics(statistics);
      },
  };
  const std::function<void()> callback_steps[] = {
      [&] { running = (subject.driver->Stop(), false); },
      [&] { running = (subject.driver->Stop(), subject.driver->Start()); },
      [&] { running = subject.Init(true) && false; },
      [&] { running = subject.Init(true) && subject.driver->Start(); },
      [&] { running = subject.Init(false); },
      [&] { running = (subject.Make(), false); },
  };
  subject.Make();
  EXPECT_TRUE(subject.Init(true) && subject.driver->Start());
  running = true;
  for (int i = 0; i < 12; ++i) {
    const auto choice = random();
    if (running && choice % 2 == 0) {
      subject.InCallback(callback_steps[choice / 2 % std::size(callback_steps)]);
    } else {
      steps[choice / 2 % std::size(steps)]();
    }
  }
  subject.driver.reset();
}

TEST(LifeCycle, AHundredRandomScriptsUnderTrafficEndWithNothingLeftBehind) {
  const test::TickingClock clock;
  const std::uint16_t port = test::FreePort();
  const auto descriptors = test::CountEntries("/proc/self/fd");
  const auto threads = test::ThreadsAtRest();
  std::atomic<bool> ended{false};
  std::thread sensor([&] {
    const test::LoopbackSocket sender;
    const auto packet = test::JuniqPacket().Block(63, test::kMarker);
    for (unsigned i = 0; !ended; ++i) {
      sender.Send(port, packet.data(), i % 3 == 0 ? 1 : packet.size());
      std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
  });
  testing::internal::CaptureStderr();  // of the bindings that fail
  for (unsigned seed = 0; seed < 100 && !HasFailure(); ++seed) {
    std::mt19937 random(seed);
    SCOPED_TRACE(seed);
    RunScript(*std::make_shared<Subject>(port), random);
  }
  testing::internal::GetCapturedStderr();
  ended = true;
  sensor.join();
  for (const auto& [folder, before] :
       {std::pair("/proc/self/fd", descriptors), std::pair("/proc/self/task", threads)}) {
    test::Eventually(
        [folder = folder, before = before] { return test::CountEntries(folder) == before; });
    EXPECT_EQ(test::CountEntries(folder), before) << folder;
  }
}

}  // namespace
}  // namespace orliq::lidar
