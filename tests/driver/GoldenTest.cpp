// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdint>

#include "decoder/LoopForm.h"
#include "multi_driver/SensorModels.h"
#include "support/Playback.h"
#include "support/SimulatedCapture.h"

namespace orliq::lidar {
namespace {

/// Plays a capture with transform, gates and radius filter on: FNV-1a over the bytes of every point
/// of the first three clouds, and over the clouds' own numbers.
template <typename P>
std::uint64_t DecodedBytes(const test::SimulatedCapture& capture, LidarType model) {
  test::Playback<P> probe;
  DriverParam param = probe.Param(capture.capture, capture.check_folder, model);
  param.decoder_param.transform_param = {1, 0.5F, -1.25F, 1.75F, 1.5F, -2.25F, 30.0F};
  param.decoder_param.max_azimuth = 45.5F;
  param.decoder_param.min_distance = 1.0F;
  EXPECT_GE(probe.Open(param), 3);
  for (int i = 0; i < 3; ++i) probe.Request(i);
  EXPECT_TRUE(probe.WaitFor(3));
  std::uint64_t hash = 0xCBF29CE484222325U;
  const auto add = [&hash](const void* data, std::size_t size) {
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    for (std::size_t i = 0; i < size; ++i) hash = (hash ^ bytes[i]) * 0x100000001B3U;
  };
  for (std::size_t i = 0; i < 3; ++i) {
    const auto cloud = probe.frames.at(i);
    add(cloud->points.data(), cloud->points.size() * sizeof(P));
    add(&cloud->timestamp, sizeof cloud->timestamp);
    add(&cloud->temperature_a, sizeof cloud->temperature_a);
  }
  return hash;
}

struct Golden {
  const char* model;
  std::uint64_t point, point_time, point_source, juniq_point;
};

class DecodedBits : public testing::TestWithParam<Golden> {};

// Worked out once and kept: every compiler, every optimisation level and every processor must give
// these very bits. They change only with the simulated sensors, never with the decoders.
TEST_P(DecodedBits, AreTheSameEverywhere) {
  const Golden& golden = GetParam();
  sim::SensorOptions options;
  options.faults.range_noise_m = 0.02;
  options.faults.false_return_rate = 0.01;
  const test::SimulatedCapture capture(3, options, golden.model);
  const LidarType model = FindSensorModel(golden.model)->type;
  for (const bool portable : {false, true}) {
    SCOPED_TRACE(portable ? "portable form" : "form of this processor");
    LoopForm::ForcePortable(portable);
    EXPECT_EQ(DecodedBytes<Point>(capture, model), golden.point);
    EXPECT_EQ(DecodedBytes<PointTime>(capture, model), golden.point_time);
    EXPECT_EQ(DecodedBytes<PointSource>(capture, model), golden.point_source);
    EXPECT_EQ(DecodedBytes<JuniqPoint>(capture, model), golden.juniq_point);
  }
  LoopForm::ForcePortable(false);
}

constexpr Golden kGolden[] = {
    {"juniq", 0xFB4A4FCCC6D01C3BU, 0xECFAAB84179A486BU, 0x90F7EB261A1492BFU, 0x46A213CB90CF7E10U},
    {"glavor", 0xE79A9486C635FB0AU, 0xBED71EE2C560348AU, 0xB38B7B509D110FB6U, 0x9C244EC99FACAF0AU},
    {"corvik", 0x048EB822186A35EAU, 0x61CD294DDD005386U, 0x9F72DD6F2CE69CDCU, 0x51807269EE02731AU},
    {"kelvane", 0x80C4677DA4B0D096U, 0xAD297300758267D6U, 0x6391F74185014166U, 0x0663101FB3E23CB6U},
    {"fennix", 0xDB3C044197F87325U, 0x863A2D90B893CF45U, 0x12035A8B27CF13DFU, 0xB524ACFEB13ED2F5U},
};

INSTANTIATE_TEST_SUITE_P(Model, DecodedBits, testing::ValuesIn(kGolden),
                         [](const auto& golden) { return std::string(golden.param.model); });

}  // namespace
}  // namespace orliq::lidar
