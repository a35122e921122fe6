// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/kelvane/KelvaneSensor.h"

#include <algorithm>

namespace orliq::sim {
namespace {

constexpr Reach kReach = {0.5, std::min(350.0, kKelvaneFarthest)};

// The scan, in hundredths of a degree.
constexpr int kFirstAzimuth = 6000;
constexpr int kAzimuthStep = 20;  // to the right
constexpr int kFirstElevation = -1300;
constexpr int kElevationStep = 5;  // upwards
constexpr std::array<int, kKelvaneFaces> kFaceElevation = {0, -2, 2, 3};

int AzimuthAt(std::size_t step) {
  return kFirstAzimuth - kAzimuthStep * static_cast<int>(step);
}

int ElevationAt(std::size_t column, std::size_t face) {
  return kFirstElevation + kElevationStep * static_cast<int>(column) + kFaceElevation[face];
}

/// Light thins out with the range; what is too strong saturates.
std::uint8_t Intensity(const Hit& hit) {
  return static_cast<std::uint8_t>(
      std::min(255.0, 6000.0 * hit.reflectivity / (20.0 + hit.range_m)));
}

}  // namespace

KelvaneSensor::Angle KelvaneSensor::AngleOf(int centidegrees) {
  const Vec3 direction = DirectionOf(0.01 * centidegrees, 0.0);
  return {direction.x, direction.y};
}

KelvaneSensor::KelvaneSensor(const SensorOptions& options)
    : ScanningSensor(kTraits, kKelvaneAzimuths * options.cycle_packets, kReach, options),
      cycle_packets_(options.cycle_packets) {
  for (std::size_t step = 0; step < kKelvaneAzimuths; ++step) {
    azimuths_[step] = AngleOf(AzimuthAt(step));
  }
  for (std::size_t face = 0; face < kKelvaneFaces; ++face) {
    for (std::size_t column = 0; column < kKelvaneColumns; ++column) {
      elevations_[face][column] = AngleOf(ElevationAt(column, face));
    }
  }
}

/// The records of one column: each measures what the beam meets once more.
void KelvaneSensor::WriteColumn(ByteWriter& writer, const SceneView& view, const PacketSlot& slot,
                                std::size_t column) {
  const std::size_t step = slot.index / cycle_packets_;
  const Angle& az = azimuths_[step];
  const Angle& el = elevations_[slot.frame % kKelvaneFaces][column];
  const Hit truth = view.Cast({el.cos * az.cos, el.cos * az.sin, el.sin}, slot.scene_time_s);
  const auto position = static_cast<std::uint32_t>(column + kKelvaneColumns * step);
  for (std::size_t record = 0; record < cycle_packets_ / 2; ++record) {
    const auto hit = Measure(position, truth);
    WriteKelvaneRecord(
        writer,
        hit ? KelvaneRecord{KelvaneDistanceCode(hit->range_m), Intensity(*hit)} : KelvaneRecord{});
  }
}

std::vector<std::uint8_t> KelvaneSensor::EncodePacket(const SceneView& view,
                                                      const PacketSlot& slot) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(kKelvanePacketBytes);
  ByteWriter writer(bytes, ByteWriter::Order::Big);
  const std::size_t step = slot.index / cycle_packets_;
  WriteKelvaneHead(writer, {static_cast<std::uint16_t>(slot.index + 1), cycle_packets_ == 2,
                            static_cast<std::int16_t>(AzimuthAt(step)),
                            static_cast<std::uint8_t>(1 + slot.frame % kKelvaneFaces)});
  const std::size_t columns = kKelvaneColumns / cycle_packets_;
  const std::size_t first = slot.index % cycle_packets_ * columns;
  for (std::size_t i = 0; i < columns; ++i) WriteColumn(writer, view, slot, first + i);
  WriteKelvaneTail(writer);
  return bytes;
}

}  // namespace orliq::sim
