// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "support/Playback.h"
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
    while (!probe.driver->SetLocalFrame(i)) std::this_thread::yield();
    EXPECT_TRUE(probe.WaitFor(before + 1));
    if (i == 0) {
      allocations = 0;
      counting = true;
    }
  }
  counting = false;
  return allocations;
}

TEST(Allocations, APacketCostsNone) {
  EXPECT_EQ(AllocationsOfFourFrames(false), 0);
}

TEST(Allocations, NeitherDoesTheRadiusFilter) {
  EXPECT_EQ(AllocationsOfFourFrames(true), 0);
}

}  // namespace
}  // namespace orliq::lidar
