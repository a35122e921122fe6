// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "decoder/juniq/DecoderJuniqImpl.h"
#include "support/JuniqPacket.h"

namespace orliq::test {

/// Fills a table of the check parameters, which is no aligned array of floats.
inline void SetTable(void* table, const std::vector<float>& values) {
  std::memcpy(table, values.data(), values.size() * sizeof(float));
}

/// A decoder with a cloud installed and everything it hands out written down. Frames are kept, and a
/// fresh cloud is installed after each, as a manager does it.
template <template <typename> class Decoder, typename Check, typename P>
struct DecoderProbe {
  using Cloud = PointCloud<P>;

  explicit DecoderProbe(const lidar::DecoderParam& param = {}) : decoder(param) {
    decoder.RegisterCallBack(
        [this](const lidar::Error& e) { errors.push_back(e.level * 0x100 + e.code); },
        [this](const std::uint16_t& rings, const double& time) {
          last_rings = rings;
          cloud()->timestamp = time;
          frames.push_back(cloud());
          decoder.InstallCloud(std::make_shared<Cloud>());
        });
    ListenToSamples();
    decoder.InstallCloud(std::make_shared<Cloud>());
  }

  std::shared_ptr<Cloud> cloud() { return decoder.CurrentCloud(); }
  const std::vector<P>& points() { return cloud()->points; }
  template <typename Packet>
  bool Decode(const Packet& packet, std::uint16_t start = 0) {
    return decoder.ProcessMsopPacket(packet.data(), packet.size(), start);
  }
  void ListenToSamples() {
    decoder.RegisterIMUCallBack([this] {
      samples.push_back(*decoder.CurrentImuMsg());
      frames_at_sample = frames.size();
    });
  }
  void Calibrate() { decoder.UpdateCheckParam(check.get()); }

  Decoder<Cloud> decoder;
  std::unique_ptr<Check> check = std::make_unique<Check>();
  std::vector<std::uint32_t> errors;  // level in front of the code; level 1 costs one packet
  std::vector<std::shared_ptr<Cloud>> frames;
  std::vector<lidar::ImuMsg> samples;  // none before an IMU message is installed
  std::size_t frames_at_sample = 0;    // when the last one came
  std::uint16_t last_rings = 0;
};

/// Raw inertial sample w0 to w5, and what it says in the axes of the point frame; `rate` [pi rad/s]
/// is the sensor's own count.
constexpr std::array<int, 6> kImuCounts = {100, -200, 300, 1000, -2000, 32767};
inline void ExpectImuAxes(const lidar::ImuMsg& imu, double rate) {
  rate *= 3.141592653589793;
  EXPECT_FLOAT_EQ(imu.angular_velocity_x, static_cast<float>(-32767 * rate));
  EXPECT_FLOAT_EQ(imu.angular_velocity_y, static_cast<float>(1000 * rate));
  EXPECT_FLOAT_EQ(imu.angular_velocity_z, static_cast<float>(2000 * rate));
  EXPECT_FLOAT_EQ(imu.linear_acceleration_x, -300 * 0.004788403F);
  EXPECT_FLOAT_EQ(imu.linear_acceleration_y, 100 * 0.004788403F);
  EXPECT_FLOAT_EQ(imu.linear_acceleration_z, 200 * 0.004788403F);
}

struct MarkedPacket {
  std::size_t blocks, at;  // so many in a packet, and where its mark stands
  double time;             // [s] of its frame
};

/// A plain packet and one with a mark and the frame header 0x1234, 26 and 0.0625 deg C, 0xA5 make a
/// frame, which ends behind them and not at the mark.
template <typename Probe, typename Packet>
void ExpectMarkerClosesFrame(const Packet& plain, const Packet& marked, const MarkedPacket& facts) {
  Probe probe;
  EXPECT_FALSE(probe.Decode(plain));
  EXPECT_TRUE(probe.Decode(marked));
  ASSERT_EQ(probe.frames.size(), 1U);
  const auto& frame = *probe.frames[0];
  EXPECT_EQ(frame.points.size(), 2 * facts.blocks) << "what follows the mark belongs to it";
  EXPECT_EQ(frame.timestamp, facts.time);
  EXPECT_EQ(probe.last_rings, 192);
  EXPECT_EQ(frame.frame_word, 0x1234);
  EXPECT_EQ(frame.temperature_a, 26.0);
  EXPECT_EQ(frame.temperature_b, 0.0625);
  EXPECT_EQ(frame.status, 0xA5);
  std::uint16_t start = 0;
  EXPECT_TRUE(probe.decoder.toSplite(marked.data(), marked.size(), start));
  EXPECT_EQ(start, facts.at + 1);
  EXPECT_FALSE(probe.Decode(marked, start)) << "playback begins behind the mark";
  EXPECT_EQ(probe.points().size(), facts.blocks - 1 - facts.at);
}

template <typename P>
using JuniqProbe = DecoderProbe<lidar::DecoderJuniq, lidar::OffsetCheckParam, P>;

}  // namespace orliq::test
