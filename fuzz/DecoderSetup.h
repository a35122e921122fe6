// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "decoder/DecoderFactory.h"
#include "fuzz/Datagrams.h"
#include "multi_driver/SensorModels.h"

namespace orliq::fuzz {

// How a decoder is set up: the first byte of its input. The lowest two bits choose the point record.
constexpr unsigned kTransform = 4;
constexpr unsigned kTables = 8;       // it is calibrated: weights and filter settings follow
constexpr unsigned kWildTables = 16;  // its beams have directions and offsets that no sensor has
constexpr unsigned kRadiusFilter = 32;
constexpr unsigned kPortable = 64;  // the form of the loops for every processor
constexpr unsigned kNoCloud = 128;

constexpr std::size_t kSettings = 4 * (lidar::kWeights + lidar::kNearFilters);  // [bytes]

inline std::vector<float> BeamTable(bool wild, float step) {
  constexpr std::array<float, 4> kWild = {std::numeric_limits<float>::quiet_NaN(),
                                          std::numeric_limits<float>::infinity(), -1e30F, 3e38F};
  std::vector<float> values(lidar::kBeamPositions);
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = wild ? kWild[i % 4] : step * (static_cast<float>(i % 256) - 127.5F);
  }
  return values;
}

/// Check parameters, which serve every model.
inline std::unique_ptr<lidar::OffsetCheckParam> MakeTables(FuzzInput& input, unsigned options) {
  static const std::vector<float> angles[] = {BeamTable(false, 0.4F), BeamTable(true, 0.0F)};
  static const std::vector<float> offsets[] = {BeamTable(false, 0.01F), BeamTable(true, 0.0F)};
  const std::size_t wild = (options & kWildTables) != 0 ? 1 : 0;
  auto check = std::make_unique<lidar::OffsetCheckParam>();
  std::memcpy(&check->azimuth, angles[wild].data(), sizeof check->azimuth);
  std::memcpy(&check->elevation, angles[wild].data(), sizeof check->elevation);
  std::memcpy(&check->offset, offsets[wild].data(), sizeof check->offset);
  std::array<std::uint8_t, kSettings> settings = {};
  const FuzzInput given = input.Take(kSettings);
  std::copy(given.begin(), given.end(), settings.begin());
  std::memcpy(&check->weight, &settings[0], sizeof check->weight);
  std::memcpy(&check->near_filter, &settings[sizeof check->weight], sizeof check->near_filter);
  const float on = (options & kRadiusFilter) != 0 ? 1.0F : 0.0F;
  std::memcpy(&check->near_filter[4], &on, sizeof on);
  return check;
}

/// Limits that only what is not finite can miss.
inline lidar::DecoderParam MakeLimits(unsigned options) {
  lidar::DecoderParam limits = {-1e9F, 1e9F, -1e9F, 1e9F, -1e9F, 1e9F, {}};
  const std::uint32_t enable = (options & kTransform) != 0 ? 1 : 0;
  limits.transform_param = {enable, 0.5F, -1.25F, 1.75F, 1.5F, -2.25F, 30.0F};
  return limits;
}

template <typename P>
std::shared_ptr<PointCloud<P>> MakeCloud(unsigned options) {
  return (options & kNoCloud) != 0 ? nullptr : std::make_shared<PointCloud<P>>();
}

template <typename P>
auto MakeDecoder(const std::string& model, FuzzInput& input, unsigned options) {
  Quiet();
  auto decoder = lidar::DecoderFactory<PointCloud<P>>::CreateDecoder(
      lidar::FindSensorModel(model)->type, MakeLimits(options));
  if ((options & kTables) != 0) decoder->UpdateCheckParam(MakeTables(input, options).get());
  decoder->InstallCloud(MakeCloud<P>(options));
  decoder->InstallImuMsg(std::make_shared<lidar::ImuMsg>());
  return decoder;
}

inline std::vector<std::uint8_t> BlankPacket(const std::string& name) {
  const lidar::SensorModel& model = *lidar::FindSensorModel(name);
  std::vector<std::uint8_t> packet(model.packet_bytes);
  std::copy_n(model.identifier.begin(), model.identifier_bytes, packet.begin());
  return packet;
}

template <typename P>
void RequireFinite(const std::vector<P>& points) {
  for (const P& p : points) Require(std::isfinite(p.x + p.y + p.z));
}

inline void RequireFinite(const lidar::ImuMsg& imu) {
  Require(std::isfinite(imu.timestamp + imu.angular_velocity_x + imu.angular_velocity_y +
                        imu.angular_velocity_z + imu.linear_acceleration_x +
                        imu.linear_acceleration_y + imu.linear_acceleration_z));
}

}  // namespace orliq::fuzz
