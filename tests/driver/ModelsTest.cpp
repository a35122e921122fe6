// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <numeric>

#include "multi_driver/SensorModels.h"
#include "support/LiveSensor.h"
#include "support/SimulatedCapture.h"

namespace orliq::lidar {
namespace {

using Sizes = std::vector<std::size_t>;

/// What a driver makes of three frames of a simulated sensor.
struct Model {
  const char* name;
  Sizes live;              ///< points of each cloud
  Sizes played;            ///< likewise, all entries of the capture requested one after the other
  int entries;             ///< of the capture
  std::size_t first_live;  ///< the cloud that is the first of those below
  std::size_t first_played;
  std::size_t frames;  ///< that are the same live and played but for what playback has in front
  double earlier;  ///< [s] time of those played but the first, as playback begins a packet earlier
};

// Where the last block is the mark, playback begins behind it. Where the first packet of a frame has
// the mark, it is decoded once more when the frame is requested: of Fennix and Corvik all but the
// marked point, Kelvane's is still in the cloud. To Corvik and Kelvane the first packet that is
// played has fallen behind the last one that was indexed, so they close what they have.
const Model kModels[] = {
    {"juniq", {49115, 49115, 49115}, {49115, 49115, 49115, 0}, 4, 0, 0, 3, 1.0 / 7680},
    {"glavor", {49152, 49152, 49152}, {49152, 49152, 49152, 0}, 4, 0, 0, 3, 0},
    {"fennix", {32, 49152, 49152}, {49183, 49183, 49151}, 3, 1, 0, 2, 0},
    {"corvik", {10944, 10752}, {192, 10752, 10943, 10751}, 3, 1, 2, 1, 0},
    {"kelvane", {312000, 312000}, {0, 312000, 312260, 312260}, 3, 0, 1, 2, 0},
    {"brantis", {}, {0}, 1, 0, 0, 0, 0},
    {"hestra", {}, {0}, 1, 0, 0, 0, 0},
};

template <typename Clouds>
Sizes PointsOf(const Clouds& clouds) {
  Sizes sizes;
  for (const auto& cloud : clouds) sizes.push_back(cloud->points.size());
  return sizes;
}

class Models : public testing::TestWithParam<Model> {};

TEST_P(Models, FramesAreTheSameLiveAndPlayedBitForBit) {
  const Model& model = GetParam();
  const SensorModel& sensor = *FindSensorModel(model.name);
  const test::SimulatedCapture capture(3, {}, model.name);
  const std::string folder = sensor.needs_tables ? capture.check_folder : "";
  test::Playback<JuniqPoint> playback;
  ASSERT_EQ(playback.Open(playback.Param(capture.capture, folder, sensor.type)), model.entries);
  for (int i = 0; i < model.entries; ++i) playback.Request(i);
  ASSERT_TRUE(playback.WaitFor(model.played.size()));
  playback.driver->Stop();
  EXPECT_EQ(PointsOf(playback.frames), model.played);
  DriverStatistics s;
  ASSERT_TRUE(playback.driver->GetStatistics(s));
  EXPECT_EQ(s.points, std::accumulate(model.played.begin(), model.played.end(), std::size_t{0}));
  EXPECT_EQ(s.frames, model.played.size());
  const std::uint64_t kept = s.points + s.filtered + (sensor.keeps_gated_points ? 0 : s.gated);
  EXPECT_EQ(s.returns, sensor.decodes_points ? kept : 0U);
  EXPECT_EQ(s.short_frames, sensor.type == LidarType::Corvik ? 1U : 0U)
      << "ended by the first packet";

  test::LiveSensor<JuniqPoint> live;
  DriverParam param = live.Param(sensor.type);
  param.calibration_param.check_folder = folder;
  testing::internal::CaptureStdout();
  ASSERT_TRUE(live.driver->InitDriver(param) && live.driver->Start());
  const std::string type = "type:" + std::to_string(static_cast<int>(sensor.type)) + '\n';
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::StartsWith(sensor.needs_tables ? type + "文件: \"" + folder
                                                      : type + "LoadCheckFolder failed!\n"));
  for (const auto& packet : capture.packets) live.Send(packet);
  live.WaitForDecoded(capture.packets.size());
  live.driver->Stop();
  EXPECT_EQ(PointsOf(live.frames), model.live);
  for (std::size_t i = 0; i < model.frames; ++i) {
    const auto& frame = *live.frames.at(model.first_live + i);
    const auto& played = *playback.frames.at(model.first_played + i);
    const std::size_t in_front = played.points.size() - frame.points.size();
    EXPECT_EQ(std::memcmp(frame.points.data(), played.points.data() + in_front,
                          frame.points.size() * sizeof(JuniqPoint)),
              0);
    EXPECT_EQ(frame.frame_word, played.frame_word);
    EXPECT_NEAR(frame.timestamp, played.timestamp + (i > 0 ? model.earlier : 0.0), 2e-6);
  }
  EXPECT_EQ(live.samples.size() > 10, sensor.has_imu);
  if (live.frames.empty()) return;
  EXPECT_EQ(live.owners, 1) << "the driver keeps nothing that it has handed over";
  EXPECT_EQ(live.sample_owners, sensor.has_imu ? 1 : 0) << "likewise";
  CalibrationStatus status;
  for (const auto* driver : {playback.driver.get(), live.driver.get()}) {
    ASSERT_TRUE(driver->GetCalibrationStatus(status));
    EXPECT_EQ(status.loaded, sensor.needs_tables);
    EXPECT_EQ(status.folder, folder);
  }
}

INSTANTIATE_TEST_SUITE_P(Model, Models, testing::ValuesIn(kModels),
                         [](const auto& model) { return std::string(model.param.name); });

}  // namespace
}  // namespace orliq::lidar
