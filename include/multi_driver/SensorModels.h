// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "multi_driver/DriverParam.h"
#include "multi_driver/Export.h"

namespace orliq::lidar {

/// Which packet of a frame carries its mark, by which the driver bounds it. A frame that begins with
/// its mark is over when the next one's comes: a Kelvane cloud ends before that packet, a Fennix or
/// Corvik cloud behind it.
enum class FrameMark : std::uint8_t {
  None,   ///< no packet
  First,  ///< the first one
  Last,   ///< the last one
};

/// What is fixed for a sensor model.
struct ORLIQ_API SensorModel {
  const char* name;                        ///< in lower case, such as "juniq"
  LidarType type;                          ///< its value in DriverParam
  std::uint16_t packet_bytes;              ///< UDP payload of every packet
  std::uint8_t identifier_bytes;           ///< how many of `identifier` count
  std::array<std::uint8_t, 8> identifier;  ///< how every packet begins
  std::uint16_t rings;                     ///< channels
  std::uint16_t blocks;                    ///< data blocks in a packet
  std::uint32_t returns;                   ///< of a whole frame; 0: not fixed, or it measures none
  FrameMark frame_mark;                    ///< which packet of a frame tells its bound
  bool has_imu;                            ///< its packets carry inertial samples
  bool has_time;                           ///< its packets carry the time; else all times are 0.0
  bool needs_tables;                       ///< its points come from calibration tables
  bool decodes_points;                     ///< its packets become measured points
  bool delivers_frames;     ///< its packets end frames; else only the end of a capture does
  bool transforms_points;   ///< the extrinsic transform applies to them
  bool keeps_gated_points;  ///< returns outside the limits stay, at the origin; else left out
};

/// How many models there are.
constexpr std::size_t kSensorModels = 7;

/// All models, in a fixed order. Some share packet length and identifier: their packets cannot be
/// told apart. Safe from any thread; the table lives as long as the program.
ORLIQ_API const std::array<SensorModel, kSensorModels>& SensorModels();

/// The model of that name, in lower case; null for an unknown one. Safe from any thread.
ORLIQ_API const SensorModel* FindSensorModel(const std::string& name);

/// The model of that type, likewise.
ORLIQ_API const SensorModel* FindSensorModel(LidarType type);

}  // namespace orliq::lidar
