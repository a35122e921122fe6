// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
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

/// Whether the limits leave much out: asked for by a radius filter that has no tables to stand in.
constexpr bool IsGated(unsigned options) {
  return (options & (kTables | kRadiusFilter)) == kRadiusFilter;
}
/// No return from farther away stays [m].
constexpr float Farthest(unsigned options) {
  return IsGated(options) ? 50.0F : 1e9F;
}

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

/// Limits that only what is not finite can miss; or narrow ones.
inline lidar::DecoderParam MakeLimits(unsigned options) {
  lidar::DecoderParam limits = {-1e9F, Farthest(options), -1e9F, 1e9F, -1e9F, 1e9F, {}};
  if (IsGated(options)) limits = {0.5F, Farthest(options), -20.0F, 45.5F, -10.0F, 10.0F, {}};
  const std::uint32_t enable = (options & kTransform) != 0 ? 1 : 0;
  limits.transform_param = {enable, 0.5F, -1.25F, 1.75F, 1.5F, -2.25F, 30.0F};
  return limits;
}

template <typename P>
std::shared_ptr<PointCloud<P>> MakeCloud(unsigned options) {
  return (options & kNoCloud) != 0 ? nullptr : std::make_shared<PointCloud<P>>();
}

template <typename P>
auto MakeDecoder(lidar::LidarType model, FuzzInput& input, unsigned options) {
  Quiet();
  auto decoder = lidar::DecoderFactory<PointCloud<P>>::CreateDecoder(model, MakeLimits(options));
  if ((options & kTables) != 0) decoder->UpdateCheckParam(MakeTables(input, options).get());
  decoder->InstallCloud(MakeCloud<P>(options));
  decoder->InstallImuMsg(std::make_shared<lidar::ImuMsg>());
  return decoder;
}

inline std::vector<std::uint8_t> BlankPacket(const lidar::SensorModel& model) {
  std::vector<std::uint8_t> packet(model.packet_bytes);
  std::copy_n(model.identifier.begin(), model.identifier_bytes, packet.begin());
  return packet;
}

inline void RequireFinite(const lidar::ImuMsg& imu) {
  Require(std::isfinite(imu.timestamp + imu.angular_velocity_x + imu.angular_velocity_y +
                        imu.angular_velocity_z + imu.linear_acceleration_x +
                        imu.linear_acceleration_y + imu.linear_acceleration_z));
}

}  // namespace orliq::fuzz
