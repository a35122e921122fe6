// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdint>

#include "support/Playback.h"
#include "support/SimulatedCapture.h"

namespace orliq::lidar {
namespace {

/// Plays a noisy three-frame capture with transform, gates and radius filter on: FNV-1a over the
/// bytes of every point of every frame, and over the frames' own numbers.
template <typename P>
std::uint64_t DecodedBytes() {
  sim::SensorOptions options;
  options.faults.range_noise_m = 0.02;
  options.faults.false_return_rate = 0.01;
  const test::SimulatedCapture capture(3, options);
  test::Playback<P> probe;
  DriverParam param = probe.Param(capture.capture, capture.check_folder);
  param.decoder_param.transform_param = {1, 0.5F, -1.25F, 1.75F, 1.5F, -2.25F, 30.0F};
  param.decoder_param.max_azimuth = 45.5F;
  param.decoder_param.min_distance = 1.0F;
  EXPECT_EQ(probe.Open(param), 4) << "the third frame's marker is the start of an empty fourth";
  std::uint64_t hash = 0xCBF29CE484222325U;
  const auto add = [&hash](const void* data, std::size_t size) {
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    for (std::size_t i = 0; i < size; ++i) hash = (hash ^ bytes[i]) * 0x100000001B3U;
  };
  for (int i = 0; i < 3; ++i) {
    const auto cloud = probe.Play(i);
    add(cloud->points.data(), cloud->points.size() * sizeof(P));
    add(&cloud->timestamp, sizeof cloud->timestamp);
    add(&cloud->temperature_a, sizeof cloud->temperature_a);
  }
  return hash;
}

// Worked out once and kept: every compiler, every optimisation level and every processor must give
// these very bits. They change only with the simulated sensor, never with the decoder.
TEST(DecodedBits, AreTheSameEverywhere) {
  EXPECT_EQ(DecodedBytes<Point>(), 0xFB4A4FCCC6D01C3BU);
  EXPECT_EQ(DecodedBytes<PointTime>(), 0xECFAAB84179A486BU);
  EXPECT_EQ(DecodedBytes<PointSource>(), 0x90F7EB261A1492BFU);
  EXPECT_EQ(DecodedBytes<JuniqPoint>(), 0x46A213CB90CF7E10U);
}

}  // namespace
}  // namespace orliq::lidar
