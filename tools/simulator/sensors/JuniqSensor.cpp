// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/JuniqSensor.h"

#include <cmath>
#include <utility>

namespace orliq::sim {
namespace {

// Random streams; the calibration draws from stream 1, PacketFaults from 100 on.
constexpr std::uint64_t kNoiseStream = 2;
constexpr std::uint64_t kFalseReturnStream = 3;

constexpr std::size_t kPacketBytes = 1104;
constexpr std::uint64_t kImuStamps = 0xFFFFFF;  // 24 bits without 0

std::vector<std::uint16_t> BeamOrder() {
  std::vector<std::uint16_t> order;
  for (std::size_t i = 0; i < kJuniqColumns; ++i) {
    const std::size_t column = (i + 128) % kJuniqColumns;
    for (std::size_t row = 0; row < kJuniqRows; ++row) {
      order.push_back(static_cast<std::uint16_t>(column + kJuniqColumns * row));
    }
  }
  return order;
}

}  // namespace

JuniqSensor::JuniqSensor(const SensorOptions& options)
    : options_(options),
      calibration_(MakeJuniqCalibration(options.seed, options.radius_filter)),
      order_(BeamOrder()),
      noise_(options.seed, kNoiseStream),
      false_return_(options.seed, kFalseReturnStream) {
  for (std::size_t position = 0; position < kJuniqBeams; ++position) {
    directions_.push_back(calibration_.Direction(position));
  }
}

std::vector<Packet> JuniqSensor::EncodeFrame(const Scene& scene, std::uint64_t frame) {
  noise_ = Random(options_.seed, kNoiseStream, frame);
  false_return_ = Random(options_.seed, kFalseReturnStream, frame);
  truth_.clear();
  std::vector<Packet> packets;
  for (std::size_t i = 0; i < PacketsPerFrame(); ++i) {
    const std::uint64_t packet = frame * PacketsPerFrame() + i;
    packets.push_back({EncodePacket(scene, packet), options_.start_time_s + SceneTime(packet)});
  }
  return packets;
}

bool JuniqSensor::WriteCheckFolder(const std::filesystem::path& folder, std::string& error) const {
  return WriteTables(folder, calibration_.Tables(), error);
}

JuniqBlock JuniqSensor::Measure(const Scene& scene, std::uint16_t position, double scene_time_s) {
  const Faults& faults = options_.faults;
  Hit hit = scene.Cast(directions_[position], scene_time_s);
  if (faults.range_noise_m > 0.0) {
    hit.range_m += faults.range_noise_m * noise_.Gaussian();
  }
  const bool is_false = false_return_.Chance(faults.false_return_rate);
  if (is_false) {
    hit = {false_return_.Uniform(2.0, 100.0), 0.3};
  }
  const bool measured = kJuniqMinRange <= hit.range_m && hit.range_m <= kJuniqMaxRange;
  truth_.push_back({position, measured ? hit.range_m : 0.0, measured, is_false});
  if (measured) {
    return EncodeReturn(calibration_, position, hit.range_m, hit.reflectivity);
  }
  JuniqBlock nothing;
  nothing.position = position;
  return nothing;
}

std::vector<std::uint8_t> JuniqSensor::EncodePacket(const Scene& scene, std::uint64_t packet) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(kPacketBytes);
  ByteWriter writer(bytes, ByteWriter::Order::Little);
  const std::size_t first = packet % PacketsPerFrame() * kJuniqBlocksPerPacket;
  WriteHead(writer);
  for (std::size_t i = 0; i < kJuniqBlocksPerPacket; ++i) {
    WriteBlock(writer, Measure(scene, order_[first + i], SceneTime(packet)));
  }
  WriteTail(writer, StateAt(packet));
  return bytes;
}

JuniqState JuniqSensor::StateAt(std::uint64_t packet) const {
  const double elapsed = SceneTime(packet);
  const auto sample = static_cast<std::uint64_t>(elapsed * kImuRate);
  const double warmth = 2.0 * std::sin(elapsed * 0.01);  // [deg C] a swing in about ten minutes
  JuniqState state;
  state.frame = static_cast<std::uint16_t>(packet / PacketsPerFrame());
  state.temperature_a = 45.0 + warmth;
  state.temperature_b = 40.0 + 0.5 * warmth;
  state.imu = SwayAt(static_cast<double>(sample) / kImuRate);
  state.imu_stamp = static_cast<std::uint32_t>(1 + sample % kImuStamps);
  state.time_s = options_.start_time_s + elapsed;
  return state;
}

double JuniqSensor::SceneTime(std::uint64_t packet) const {
  return static_cast<double>(packet) /
         (options_.frame_rate_hz * static_cast<double>(PacketsPerFrame()));
}

}  // namespace orliq::sim
