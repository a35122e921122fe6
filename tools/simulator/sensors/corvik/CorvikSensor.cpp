// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/corvik/CorvikSensor.h"

#include <cmath>

namespace orliq::sim {
namespace {

constexpr Reach kReach = {0.4, 230.0};

// The scan, in hundredths of a degree, cut to whole ones.
constexpr double kFirstAzimuth = 6000.0;
constexpr double kAzimuthStep = 62.5;  // to the right from sample to sample
constexpr double kFirstElevation = 1500.0;
constexpr double kElevationStep = 53.5714286;  // downwards from line to line

Vec3 DirectionAt(std::size_t line, std::size_t sample) {
  const double azimuth = kFirstAzimuth - static_cast<double>(sample) * kAzimuthStep;
  const double elevation = kFirstElevation - static_cast<double>(line) * kElevationStep;
  return DirectionOf(std::trunc(azimuth) * 0.01, std::trunc(elevation) * 0.01);
}

/// 12 bits. Light thins out with the range; what is too strong saturates.
std::uint16_t Intensity(const Hit& hit) {
  const double light = hit.reflectivity * 50.0 / (10.0 + hit.range_m);
  return static_cast<std::uint16_t>(4095.0 * light / (1.0 + light));
}

}  // namespace

CorvikSensor::CorvikSensor(const SensorOptions& options)
    : ScanningSensor(kTraits, kCorvikLines, kReach, options) {
  for (std::size_t position = 0; position < directions_.size(); ++position) {
    directions_[position] =
        DirectionAt(position / kCorvikSamplesPerPacket, position % kCorvikSamplesPerPacket);
  }
}

CorvikSample CorvikSensor::SampleAt(const SceneView& view, std::size_t position,
                                    double scene_time_s) {
  const auto hit =
      Measure(static_cast<std::uint32_t>(position), view.Cast(directions_[position], scene_time_s));
  if (!hit) return {};
  const std::uint16_t intensity = Intensity(*hit);
  return {intensity, intensity < 1000 ? CorvikReturn::kWeak : CorvikReturn::kStrong,
          CorvikDistanceCode(hit->range_m)};
}

std::vector<std::uint8_t> CorvikSensor::EncodePacket(const SceneView& view,
                                                     const PacketSlot& slot) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(kCorvikPacketBytes);
  ByteWriter writer(bytes, ByteWriter::Order::Little);
  WriteCorvikHead(writer, static_cast<std::uint8_t>(slot.index));
  const std::size_t first = slot.index * kCorvikSamplesPerPacket;
  for (std::size_t i = 0; i < kCorvikSamplesPerPacket; ++i) {
    WriteCorvikSample(writer, SampleAt(view, first + i, slot.scene_time_s));
  }
  WriteCorvikTail(writer, LatestImu(slot.scene_time_s).sample, slot.time_s);
  return bytes;
}

}  // namespace orliq::sim
