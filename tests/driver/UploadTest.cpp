// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <cstring>

#include "multi_driver/Diagnostics.h"
#include "simulator/sending/ParamServer.h"
#include "simulator/sensors/CheckImage.h"
#include "support/CheckImageBytes.h"
#include "support/LiveSensor.h"
#include "support/SimulatedCapture.h"

namespace orliq::lidar {
namespace {

using sim::ReplyFault;
using test::Eventually;
using Sensor = test::LiveSensor<JuniqPoint>;

std::unique_ptr<sim::ParamServer> Serve(const sim::ParamServerOptions& options,
                                        const std::vector<std::uint8_t>& image) {
  std::error_code error;
  auto server = sim::ParamServer::Create(options, image, error);
  EXPECT_TRUE(server) << error.message();
  return server;
}

DriverParam UploadParam(const Sensor& sensor, const sim::ParamServer& server, LidarType type) {
  DriverParam param = sensor.Param(type);
  param.param_source = 1;
  param.calibration_param.remote_address = "127.0.0.1";
  param.calibration_param.remote_port = server.Port();
  return param;
}

UploadState State(const Sensor& sensor) {
  return sensor.Statistics().upload.state;
}

TEST(Upload, ARunningDriverTakesTheSensorsTablesAndLosesNoPacket) {
  const test::SimulatedCapture capture(2, {}, "juniq");
  const auto send_frames = [&](Sensor& sensor) {
    for (const auto& packet : capture.packets) sensor.Send(packet);
    sensor.Settle();
  };
  Sensor folder;
  DriverParam param = folder.Param();
  param.calibration_param.check_folder = capture.check_folder;
  ASSERT_TRUE(folder.driver->InitDriver(param) && folder.driver->Start());
  send_frames(folder);
  folder.WaitForDecoded(capture.packets.size());
  folder.driver->Stop();

  sim::ParamServerOptions options;
  for (const auto fault : {ReplyFault::kLost, ReplyFault::kDelayed, ReplyFault::kShort,
                           ReplyFault::kWrongMarker, ReplyFault::kSwapped}) {
    options.rates[fault] = 0.002;
  }
  options.rates[ReplyFault::kDuplicated] = 0.05;
  const auto server = Serve(options, sim::CheckImage(sim::MakeSensor("juniq", {})->Tables()));
  Sensor sensor;
  sensor.driver->SetStrictUpload(true);
  ASSERT_TRUE(sensor.driver->InitDriver(UploadParam(sensor, *server, LidarType::Juniq)));
  testing::internal::CaptureStderr();
  ASSERT_TRUE(sensor.driver->Start());
  CalibrationStatus status;
  EXPECT_TRUE(sensor.driver->GetCalibrationStatus(status) && !status.loaded);
  std::uint64_t rounds = 0;
  const auto upload = [&] {
    send_frames(sensor);
    ++rounds;
    return sensor.Statistics().upload;
  };
  EXPECT_TRUE(Eventually([&] { return upload().received_bytes > 100'000; }));
  sensor.driver->Stop();
  EXPECT_EQ(State(sensor), UploadState::Receiving);
  ASSERT_TRUE(sensor.driver->Start());
  EXPECT_TRUE(Eventually([&] { return upload().state == UploadState::InUse; }));
  upload();
  sensor.WaitForDecoded(rounds * capture.packets.size());
  sensor.driver->Stop();

  EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "no frame misses the radius filter";
  const auto& last = sensor.frames.back()->points;
  const auto& expected = folder.frames.back()->points;
  ASSERT_EQ(last.size(), expected.size());
  EXPECT_EQ(std::memcmp(last.data(), expected.data(), last.size() * sizeof(JuniqPoint)), 0);
  EXPECT_TRUE(sensor.driver->GetCalibrationStatus(status));
  EXPECT_TRUE(status.source == CalibrationSource::Sensor && status.loaded);
  EXPECT_TRUE(status.refused.empty());
  const DriverStatistics s = sensor.Statistics();
  EXPECT_TRUE(s.upload.decoded_before_use > 0 && s.upload.decoded_before_use < s.decoded);
  EXPECT_TRUE(s.upload.received_bytes == 589896 && s.upload.total_bytes == 589896);
  EXPECT_GT(s.upload.repeated, 0U);
  EXPECT_GT(s.upload.discarded, 0U);
}

TEST(Upload, TellsWhichTablesTheSensorDidNotSend) {
  using test::operator+;
  const auto azimuth = test::Piece("AAAA", 196608);
  const auto server = Serve({}, azimuth + test::Piece("CCCC", 12));
  const struct {
    LidarType type;
    bool loaded;
    std::vector<std::string> refused;
  } rows[] = {{LidarType::Glavor,
               true,
               {"the sensor's calibration has no elevation table (marker BBBB)",
                "the sensor's calibration holds 3 numbers behind the marker CCCC, the weight table "
                "needs 4",
                "the sensor's calibration has no near_filter table (marker DDDD)"}},
              {LidarType::Corvik, false, {}},
              {LidarType::Kelvane, false, {}}};
  for (const auto& row : rows) {
    Sensor sensor;
    ASSERT_TRUE(sensor.driver->InitDriver(UploadParam(sensor, *server, row.type)));
    ASSERT_TRUE(sensor.driver->Start());
    EXPECT_TRUE(Eventually([&] { return State(sensor) == UploadState::InUse; }));
    CalibrationStatus status;
    EXPECT_TRUE(sensor.driver->GetCalibrationStatus(status));
    EXPECT_EQ(status.loaded, row.loaded);
    std::vector<std::string> refused;
    for (const RefusedTable& table : status.refused) refused.push_back(table.text);
    EXPECT_EQ(refused, row.refused);
  }
}

TEST(Upload, AnUnansweredDriverDecodesAndStops) {
  Sensor sensor;
  sim::ParamServerOptions silent;
  silent.rates[ReplyFault::kLost] = 1.0;
  const auto server = Serve(silent, {});
  ASSERT_TRUE(sensor.driver->InitDriver(UploadParam(sensor, *server, LidarType::Juniq)));
  const auto threads = test::ThreadsAtRest();
  ASSERT_TRUE(sensor.driver->Start());
  sensor.Send(test::JuniqPacket(), 3);
  sensor.WaitForDecoded(3);
  EXPECT_TRUE(Eventually([&] { return sensor.Statistics().upload.repeated > 1; }));
  test::MustEnd("Stop", [&] { sensor.driver->Stop(); });
  EXPECT_EQ(test::ThreadsAtRest(), threads);
  const UploadStatistics s = sensor.Statistics().upload;
  EXPECT_TRUE(s.state == UploadState::Asking && s.replies == 0 && s.duration_s < 0.0);
  EXPECT_TRUE(Eventually([&] { return server->Counts().requests == s.requests; }));
}

TEST(Upload, ALineOfTheLoadThreadMayDestroyTheDriver) {
  const auto server = Serve({}, test::Piece("CCCC", 16));
  Sensor sensor;
  std::atomic<bool> gone{false};
  ASSERT_TRUE(sensor.driver->InitDriver(UploadParam(sensor, *server, LidarType::Juniq)));
  SetDiagnosticSink([&](const std::string& line, DiagnosticStream) {
    if (line != "check_buffers size:1") return;
    sensor.driver.reset();
    gone = true;
  });
  ASSERT_TRUE(sensor.driver->Start());
  EXPECT_TRUE(Eventually([&] { return gone.load(); }));
  SetDiagnosticSink(nullptr);
}

}  // namespace
}  // namespace orliq::lidar
