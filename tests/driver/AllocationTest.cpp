// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <functional>
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
[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace orliq::lidar {
namespace {

/// Makes the application lend one cloud again and again.
void LendOneCloud(test::Playback<Point>& probe) {
  probe.provider = [cloud = std::make_shared<PointCloud<Point>>()] {
    cloud->points.clear();
    return cloud;
  };
  probe.frames.reserve(10);
}

/// Allocations while frames 1 to 4 of a capture play, once frame 0 has warmed everything up.
int AllocationsOfFourFrames(bool radius_filter) {
  sim::SensorOptions options;
  options.radius_filter = radius_filter;
  const test::SimulatedCapture capture(6, options);
  test::Playback<Point> probe;
  LendOneCloud(probe);
  EXPECT_EQ(probe.Open(probe.Param(capture.capture, capture.check_folder)), 7);
  for (int i = 0; i < 5; ++i) {
    const std::size_t before = probe.Count();
    const auto accepted = [&probe, i] { return probe.driver->SetLocalFrame(i); };
    EXPECT_TRUE(test::Eventually(std::cref(accepted)));  // a reference needs no memory
    EXPECT_TRUE(probe.WaitFor(before + 1)) << "frame " << i;
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

}  // namespace
}  // namespace orliq::lidar
