// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <future>
#include <new>

#include "support/LiveSensor.h"
#include "support/SimulatedCapture.h"

namespace {

std::atomic<bool> counting{false};
std::atomic<int> allocations{0};

}  // namespace

// Not inlined: the compiler would see malloc meet operator delete, and object.
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (counting) ++allocations;
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(std::size_t size, std::align_val_t alignment) {
  if (counting) ++allocations;
  const auto step = static_cast<std::size_t>(alignment);
  if (void* memory = std::aligned_alloc(step, (size + step - 1) / step * step)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory, std::align_val_t) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace orliq::lidar {
namespace {

/// Allocations while frames 1 to 4 of a capture play, once frame 0 has warmed everything up. The
/// application lends one cloud again and again.
int AllocationsOfFourFrames(bool radius_filter) {
  sim::SensorOptions options;
  options.radius_filter = radius_filter;
  const test::SimulatedCapture capture(6, options);
  test::Playback<Point> probe;
  const auto cloud = std::make_shared<PointCloud<Point>>();
  probe.provider = [&cloud] {
    cloud->points.clear();
    return cloud;
  };
  probe.frames.reserve(10);
  DriverParam param = probe.Param(capture.capture);
  param.calibration_param.check_folder = capture.check_folder;
  EXPECT_TRUE(probe.driver->InitDriver(param) && probe.driver->Start());
  EXPECT_EQ(probe.Indexed(), 7);
  for (int i = 0; i < 5; ++i) {
    const std::size_t before = probe.Count();
    // Not by Request: a function object may need memory.
    const auto end = std::chrono::steady_clock::now() + test::kDeadline;
    bool accepted = false;
    while (!(accepted = probe.driver->SetLocalFrame(i)) && std::chrono::steady_clock::now() < end) {
      std::this_thread::yield();
    }
    EXPECT_TRUE(accepted && probe.WaitFor(before + 1)) << "frame " << i;
    if (i == 0) {
      allocations = 0;
      counting = true;
    }
  }
  counting = false;
  return allocations;
}

TEST(Allocations, APacketCostsNoneWithTheRadiusFilterOffOrOn) {
  EXPECT_EQ(AllocationsOfFourFrames(false), 0);
  EXPECT_EQ(AllocationsOfFourFrames(true), 0);
}

TEST(Allocations, NorDoesALivePacketOnceTheQueueHasBeenFull) {
  test::LiveSensor<Point> sensor;
  const auto cloud = std::make_shared<PointCloud<Point>>();
  const auto message = std::make_shared<ImuMsg>();
  std::promise<void> go_on;
  sensor.provider = [&cloud] {
    cloud->points.clear();
    return cloud;
  };
  sensor.imu_provider = [&message] { return message; };
  sensor.on_frame = [&, first = true]() mutable {
    if (std::exchange(first, false)) go_on.get_future().wait();
  };
  sensor.frames.reserve(10);
  sensor.samples.reserve(10000);
  ASSERT_TRUE(sensor.Open());
  const auto send = [&](unsigned packets, unsigned stamp) {
    for (unsigned i = 1; i <= packets; ++i) {
      const std::size_t marked = i == 1 ? 0 : 63;  // the first of a frame, or none
      const test::JuniqReturn block = i == 1 ? test::kMarker : test::JuniqReturn{};
      const auto packet = test::JuniqPacket().Block(marked, block).Imu({}, stamp + i);
      sensor.sender.Send(sensor.port, packet.data(), packet.size());
      const auto taken = [&] { return sensor.Statistics().received >= stamp + i; };
      if (i % 50 == 0) test::Eventually(std::cref(taken));  // a reference needs no memory
    }
  };
  send(1500, 0);  // the consumer waits: more buffers than a later round can need
  go_on.set_value();
  send(1500, 1500);
  sensor.WaitForDecoded(3000);
  allocations = 0;
  counting = true;
  send(1500, 3000);
  counting = false;
  sensor.WaitForDecoded(4500);
  sensor.driver->Stop();
  EXPECT_EQ(allocations, 0);
  EXPECT_EQ(sensor.samples.size(), 4500U);
}

}  // namespace
}  // namespace orliq::lidar
